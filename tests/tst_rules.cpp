// The gallery's rules as pure functions, stated once as tables of worked
// results: the rectangles of every layout and of the letterboxed picture, the
// display order, page arithmetic and controls, stream types, frame buffers,
// what a screen reader hears of a tile and the order tiles are read in.
#include "accessrules.h"
#include "displayorder.h"
#include "layoutgeometry.h"
#include "pagingrules.h"
#include "rendererrule.h"
#include "speakerhold.h"
#include "streampolicy.h"
#include "videoframe.h"

#include <QtTest>
#include <tuple>
#include <vector>

using namespace kxlayout;

namespace {

// A rectangle from its inclusive edges, as the layouts set them.
QRect E(int l, int t, int r, int b) { return QRect(QPoint(l, t), QPoint(r, b)); }

QVector<int> ints(const QString& s)
{
    QVector<int> v;
    for (const QString& t : s.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        v.append(t.toInt());
    return v;
}

// One rectangle from the rule named by the first word of call, e.g.
// "six W H n slot"; see the table below for every form.
QRect rectOf(const QString& call)
{
    const QString fn = call.section(QLatin1Char(' '), 0, 0);
    const QVector<int> a = ints(call.section(QLatin1Char(' '), 1));
    auto nth = [](const QVector<QRect>& v, int i) { return i < v.size() ? v.at(i) : QRect(); };
    if (fn == "fit")
        return myMake169Rect(QRect(a[0], a[1], a[2], a[3]));
    if (fn == "full")
        return make169Rect(QRect(a[0], a[1], a[2], a[3]), QRect(a[4], a[5], a[6], a[7]), a[8]);
    if (fn == "eq")
        return nth(equalCutRects(a[0], a[1], a[2], a[3]), a[4]);
    if (fn == "six")
        return sixCutRect(a[0], a[1], a[2], a[3]);
    if (fn == "eight")
        return eightCutRect(a[0], a[1], a[2], a[3]);
    if (fn == "video")
        return kxvideo::fitVideo(a[0], a[1], a[2], a[3]);
    if (fn == "device") // W H x y w h percent
        return kxvideo::deviceVideoRect(QRect(a[2], a[3], a[4], a[5]), QSize(a[0], a[1]), a[6] / 100.0);
    if (fn == "stage")
        return shareStageRect(a[0], a[1]);
    if (fn == "split")
        return splitStageRect(a[0], a[1], a[2]);
    if (fn == "pip") { // several count page i: -1 window, -2 toggle, -3 previous, -4 next, else tile i
        const PicInPicGeometry g = picInPicGeometry(a[0], a[1], a[2]);
        const QVector<QRect> parts{QRect(), QRect(QPoint(0, 0), g.window), g.toggle, g.prev, g.next};
        return a[3] < 0 ? parts.at(-a[3]) : nth(g.tiles, a[3]);
    }
    if (fn == "s4") { // W H n smallCount page i: -1 single, 0 left, 1 right, 2 strip, 3.. small
        const Speaker4Geometry g = speaker4Geometry(a[0], a[1], a[2], a[3], a[4]);
        const QVector<QRect> all = QVector<QRect>{g.bigLeft, g.bigRight, g.strip} + g.small;
        return a[5] < 0 ? g.single : nth(all, a[5]);
    }
    // "spk mode W H n hidden i": -2 single, -1 big, else small tile i
    const SpeakerGeometry g = speakerGeometry(a[0], a[1], a[2], a[3], a[4]);
    return a[5] == -2 ? g.single : a[5] == -1 ? g.big : speakerSmallRect(a[0], a[1], a[2], a[3], g, a[5]);
}

// Roster tokens: a letter for the kind and the join time, "!" for a video
// flag that has just changed. v video, n none, w on without a stream, y on
// with status 1, s self, h host, H self and host, R share record, S sharing
// user, u invited; c/C/e video just turned on (status 2/0/1), d just off.
QVector<kxorder::OrderItem> roster(const QString& s)
{
    QVector<kxorder::OrderItem> out;
    for (QString t : s.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        kxorder::OrderItem p;
        p.videoStatusChange = t.endsWith(QLatin1Char('!'));
        t.remove(QLatin1Char('!'));
        const char k = t.at(0).toLatin1();
        p.joinTime = t.mid(1).toLongLong();
        p.preview = QByteArray("vwyRcCe").contains(k);
        p.streamStatus = QByteArray("vRc").contains(k) ? 2 : (k == 'y' || k == 'e') ? 1 : 0;
        p.self = k == 's' || k == 'H';
        p.role = (k == 'h' || k == 'H') ? 1 : 0;
        p.shareRecord = k == 'R';
        p.sharingUser = k == 'S';
        p.unjoined = k == 'u';
        p.videoStatusChange |= QByteArray("cCde").contains(k);
        out.append(p);
    }
    return out;
}

QString show(const QRect& r)
{
    return QStringLiteral("(%1,%2)-(%3,%4)").arg(r.left()).arg(r.top()).arg(r.right()).arg(r.bottom());
}

QString buttonNames(const kxpaging::PageButtons& b)
{
    QStringList out;
    const bool on[] = {b.pagePre, b.pageNext, b.stripPre, b.stripNext, b.pageUp, b.pageDown, b.ctrlRHide, b.ctrlLShow};
    const char* names[] = {"pagePre", "pageNext", "stripPre", "stripNext", "pageUp", "pageDown", "ctrlRHide", "ctrlLShow"};
    for (int i = 0; i < 8; ++i)
        if (on[i])
            out << QLatin1String(names[i]);
    return out.join(QLatin1Char(','));
}

} // namespace

class TstRules : public QObject
{
    Q_OBJECT
private slots:
    void rects_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QRect>("expected");
        const std::vector<std::pair<const char*, QRect>> rows = {
            // 16:9 fit keeping the corner; the fraction is compared in floating point.
            {"fit 10 20 1000 360", QRect(10, 20, 640, 360)}, {"fit 5 7 640 720", QRect(5, 7, 640, 360)},
            {"fit 3 4 1600 900", QRect(3, 4, 1600, 900)}, {"fit 0 0 1279 719", QRect(0, 0, 1278, 719)},
            {"fit 0 0 318 180", QRect(0, 0, 318, 178)}, {"fit 0 0 318 178", QRect(0, 0, 316, 178)},
            {"fit 0 0 1921 1080", QRect(0, 0, 1920, 1080)}, {"fit 0 0 -2 178", QRect(0, 0, -2, -1)},
            // Full screen: integer quotients, then kept to its half of the gallery.
            {"full 0 0 1921 1080 0 0 1921 1080 1", QRect(0, 0, 1921, 1080)},
            {"full 0 0 2000 1080 0 0 2000 1080 1", E(40, 0, 1960, 1079)},
            {"full 0 0 4000 1000 0 0 4000 1000 1", E(222, 0, 1999, 999)},
            {"full 0 0 4000 1000 0 0 4000 1000 3", E(220, 0, 1997, 999)},
            {"full 2500 0 1500 500 0 0 4000 1000 1", E(2001, 0, 2889, 499)},
            {"full 2500 0 1500 500 0 0 4000 1000 3", E(2003, 0, 2891, 499)},
            {"full 0 0 3200 900 0 0 3200 900 1", E(800, 0, 2400, 899)}, {"full 0 0 346 389 0 0 346 389 1", E(0, -1, 345, 193)},
            {"full 0 0 1000 1000 0 0 1000 1000 1", E(0, 219, 999, 781)},
            {"full 0 0 1080 1920 0 0 1080 1920 5", E(0, 348, 1079, 955)},
            {"full 0 1200 400 700 0 0 1080 1920 5", E(0, 961, 399, 1186)},
            {"full 0 0 4000 1000 100 0 4000 1000 1", E(322, 0, 2099, 999)},
            // Equal cut "eq W H n page i": right and bottom at left + w, top + h.
            {"eq 1280 720 1 0 0", E(0, 0, 1280, 720)}, {"eq 1282 720 2 0 1", E(642, 180, 1281, 540)},
            {"eq 1920 1080 3 0 1", E(961, 0, 1919, 539)}, {"eq 1920 1080 3 0 2", E(481, 541, 1439, 1080)},
            {"eq 1920 1080 4 0 3", E(961, 541, 1919, 1080)}, {"eq 1920 1080 5 0 2", E(1281, 181, 1919, 539)},
            {"eq 1920 1080 5 0 3", E(321, 541, 959, 899)}, {"eq 1920 1080 7 1 0", E(1, 181, 639, 539)},
            {"eq 1920 1080 7 1 1", QRect()}, {"eq 1920 1080 8 1 1", E(641, 181, 1279, 539)},
            {"eq 3 1080 5 0 0", E(0, 539, 0, 539)},
            // Speaker4 "s4 W H n smallCount page i".
            {"s4 1282 720 2 0 0 0", QRect(0, 180, 640, 360)}, {"s4 1282 720 2 0 0 1", QRect(641, 180, 640, 360)},
            {"s4 1282 720 2 0 0 2", QRect(0, 539, 0, 0)}, {"s4 1920 1080 3 1 0 0", QRect(0, 137, 959, 539)},
            {"s4 1920 1080 3 1 0 2", QRect(0, 764, 318, 178)}, {"s4 1920 1080 3 1 0 3", QRect(800, 764, 318, 178)},
            {"s4 1920 1080 5 3 0 5", QRect(1120, 764, 318, 178)}, {"s4 1920 1080 12 10 0 8", QRect(1600, 764, 318, 178)},
            {"s4 1920 1080 12 10 0 9", QRect()}, {"s4 1920 1080 10 8 1 4", QRect(320, 764, 318, 178)},
            {"s4 1920 1080 10 8 2 3", QRect()}, {"s4 1000 1000 1 0 0 -1", E(0, 219, 1000, 781)},
            // Speaker strips "spk mode W H n hidden i".
            {"spk 6 1920 1080 4 0 -1", E(162, 1, 1758, 899)}, {"spk 6 1920 1080 4 0 1", QRect(802, 901, 316, 178)},
            {"spk 7 1920 1080 4 0 -1", E(162, 181, 1758, 1079)}, {"spk 7 1920 1080 4 0 0", QRect(484, 1, 316, 178)},
            {"spk 7 1920 1080 20 0 5", QRect(1597, 1, 316, 178)}, {"spk 42 1920 1080 4 0 -1", E(162, 181, 1758, 1079)},
            {"spk 5 1920 1080 4 0 -1", E(-1, 89, 1603, 991)}, {"spk 5 1920 1080 4 0 0", QRect(1605, 271, 316, 178)},
            {"spk 5 1920 1080 4 0 2", QRect(1605, 631, 316, 178)}, {"spk 5 1920 1080 4 1 -1", E(0, 0, 1920, 1080)},
            {"spk 5 1920 1080 4 1 0", QRect(1922, 539, -2, -1)}, {"spk 6 1000 1000 1 0 -2", E(0, 219, 1000, 781)},
            // Six-cut: big 1278x719, hw 639, hh 360; the right column ends with the big tile.
            {"six 1920 1080 6 0", E(0, 0, 1278, 719)}, {"six 1920 1080 6 1", E(1280, 0, 1919, 359)},
            {"six 1920 1080 6 2", E(1280, 361, 1919, 719)}, {"six 1920 1080 6 3", E(0, 721, 638, 1081)},
            {"six 1920 1080 6 5", E(1280, 721, 1918, 1081)}, {"six 1920 1080 2 0", E(0, 0, 1278, 719)},
            {"six 1280 1000 6 0", E(0, 140, 851, 619)}, {"six 1280 1000 6 2", E(853, 381, 1279, 619)},
            {"six 1280 1000 6 4", E(427, 621, 852, 861)}, {"six 1280 1000 1 0", E(0, 0, 1280, 720)},
            // Eight-cut: big 1438x809, cw 479, ch 269.
            {"eight 1920 1080 5 0", E(0, 0, 1438, 809)}, {"eight 1920 1080 5 2", E(1440, 270, 1918, 538)},
            {"eight 1920 1080 5 3", E(1440, 540, 1918, 809)}, {"eight 1920 1080 5 4", E(0, 811, 478, 1080)},
            {"eight 1920 1080 8 6", E(960, 811, 1438, 1080)}, {"eight 1920 1080 8 7", E(1440, 811, 1918, 1080)},
            {"eight 1000 1000 8 3", E(748, 501, 995, 639)}, {"eight 1000 1000 8 6", E(498, 641, 746, 781)},
            {"eight 1280 1000 1 0", E(0, 140, 1280, 860)},
            // Letterbox "video W H videoW videoH": + 1 in the derived side, snap within 2.
            {"video 400 400 1280 720", QRect(0, 87, 400, 225)}, {"video 1280 1000 1280 720", QRect(0, 139, 1280, 721)},
            {"video 400 400 640 480", QRect(0, 50, 400, 300)}, {"video 300 200 480 480", QRect(50, 0, 200, 200)},
            {"video 400 400 720 1280", QRect(87, 0, 225, 400)}, {"video 100 400 720 1280", QRect(0, 111, 100, 177)},
            {"video 100 50 1600 900", QRect(6, 0, 88, 50)}, {"video 400 225 1280 718", QRect(0, 0, 400, 225)},
            {"video 400 226 1280 718", QRect(0, 1, 400, 224)}, {"video 100 56 16 9", QRect(0, 0, 100, 56)},
            {"video 400 400 0 720", QRect()},
            // The same in device pixels, rows from the top, as both renderers draw it.
            {"device 400 400 0 87 400 225 100", QRect(0, 88, 400, 225)},
            {"device 400 400 0 87 400 225 200", QRect(0, 176, 800, 450)},
            {"device 400 400 0 87 400 225 150", QRect(0, 133, 600, 337)},
            {"device 200 400 0 144 200 112 125", QRect(0, 180, 250, 140)},
            // Share stage fitted and centred; a whiteboard beside it splits the
            // gallery in halves (959 wide with the gap unit between them).
            {"stage 1920 1080", E(0, 0, 1920, 1080)}, {"stage 1000 1000", E(0, 219, 1000, 781)},
            {"stage 2000 1000", E(111, 0, 1888, 1000)}, {"split 1920 1080 0", E(0, 270, 959, 809)},
            {"split 1920 1080 1", E(961, 270, 1920, 809)},
            // Floating window: bar 28, "one" 320x180, "several" 240x135 by four, gap 4, buttons 24.
            {"pip 0 5 0 -1", QRect(0, 0, 320, 208)}, {"pip 0 5 0 0", QRect(0, 28, 320, 180)},
            {"pip 0 5 3 1", QRect()}, {"pip 0 5 0 -2", QRect(292, 2, 24, 24)}, {"pip 0 5 0 -3", QRect()},
            {"pip 1 5 0 -1", QRect(0, 0, 240, 580)}, {"pip 1 5 0 3", QRect(0, 445, 240, 135)},
            {"pip 1 5 7 -1", QRect(0, 0, 240, 163)}, {"pip 1 5 7 0", QRect(0, 28, 240, 135)},
            {"pip 1 5 7 1", QRect()}, {"pip 1 5 0 -2", QRect(212, 2, 24, 24)},
            {"pip 1 5 0 -3", QRect(4, 2, 24, 24)}, {"pip 1 5 0 -4", QRect(32, 2, 24, 24)}, {"pip 1 0 0 0", QRect()},
        };
        for (const auto& r : rows)
            QTest::newRow(r.first) << QString(r.first) << r.second;
    }

