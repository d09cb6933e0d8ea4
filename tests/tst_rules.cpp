// The gallery's rules as pure functions: worked examples of where each layout
// puts its tiles and the picture, of the display order, paging, stream types,
// the active speaker and what a frame must be to be copied; and properties
// every layout keeps for any gallery size (no overlap, inside the gallery).
#include "accessrules.h"
#include "displayorder.h"
#include "layoutgeometry.h"
#include "layoutmemory.h"
#include "pagingrules.h"
#include "pendingwork.h"
#include "rendererrule.h"
#include "speakerhold.h"
#include "streampolicy.h"
#include "videoframe.h"

#include <QtTest>
#include <climits>
#include <numeric>

using namespace kxlayout;

namespace {

// A rectangle from its inclusive edges, as the layouts set them: a tile whose
// right edge is left + w is one pixel wider than w, on purpose.
QRect E(int l, int t, int r, int b) { return QRect(QPoint(l, t), QPoint(r, b)); }
const QSize HD(1920, 1080);

// "3 1 4" -> {3, 1, 4}
QVector<int> ints(const QString& s)
{
    QVector<int> out;
    for (const QString& n : s.split(' ', Qt::SkipEmptyParts))
        out.append(n.toInt());
    return out;
}

// A participant of an ordering row: what the order looks at, by name.
enum Kind { Video, NoVideo, NoStream, Stalled, Self, Host, SelfHost, Share, Sharer, Invited, TurnedOn, TurnedOff };
struct Who
{
    QString name;
    Kind kind;
    qint64 join;
};
using Roster = QVector<Who>;

QVector<kxorder::OrderItem> items(const Roster& roster)
{
    QVector<kxorder::OrderItem> out;
    for (const Who& w : roster) {
        const Kind k = w.kind;
        kxorder::OrderItem p;
        p.joinTime = w.join;
        p.preview = k == Video || k == NoStream || k == Stalled || k == Share || k == TurnedOn;
        p.streamStatus = k == Video || k == Share || k == TurnedOn ? 2 : k == Stalled;
        p.self = k == Self || k == SelfHost;
        p.role = k == Host || k == SelfHost ? 1 : 0;
        p.shareRecord = k == Share;
        p.sharingUser = k == Sharer;
        p.unjoined = k == Invited;
        p.videoStatusChange = k >= TurnedOn;
        out.append(p);
    }
    return out;
}

QStringList ordered(const Roster& roster, bool focus)
{
    QStringList names;
    for (int i : kxorder::displayOrder(items(roster), focus).order)
        names << roster.at(i).name;
    return names;
}

QString show(const QRect& r)
{
    return QStringLiteral("(%1,%2)-(%3,%4)").arg(r.left()).arg(r.top()).arg(r.right()).arg(r.bottom());
}

// The tiles of every page of every layout for a gallery and a roster size.
QVector<QVector<QRect>> allPages(int W, int H, int n)
{
    QVector<QVector<QRect>> pages;
    for (int p = 0; p * 6 < n; ++p)
        pages << equalCutRects(W, H, n, p);
    QVector<QRect> six, eight;
    for (int s = 0; s < qMin(n, 8); ++s) {
        eight << eightCutRect(W, H, n, s);
        if (s < 6)
            six << sixCutRect(W, H, n, s);
    }
    pages << six << eight << QVector<QRect>{splitStageRect(W, H, 0), splitStageRect(W, H, 1)};
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
    return pages;
}

// The first page of every layout over many gallery and roster sizes where
// check finds fault: empty, or what it found.
template <typename F> QString forEveryGallery(F check)
{
    for (int W = 320; W <= 3840; W += 197)
        for (int H = 180; H <= 2160; H += 113)
            for (int n = 2; n <= 14; ++n)
                for (const QVector<QRect>& tiles : allPages(W, H, n)) {
                    const QString fault = check(W, H, tiles);
                    if (!fault.isEmpty())
                        return QStringLiteral("%1x%2 n=%3: %4").arg(W).arg(H).arg(n).arg(fault);
                }
    return QString();
}

} // namespace

Q_DECLARE_METATYPE(Roster)
Q_DECLARE_METATYPE(kxaccess::TileFacts)
Q_DECLARE_METATYPE(QVector<kxorder::PlaceItem>)

