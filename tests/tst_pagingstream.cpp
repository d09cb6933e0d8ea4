// Page arithmetic, page controls, wheel turns and the stream types asked of
// the host.
#include "pagingrules.h"
#include "streampolicy.h"

#include <QtTest>

using namespace kxpaging;

namespace {

// Compact name of the visible controls, in a fixed order.
QString names(const PageButtons& b)
{
    QStringList out;
    if (b.pagePre)
        out << QStringLiteral("pagePre");
    if (b.pageNext)
        out << QStringLiteral("pageNext");
    if (b.stripPre)
        out << QStringLiteral("stripPre");
    if (b.stripNext)
        out << QStringLiteral("stripNext");
    if (b.pageUp)
        out << QStringLiteral("pageUp");
    if (b.pageDown)
        out << QStringLiteral("pageDown");
    if (b.ctrlRHide)
        out << QStringLiteral("ctrlRHide");
    if (b.ctrlLShow)
        out << QStringLiteral("ctrlLShow");
    return out.join(QLatin1Char(','));
}

} // namespace

class TestPagingStream : public QObject
{
    Q_OBJECT

private slots:
    void curPageStreamType_data();
    void curPageStreamType();
    void defaultType();
    void defStreamType_data();
    void defStreamType();
    void pageCount_data();
    void pageCount();
    void pageStride();
    void modes();
    void buttons_data();
    void buttons();
    void pageAfterDelete_data();
    void pageAfterDelete();
    void focusStart_data();
    void focusStart();
    void wheelDegrees_data();
    void wheelDegrees();
    void wheelTurn_data();
    void wheelTurn();
    void appWheelSteps_data();
    void appWheelSteps();
};

void TestPagingStream::curPageStreamType_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");

    QTest::newRow("equal cut 1") << 1 << 0 << 1 << 4;
    QTest::newRow("equal cut 2") << 1 << 0 << 2 << 4;
    QTest::newRow("equal cut 3") << 1 << 0 << 3 << 3;
    QTest::newRow("equal cut 4") << 1 << 0 << 4 << 3;
    QTest::newRow("equal cut 5") << 1 << 0 << 5 << 3;
    QTest::newRow("equal cut 6, full page") << 1 << 0 << 6 << 3;
    QTest::newRow("equal cut 20, page 0") << 1 << 0 << 20 << 3;
    // A last page after the first counts as full.
    QTest::newRow("equal cut page 1 single") << 1 << 1 << 7 << 3;
    QTest::newRow("equal cut page 1 two") << 1 << 1 << 8 << 3;
    QTest::newRow("equal cut page 2 single") << 1 << 2 << 13 << 3;
    QTest::newRow("six-cut") << 2 << 0 << 2 << 3;
    QTest::newRow("eight-cut") << 3 << 0 << 8 << 3;
    QTest::newRow("picture in picture") << 4 << 0 << 2 << 2;
    QTest::newRow("speaker") << 5 << 0 << 2 << 2;
    QTest::newRow("speaker4") << 8 << 0 << 2 << 2;
    // The equal-cut pass that stands in for full screen still reads mode 9.
    QTest::newRow("full screen") << 9 << 0 << 1 << 2;
}

void TestPagingStream::curPageStreamType()
{
    QFETCH(int, mode);
    QFETCH(int, page);
    QFETCH(int, n);
    QTEST(kxstream::curPageStreamType(mode, page, n), "expected");
}

void TestPagingStream::defaultType()
{
    QCOMPARE(kxstream::defaultType(1), 4);
    QCOMPARE(kxstream::defaultType(2), 4);
    QCOMPARE(kxstream::defaultType(3), 3);
    QCOMPARE(kxstream::defaultType(30), 3);
}