    void rects()
    {
        QFETCH(QString, call);
        QFETCH(QRect, expected);
        const QRect got = rectOf(call);
        QVERIFY2(got == expected, qPrintable(show(got) + " expected " + show(expected)));
    }

    void noTwoTilesOverlap()
    {
        // Over many gallery sizes and counts, no two tiles of a page share a pixel.
        int checked = 0;
        for (int W = 320; W <= 3840; W += 197)
            for (int H = 180; H <= 2160; H += 113)
                for (int n = 2; n <= 14; ++n) {
                    QVector<QVector<QRect>> pages;
                    for (int p = 0; p * 6 < n; ++p)
                        pages << equalCutRects(W, H, n, p);
                    QVector<QRect> six, eight;
                    for (int s = 0; s < qMin(n, 8); ++s) {
                        eight << eightCutRect(W, H, n, s);
                        if (s < 6)
                            six << sixCutRect(W, H, n, s);
                    }
                    pages << six << eight;
                    pages << QVector<QRect>{splitStageRect(W, H, 0), splitStageRect(W, H, 1)};
                    for (int mode : {5, 6, 7}) {
                        const SpeakerGeometry g = speakerGeometry(mode, W, H, n, false);
                        QVector<QRect> t{g.big};
                        for (int k = 0; k < qMin(n - 1, 6); ++k)
                            t << speakerSmallRect(mode, W, H, n, g, k);
                        pages << t;
                    }
                    for (int p = 0; p == 0 || p * 6 < n - 2; ++p) {
                        const Speaker4Geometry g = speaker4Geometry(W, H, n, n - 2, p);
                        pages << (QVector<QRect>{g.bigLeft, g.bigRight} + g.small);
                    }
                    for (const QVector<QRect>& tiles : pages)
                        for (int i = 0; i < tiles.size(); ++i)
                            for (int j = i + 1; j < tiles.size(); ++j, ++checked)
                                if (!tiles[i].isEmpty() && tiles[i].intersects(tiles[j]))
                                    QFAIL(qPrintable(QStringLiteral("%1x%2 n=%3: %4 and %5 overlap").arg(W).arg(H).arg(n)
                                                         .arg(show(tiles[i]), show(tiles[j]))));
                }
        QVERIFY(checked > 100000);
    }

