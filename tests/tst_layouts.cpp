// The speaker, strip, six-cut and eight-cut layouts on a live gallery:
// switching modes through the exports, paging the strip, the mode-5 strip
// controls, and the stream types the host is asked for afterwards.
#include "kxgallerytest.h"

using namespace kxtest;

class TstLayouts : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void speaker4TwoAndThree();
    void bottomStripFour();
    void rightStripHideAndShow();
    void stripPaging();
    void sixCutSix();
    void eightCutOneAndFive();
    void modesThroughTheHost();

private:
    static QRect geo(tagPersonInfo* p) { return p && p->pWidget ? p->pWidget->geometry() : QRect(); }
    static void setMode(Gallery& g, int mode)
    {
        // Mode changes are drawn by the reordering, which waits for the join.
        KXScreen_JoinMeetingFinish(g.h);
        KXScreen_SetCurMode(g.h, mode);
        QTRY_COMPARE(KXScreen_GetCurMode(g.h), mode);
        QCoreApplication::processEvents();
    }
};

void TstLayouts::init()
{
    Recorder::at(0).clear();
    QKXScreenConfig::getInstance()->setCurScreenMode(1);
}

void TstLayouts::speaker4TwoAndThree()
{
    {
        Gallery g(QSize(1282, 720));
        g.add(2);
        setMode(g, 8);
        QDlgScreen* s = g.screen();
        tagPersonInfo* focus = s->focusPerson();
        QCOMPARE(focus, s->persons().at(0));
        QCOMPARE(focus->pWidget, s->focusPlayWidget());
        // 640x720 halves fitted to 640x360, both at top 180; the inclusive
        // right edge leaves a one-pixel gap.
        QCOMPARE(geo(focus), QRect(0, 180, 640, 360));
        QCOMPARE(geo(s->persons().at(1)), QRect(641, 180, 640, 360));
        QVERIFY(!g.ctrl(StripNext)->isVisible());
    }
    {
        Gallery g(QSize(1920, 1080));
        g.add(3);
        setMode(g, 8);
        QDlgScreen* s = g.screen();
        QCOMPARE(geo(s->persons().at(0)), QRect(0, 137, 959, 539));
        QCOMPARE(geo(s->persons().at(1)), QRect(960, 137, 959, 539));
        // The one small tile is centred under the big ones, the strip starting at 764.
        QCOMPARE(geo(s->persons().at(2)), QRect(800, 764, 318, 178));
        QCOMPARE(g.shown().size(), 3);
    }
}

void TstLayouts::bottomStripFour()
{
    Gallery g(QSize(1920, 1080));
    g.add(4);
    setMode(g, 6);
    QDlgScreen* s = g.screen();
    tagPersonInfo* focus = s->focusPerson();
    QVERIFY(focus);
    // Big 1596x898 at left 162, top 1 (one pixel larger each way).
    QCOMPARE(s->focusPlayWidget()->geometry(), QRect(162, 1, 1597, 899));
    int slot = 0;
    for (tagPersonInfo* p : s->persons()) {
        if (p == focus)
            continue;
        QCOMPARE(geo(p), QRect(484 + 318 * slot, 901, 316, 178));
        ++slot;
    }
    QCOMPARE(slot, 3);
}