class TstRules : public QObject
{
    Q_OBJECT
private slots:
    // --- where the tiles go ---------------------------------------------------
    void fullScreen_data()
    {
        // Fitted about the centre of the gallery; a tile narrow enough for
        // half of it keeps to its half, a gap away from the centre line.
        QTest::addColumn<QRect>("tile");
        QTest::addColumn<QRect>("gallery");
        QTest::addColumn<int>("gap");
        QTest::addColumn<QRect>("fitted");
        const QRect wide(0, 0, 4000, 1000);
        auto row = [](const char* name, QRect t, QRect g, int gap, QRect f) {
            QTest::newRow(name) << t << g << gap << f;
        };
        row("wide: centred", QRect(0, 0, 2000, 1080), QRect(0, 0, 2000, 1080), 1, E(40, 0, 1960, 1079));
        row("right half", QRect(2500, 0, 1500, 500), wide, 1, E(2001, 0, 2889, 499));
        row("lower half: below the centre", QRect(0, 1200, 400, 700), QRect(0, 0, 1080, 1920), 5, E(0, 961, 399, 1186));
    }
    void fullScreen()
    {
        QFETCH(QRect, tile);
        QFETCH(QRect, gallery);
        QFETCH(int, gap);
        QTEST(make169Rect(tile, gallery, gap), "fitted");
    }

    void grids_data()
    {
        // Modes 1 (equal cut; slots past 5 are on later pages), 2 (six-cut), 3 (eight-cut).
        QTest::addColumn<int>("mode");
        QTest::addColumn<QSize>("gallery");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("slot");
        QTest::addColumn<QRect>("tile");
        auto row = [](const char* name, int mode, QSize g, int n, int slot, QRect r) {
            QTest::newRow(name) << mode << g << n << slot << r;
        };
        row("alone: the whole gallery", 1, QSize(1280, 720), 1, 0, E(0, 0, 1280, 720));
        row("three: the third centred below", 1, HD, 3, 2, E(481, 541, 1439, 1080));
        row("six-cut: right column ends with the big tile", 2, HD, 6, 2, E(1280, 361, 1919, 719));
        row("six-cut: bottom row right", 2, HD, 6, 5, E(1280, 721, 1918, 1081));
        row("eight-cut: under the big tile", 3, HD, 8, 6, E(960, 811, 1438, 1080));
        row("eight-cut alone: centred", 3, QSize(1280, 1000), 1, 0, E(0, 140, 1280, 860));
    }
    void grids()
    {
        QFETCH(int, mode);
        QFETCH(QSize, gallery);
        QFETCH(int, count);
        QFETCH(int, slot);
        const int W = gallery.width(), H = gallery.height();
        const QRect got = mode == 1   ? equalCutRects(W, H, count, slot / 6).value(slot % 6)
                          : mode == 2 ? sixCutRect(W, H, count, slot)
                                      : eightCutRect(W, H, count, slot);
        QTEST(got, "tile");
    }

    void speakerStrips_data()
    {
        // 1920 x 1080; modes 5 (strip on the right), 6 (bottom), 7 (top); small -1 is the big tile.
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("stripHidden");
        QTest::addColumn<int>("small");
        QTest::addColumn<QRect>("tile");
        auto row = [](const char* name, int mode, int n, bool hidden, int small, QRect r) {
            QTest::newRow(name) << mode << n << hidden << small << r;
        };
        row("bottom: speaker above", 6, 4, false, -1, E(162, 1, 1758, 899));
        row("right: first small, two gaps away", 5, 4, false, 0, QRect(1605, 271, 316, 178));
        row("right, strip hidden: speaker fills", 5, 4, true, -1, E(0, 0, 1920, 1080));
        // The arithmetic puts a hidden strip's tiles past the gallery with no
        // area at all: they are there, and nobody sees them.
        row("right, strip hidden: small tiles vanish", 5, 4, true, 0, QRect(1922, 539, -2, -1));
    }
    void speakerStrips()
    {
        QFETCH(int, mode);
        QFETCH(int, count);
        QFETCH(bool, stripHidden);
        QFETCH(int, small);
        const SpeakerGeometry g = speakerGeometry(mode, 1920, 1080, count, stripHidden);
        QTEST(small < 0 ? g.big : speakerSmallRect(mode, 1920, 1080, count, g, small), "tile");
    }

    void speaker4_data()
    {
        // Two big tiles side by side over a strip of small ones.
        QTest::addColumn<QSize>("gallery");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("page");
        QTest::addColumn<QRect>("left");
        QTest::addColumn<QVector<QRect>>("small");
        const QRect big(0, 137, 959, 539);
        QTest::newRow("three: one small, centred") << HD << 3 << 0 << big << QVector<QRect>{QRect(800, 764, 318, 178)};
        QTest::newRow("ten: a later page starts at the left")
            << HD << 10 << 1 << big << QVector<QRect>{QRect(0, 764, 318, 178), QRect(320, 764, 318, 178)};
    }
    void speaker4()
    {
        QFETCH(QSize, gallery);
        QFETCH(int, count);
        QFETCH(int, page);
        const Speaker4Geometry g = speaker4Geometry(gallery.width(), gallery.height(), count, count - 2, page);
        QTEST(g.bigLeft, "left");
        QTEST(g.small, "small");
        QCOMPARE(g.bigRight, g.bigLeft.translated(g.bigLeft.width() + 1, 0));
    }