    void order_data()
    {
        // Roster, focus layout, display order (input indices). From the top:
        // groups by join time; a stream is needed to count as video; share
        // record, sharing user, host and self (self first in focus layouts);
        // video just turned on goes behind, just off heads the no-video group;
        // invited participants last; two hosts; a self who hosts; every kind.
        QTest::addColumn<QString>("roster");
        QTest::addColumn<bool>("focus");
        QTest::addColumn<QString>("expected");
        const std::vector<std::tuple<const char*, bool, const char*>> rows = {
            {"", false, ""}, {"n1 v5 v3 n0", false, "2 1 3 0"}, {"w1 v2", false, "1 0"}, {"y1 v2", false, "1 0"},
            {"v1 S5 R9 n0", false, "2 1 0 3"}, {"s4 v1 h3 R9 S5", true, "3 4 0 2 1"}, {"v1 s2 h3 n0", false, "2 1 0 3"},
            {"v1 s2 h3 n0", true, "1 2 0 3"}, {"v0 v1 h9", false, "2 0 1"}, {"v1 h3", true, "1 0"},
            {"v1 n0 s2", false, "2 0 1"}, {"v10 C1 v20", false, "0 2 1"}, {"n10 n20 d30 v5", false, "3 2 0 1"},
            {"v5 n10 e1", false, "0 2 1"}, {"v10 c2 c1", false, "0 1 2"}, {"u5 v9 u1 n3 u3", false, "1 3 0 2 4"},
            {"u0 R1 s2", false, "1 2 0"}, {"v1 h5 h3 s2", false, "2 1 3 0"}, {"v1 h5 h3 s2", true, "2 3 1 0"},
            {"R0 h1 h2 v0", false, "0 2 1 3"}, {"v1 v2 H0", false, "0 2 1"}, {"n1 v2 H0", true, "1 2 0"},
            {"H0 v1", false, "1 0"}, {"v1 H0 S3", false, "2 1 0"}, {"h1 v2 H3", false, "0 2 1"}, {"h1 H3", false, "1 0"},
            {"n8 u1 v7 S2 c3 s9 h6 v4 R0 d5 n2 u0", false, "8 3 6 5 7 2 4 9 10 0 1 11"},
            {"n8 u1 v7 S2 c3 s9 h6 v4 R0 d5 n2 u0", true, "8 3 5 6 7 2 4 9 10 0 1 11"},
        };
        for (const auto& r : rows)
            QTest::addRow("%s%s", std::get<0>(r), std::get<1>(r) ? " (focus)" : "") << QString(std::get<0>(r)) << std::get<1>(r) << QString(std::get<2>(r));
    }

