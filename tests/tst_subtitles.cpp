// Live captions: the sentence store (by table, with a clock the test moves)
// and the band on a gallery driven through the exports (where it goes, pixels
// read back), also under a flood from a host thread.
#include "kxtestkit.h"
#include "sentencestore.h"
#include "subtitleband.h"


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

} // namespace

Q_DECLARE_METATYPE(Steps)

class TstSubtitles : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void store_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QStringList>("expected");
        // after the last step
        QTest::addColumn<qint64>("nextExpiry");

        const QString a = QStringLiteral("Ann"), b = QStringLiteral("Bo");
        const Step expire{6000, Expire, 0, {}, {}};
        QTest::newRow("a new index starts a line, revised in place")
            << Steps{{0, 0, 1, a, "hel"}, {0, 0, 2, b, "yo"}, {900, 1, 1, a, "Hello."}}
            << QStringList{line(1, true, a, "Hello."), line(2, false, b, "yo")} << qint64(5100);
        QTest::newRow("final: no late partial, corrections of any type but 0")
            << Steps{{0, 1, 1, a, "Done."}, {10, 0, 1, a, "Do"}, {20, 7, 1, a, "Dune."}, {30, 0, 1, a, "D"}}
            << QStringList{line(1, true, a, "Dune.")} << qint64(5990);
        QTest::newRow("6 s after the last change")
            << Steps{{0, 0, 1, a, "a"}, {0, 0, 2, b, "b"}, {4000, 0, 1, a, "ab"}, expire}
            << QStringList{line(1, false, a, "ab")} << qint64(4000);
        const QString smile = QString::fromUtf8("\xF0\x9F\x98\x80");
        QTest::newRow("no half of a pair at the cut") << Steps{{0, 0, 1, a, smile.repeated(400) + "b"}}
            << QStringList{line(1, false, a, smile.repeated(299) + "b")} << qint64(6000);
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

    // Layout 6 (a strip along the bottom): the band sits over the speaker's
    // picture, above the strip, and draws only inside its rectangle. (A flood
    // of sentences from a host thread: the lifecycle test.)
    void bandAboveTheStrip()
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
        // The backing, the (near white) words, and nothing below.
        QImage white(shown.size(), QImage::Format_RGB32);
        white.fill(Qt::white);
        QVERIFY(differing(shown, before, r, 24) > r.width() * r.height() / 2);
        QVERIFY(differing(before, white, r, 55) > differing(shown, white, r, 55) + 100);
        QCOMPARE(differing(shown, before, QRect(0, r.bottom() + 1, 1280, 720 - r.bottom() - 1), 24), 0);

        // Closed, it keeps what it is told; cleared, it empties.
        KXScreen_OpenSubtitle(g.h, false);
        QVERIFY(!band(g)->isVisible());
        QCOMPARE(differing(grab(g), before, r, 24), 0);
        KXScreen_OpenSubtitle(g.h, true);
        KXScreen_ClearSubtitles(g.h);
        QVERIFY(!band(g)->isVisible());
        QCOMPARE(band(g)->store().size(), 0);
        QCOMPARE(differing(grab(g), before, r, 24), 0);

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
