// Live captions: the sentence store (by table, with a clock the test moves),
// where the band may go in each layout, and the band itself on a gallery
// driven through the exports (pixels read back), also under a flood from a
// host thread.
#include "kxtestkit.h"
#include "sentencestore.h"
#include "subtitleband.h"
#include "subtitleplacement.h"

#include "layoutgeometry.h"

using namespace kxtest;
using kxsubtitle::SentenceStore;

namespace {

// One call on the store at a time in ms: an add, or with type Expire, expire().
enum { Expire = -1 };
struct Step { qint64 at; int type; int index; QString name, text; };
using Steps = QVector<Step>;

QString line(int index, bool bFinal, const QString& name, const QString& text)
{
    return QStringLiteral("%1%2 %3: %4").arg(index).arg(QLatin1Char(bFinal ? 'F' : 'P')).arg(name, text);
}

// Pixels of r that differ from the same pixel of ref (by more than 24 in a
// channel), or without ref, pixels close to white (the words).
int count(const QImage& img, const QRect& r, const QImage* ref = nullptr)
{
    int n = 0;
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x) {
            const QRgb p = img.pixel(x, y), q = ref ? ref->pixel(x, y) : qRgb(255, 255, 255);
            const int d = qMax(qMax(qAbs(qRed(p) - qRed(q)), qAbs(qGreen(p) - qGreen(q))), qAbs(qBlue(p) - qBlue(q)));
            n += (ref ? d > 24 : d <= 55) ? 1 : 0;
        }
    return n;
}

} // namespace

Q_DECLARE_METATYPE(Steps)
Q_DECLARE_METATYPE(kxsubtitle::GalleryState)