    void order()
    {
        QFETCH(QString, roster);
        QFETCH(bool, focus);
        QFETCH(QString, expected);
        QCOMPARE(kxorder::displayOrder(::roster(roster), focus).order, ints(expected));
    }

    void joinTimes_data()
    {
        QTest::addColumn<QString>("roster");
        QTest::addColumn<QString>("expected");
        QTest::newRow("on: last video + 1") << "v10 c1 v20" << "10 21 20";
        QTest::newRow("on without video: unchanged") << "n5 c7" << "5 7";
        QTest::newRow("two on in a row") << "v10 c2 c1" << "10 11 12";
        QTest::newRow("off: first no video - 1") << "n20 n10 d30" << "20 10 9";
        QTest::newRow("off twice: the later in front") << "n20 d30 d40" << "20 19 18";
        QTest::newRow("off without no-video: unchanged") << "v3 d30" << "3 30";
        QTest::newRow("nobody changed") << "v3 n1 s0 h7" << "3 1 0 7";
    }

    void joinTimes()
    {
        QFETCH(QString, roster);
        QFETCH(QString, expected);
        QVector<int> got;
        for (qint64 t : kxorder::displayOrder(::roster(roster), false).joinTime)
            got.append(int(t));
        QCOMPARE(got, ints(expected));
    }

    void walkResults()
    {
        // The flag is consumed for host, self and the changed; the sharing user's
        // and the invited participant's stay.
        const kxorder::OrderResult f = kxorder::displayOrder(roster("h1! s2! S3! u4! c5 v6"), false);
        QCOMPARE(f.videoStatusChange, (QVector<bool>{false, false, true, true, false, false}));
        QCOMPARE(f.changed, QVector<int>{4});
        const kxorder::OrderResult r = kxorder::displayOrder(roster("v1 h2 s3 h4 R5 S6"), false);
        QCOMPARE((QVector<int>{r.hostIndex, r.secondHostIndex, r.selfIndex, r.shareIndex, r.sharingUserIndex}),
                 (QVector<int>{1, 3, 2, 4, 5}));
        for (int mode = -1; mode <= 11; ++mode) {
            QCOMPARE(kxpaging::isFocusMode(mode), mode >= 4 && mode <= 8);
            QCOMPARE(kxpaging::is6CutOr8CutMode(mode), mode == 2 || mode == 3);
            QCOMPARE(kxpaging::normalizedMode(mode), (mode >= 1 && mode <= 9) ? mode : 1);
        }
        const kxorder::OrderResult none = kxorder::displayOrder(roster("v1"), false);
        QCOMPARE((QVector<int>{none.hostIndex, none.secondHostIndex, none.selfIndex, none.shareIndex, none.sharingUserIndex}),
                 (QVector<int>{-1, -1, -1, -1, -1}));
    }