void TestPagingStream::defStreamType_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("n");
    QTest::addColumn<bool>("fullTile");
    QTest::addColumn<bool>("focus");
    QTest::addColumn<int>("expected");

    QTest::newRow("full screen, its tile") << 9 << 8 << true << false << 4;
    QTest::newRow("full screen, other, 2 present") << 9 << 2 << false << false << 4;
    QTest::newRow("full screen, other, 3 present") << 9 << 3 << false << false << 3;
    QTest::newRow("speaker, focus") << 5 << 8 << false << true << 4;
    QTest::newRow("speaker, other") << 5 << 2 << false << false << 2;
    QTest::newRow("speaker, other on full tile") << 5 << 2 << true << false << 2;
    QTest::newRow("equal cut, 2") << 1 << 2 << false << false << 4;
    QTest::newRow("equal cut, 3") << 1 << 3 << false << false << 3;
    QTest::newRow("equal cut ignores focus") << 1 << 5 << true << true << 3;
    // Every other mode keeps the starting value 3.
    QTest::newRow("bottom strip, focus") << 6 << 2 << false << true << 3;
    QTest::newRow("speaker4, focus") << 8 << 2 << false << true << 3;
    QTest::newRow("six-cut, 2") << 2 << 2 << false << false << 3;
    QTest::newRow("picture in picture") << 4 << 1 << true << true << 3;
}

void TestPagingStream::defStreamType()
{
    QFETCH(int, mode);
    QFETCH(int, n);
    QFETCH(bool, fullTile);
    QFETCH(bool, focus);
    QTEST(kxstream::defStreamType(mode, n, fullTile, focus), "expected");
}

void TestPagingStream::pageCount_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");
    QTest::newRow("empty") << 1 << 0 << 0;
    QTest::newRow("6 in equal cut") << 1 << 6 << 1;
    QTest::newRow("7 in equal cut") << 1 << 7 << 2;
    QTest::newRow("12 in equal cut") << 1 << 12 << 2;
    QTest::newRow("13 in equal cut") << 1 << 13 << 3;
    QTest::newRow("7 in speaker") << 5 << 7 << 2;
    // speaker4 pages by 8 of the whole roster
    QTest::newRow("16 in speaker4") << 8 << 16 << 2;
    QTest::newRow("17 in speaker4") << 8 << 17 << 3;
    QTest::newRow("8 in speaker4") << 8 << 8 << 1;
    QTest::newRow("six-cut never turns") << 2 << 20 << 1;
    QTest::newRow("eight-cut never turns") << 3 << 20 << 1;
}

void TestPagingStream::pageCount()
{
    QFETCH(int, mode);
    QFETCH(int, n);
    QTEST(kxpaging::pageCount(mode, n), "expected");
}

void TestPagingStream::pageStride()
{
    QCOMPARE(kxpaging::pageStride(8), 8);
    for (int mode : {1, 2, 3, 4, 5, 6, 7, 9})
        QCOMPARE(kxpaging::pageStride(mode), 6);
}

void TestPagingStream::modes()
{
    const QVector<int> focus{4, 5, 6, 7, 8};
    for (int mode = -1; mode <= 11; ++mode) {
        QCOMPARE(isFocusMode(mode), focus.contains(mode));
        QCOMPARE(is6CutOr8CutMode(mode), mode == 2 || mode == 3);
        QCOMPARE(normalizedMode(mode), (mode >= 1 && mode <= 9) ? mode : 1);
    }
}