class TstSubtitles : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void store_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<qint64>("nextExpiry"); // after the last step

        const QString a = QStringLiteral("Ann"), b = QStringLiteral("Bo");
        const Step expire{6000, Expire, 0, {}, {}};
        QTest::newRow("a new index starts a line, revised in place") << Steps{{0, 0, 1, a, "hel"}, {0, 0, 2, b, "yo"}, {900, 1, 1, a, "Hello."}}
            << QStringList{line(1, true, a, "Hello."), line(2, false, b, "yo")} << qint64(5100);
        QTest::newRow("a final line survives the next partial one") << Steps{{0, 1, 1, a, "Done."}, {10, 0, 2, a, "next"}}
            << QStringList{line(1, true, a, "Done."), line(2, false, a, "next")} << qint64(5990);
        QTest::newRow("final: no late partial, corrections of any type but 0")
            << Steps{{0, 1, 1, a, "Done."}, {10, 0, 1, a, "Do"}, {20, 7, 1, a, "Dune."}, {30, 0, 1, a, "D"}}
            << QStringList{line(1, true, a, "Dune.")} << qint64(5990);
        QTest::newRow("6 s after the last change") << Steps{{0, 0, 1, a, "a"}, {0, 0, 2, b, "b"}, {4000, 0, 1, a, "ab"}, expire}
            << QStringList{line(1, false, a, "ab")} << qint64(4000);
        QTest::newRow("kept until 6 s") << Steps{{1, 0, 1, a, "a"}, expire} << QStringList{line(1, false, a, "a")} << qint64(1);
        QTest::newRow("a repeat is no change") << Steps{{0, 0, 1, a, "a"}, {3000, 0, 1, a, "a"}, expire}
            << QStringList{} << qint64(-1);
        QTest::newRow("null name and text") << Steps{{0, 1, -5, {}, {}}} << QStringList{line(-5, true, {}, {})} << qint64(6000);
        QTest::newRow("very long text: the newest words") << Steps{{0, 0, 1, a, QString(200000, 'x') + "end"}}
            << QStringList{line(1, false, a, QString(597, 'x') + "end")} << qint64(6000);
        const QString smile = QString::fromUtf8("\xF0\x9F\x98\x80");
        QTest::newRow("no half of a pair at the cut") << Steps{{0, 0, 1, a, smile.repeated(400) + "b"}}
            << QStringList{line(1, false, a, smile.repeated(299) + "b")} << qint64(6000);
        QTest::newRow("not UTF-8") << Steps{{0, 0, 1, QString::fromUtf8("\xff" "Ann"), QString::fromUtf8("o\xfek")}}
            << QStringList{line(1, false, a, "ok")} << qint64(6000);
        QTest::newRow("one line, long names cut") << Steps{{0, 0, 1, QString(100, 'n'), " one\n\ttwo   three "}}
            << QStringList{line(1, false, QString(64, 'n'), "one two three")} << qint64(6000);
        Steps many;
        QStringList kept;
        for (int i = 0; i < 60; ++i) {
            many.append({i, 0, i, a, QString::number(i)});
            if (i >= 10)
                kept.append(line(i, false, a, QString::number(i)));
        }
        QTest::newRow("50 kept, the oldest dropped") << many << kept << qint64(6000 - 59 + 10);
    }

    void store()
    {
        QFETCH(Steps, steps);
        qint64 now = 0;
        SentenceStore s([&now]() { return now; });
        for (const Step& st : steps) {
            now = st.at;
            if (st.type == Expire)
                s.expire();
            else
                s.add(st.type, st.index, st.name, st.text);
        }
        QStringList got;
        for (const SentenceStore::Sentence& x : s.sentences())
            got.append(line(x.index, x.bFinal, x.name, x.text));
        QTEST(got, "expected");
        QTEST(s.msToNextExpiry(), "nextExpiry");
    }

    void placement_data()
    {
        QTest::addColumn<kxsubtitle::GalleryState>("g");
        QTest::addColumn<QRect>("video");          // the area is inside it and shares its bottom edge
        QTest::addColumn<QVector<QRect>>("avoid"); // strips and controls it must not touch

        using namespace kxlayout;
        const int W = 1280, H = 720;
        using GS = kxsubtitle::GalleryState;
        const QRect pagePre(24, (H - 36) / 2, 36, 36), pageNext(W - 60, (H - 36) / 2, 36, 36);
        QRect grid;
        for (const QRect& r : equalCutRects(W, H, 9, 0))
            grid = grid.united(r);
        QTest::newRow("1: under the page controls") << GS{1, W, H, 9, 0, false, {pagePre, pageNext}} << grid
                                                    << QVector<QRect>{pagePre, pageNext};
        QVector<QRect> six, eight;
        for (int i = 1; i < 8; ++i)
            six << sixCutRect(W, H, 6, qMin(i, 5)), eight << eightCutRect(W, H, 8, i);
        QTest::newRow("2: above the bottom row") << GS{2, W, H, 6} << sixCutRect(W, H, 6, 0) << six;
        QTest::newRow("3: above the bottom row") << GS{3, W, H, 8} << eightCutRect(W, H, 8, 0) << eight;
        QTest::newRow("4: the whole stage") << GS{4, W, H, 3} << QRect(0, 0, W, H) << QVector<QRect>{};
        for (int mode : {5, 6, 7}) {
            const SpeakerGeometry geo = speakerGeometry(mode, W, H, 5, false);
            QVector<QRect> strip;
            for (int i = 0; i < 4; ++i)
                strip.append(speakerSmallRect(mode, W, H, 5, geo, i));
            QTest::newRow(qPrintable(QStringLiteral("%1: beside the strip").arg(mode))) << GS{mode, W, H, 5} << geo.big << strip;
        }
        const Speaker4Geometry s4 = speaker4Geometry(W, H, 6, 4, 0);
        QTest::newRow("8: above the strip") << GS{8, W, H, 6} << s4.bigLeft.united(s4.bigRight) << (s4.small + QVector<QRect>{s4.strip});
        QTest::newRow("9: over the one tile") << GS{9, W, H, 4} << make169Rect(QRect(0, 0, W, H), QRect(0, 0, W, H))
                                              << QVector<QRect>{};
    }

    void placement()
    {
        QFETCH(kxsubtitle::GalleryState, g);
        QFETCH(QRect, video);
        QFETCH(QVector<QRect>, avoid);
        const QRect area = kxsubtitle::bandArea(g);
        QVERIFY(area.height() >= 100 && area.width() >= 400);
        QVERIFY(video.contains(area) && QRect(0, 0, g.W, g.H).contains(area));
        QCOMPARE(area.bottom(), qMin(video.bottom(), g.H - 1));
        for (const QRect& r : avoid)
            QVERIFY(!r.intersects(area));
    }

    // Layout 6 (a strip along the bottom): the band sits over the speaker's
    // picture, above the strip, and draws only inside its rectangle; then a
    // flood of sentences from a host thread.
    void bandAboveTheStripAndFlooded()
    {
        Gallery g(QSize(1280, 720), 5);
        QVERIFY(QTest::qWaitForWindowExposed(&g.parent));
        g.setMode(6);
        KXScreen_OpenSubtitle(g.h, true);
        // Grey pictures until every tile on screen shows one (a tile just placed
        // ignores frames for a moment), then the gallery as it looks.
        QVERIFY(QTest::qWaitFor([&]() {
            g.feed();
            const QVector<tagPersonInfo*> shown = g.shown();
            return std::none_of(shown.begin(), shown.end(), [](tagPersonInfo* p) { return p->pWidget->isNoVideo(); });
        }, 5000));
        QTest::qWait(200);
        const QImage before = grab(g);
        QByteArray name("Ann"), part("so the plan"), done("So the plan is settled."), bad("\xffok\xfe");
        KXScreen_AddSentence(g.h, 0, 1, name.data(), part.data());
        KXScreen_AddSentence(g.h, 1, 1, name.data(), done.data());
        KXScreen_AddSentence(g.h, 0, 2, nullptr, bad.data());
        QTRY_VERIFY(band(g)->isVisible());
        QCOMPARE(band(g)->shownLineCount(), 2);
        // The partial line revised into a long one: the two sentences fill the three lines.
        QByteArray text(QByteArray("words ").repeated(200));
        KXScreen_AddSentence(g.h, 0, 2, name.data(), text.data());
        QTRY_COMPARE(band(g)->shownLineCount(), 3);
        const QRect r = band(g)->geometry();
        QVERIFY(g.screen()->focusPlayWidget()->geometry().contains(r));
        QCOMPARE(g.shown().size(), 5);
        for (tagPersonInfo* p : g.shown())
            QVERIFY(p->pWidget == g.screen()->focusPlayWidget() || r.bottom() < p->pWidget->geometry().top());
        const QImage shown = grab(g);
        QVERIFY(count(shown, r, &before) > r.width() * r.height() / 2); // the backing
        QVERIFY(count(shown, r) > count(before, r) + 100);              // the words
        QCOMPARE(count(shown, QRect(0, r.bottom() + 1, 1280, 720 - r.bottom() - 1), &before), 0);

        // Closed, it keeps what it is told; open again, it shows it.
        KXScreen_OpenSubtitle(g.h, false);
        QVERIFY(!band(g)->isVisible());
        QCOMPARE(count(grab(g), r, &before), 0);
        KXScreen_OpenSubtitle(g.h, true);
        QVERIFY(band(g)->isVisible());

        KXScreen_ClearSubtitles(g.h);
        QVERIFY(!band(g)->isVisible());
        QCOMPARE(band(g)->store().size(), 0);
        QCOMPARE(count(grab(g), r, &before), 0);

        const int layoutsBefore = band(g)->layoutCount();
        // The interface thread is held in join() meanwhile: everything is queued.
        std::thread([&]() {
            QByteArray longText(100000, 'w'), name("Cy");
            for (int i = 0; i < 1000; ++i) {
                QByteArray text = "sentence " + QByteArray::number(i);
                KXScreen_AddSentence(g.h, i % 2, i / 2, i % 7 ? name.data() : nullptr, i % 10 ? text.data() : longText.data());
            }
        }).join();
        QTRY_VERIFY(band(g)->isVisible());
        QCOMPARE(band(g)->store().sentences().last().index, 499);
        QCOMPARE(band(g)->store().size(), SentenceStore::kMaxSentences);
        // A thousand calls, one layout.
        QVERIFY(band(g)->layoutCount() - layoutsBefore <= 2);
    }

    void bandEmptiesItself()
    {
        QWidget gallery;
        gallery.resize(640, 360);
        SubtitleBand band(&gallery, 200);
        gallery.show();
        band.setOpen(true);
        band.setArea(gallery.rect());
        band.addSentence(0, 1, QStringLiteral("Ann"), QStringLiteral("hello"));
        QTRY_VERIFY(band.isVisible());
        QTRY_VERIFY(!band.isVisible());
        QCOMPARE(band.store().size(), 0);
    }

private:
    static QImage grab(Gallery& g)
    {
        QCoreApplication::processEvents();
        return g.screen()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
    static SubtitleBand* band(Gallery& g) { return g.screen()->subtitleBand(); }
};

QTEST_MAIN(TstSubtitles)
#include "tst_subtitles.moc"