void TstLayouts::rightStripHideAndShow()
{
    Gallery g(QSize(1920, 1080));
    g.add(3);
    setMode(g, 5);
    QDlgScreen* s = g.screen();
    QCOMPARE(s->focusPlayWidget()->geometry(), QRect(-1, 89, 1605, 903));
    QCOMPARE(geo(s->persons().at(1)), QRect(1605, 361, 316, 178));
    QCOMPARE(geo(s->persons().at(2)), QRect(1605, 541, 316, 178));
    QMyPageCtrl* hide = g.ctrl(RightHide);
    QVERIFY(hide->isVisible());
    QVERIFY(!g.ctrl(LeftShow)->isVisible());
    // Against the big tile's right edge, centred vertically.
    QCOMPARE(hide->x(), s->focusPlayWidget()->x() + s->focusPlayWidget()->width() - hide->width());
    QCOMPARE(hide->y(), (1080 - hide->height()) / 2);

    QTest::mouseClick(hide, Qt::LeftButton);
    QVERIFY(s->isStripHidden());
    // The big tile takes the whole height; the strip has no visible area.
    QCOMPARE(s->focusPlayWidget()->geometry(), QRect(0, 0, 1921, 1081));
    for (int i = 1; i < 3; ++i) {
        const QRect r = geo(s->persons().at(i));
        QVERIFY2(r.width() <= 0 || r.height() <= 0 || !s->persons().at(i)->pWidget->isVisible(),
                 qPrintable(QString("strip tile still visible: %1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height())));
    }
    QVERIFY(g.ctrl(LeftShow)->isVisible());
    QVERIFY(!hide->isVisible());
    QVERIFY(!g.ctrl(PageDown)->isVisible());

    QTest::mouseClick(g.ctrl(LeftShow), Qt::LeftButton);
    QVERIFY(!s->isStripHidden());
    QCOMPARE(geo(s->persons().at(1)), QRect(1605, 361, 316, 178));
    QVERIFY(hide->isVisible());
}

void TstLayouts::stripPaging()
{
    Gallery g(QSize(1920, 1080));
    g.add(9);
    KXScreen_JoinMeetingFinish(g.h);
    setMode(g, 6);
    QDlgScreen* s = g.screen();
    tagPersonInfo* focus = s->focusPerson();
    QCOMPARE(g.shown().size(), 7); // the big tile and six in the strip
    QVERIFY(g.ctrl(StripNext)->isVisible());
    QVERIFY(!g.ctrl(StripPre)->isVisible());
    // The strip's controls sit at its height, at both edges.
    QCOMPARE(g.ctrl(StripNext)->x(), 1920 - g.ctrl(StripNext)->width());
    QTest::mouseClick(g.ctrl(StripNext), Qt::LeftButton);
    QCOMPARE(s->pageIndex(), 1);
    QCOMPARE(s->focusPerson(), focus);
    // Page 1 skips the focus participant and shows the last two.
    QCOMPARE(g.shown().size(), 3);
    QVERIFY(g.shown().contains(s->persons().at(7)));
    QVERIFY(g.shown().contains(s->persons().at(8)));
    QVERIFY(g.ctrl(StripPre)->isVisible());
    QVERIFY(!g.ctrl(StripNext)->isVisible());

    // The strip asks for small streams, the big tile for the large one.
    Recorder::at(0).clear();
    g.feed();
    QTRY_COMPARE(Recorder::at(0).lastStreamType(focus), 4);
    QTRY_COMPARE(Recorder::at(0).lastStreamType(s->persons().at(7)), 2);
    QTRY_COMPARE(Recorder::at(0).lastStreamType(s->persons().at(8)), 2);
    turnWait();
    QTest::mouseClick(g.ctrl(StripPre), Qt::LeftButton);
    QCOMPARE(s->pageIndex(), 0);
    QCOMPARE(g.shown().size(), 7);
}

void TstLayouts::sixCutSix()
{
    Gallery g(QSize(1920, 1080));
    g.add(6);
    setMode(g, 2);
    QDlgScreen* s = g.screen();
    const QVector<QRect> expected{QRect(0, 0, 1279, 720),    QRect(1280, 0, 640, 360),  QRect(1280, 361, 640, 359),
                                  QRect(0, 721, 639, 361),   QRect(640, 721, 639, 361), QRect(1280, 721, 639, 361)};
    for (int i = 0; i < 6; ++i)
        QCOMPARE(geo(s->persons().at(i)), expected.at(i));
    QCOMPARE(QKXScreenConfig::getInstance()->m_pBigPlayWidget, s->persons().at(0)->pWidget);
    // No paging in this layout.
    QVERIFY(!s->nextPage());
}

void TstLayouts::eightCutOneAndFive()
{
    {
        Gallery g(QSize(1920, 1080));
        g.add(1);
        setMode(g, 3);
        // Alone: centred in the gallery (six-cut would put it at the top-left).
        QCOMPARE(geo(g.rec(0)), QRect(0, 0, 1921, 1081));
    }
    {
        Gallery g(QSize(1920, 1080));
        g.add(5);
        setMode(g, 3);
        QDlgScreen* s = g.screen();
        QCOMPARE(g.shown().size(), 5);
        // Big tile of three quarters, the rest down its right side and along the bottom.
        const QRect big = geo(s->persons().at(0));
        QCOMPARE(big, QRect(0, 0, 1439, 810));
        for (int i = 1; i <= 3; ++i)
            QCOMPARE(geo(s->persons().at(i)).left(), big.right() + 2);
        QCOMPARE(geo(s->persons().at(4)).top(), big.bottom() + 2);
        QCOMPARE(geo(s->persons().at(4)).left(), 0);
    }
    {
        Gallery g(QSize(1920, 1080));
        g.add(1);
        setMode(g, 2);
        QCOMPARE(geo(g.rec(0)).topLeft(), QPoint(0, 0));
    }
}

void TstLayouts::modesThroughTheHost()
{
    Gallery g(QSize(1280, 720));
    g.add(8);
    KXScreen_JoinMeetingFinish(g.h);
    QDlgScreen* s = g.screen();
    // Every mode lays out from a live gallery without two tiles for one participant.
    for (int mode : {5, 6, 7, 8, 2, 3, 4, 1, 9}) {
        setMode(g, mode);
        QSet<CPlayWidget*> tiles;
        for (tagPersonInfo* p : g.shown()) {
            QVERIFY(!tiles.contains(p->pWidget));
            tiles.insert(p->pWidget);
        }
        QVERIFY2(!g.shown().isEmpty(), qPrintable(QString("mode %1 shows nobody").arg(mode)));
    }
    // Back in a speaker layout, the host hears 4 for the big tile, 2 for the strip.
    setMode(g, 7);
    Recorder::at(0).clear();
    g.feed();
    tagPersonInfo* focus = s->focusPerson();
    QTRY_COMPARE(Recorder::at(0).lastStreamType(focus), 4);
    int small = 0;
    for (tagPersonInfo* p : g.shown()) {
        if (p != focus) {
            QTRY_COMPARE(Recorder::at(0).lastStreamType(p), 2);
            ++small;
        }
    }
    QCOMPARE(small, 6);
}

QTEST_MAIN(TstLayouts)
#include "tst_layouts.moc"