    void stage_data()
    {
        // The share fitted and centred; beside a whiteboard, each in its half.
        QTest::addColumn<QSize>("gallery");
        // -1: the whole stage
        QTest::addColumn<int>("half");
        QTest::addColumn<QRect>("rect");
        QTest::newRow("wide gallery") << QSize(2000, 1000) << -1 << E(111, 0, 1888, 1000);
        QTest::newRow("whiteboard beside a share") << HD << 1 << E(961, 270, 1920, 809);
    }
    void stage()
    {
        QFETCH(QSize, gallery);
        QFETCH(int, half);
        const int W = gallery.width(), H = gallery.height();
        QTEST(half < 0 ? shareStageRect(W, H) : splitStageRect(W, H, half), "rect");
    }

    void keptOnScreens_data()
    {
        // A 320x208 window dragged to a point, over a 1920x1040 screen and a 1280x680 one to its right.
        QTest::addColumn<QPoint>("wanted");
        QTest::addColumn<QPoint>("kept");
        QTest::newRow("onto the second") << QPoint(2500, 200) << QPoint(2500, 200);
        QTest::newRow("past the far corner") << QPoint(3100, -50) << QPoint(2880, 0);
        QTest::newRow("below the second: onto it") << QPoint(2500, 900) << QPoint(2500, 472);
        QTest::newRow("across, below the second: onto the first") << QPoint(1800, 900) << QPoint(1600, 832);
    }
    void keptOnScreens()
    {
        QFETCH(QPoint, wanted);
        const QVector<QRect> screens{QRect(0, 0, 1920, 1040), QRect(1920, 0, 1280, 680)};
        QTEST(keepOnScreens(QRect(wanted, QSize(320, 208)), screens), "kept");
    }

    void letterbox_data()
    {
        // The picture fitted whole into its tile; the derived side is a pixel
        // generous, and a side within two pixels of the tile takes it all.
        QTest::addColumn<QSize>("tile");
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QRect>("shown");
        QTest::newRow("wide in a squarish tile") << QSize(1280, 1000) << QSize(1280, 720) << QRect(0, 139, 1280, 721);
        QTest::newRow("wide in a wider tile") << QSize(100, 50) << QSize(1600, 900) << QRect(6, 0, 88, 50);
        QTest::newRow("two pixels short: snapped") << QSize(400, 225) << QSize(1280, 718) << QRect(0, 0, 400, 225);
        QTest::newRow("three pixels short: kept") << QSize(400, 226) << QSize(1280, 718) << QRect(0, 1, 400, 224);
        QTest::newRow("no picture") << QSize(400, 400) << QSize(0, 720) << QRect();
    }
    void letterbox()
    {
        QFETCH(QSize, tile);
        QFETCH(QSize, picture);
        QTEST(kxvideo::fitVideo(tile.width(), tile.height(), picture.width(), picture.height()), "shown");
    }

    void zoom_data()
    {
        // A share in a 1280x720 tile at a zoom about a centre (picture pixels), then (to > 0) at another
        // zoom about a point of the tile kept where it was: the part of the picture shown and where.
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<int>("percent");
        QTest::addColumn<QPoint>("centre");
        QTest::addColumn<int>("to");
        QTest::addColumn<QPoint>("anchor");
        QTest::addColumn<QRect>("source");
        QTest::addColumn<QRect>("target");
        const QSize hd(1920, 1080);
        const QRect tile(0, 0, 1280, 720);
        auto row = [](const char* name, QSize pic, int pc, QPoint c, int to, QPoint a, QRect s, QRect t) {
            QTest::newRow(name) << pic << pc << c << to << a << s << t;
        };
        row("small: smaller than the tile", {320, 180}, 200, {}, 0, {}, {0, 0, 320, 180}, {320, 180, 640, 360});
        row("to 200 % about the top-left", hd, 100, {960, 540}, 200, {0, 0}, {320, 180, 640, 360}, tile);
        row("fit to 100 % about the bottom-right", hd, 0, {}, 100, {1280, 720}, {640, 360, 1280, 720}, tile);
    }
    void zoom()
    {
        QFETCH(QSize, picture);
        QFETCH(int, percent);
        QFETCH(QPoint, centre);
        QFETCH(int, to);
        QFETCH(QPoint, anchor);
        const QSize tile(1280, 720);
        kxvideo::ZoomView z = kxvideo::zoomView(tile, picture, percent, centre);
        if (to > 0)
            z = kxvideo::zoomView(tile, picture, to, kxvideo::zoomAnchor(z, tile, to, anchor));
        QTEST(z.source, "source");
        QTEST(z.target, "target");
    }