    void numbers_data()
    {
        // One whole-number result per row, "rule arguments":
        //   head current sizeAfter self role sharePresent sharing (changeToHeadIndex)
        //   need index | roster (needOrder), arrive joinTime | roster (arrivalIndex)
        //   count mode n, stride mode, afterDelete page n, page mode page n (curPageStreamType),
        //   def mode n fullTile focus (defStreamType)
        QTest::addColumn<QString>("call");
        QTest::addColumn<int>("expected");
        const std::vector<std::pair<const char*, int>> rows = {
            {"head 3 5 0 0 0 0", -1}, {"head 3 5 0 2 0 0", -1}, {"head 0 5 1 0 0 0", -1}, {"head 0 5 0 1 1 0", -1},
            {"head 4 5 1 0 1 0", 1}, {"head 1 0 1 0 0 0", 0}, {"head 4 5 1 1 0 0", 1}, {"head 4 5 0 1 0 0", 0},
            {"head 4 5 0 1 1 1", 1}, {"head 4 5 0 1 1 0", 3}, {"head 2 2 0 1 1 0", 2}, {"need 0 | n1 v2", 1},
            {"need 1 | v1 n2", 0}, {"need 0 | v1 v2", 0}, {"need 0 | w1 v2", 0}, {"need 0 | n1 w2", 1},
            {"need 0 | n1 y2", 0}, {"need 0 | s1 v2", 0}, {"need 0 | h1 v2", 0}, {"need 0 | S1 v2", 0},
            {"need 1 | n1 n2 n3 v4", 1}, {"arrive 5 |", 0}, {"arrive 500 | s100", 0}, {"arrive 1 | v100", 1},
            {"arrive 7 | v1 v5 v10", 2}, {"arrive 0 | v1 v5", 0}, {"arrive 5 | v5 v5 n6", 2},
            {"arrive 1 | h100 s100 v50", 2}, {"arrive 10 | v1 h100 v50", 2}, {"count 1 0", 0}, {"count 1 6", 1},
            {"count 1 7", 2}, {"count 1 13", 3}, {"count 8 16", 2}, {"count 8 17", 3}, {"count 2 20", 1},
            {"count 3 20", 1}, {"stride 8", 8}, {"stride 1", 6}, {"stride 5", 6}, {"afterDelete 1 7", 1},
            {"afterDelete 1 6", 0}, {"afterDelete 0 0", 0}, {"afterDelete 5 3", 4}, {"page 1 0 1", 4}, {"page 1 0 2", 4},
            {"page 1 0 3", 3}, {"page 1 0 20", 3}, {"page 1 1 7", 3}, {"page 2 0 2", 3}, {"page 4 0 2", 2},
            {"page 9 0 1", 2}, {"def 9 8 1 0", 4}, {"def 9 2 0 0", 4}, {"def 9 3 0 0", 3}, {"def 5 8 0 1", 4},
            {"def 5 2 1 0", 2}, {"def 1 2 0 0", 4}, {"def 1 5 1 1", 3}, {"def 6 2 0 1", 3}, {"def 8 2 0 1", 3},
        };
        for (const auto& r : rows)
            QTest::newRow(r.first) << QString(r.first) << r.second;
    }

    void numbers()
    {
        QFETCH(QString, call);
        const QString fn = call.section(' ', 0, 0);
        const QVector<int> a = ints(call.section(' ', 1).section('|', 0, 0));
        const auto r = roster(call.section('|', 1));
        const int got = fn == "head" ? kxorder::changeToHeadIndex(a[0], a[1], a[2], a[3], a[4], a[5])
                        : fn == "need" ? int(kxorder::needOrder(r, a[0]))
                        : fn == "arrive" ? kxorder::arrivalIndex(r, a[0])
                        : fn == "count" ? kxpaging::pageCount(a[0], a[1])
                        : fn == "stride" ? kxpaging::pageStride(a[0])
                        : fn == "afterDelete" ? kxpaging::pageAfterDelete(a[0], a[1])
                        : fn == "page" ? kxstream::curPageStreamType(a[0], a[1], a[2])
                                       : kxstream::defStreamType(a[0], a[1], a[2], a[3]);
        QTEST(got, "expected");
    }

    void buttons_data()
    {
        // mode n page hidden strip
        QTest::addColumn<QString>("args");
        QTest::addColumn<QString>("expected");
        for (const auto& r : std::vector<std::pair<const char*, const char*>>{
                 {"1 7 0 0 0", "pageNext"}, {"1 7 1 0 0", "pagePre"}, {"1 6 0 0 0", ""}, {"1 13 1 0 0", "pagePre,pageNext"},
                 {"1 12 1 0 0", "pagePre"}, {"1 7 0 0 1", "pageNext"}, {"8 16 0 0 1", "stripNext"},
                 {"8 16 1 0 1", "stripPre,stripNext"}, {"8 16 2 0 1", "stripPre"}, {"8 8 0 0 1", ""},
                 {"8 9 0 0 1", "stripNext"}, {"8 16 0 0 0", ""}, {"6 8 0 0 1", "stripNext"}, {"6 8 1 0 1", "stripPre"},
                 {"6 7 0 0 1", ""}, {"7 14 1 0 1", "stripPre,stripNext"}, {"7 8 0 1 1", "stripNext"}, {"5 1 0 0 1", ""},
                 {"5 4 0 0 1", "ctrlRHide"}, {"5 4 0 1 1", "ctrlLShow"}, {"5 14 0 0 1", "pageDown,ctrlRHide"},
                 {"5 14 1 0 1", "pageUp,pageDown,ctrlRHide"}, {"5 14 2 0 1", "pageUp,ctrlRHide"},
                 {"5 14 0 1 1", "ctrlLShow"}, {"5 14 1 1 1", "pageUp,ctrlLShow"}, {"5 14 1 0 0", ""},
                 {"2 20 1 0 1", ""}, {"3 20 1 0 1", ""}, {"4 20 1 0 1", ""}, {"9 20 1 0 1", ""}})
            QTest::newRow(r.first) << QString(r.first) << QString(r.second);
    }

    void buttons()
    {
        QFETCH(QString, args);
        const QVector<int> a = ints(args);
        QTEST(buttonNames(kxpaging::visibleButtons(a[0], a[1], a[2], a[3], a[4])), "expected");
    }

    void focusRange_data()
    {
        // page focus n -> start end page, then the roster indices the strip places
        QTest::addColumn<QString>("args");
        QTest::addColumn<QString>("range");
        QTest::addColumn<QString>("strip");
        auto row = [](const char* n, const char* a, const char* r, const char* s) { QTest::newRow(n) << QString(a) << QString(r) << QString(s); };
        row("focus before page 1", "1 3 14", "7 13 1", "7 8 9 10 11 12");
        row("focus on page 1: widened", "1 8 14", "6 13 1", "6 7 9 10 11 12");
        row("focus at the head", "0 0 14", "1 7 0", "1 2 3 4 5 6");
        row("focus inside page 0", "0 5 14", "0 7 0", "0 1 2 3 4 6");
        row("focus after page 0", "0 10 14", "0 6 0", "0 1 2 3 4 5");
        row("focus just after page 0", "0 6 14", "0 6 0", "0 1 2 3 4 5");
        row("no focus", "1 -1 14", "6 12 1", "6 7 8 9 10 11");
        row("page lowered", "3 0 14", "13 19 2", "13");
        row("page lowered, no focus", "2 -1 12", "6 12 1", "6 7 8 9 10 11");
        row("lone focus", "0 0 1", "1 7 0", "");
        row("focus and one other", "0 0 2", "1 7 0", "1");
    }