void TestPagingStream::buttons_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("page");
    QTest::addColumn<bool>("hidden");
    QTest::addColumn<bool>("strip");
    QTest::addColumn<QString>("expected");

    QTest::newRow("7 equal cut page 0") << 1 << 7 << 0 << false << false << "pageNext";
    QTest::newRow("7 equal cut page 1") << 1 << 7 << 1 << false << false << "pagePre";
    QTest::newRow("exactly 6 equal cut") << 1 << 6 << 0 << false << false << "";
    QTest::newRow("13 equal cut page 1") << 1 << 13 << 1 << false << false << "pagePre,pageNext";
    QTest::newRow("12 equal cut page 1") << 1 << 12 << 1 << false << false << "pagePre";
    QTest::newRow("equal cut with a strip rectangle") << 1 << 7 << 0 << false << true << "pageNext";
    // Speaker4 with 16: 14 small tiles counted by six.
    QTest::newRow("speaker4 16 page 0") << 8 << 16 << 0 << false << true << "stripNext";
    QTest::newRow("speaker4 16 page 1") << 8 << 16 << 1 << false << true << "stripPre,stripNext";
    QTest::newRow("speaker4 16 page 2") << 8 << 16 << 2 << false << true << "stripPre";
    QTest::newRow("speaker4 8") << 8 << 8 << 0 << false << true << "";
    QTest::newRow("speaker4 9") << 8 << 9 << 0 << false << true << "stripNext";
    QTest::newRow("speaker4 without strip") << 8 << 16 << 0 << false << false << "";
    QTest::newRow("bottom strip 8 page 0") << 6 << 8 << 0 << false << true << "stripNext";
    QTest::newRow("bottom strip 8 page 1") << 6 << 8 << 1 << false << true << "stripPre";
    QTest::newRow("bottom strip 7") << 6 << 7 << 0 << false << true << "";
    QTest::newRow("top strip 14 page 1") << 7 << 14 << 1 << false << true << "stripPre,stripNext";
    QTest::newRow("top strip, hidden flag ignored") << 7 << 8 << 0 << true << true << "stripNext";
    QTest::newRow("right strip single") << 5 << 1 << 0 << false << true << "";
    QTest::newRow("right strip 4") << 5 << 4 << 0 << false << true << "ctrlRHide";
    QTest::newRow("right strip 4 hidden") << 5 << 4 << 0 << true << true << "ctrlLShow";
    QTest::newRow("right strip 14 page 0") << 5 << 14 << 0 << false << true << "pageDown,ctrlRHide";
    QTest::newRow("right strip 14 page 1") << 5 << 14 << 1 << false << true << "pageUp,pageDown,ctrlRHide";
    QTest::newRow("right strip 14 page 2") << 5 << 14 << 2 << false << true << "pageUp,ctrlRHide";
    // Hidden strip: only the show control and, on a later page, page up.
    QTest::newRow("right strip 14 hidden page 0") << 5 << 14 << 0 << true << true << "ctrlLShow";
    QTest::newRow("right strip 14 hidden page 1") << 5 << 14 << 1 << true << true << "pageUp,ctrlLShow";
    QTest::newRow("right strip without strip rectangle") << 5 << 14 << 1 << false << false << "";
    QTest::newRow("six-cut") << 2 << 20 << 1 << false << true << "";
    QTest::newRow("eight-cut") << 3 << 20 << 1 << false << true << "";
    QTest::newRow("picture in picture") << 4 << 20 << 1 << false << true << "";
    QTest::newRow("full screen") << 9 << 20 << 1 << false << true << "";
}

void TestPagingStream::buttons()
{
    QFETCH(int, mode);
    QFETCH(int, n);
    QFETCH(int, page);
    QFETCH(bool, hidden);
    QFETCH(bool, strip);
    QFETCH(QString, expected);
    QCOMPARE(names(visibleButtons(mode, n, page, hidden, strip)), expected);
}

void TestPagingStream::pageAfterDelete_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("expected");
    QTest::newRow("page still has tiles") << 1 << 7 << 1;
    QTest::newRow("last page emptied") << 1 << 6 << 0;
    QTest::newRow("page 2 emptied") << 2 << 12 << 1;
    QTest::newRow("page 0 never below 0") << 0 << 0 << 0;
    // one step only, even if the page is far past the roster
    QTest::newRow("far past") << 5 << 3 << 4;
}

void TestPagingStream::pageAfterDelete()
{
    QFETCH(int, page);
    QFETCH(int, n);
    QTEST(kxpaging::pageAfterDelete(page, n), "expected");
}

void TestPagingStream::focusStart_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("focus");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("finalPage");
    QTest::addColumn<QVector<int>>("strip");

    // Fourteen in the roster, focus on page 0, looking at page 1: the range
    // moves past it and still shows six others.
    QTest::newRow("focus before page 1 of 14") << 1 << 3 << 14 << 7 << 13 << 1 << QVector<int>{7, 8, 9, 10, 11, 12};
    // focus inside page 1: widened by one, the focus skipped
    QTest::newRow("focus on page 1 of 14") << 1 << 8 << 14 << 6 << 13 << 1 << QVector<int>{6, 7, 9, 10, 11, 12};
    QTest::newRow("focus at head, page 0") << 0 << 0 << 14 << 1 << 7 << 0 << QVector<int>{1, 2, 3, 4, 5, 6};
    QTest::newRow("focus inside page 0") << 0 << 5 << 14 << 0 << 7 << 0 << QVector<int>{0, 1, 2, 3, 4, 6};
    QTest::newRow("focus after page 0") << 0 << 10 << 14 << 0 << 6 << 0 << QVector<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("focus just after page 0") << 0 << 6 << 14 << 0 << 6 << 0 << QVector<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("no focus, page 1") << 1 << -1 << 14 << 6 << 12 << 1 << QVector<int>{6, 7, 8, 9, 10, 11};
    QTest::newRow("range past the focus, many") << 1 << 3 << 30 << 7 << 13 << 1 << QVector<int>{7, 8, 9, 10, 11, 12};
    // A page past the roster is lowered until the range starts inside it.
    QTest::newRow("page lowered") << 3 << 0 << 14 << 13 << 19 << 2 << QVector<int>{13};
    QTest::newRow("page lowered, no focus") << 2 << -1 << 12 << 6 << 12 << 1 << QVector<int>{6, 7, 8, 9, 10, 11};
    QTest::newRow("lone focus participant") << 0 << 0 << 1 << 1 << 7 << 0 << QVector<int>();
    QTest::newRow("focus and one other") << 0 << 0 << 2 << 1 << 7 << 0 << QVector<int>{1};
}