    void zoomSteps_data()
    {
        // From a zoom (0: fitted) with the fitted scale, steps up or down through the stops above it.
        QTest::addColumn<int>("percent");
        QTest::addColumn<double>("fit");
        QTest::addColumn<int>("steps");
        QTest::addColumn<int>("zoom");
        QTest::newRow("down past the fit: fitted") << 75 << 0.667 << -1 << 0;
        QTest::newRow("no further than 200 %") << 150 << 0.667 << 5 << 200;
        QTest::newRow("a small picture: no zoom") << 0 << 2.5 << 1 << 0;
    }
    void zoomSteps()
    {
        QFETCH(int, percent);
        QFETCH(double, fit);
        QFETCH(int, steps);
        QTEST(kxvideo::zoomStep(percent, fit, steps), "zoom");
    }

    void words_data()
    {
        // Bo's tile with some facts set -> what a screen reader hears: its name | its description.
        QTest::addColumn<kxaccess::TileFacts>("facts");
        QTest::addColumn<QString>("heard");
        using F = kxaccess::TileFacts;
        auto row = [](const char* name, const char* heard, void (*set)(F&)) {
            F f;
            f.name = "Bo";
            set(f);
            QTest::newRow(name) << f << QString(heard);
        };
        row("nothing to say", "Bo | ", [](F&) {});
        row("host, you, muted, one page of two", "Bo | host, you, muted, 3 of 8, page 1 of 2", [](F& f) {
            f.role = 1, f.self = f.muted = true, f.place = {false, 3, 8, 1, 2};
        });
        row("a single page is not said", "Bo | co-host, no microphone, weak network, 1 of 1", [](F& f) {
            f.role = 2, f.hasMic = false, f.weakNetwork = true, f.place = {false, 1, 1, 1, 1};
        });
        row("looks, the stage, a pin", "Bo | everyone watching, view locked, on the stage, pinned",
            [](F& f) { f.allLook = f.lockLook = f.pinned = f.place.stage = true; });
        row("a share: only its pause", "Bo's screen | sharing paused", [](F& f) {
            f.kind = F::Share, f.paused = f.muted = f.cameraOff = f.weakNetwork = true;
        });
        row("invited: the call state", "Bo (No answer) | invited", [](F& f) { f.kind = F::Invited, f.callState = 2; });
        row("sharing, said to its sharer", "Bo | you, you are sharing", [](F& f) { f.self = f.sharing = true; });
    }

    void words()
    {
        QFETCH(kxaccess::TileFacts, facts);
        const kxaccess::Translate en = [](const char*, const char* s, const char*) { return QString(s); };
        QTEST(tileName(facts, en) + " | " + tileDescription(facts, en), "heard");
    }