    void focusRange()
    {
        QFETCH(QString, args);
        const QVector<int> a = ints(args);
        const kxpaging::FocusRange r = kxpaging::focusStartPos(a[0], a[1], a[2]);
        QFETCH(QString, range);
        QCOMPARE((QVector<int>{r.start, r.end, r.pageIdx}), ints(range));
        QFETCH(QString, strip);
        QCOMPARE(kxpaging::speakerStripIndices(r, a[1], a[2]), ints(strip));
    }

    void wheel_data()
    {
        // angle delta -> whole degrees, page turn, application wheel steps
        QTest::addColumn<QPoint>("delta");
        QTest::addColumn<QPoint>("degrees");
        QTest::addColumn<int>("turn");
        QTest::addColumn<int>("steps");
        auto row = [](const char* n, QPoint d, QPoint g, int t, int s) { QTest::newRow(n) << d << g << t << s; };
        row("one notch away: previous", {0, 120}, {0, 15}, -1, 1);
        row("one notch toward: next", {0, -120}, {0, -15}, 1, -1);
        row("two notches: one page", {0, 240}, {0, 30}, -1, 2);
        row("half a degree rounds up", {0, 4}, {0, 1}, 0, 0);
        row("below half", {0, 3}, {0, 0}, 0, 0);
        row("one and a half", {12, -12}, {2, -2}, 0, 0);
        row("14 degrees: no turn", {0, 112}, {0, 14}, 0, 1);
        row("-14 degrees: no turn", {0, -112}, {0, -14}, 0, -1);
        row("14.5 degrees is a step", {0, 116}, {0, 15}, -1, 1);
        row("-14.5 degrees is a step", {0, -116}, {0, -15}, 1, -1);
        row("fine, both ways", {-116, 116}, {-15, 15}, -1, 1);
        row("half a notch", {0, 60}, {0, 8}, 0, 1);
        row("under half a notch", {0, 56}, {0, 7}, 0, 0);
        row("horizontal", {120, 0}, {15, 0}, 0, 0);
        row("null", {0, 0}, {0, 0}, 0, 0);
    }

    void wheel()
    {
        QFETCH(QPoint, delta);
        QTEST(kxpaging::wheelDegrees(delta), "degrees");
        QTEST(kxpaging::wheelPageTurn(delta), "turn");
        QTEST(kxpaging::appWheelSteps(delta), "steps");
    }

    void speakerHold_data()
    {
        // Reports of who speaks at given times (ms; "." only lets time pass,
        // "-" is silence) and who holds the stage after each, with take 1500
        // and hold 3000.
        QTest::addColumn<QString>("reports");
        QTest::addColumn<QString>("stages");
        QTest::newRow("a first speaker waits 1.5 s") << "0:A 1499:. 1500:." << "- - A";
        QTest::newRow("repeats keep the start") << "0:A 700:A 1400:A 1500:A" << "- - - A";
        QTest::newRow("a break restarts it") << "0:A 1000:- 1100:A 2500:. 2600:." << "- - - - A";
        QTest::newRow("held 3 s against a steady new speaker") << "0:A 1500:. 1600:B 4499:. 4500:." << "- A A A B";
        QTest::newRow("talking over each other does not move it")
            << "0:A 1500:. 2000:B 2500:A 3000:B 3500:A 4000:B 5000:A 9000:." << "- A A A A A A A A";
        QTest::newRow("back to the one on stage cancels") << "0:A 1500:. 4000:B 5000:A 5500:. 7000:." << "- A A A A A";
        QTest::newRow("silence keeps the last speaker") << "0:A 1500:. 2000:- 60000:." << "- A A A";
        QTest::newRow("long after the hold, 1.5 s is enough") << "0:A 1500:. 10000:B 11499:. 11500:." << "- A A A B";
    }

    void speakerHold()
    {
        QFETCH(QString, reports);
        SpeakerHold hold;
        QStringList got;
        for (const QString& r : reports.split(' ')) {
            const qint64 at = r.section(':', 0, 0).toLongLong();
            const QString who = r.section(':', 1);
            const qint64 next = hold.nextChangeAt();
            if (who == ".")
                hold.tick(at);
            else
                hold.report(who == "-" ? QString() : who, at);
            // A pending change is announced for exactly when it happens.
            if (next >= 0 && at >= next && who == ".")
                QCOMPARE(hold.stage(), hold.current());
            got << (hold.stage().isEmpty() ? QStringLiteral("-") : hold.stage());
        }
        QTEST(got.join(' '), "stages");
    }

    void speakerPlace_data()
    {
        // The first page's (spoke at, fixed) pairs and whose place an arriving
        // active speaker takes.
        QTest::addColumn<QString>("page");
        QTest::addColumn<int>("place");
        QTest::newRow("the one who never spoke, furthest back") << "5:0 0:0 9:0 0:0 7:0" << 3;
        QTest::newRow("the one who spoke longest ago") << "5:0 2:0 9:0 4:0" << 1;
        QTest::newRow("fixed places stay") << "0:1 2:1 9:0 4:1" << 2;
        QTest::newRow("all fixed") << "0:1 2:1" << -1;
        QTest::newRow("nobody") << "" << -1;
    }

    void speakerPlace()
    {
        QFETCH(QString, page);
        QVector<kxorder::PlaceItem> items;
        for (const QString& t : page.split(' ', Qt::SkipEmptyParts))
            items.append({t.section(':', 0, 0).toLongLong(), t.section(':', 1) == "1"});
        QTEST(kxorder::speakerPlaceIndex(items), "place");
    }