void TestPagingStream::focusStart()
{
    QFETCH(int, page);
    QFETCH(int, focus);
    QFETCH(int, n);
    QFETCH(QVector<int>, strip);
    const FocusRange r = focusStartPos(page, focus, n);
    QTEST(r.start, "start");
    QTEST(r.end, "end");
    QTEST(r.pageIdx, "finalPage");
    QCOMPARE(speakerStripIndices(r, focus, n), strip);
}

void TestPagingStream::wheelDegrees_data()
{
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<QPoint>("degrees");
    QTest::newRow("one notch up") << QPoint(0, 120) << QPoint(0, 15);
    QTest::newRow("one notch down") << QPoint(0, -120) << QPoint(0, -15);
    // halves round away from zero
    QTest::newRow("half up") << QPoint(0, 4) << QPoint(0, 1);
    QTest::newRow("half down") << QPoint(0, -4) << QPoint(0, -1);
    QTest::newRow("below half") << QPoint(0, 3) << QPoint(0, 0);
    QTest::newRow("below half down") << QPoint(0, -3) << QPoint(0, 0);
    QTest::newRow("one and a half") << QPoint(12, -12) << QPoint(2, -2);
    QTest::newRow("fine") << QPoint(-116, 116) << QPoint(-15, 15);
}

void TestPagingStream::wheelDegrees()
{
    QFETCH(QPoint, delta);
    QTEST(kxpaging::wheelDegrees(delta), "degrees");
}

void TestPagingStream::wheelTurn_data()
{
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<int>("turn");
    QTest::newRow("one notch away: previous") << QPoint(0, 120) << -1;
    QTest::newRow("one notch toward: next") << QPoint(0, -120) << 1;
    QTest::newRow("two notches: still one page") << QPoint(0, 240) << -1;
    QTest::newRow("14 degrees: nothing") << QPoint(0, 112) << 0;
    QTest::newRow("-14 degrees: nothing") << QPoint(0, -112) << 0;
    // 116 / 8 = 14.5 rounds to 15 degrees: one step
    QTest::newRow("14.5 degrees rounds to a step") << QPoint(0, 116) << -1;
    QTest::newRow("-14.5 degrees rounds to a step") << QPoint(0, -116) << 1;
    QTest::newRow("small negative") << QPoint(0, -8) << 0;
    QTest::newRow("horizontal only") << QPoint(120, 0) << 0;
    QTest::newRow("null") << QPoint(0, 0) << 0;
}

void TestPagingStream::wheelTurn()
{
    QFETCH(QPoint, delta);
    QTEST(wheelPageTurn(delta), "turn");
}

void TestPagingStream::appWheelSteps_data()
{
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<int>("steps");
    QTest::newRow("one notch") << QPoint(0, 120) << 1;
    QTest::newRow("two notches down") << QPoint(0, -240) << -2;
    // 60 / 8 = 7.5 -> 8 degrees; 8 / 15 rounds to 1
    QTest::newRow("half notch") << QPoint(0, 60) << 1;
    QTest::newRow("half notch down") << QPoint(0, -60) << -1;
    // 56 / 8 = 7 degrees; 7 / 15 rounds to 0
    QTest::newRow("under half a notch") << QPoint(0, 56) << 0;
    QTest::newRow("horizontal") << QPoint(120, 0) << 0;
}

void TestPagingStream::appWheelSteps()
{
    QFETCH(QPoint, delta);
    QTEST(kxpaging::appWheelSteps(delta), "steps");
}

QTEST_APPLESS_MAIN(TestPagingStream)

#include "tst_pagingstream.moc"