    void readingOrder_data()
    {
        // Rectangles "x y w h" separated by ";" -> their indices as read.
        QTest::addColumn<QString>("rects");
        QTest::addColumn<QString>("expected");
        QTest::newRow("grid rows") << "400 0 400 300;0 0 400 300;0 300 400 300;800 0 400 300" << "1 0 3 2";
        QTest::newRow("rows sharing an edge pixel") << "0 360 641 361;641 0 641 361;0 0 641 361" << "2 1 0";
        QTest::newRow("stage, column right") << "900 180 300 180;900 0 300 180;0 60 900 600;900 360 300 180"
                                             << "2 1 0 3";
        QTest::newRow("strip below") << "200 540 200 180;0 0 1280 540;0 540 200 180" << "1 2 0";
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
        QTest::addColumn<QString>("line");
        auto row = [](const char* n, const char* env, const char* set, const char* gl, const char* s) {
            QTest::newRow(n) << QString(env) << QString(set) << QString(gl) << QString(s);
        };
        const char* nv = "NVIDIA GeForce RTX 3060/PCIe/SSE2";
        for (const char* sw : {"llvmpipe (LLVM 15.0.6, 256 bits)", "softpipe", "Software Rasterizer",
                               "Google SwiftShader", "ANGLE (Microsoft Basic Render Driver Direct3D11)", "GDI Generic"})
            row(sw, "", "", sw, qPrintable(QString("GL renderer %1: software drawing").arg(sw)));
        row("hardware", "", "", nv, "GL renderer NVIDIA GeForce RTX 3060/PCIe/SSE2: OpenGL drawing");
        row("no context", "", "", "-", "no OpenGL context: software drawing");
        row("forced raster", " Raster ", "", nv, "KX_RENDERER=Raster: software drawing");
        row("setting", "", "raster", nv, "sys_ver.ini renderer=raster: software drawing");
        row("env over setting", "gl", "raster", "llvmpipe", "KX_RENDERER=gl: OpenGL drawing");
        row("env auto over setting", "auto", "raster", nv,
            "GL renderer NVIDIA GeForce RTX 3060/PCIe/SSE2: OpenGL drawing");
        row("unknown env", "vulkan", "gl", "llvmpipe",
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
        QCOMPARE(c.reason, line);
        QCOMPARE(QString(kxrender::rendererName(c.renderer)), line.endsWith("OpenGL drawing") ? "gl" : "raster");
        QCOMPARE(probed, line.contains("GL renderer") || line.contains("no OpenGL context")); // only when left to auto
    }


    // Over many gallery sizes and counts, no two tiles of a page share a pixel...
    void noTwoTilesOverlap()
    {
        const QString overlap = forEveryGallery([](int, int, const QVector<QRect>& tiles) {
            for (int i = 0; i < tiles.size(); ++i)
                for (int j = i + 1; j < tiles.size(); ++j)
                    if (!tiles[i].isEmpty() && tiles[i].intersects(tiles[j]))
                        return show(tiles[i]) + " and " + show(tiles[j]);
            return QString();
        });
        QVERIFY2(overlap.isEmpty(), qPrintable(overlap));
    }

    // ...and each is inside the gallery, give or take the two pixels of the
    // six-cut bottom row's inclusive edges. (Wider than 2.5:1, speaker4
    // centres its block of big tiles and strip past the top and bottom.)
    void tilesStayInTheGallery()
    {
        const QString outside = forEveryGallery([](int W, int H, const QVector<QRect>& tiles) {
            for (const QRect& t : tiles)
                if (W <= 5 * H / 2 && !t.isEmpty() && !QRect(-2, -2, W + 4, H + 4).contains(t))
                    return show(t);
            return QString();
        });
        QVERIFY2(outside.isEmpty(), qPrintable(outside));
    }

    // --- who goes where -------------------------------------------------------
    void order_data()
    {
        QTest::addColumn<Roster>("roster");
        // a layout with a big tile (4 to 8)
        QTest::addColumn<bool>("focus");
        QTest::addColumn<QStringList>("expected");
        const Roster staff{{"Ann", Video, 1}, {"Me", Self, 2}, {"Hal", Host, 3}, {"Di", NoVideo, 0}};
        auto row = [](const char* name, const Roster& r, bool focus, const char* expected) {
            QTest::newRow(name) << r << focus << QString(expected).split(' ', Qt::SkipEmptyParts);
        };
        row("nobody", {}, false, "");
        row("video first, by join time", {{"Ann", NoVideo, 1}, {"Bo", Video, 5}, {"Cy", Video, 3}, {"Di", NoVideo, 0}},
            false, "Cy Bo Di Ann");
        row("the share, its sharer, then video",
            {{"Ann", Video, 1}, {"Bo", Sharer, 5}, {"Screen", Share, 9}, {"Di", NoVideo, 0}}, false,
            "Screen Bo Ann Di");
        row("grid: host, then self", staff, false, "Hal Me Ann Di");
        row("big tile: self, then host", staff, true, "Me Hal Ann Di");
        row("two just on: in roster order", {{"Ann", Video, 10}, {"Bo", TurnedOn, 2}, {"Cy", TurnedOn, 1}}, false,
            "Ann Bo Cy");
        row("video just off: first without video",
            {{"Ann", NoVideo, 10}, {"Bo", NoVideo, 20}, {"Cy", TurnedOff, 30}, {"Di", Video, 5}}, false,
            "Di Cy Ann Bo");
        row("invited last, in roster order",
            {{"Ivy", Invited, 5}, {"Bo", Video, 9}, {"Ian", Invited, 1}, {"Di", NoVideo, 3}}, false, "Bo Di Ivy Ian");
    }
    void order()
    {
        QFETCH(Roster, roster);
        QFETCH(bool, focus);
        QTEST(ordered(roster, focus), "expected");
    }

    void joinTimesStopAtTheEnds()
    {
        // A changed video flag moves a participant one step before or after
        // another by its join time: at the ends of the range it stops, not wraps.
        const auto off = kxorder::displayOrder(items({{"First", NoVideo, LLONG_MIN}, {"Off", TurnedOff, 5}}), false);
        const auto on = kxorder::displayOrder(items({{"Last", Video, LLONG_MAX}, {"On", TurnedOn, 6}}), false);
        QCOMPARE(off.joinTime, (QVector<qint64>{LLONG_MIN, LLONG_MIN}));
        QCOMPARE(on.joinTime, (QVector<qint64>{LLONG_MAX, LLONG_MAX}));
    }

    void orderIsStable()
    {
        // Ordering an ordered roster again, with the join times the first
        // ordering wrote, changes nothing.
        const Roster r{{"Ned", NoVideo, 8}, {"Vic", Video, 7}, {"Bo", Sharer, 2}, {"Me", Self, 9}, {"Hal", Host, 6},
                       {"Cal", TurnedOn, 3}, {"Screen", Share, 0}, {"Dan", TurnedOff, 5}, {"Ivy", Invited, 1}};
        for (bool focus : {false, true}) {
            const kxorder::OrderResult once = kxorder::displayOrder(items(r), focus);
            Roster again;
            for (int i : once.order) {
                const Kind k = r.at(i).kind;
                again << Who{r.at(i).name, k == TurnedOff ? NoVideo : k >= TurnedOn ? Video : k, once.joinTime.at(i)};
            }
            QCOMPARE(ordered(again, focus), ordered(r, focus));
        }
    }

    void speakerHold_data()
    {
        // Reports of who speaks when (ms; "." lets time pass, "-" is silence)
        // and who holds the stage after each: taken after 1.5 s, held 3 s.
        QTest::addColumn<QString>("reports");
        QTest::addColumn<QString>("stages");
        QTest::newRow("a first speaker waits 1.5 s") << "0:A 1499:. 1500:." << "- - A";
        QTest::newRow("held 3 s against a new speaker") << "0:A 1500:. 1600:B 4499:. 4500:." << "- A A A B";
        QTest::newRow("talking over each other") << "0:A 1500:. 2000:B 2500:A 3000:B 4000:A 9000:." << "- A A A A A A";
        QTest::newRow("silence keeps the last speaker") << "0:A 1500:. 2000:- 60000:." << "- A A A";
        // "!B": the host puts B on the stage (voice activation): at once, then held.
        QTest::newRow("put on the stage at once") << "0:A 100:!B 1600:. 3099:. 3100:." << "- B B B A";
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
            if (who.startsWith('!'))
                hold.force(who.mid(1), at);
            else
                who == "." ? hold.tick(at) : hold.report(who == "-" ? QString() : who, at);
            // A pending change is announced for exactly when it happens.
            if (next >= 0 && at >= next && who == ".")
                QCOMPARE(hold.stage(), hold.current());
            got << (hold.stage().isEmpty() ? QStringLiteral("-") : hold.stage());
        }
        QTEST(got.join(' '), "stages");
    }