    void words_data()
    {
        // "[S:|I<state>:]name flags [pos/count[:page/pages]]" -> "name | description"; "mic flags" -> the
        // microphone control. Flags: h host, c co-host, y you, M muted, X no mic, V camera off, k speaking,
        // w weak network, A everyone watching, L view locked, T stage, P pinned, Z paused, Y sharing.
        QTest::addColumn<QString>("facts");
        QTest::addColumn<QString>("expected");
        for (const auto& r : std::vector<std::pair<const char*, const char*>>{
                 {"Ann", "Ann | "}, {"Bo h y M 3/8:1/2", "Bo | host, you, muted, 3 of 8, page 1 of 2"},
                 {"Cy c X V k w 1/1", "Cy | co-host, no microphone, camera off, speaking, weak network, 1 of 1"},
                 {"Di A L T P 2/9:2/1", "Di | everyone watching, view locked, on the stage, pinned, 2 of 9"},
                 {"S:Ann Z M V w 1/5", "Ann's screen | sharing paused, 1 of 5"}, {"S:", "Shared screen | "},
                 {"I2:Ben M V 7/8:2/2", "Ben (No answer) | invited, 7 of 8, page 2 of 2"},
                 {"I9:Ben Z", "Ben (Not joined) | invited"}, {"Eve y Y", "Eve | you, you are sharing"}, {"Eve Y Z", "Eve | "},
                 {"mic", "Mute | microphone on"}, {"mic M", "Unmute | muted"}, {"mic X M", "Microphone | no microphone"}})
            QTest::newRow(r.first) << QString(r.first) << QString(r.second);
    }

    void words()
    {
        QFETCH(QString, facts);
        const kxaccess::Translate english = [](const char*, const char* s, const char*) { return QString::fromUtf8(s); };
        QStringList t = facts.split(' ');
        kxaccess::TileFacts f;
        const QString head = t.takeFirst();
        f.kind = head.startsWith("S:") ? f.Share : head.startsWith("I") && head.contains(':') ? f.Invited : f.Person;
        f.name = head.section(':', -1);
        f.callState = head.mid(1).section(':', 0, 0).toInt();
        bool kxaccess::TileFacts::*const bits[] = {&kxaccess::TileFacts::self, &kxaccess::TileFacts::muted,
            &kxaccess::TileFacts::cameraOff, &kxaccess::TileFacts::speaking, &kxaccess::TileFacts::weakNetwork,
            &kxaccess::TileFacts::allLook, &kxaccess::TileFacts::lockLook, &kxaccess::TileFacts::pinned,
            &kxaccess::TileFacts::paused, &kxaccess::TileFacts::sharing};
        for (const QString& flag : t) {
            const QVector<int> at = ints(QString(flag).replace('/', ' ').replace(':', ' '));
            if (at.size() >= 2)
                std::tie(f.place.position, f.place.count, f.place.page, f.place.pages) =
                    std::make_tuple(at[0], at[1], at.value(2), at.value(3));
            if (flag.size() == 1 && QString("yMVkwALPZY").contains(flag))
                f.*bits[QString("yMVkwALPZY").indexOf(flag)] = true;
            f.role = flag == "h" ? 1 : flag == "c" ? 2 : f.role;
            f.hasMic = f.hasMic && flag != "X";
            f.place.stage = f.place.stage || flag == "T";
        }
        const bool mic = head == "mic";
        QTEST((mic ? kxaccess::micActionName(f.hasMic, f.muted, english) : tileName(f, english)) + " | "
                  + (mic ? kxaccess::micStateText(f.hasMic, f.muted, english) : tileDescription(f, english)), "expected");
    }

    void readingOrder_data()
    {
        // Rectangles "x y w h" separated by ";" -> their indices as read.
        QTest::addColumn<QString>("rects");
        QTest::addColumn<QString>("expected");
        QTest::newRow("grid rows") << "400 0 400 300;0 0 400 300;0 300 400 300;800 0 400 300" << "1 0 3 2";
        QTest::newRow("rows sharing an edge pixel") << "0 360 641 361;641 0 641 361;0 0 641 361" << "2 1 0";
        QTest::newRow("stage, column right") << "900 180 300 180;900 0 300 180;0 60 900 600;900 360 300 180" << "2 1 0 3";
        QTest::newRow("strip below") << "200 540 200 180;0 0 1280 540;0 540 200 180" << "1 2 0";
        QTest::newRow("strip above") << "0 180 1280 540;200 0 200 180;0 0 200 180" << "2 1 0";
        QTest::newRow("none") << "" << "";
    }

    void readingOrder()
    {
        QFETCH(QString, rects);
        QFETCH(QString, expected);
        QVector<QRect> r;
        for (const QString& one : rects.split(';', Qt::SkipEmptyParts)) {
            const QVector<int> a = ints(one);
            r.append(QRect(a[0], a[1], a[2], a[3]));
        }
        QCOMPARE(kxaccess::readingOrder(r), ints(expected));
    }

    void renderer_data()
    {
        // KX_RENDERER, the settings key, what a probe of OpenGL finds ("-": no context) -> renderer, log line.
        QTest::addColumn<QString>("env");
        QTest::addColumn<QString>("setting");
        QTest::addColumn<QString>("gl");
        QTest::addColumn<QString>("renderer");
        QTest::addColumn<QString>("line");
        auto row = [](const char* n, const char* env, const char* set, const char* gl, const char* r, const char* s) {
            QTest::newRow(n) << QString(env) << QString(set) << QString(gl) << QString(r) << QString(s);
        };
        const char* nv = "NVIDIA GeForce RTX 3060/PCIe/SSE2";
        row("llvmpipe", "", "", "llvmpipe (LLVM 15.0.6, 256 bits)", "raster",
            "GL renderer llvmpipe (LLVM 15.0.6, 256 bits): software drawing");
        row("softpipe", "", "", "softpipe", "raster", "GL renderer softpipe: software drawing");
        row("classic swrast", "", "", "Software Rasterizer", "raster",
            "GL renderer Software Rasterizer: software drawing");
        row("SwiftShader", "", "", "Google SwiftShader", "raster", "GL renderer Google SwiftShader: software drawing");
        row("WARP", "", "", "ANGLE (Microsoft Basic Render Driver Direct3D11)", "raster",
            "GL renderer ANGLE (Microsoft Basic Render Driver Direct3D11): software drawing");
        row("GDI", "", "", "GDI Generic", "raster", "GL renderer GDI Generic: software drawing");
        row("hardware", "", "", nv, "gl", "GL renderer NVIDIA GeForce RTX 3060/PCIe/SSE2: OpenGL drawing");
        row("no context", "", "", "-", "raster", "no OpenGL context: software drawing");
        row("forced gl", "gl", "", "llvmpipe", "gl", "KX_RENDERER=gl: OpenGL drawing");
        row("forced raster", " Raster ", "", nv, "raster", "KX_RENDERER=Raster: software drawing");
        row("setting", "", "raster", nv, "raster", "sys_ver.ini renderer=raster: software drawing");
        row("env over setting", "gl", "raster", "llvmpipe", "gl", "KX_RENDERER=gl: OpenGL drawing");
        row("env auto over setting", "auto", "raster", nv, "gl",
            "GL renderer NVIDIA GeForce RTX 3060/PCIe/SSE2: OpenGL drawing");
        row("setting auto", "", "AUTO", "llvmpipe", "raster", "GL renderer llvmpipe: software drawing");
        row("unknown env", "vulkan", "gl", "llvmpipe", "gl",
            "KX_RENDERER=vulkan not understood; sys_ver.ini renderer=gl: OpenGL drawing");
    }