    void layoutMemory_data()
    {
        // From a layout, events and then the layout and stage share after each: S share, W whiteboard,
        // P floating window, F full view, L look, begun (+) or ended (-); Cb share b put on the stage,
        // H6 layout 6 chosen. Whatever the order, the layout from before comes back at the end.
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("events");
        QTest::addColumn<QString>("layouts");
        auto row = [](const char* n, int s, const char* e, const char* l) {
            QTest::newRow(n) << s << QString(e) << QString(l);
        };
        row("a share", 5, "S+a S-a", "4a 5");
        row("two shares overlap", 5, "S+a S+b S-a S-b", "4a 4a 4b 5");
        row("a click puts the other share on the stage", 2, "S+a S+b Cb S-b S-a", "4a 4a 4b 4a 2");
        row("a whiteboard over a share", 6, "S+a W+ S-a W-", "4a 4a 4 6");
        row("the external screen takes the share and gives it back", 3, "W+ S+a S-a W- S+a S-a", "4 4a 4 3 4a 3");
        row("double click on the stage", 8, "S+a F+ F- S-a", "4a 9a 4a 8");
        row("the floating window beside a full view", 5, "F+ P+ F- P-", "9 9 4 5");
        row("a look, then a share", 1, "L+ S+a S-a L-", "5 4a 5 1");
        row("a layout chosen during a share", 5, "S+a H6 S-a", "4a 6a 6");
        row("ends of what never began", 5, "S-a W- F-", "5 5 5");
        row("everything, ended in another order", 7, "L+ S+a W+ P+ F+ S+b F- L- S-a P- W- S-b",
            "7 4a 4a 4a 9a 4a 4a 4a 4b 4b 4b 7");
    }
    void layoutMemory()
    {
        QFETCH(int, start);
        QFETCH(QString, events);
        LayoutMemory m(start);
        QStringList got;
        QSet<QString> open;
        for (const QString& e : events.split(' ')) {
            const QString key = e.mid(2);
            if (e[0] == 'H')
                m.choose(e.mid(1).toInt());
            else if (e[0] == 'C')
                QVERIFY(m.chooseStageShare(e.mid(1)));
            else if (e[1] == '+')
                m.begin(LayoutMemory::Cause(QString("SWPFL").indexOf(e[0])), key, m.layout()), open << e[0] + key;
            else
                m.end(LayoutMemory::Cause(QString("SWPFL").indexOf(e[0])), key), open.remove(e[0] + key);
            got << QString::number(m.layout()) + m.stageShare();
        }
        QTEST(got.join(' '), "layouts");
        QCOMPARE(m.isEmpty(), open.isEmpty());
        if (open.isEmpty() && !events.contains('H'))
            QCOMPARE(m.layout(), start);
    }

    // --- pages ------------------------------------------------------------------
    void buttons_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("page");
        QTest::addColumn<bool>("stripHidden");
        QTest::addColumn<QString>("shown");
        auto row = [](const char* name, int mode, int n, int page, bool hidden, const char* shown) {
            QTest::newRow(name) << mode << n << page << hidden << QString(shown);
        };
        row("grid, first of two pages", 1, 7, 0, false, "pageNext");
        row("grid, the last of two full pages", 1, 12, 1, false, "pagePre");
        row("grid, middle page", 1, 13, 1, false, "pagePre,pageNext");
        row("speaker4, middle page", 8, 16, 1, false, "stripPre,stripNext");
        row("bottom strip, one over", 6, 8, 0, false, "stripNext");
        row("right strip, one page", 5, 4, 0, false, "ctrlRHide");
        row("right strip hidden, middle page", 5, 14, 1, true, "pageUp,ctrlLShow");
        row("six-cut", 2, 20, 1, false, "");
    }
    void buttons()
    {
        QFETCH(int, mode);
        QFETCH(int, count);
        QFETCH(int, page);
        QFETCH(bool, stripHidden);
        const kxpaging::PageButtons b = kxpaging::visibleButtons(mode, count, page, stripHidden, true);
        QStringList shown;
        const std::pair<bool, const char*> all[] = {{b.pagePre, "pagePre"}, {b.pageNext, "pageNext"},
                                                    {b.stripPre, "stripPre"}, {b.stripNext, "stripNext"},
                                                    {b.pageUp, "pageUp"}, {b.pageDown, "pageDown"},
                                                    {b.ctrlRHide, "ctrlRHide"}, {b.ctrlLShow, "ctrlLShow"}};
        for (const auto& a : all)
            if (a.first)
                shown << a.second;
        QTEST(shown.join(','), "shown");
    }

    void pageCount_data()
    {
        // Pages that show somebody: the grid six a page, the strips without the big tiles.
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("pages");
        QTest::newRow("grid, nobody") << 1 << 0 << 1;
        QTest::newRow("grid, seven") << 1 << 7 << 2;
        QTest::newRow("right strip, seven") << 5 << 7 << 1;
        QTest::newRow("right strip, eight") << 5 << 8 << 2;
        QTest::newRow("speaker4, nine") << 8 << 9 << 2;
        QTest::newRow("six-cut pages not") << 3 << 20 << 1;
        QTest::newRow("full screen") << 9 << 20 << 1;
    }
    void pageCount()
    {
        QFETCH(int, mode);
        QFETCH(int, count);
        QTEST(kxpaging::shownPageCount(mode, count), "pages");
    }

    void pendingWork_data()
    {
        // What host threads queue, as "kind:index=value" (kind c: a caption, merged where
        // it waits, at most two waiting), and what then runs, in order.
        QTest::addColumn<QString>("puts");
        QTest::addColumn<QString>("runs");
        QTest::newRow("the newest of a kind, where it was asked last") << "v=1 m=1 v=2" << "m=1 v=2";
        QTest::newRow("kinds keep their order") << "a=1 b=1 c:1=1" << "a=1 b=1 c:1=1";
        QTest::newRow("a caption revised keeps its line") << "c:7=x c:8=y c:7=z" << "c:7=z c:8=y";
        QTest::newRow("captions past the cap drop the oldest") << "c:1=a c:2=b c:3=c" << "c:2=b c:3=c";
    }
    void pendingWork()
    {
        QFETCH(QString, puts);
        kxwork::PendingWork work;
        QStringList ran;
        for (const QString& p : puts.split(' ')) {
            kxwork::PendingWork::Key k;
            k.kind = p.at(0).unicode();
            k.sub = p.section('=', 0, 0).section(':', 1).toLongLong();
            const bool caption = p.startsWith('c');
            work.put(k, [&ran, p]() { ran << p; }, {caption, caption ? 2 : 0});
        }
        for (std::function<void()>& f : work.takeAll())
            f();
        QTEST(ran.join(' '), "runs");
        QCOMPARE(work.size(), 0);
    }

    void strip_data()
    {
        // The strip beside a big tile, paged by six, skips the participant in
        // the big tile: the page it shows and whom it places.
        QTest::addColumn<int>("page");
        // roster index in the big tile, -1 none
        QTest::addColumn<int>("focus");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("shownPage");
        QTest::addColumn<QVector<int>>("placed");
        QTest::newRow("focus before the page") << 1 << 3 << 14 << 1 << QVector<int>{7, 8, 9, 10, 11, 12};
        QTest::newRow("focus on the page: widened") << 1 << 8 << 14 << 1 << QVector<int>{6, 7, 9, 10, 11, 12};
        QTest::newRow("focus at the head") << 0 << 0 << 14 << 0 << QVector<int>{1, 2, 3, 4, 5, 6};
        QTest::newRow("focus inside the first page") << 0 << 5 << 14 << 0 << QVector<int>{0, 1, 2, 3, 4, 6};
        QTest::newRow("past the end: lowered") << 3 << 0 << 14 << 2 << QVector<int>{13};
        QTest::newRow("only the focus past the page: lowered")
            << 2 << 12 << 13 << 1 << QVector<int>{6, 7, 8, 9, 10, 11};
    }
    void strip()
    {
        QFETCH(int, page);
        QFETCH(int, focus);
        QFETCH(int, count);
        const kxpaging::FocusRange r = kxpaging::focusStartPos(page, focus, count);
        QTEST(r.pageIdx, "shownPage");
        QTEST(kxpaging::speakerStripIndices(r, focus, count), "placed");
    }

    // --- stream types -----------------------------------------------------------
    void pageStream_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("page");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("type");
        QTest::newRow("grid of two: large") << 1 << 0 << 2 << 4;
        QTest::newRow("grid of three: ordinary") << 1 << 0 << 3 << 3;
        QTest::newRow("one on the second page: ordinary") << 1 << 1 << 7 << 3;
        QTest::newRow("other layouts: small") << 4 << 0 << 2 << 2;
    }
    void pageStream()
    {
        QFETCH(int, mode);
        QFETCH(int, page);
        QFETCH(int, count);
        QTEST(kxstream::curPageStreamType(mode, page, count), "type");
    }

    void defaultStream_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("fullScreenTile");
        QTest::addColumn<bool>("focus");
        QTest::addColumn<int>("type");
        QTest::newRow("full screen, its tile: large") << 9 << 8 << true << false << 4;
        QTest::newRow("speaker: the focus large") << 5 << 8 << false << true << 4;
        QTest::newRow("speaker: the others small") << 5 << 2 << true << false << 2;
        QTest::newRow("other layouts: ordinary") << 6 << 2 << false << true << 3;
    }
    void defaultStream()
    {
        QFETCH(int, mode);
        QFETCH(int, count);
        QFETCH(bool, fullScreenTile);
        QFETCH(bool, focus);
        QTEST(kxstream::defStreamType(mode, count, fullScreenTile, focus), "type");
    }

    // --- frames -----------------------------------------------------------------
    void frameRefused_data()
    {
        // Why a frame is not copied; its length declares the whole picture unless given.
        QTest::addColumn<QSize>("size");
        // -1: the picture's own
        QTest::addColumn<qint64>("length");
        QTest::addColumn<QString>("reason");
        QTest::newRow("3x3 takes rounded-up chroma") << QSize(3, 3) << qint64(17) << "";
        QTest::newRow("3x3 one byte short") << QSize(3, 3) << qint64(16) << "length smaller than the picture";
        QTest::newRow("zero width") << QSize(0, 720) << qint64(-1) << "width not positive";
        QTest::newRow("8K") << QSize(7680, 4320) << qint64(-1) << "";
        QTest::newRow("long and thin") << QSize(16384, 2026) << qint64(-1) << "area above 7680x4320 pixels";
        QTest::newRow("side above 16384") << QSize(16385, 2) << qint64(-1) << "side above 16384 pixels";
    }
    void frameRefused()
    {
        QFETCH(QSize, size);
        QFETCH(qint64, length);
        static const uint8_t byte = 0;
        const qint64 w = size.width(), h = size.height();
        const qint64 declared = length < 0 ? kxvideo::i420Size(w, h) : length;
        QTEST(QString::fromLatin1(kxvideo::frameRejectReason(&byte, w, h, declared)), "reason");
        QCOMPARE(QString::fromLatin1(kxvideo::frameRejectReason(nullptr, w, h, declared)), QStringLiteral("null data"));
    }

    void copyAligned_data()
    {
        // Source byte i holds i; the bytes kept, in order, as ranges: rows cut
        // to a multiple of 8 (Y, then U, then V).
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QString>("kept");
        QTest::newRow("16x2: whole") << QSize(16, 2) << "0-47";
        QTest::newRow("12x2: four columns dropped") << QSize(12, 2) << "0-7 12-19 24-27 30-33";
        QTest::newRow("9x3: odd sides") << QSize(9, 3) << "0-7 9-16 18-25 27-30 32-35 37-40 42-45";
    }
    void copyAligned()
    {
        QFETCH(QSize, size);
        QFETCH(QString, kept);
        QVector<uint8_t> src(int(kxvideo::i420Size(size.width(), size.height())));
        std::iota(src.begin(), src.end(), 0);
        QVector<uint8_t> want;
        for (const QString& r : kept.split(' '))
            for (int i = r.section('-', 0, 0).toInt(); i <= r.section('-', 1).toInt(); ++i)
                want << uint8_t(i);
        QVector<uint8_t> dst(src.size() + 8, 0xEE);
        QCOMPARE(kxvideo::copyI420Aligned(src.data(), size.width(), size.height(), dst.data()), qint64(want.size()));
        QCOMPARE(dst.mid(0, want.size()), want);
        QCOMPARE(dst.mid(want.size()), QVector<uint8_t>(dst.size() - want.size(), 0xEE));
    }
};

QTEST_APPLESS_MAIN(TstRules)
#include "tst_rules.moc"