    void renderer()
    {
        QFETCH(QString, env);
        QFETCH(QString, setting);
        QFETCH(QString, gl);
        QFETCH(QString, line);
        bool probed = false;
        const kxrender::RendererChoice c = kxrender::chooseRenderer(env, setting, [&]() {
            probed = true;
            return gl == "-" ? QString() : gl;
        });
        QTEST(QString(kxrender::rendererName(c.renderer)), "renderer");
        QCOMPARE(c.reason, line);
        QCOMPARE(probed, line.contains("GL renderer") || line.contains("no OpenGL context")); // only when left to auto
    }

    void frameBuffers_data()
    {
        // Buffer bytes (2wh + 20480, -1 past a signed 32-bit size) and why a
        // frame is refused, its length declaring the whole picture or, where
        // given, fewer bytes.
        QTest::addColumn<qint64>("w");
        QTest::addColumn<qint64>("h");
        QTest::addColumn<qint64>("length");
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("reason");
        auto row = [](const char* n, qint64 w, qint64 h, qint64 len, qint64 b, const char* r) {
            QTest::newRow(n) << w << h << len << b << QString(r);
        };
        row("720p", 1280, 720, -1, 1863680, "");
        row("1080p", 1920, 1080, -1, 4167680, "");
        row("1x1", 1, 1, -1, 20482, "");
        row("3x3 takes rounded-up chroma", 3, 3, 17, 20498, "");
        row("3x3 one byte short", 3, 3, 16, 20498, "length smaller than the picture");
        row("1080p over 64 bytes", 1920, 1080, 64, 4167680, "length smaller than the picture");
        row("zero width", 0, 720, -1, -1, "width not positive");
        row("negative width", -1280, 720, -1, -1, "width not positive");
        row("zero height", 1280, 0, -1, -1, "height not positive");
        row("negative height", 1280, -720, -1, -1, "height not positive");
        row("largest side", 16384, 16384, -1, 536891392, "area above 7680x4320 pixels");
        row("8K", 7680, 4320, -1, 66375680, "");
        row("long and thin", 16384, 2026, -1, 66408448, "area above 7680x4320 pixels");
        row("side above 16384", 16385, 2, -1, 86020, "side above 16384 pixels");
        row("largest square the buffer holds", 32767, 32767, -1, 2147373058, "side above 16384 pixels");
        row("square overflows", 32768, 32768, -1, -1, "side above 16384 pixels");
        row("huge side", 1, qint64(1) << 40, -1, -1, "side above 16384 pixels");
    }

    void frameBuffers()
    {
        QFETCH(qint64, w);
        QFETCH(qint64, h);
        QFETCH(qint64, length);
        QFETCH(QString, reason);
        static const uint8_t byte = 0;
        const qint64 declared = length < 0 ? kxvideo::i420Size(w, h) : length;
        QTEST(kxvideo::bufferSizeFor(w, h), "bytes");
        QCOMPARE(QString::fromLatin1(kxvideo::frameRejectReason(&byte, w, h, declared)), reason);
        QCOMPARE(QString::fromLatin1(kxvideo::frameRejectReason(nullptr, w, h, declared)), QStringLiteral("null data"));
    }

    void copyAligned_data()
    {
        QTest::addColumn<int>("w");
        QTest::addColumn<int>("h");
        for (const QSize s : {QSize(641, 360), QSize(640, 360), QSize(647, 17), QSize(16, 3), QSize(7, 5), QSize(9, 1), QSize(16, 5)})
            QTest::addRow("%dx%d", s.width(), s.height()) << s.width() << s.height();
    }

    void copyAligned()
    {
        // Rows cut to a multiple of 8, chroma after (h + 1) / 2 full rows; every
        // source byte tells its plane, row and column; guard bytes stay.
        QFETCH(int, w);
        QFETCH(int, h);
        const int cw = (w + 1) / 2, ch = (h + 1) / 2, A = w & ~7, ca = (A + 1) / 2;
        std::vector<uint8_t> src(size_t(w) * h + 2 * size_t(cw) * ch);
        auto at = [](int plane, int r, int c) { return uint8_t(plane * 101 + r * 7 + c * 3); };
        for (int plane = 0, i = 0; plane < 3; ++plane)
            for (int r = 0; r < (plane ? ch : h); ++r)
                for (int c = 0; c < (plane ? cw : w); ++c)
                    src[size_t(i++)] = at(plane, r, c);
        const qint64 bytes = qint64(A) * h + 2 * qint64(ca) * ch;
        std::vector<uint8_t> dst(size_t(bytes) + 64, 0xEE);
        QCOMPARE(kxvideo::copyI420Aligned(src.data(), w, h, dst.data()), bytes);
        for (int plane = 0, i = 0; plane < 3; ++plane)
            for (int r = 0; r < (plane ? ch : h); ++r)
                for (int c = 0; c < (plane ? ca : A); ++c, ++i)
                    QVERIFY2(dst[size_t(i)] == at(plane, r, c), qPrintable(QStringLiteral("plane %1 row %2 column %3").arg(plane).arg(r).arg(c)));
        for (size_t i = size_t(bytes); i < dst.size(); ++i)
            QCOMPARE(int(dst[i]), 0xEE);
    }
};

QTEST_APPLESS_MAIN(TstRules)
#include "tst_rules.moc"
