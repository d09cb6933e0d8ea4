// The gallery driven through the exports: tiles' real geometry and
// visibility, paging with controls, keys and wheel, modes, removal, and the
// stream requests a real host function receives.
#include "kxgallerytest.h"

#include <QWheelEvent>
#include <QWidget>
#include <QtTest>
#include <thread>

using namespace kxtest;

class TstGallery : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void equalCutGeometry_data();
    void equalCutGeometry();
    void pagingWithControlsKeysAndWheel();
    void ninthParticipantWaitsForAPage();
    void streamTypesReachTheHost();
    void offScreenVideoStopsAfterFiveSeconds();
    void removal();
    void switchModeToggles();
    void doubleClickShowsOneTile();
    void shareTakesOverAndGivesBack();
    void insertionByJoinTime();
    void lookStates();
};

void TstGallery::init()
{
    Recorder::at(0).clear();
    QKXScreenConfig::getInstance()->setCurScreenMode(1);
}

void TstGallery::equalCutGeometry_data()
{
    QTest::addColumn<QSize>("gallery");
    QTest::addColumn<int>("count");
    QTest::addColumn<QVector<QRect>>("tiles");
    QTest::newRow("one in 1280x720") << QSize(1280, 720) << 1 << QVector<QRect>{QRect(0, 0, 1281, 721)};
    QTest::newRow("two in 1282x720") << QSize(1282, 720) << 2
                                     << QVector<QRect>{QRect(0, 180, 640, 361), QRect(642, 180, 640, 361)};
    // 3 and 5 in 1920x1080: cells (1918/2)x(1078/2) = 959x539 -> 958x539, and
    // (1916/3)x539 = 638x539 -> 638x358.
    QTest::newRow("three") << QSize(1920, 1080) << 3
                           << QVector<QRect>{QRect(1, 0, 959, 540), QRect(961, 0, 959, 540), QRect(481, 541, 959, 540)};
    QTest::newRow("five") << QSize(1920, 1080) << 5
                          << QVector<QRect>{QRect(1, 181, 639, 359), QRect(641, 181, 639, 359),
                                            QRect(1281, 181, 639, 359), QRect(321, 541, 639, 359),
                                            QRect(961, 541, 639, 359)};
}

void TstGallery::equalCutGeometry()
{
    QFETCH(QSize, gallery);
    QFETCH(int, count);
    QFETCH(QVector<QRect>, tiles);
    Gallery g(gallery);
    g.add(count);
    QTRY_COMPARE(g.screen()->size(), gallery);
    QCOMPARE(g.shown().size(), count);
    for (int i = 0; i < count; ++i) {
        CPlayWidget* tile = g.rec(i)->pWidget;
        QVERIFY(tile);
        QCOMPARE(tile->personInfo(), g.rec(i));
        QCOMPARE(tile->geometry(), tiles.at(i));
    }
    // No page controls for a single page.
    QVERIFY(!g.ctrl(PageNext)->isVisible());
    QVERIFY(!g.ctrl(PagePre)->isVisible());
}

void TstGallery::pagingWithControlsKeysAndWheel()
{
    Gallery g(QSize(1280, 720));
    g.add(7);
    QDlgScreen* s = g.screen();
    QCOMPARE(s->pageIndex(), 0);
    QCOMPARE(g.shown().size(), 6);
    QVERIFY(g.ctrl(PageNext)->isVisible());
    QVERIFY(!g.ctrl(PagePre)->isVisible());
    // The controls sit where the resize handler put them: 24 px from the sides, centred.
    QCOMPARE(g.ctrl(PagePre)->x(), 24);
    QCOMPARE(g.ctrl(PageNext)->x(), 1280 - g.ctrl(PageNext)->width() - 24);
    QCOMPARE(g.ctrl(PagePre)->y(), (720 - g.ctrl(PagePre)->height()) / 2);

    QTest::mouseClick(g.ctrl(PageNext), Qt::LeftButton);
    QCOMPARE(s->pageIndex(), 1);
    // Page 1 shows only the seventh, in the top-left cell of the 3x2 grid.
    QCOMPARE(g.shown(), QVector<tagPersonInfo*>{s->persons().at(6)});
    // Cells of (1280-4)/3 x (720-2)/2 = 425x359, fitted to 425x239.
    QCOMPARE(s->persons().at(6)->pWidget->geometry(), QRect(0, 120, 426, 240));
    QVERIFY(!g.ctrl(PageNext)->isVisible());
    QVERIFY(g.ctrl(PagePre)->isVisible());

    // Down turns back, Up forward.
    turnWait();
    QTest::keyClick(s, Qt::Key_Down);
    QCOMPARE(s->pageIndex(), 0);
    turnWait();
    QTest::keyClick(s, Qt::Key_Up);
    QCOMPARE(s->pageIndex(), 1);

    // One notch toward the user turns forward, away from the user back; a
    // second notch within 80 ms is the same turn.
    turnWait();
    QWheelEvent back(QPointF(100, 100), QPointF(s->mapToGlobal(QPoint(100, 100))), QPoint(), QPoint(0, 120), Qt::NoButton,
                     Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(s, &back);
    QCOMPARE(s->pageIndex(), 0);
    QWheelEvent forward(QPointF(100, 100), QPointF(s->mapToGlobal(QPoint(100, 100))), QPoint(), QPoint(0, -120),
                        Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(s, &forward);
    QCOMPARE(s->pageIndex(), 0);
    turnWait();
    QCoreApplication::sendEvent(s, &forward);
    QCOMPARE(s->pageIndex(), 1);
    // Past the last page nothing turns.
    turnWait();
    QTest::keyClick(s, Qt::Key_Up);
    QCOMPARE(s->pageIndex(), 1);

    // A host request turns pages too.
    turnWait();
    KXScreen_SetCurMode(g.h, 1); // a mode change starts again at page 0
    QTRY_COMPARE(s->pageIndex(), 0);
}

void TstGallery::ninthParticipantWaitsForAPage()
{
    Gallery g(QSize(1280, 720));
    g.add(9);
    QDlgScreen* s = g.screen();
    for (int i = 6; i < 9; ++i)
        QVERIFY2(!s->persons().at(i)->pWidget, "off the page: no tile");
    QTest::mouseClick(g.ctrl(PageNext), Qt::LeftButton);
    QCOMPARE(g.shown().size(), 3);
    for (int i = 6; i < 9; ++i)
        QVERIFY(s->persons().at(i)->pWidget);
    // Never two tiles for one participant, never one participant in two tiles.
    QSet<CPlayWidget*> tiles;
    for (tagPersonInfo* p : g.shown())
        tiles.insert(p->pWidget);
    QCOMPARE(tiles.size(), 3);
}

void TstGallery::streamTypesReachTheHost()
{
    Gallery g(QSize(1280, 720));
    g.add(2);
    KXScreen_JoinMeetingFinish(g.h);
    QCoreApplication::processEvents();
    // Types are announced with each participant's next frame.
    QCOMPARE(g.feed(), 2);
    QTRY_COMPARE(Recorder::at(0).lastStreamType(g.rec(0)), 4);
    QCOMPARE(Recorder::at(0).lastStreamType(g.rec(1)), 4);
    for (const HostMsg& m : Recorder::at(0).all()) {
        if (m.msg == 4 && m.wParam == reinterpret_cast<quintptr>(g.rec(1)))
            QCOMPARE(m.lParam, uint64_t(2)); // the host's own user data
    }

    g.add(4);
    g.feed();
    for (int i = 0; i < 6; ++i)
        QTRY_COMPARE(Recorder::at(0).lastStreamType(g.rec(i)), 3);

    // The bottom strip: the big tile large, the strip small.
    KXScreen_SetCurMode(g.h, 6);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 6);
    QCoreApplication::processEvents();
    g.feed();
    tagPersonInfo* focus = g.screen()->focusPerson();
    QVERIFY(focus);
    QTRY_COMPARE(Recorder::at(0).lastStreamType(focus), 4);
    for (int i = 0; i < 6; ++i) {
        if (g.rec(i) != focus)
            QTRY_COMPARE(Recorder::at(0).lastStreamType(g.rec(i)), 2);
    }
}

void TstGallery::offScreenVideoStopsAfterFiveSeconds()
{
    Gallery g(QSize(1280, 720));
    g.add(8);
    Recorder::at(0).clear();
    KXScreen_JoinMeetingFinish(g.h);
    // The relayout after joining resumes what is on screen at once...
    QTRY_COMPARE(Recorder::at(0).count(18), 6);
    QCOMPARE(Recorder::at(0).count(17), 0);
    QDlgScreen* s = g.screen();
    QVERIFY(s->videoMuteTimerId() != 0);
    // ...and stops what is off screen once the layout has been still for five seconds.
    QTRY_COMPARE_WITH_TIMEOUT(Recorder::at(0).count(17), 2, 8000);
    QCOMPARE(Recorder::at(0).count(17, s->persons().at(6)), 1);
    QCOMPARE(Recorder::at(0).count(17, s->persons().at(7)), 1);
    QCOMPARE(s->videoMuteTimerId(), 0);

    // Paged back on screen: resumed at once.
    Recorder::at(0).clear();
    QTest::mouseClick(g.ctrl(PageNext), Qt::LeftButton);
    QCOMPARE(Recorder::at(0).count(18, s->persons().at(6)), 1);
    QCOMPARE(Recorder::at(0).count(18, s->persons().at(7)), 1);
}

void TstGallery::removal()
{
    ModuleLogOn logOn;
    Gallery g(QSize(1280, 720));
    g.add(2);
    QDlgScreen* s = g.screen();
    tagPersonInfo* first = g.rec(0);
    KXScreen_SetCurMode(g.h, 6);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 6);
    QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(0)), 1);
    QTRY_COMPARE(s->persons().size(), 1);
    QVERIFY(QKXScreenConfig::getInstance()->testDelPerson(first, false));
    // A removal for a record already removed is dropped.
    QTest::ignoreMessage(QtDebugMsg, "xxx testDelPerson");
    emit QKXScreenConfig::getInstance()->modSignalDelPerson(first);
    QCOMPARE(s->persons().size(), 1);
    // The last one resets everything and goes back to the grid.
    QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(1)), 1);
    QTRY_COMPARE(s->persons().size(), 0);
    QCOMPARE(KXScreen_GetCurMode(g.h), 1);
    QCOMPARE(s->pageIndex(), 0);
    QVERIFY(!s->focusPerson());
    QCOMPARE(s->minJoinTime(), std::numeric_limits<qint64>::max());
    QCOMPARE(s->maxJoinTime(), qint64(0));
    for (auto it = s->playMap().constBegin(); it != s->playMap().constEnd(); ++it)
        QVERIFY(!it.value());
    QTest::ignoreMessage(QtDebugMsg, "onModDelPerson<=0");
    emit QKXScreenConfig::getInstance()->modSignalDelPerson(first);
}

void TstGallery::switchModeToggles()
{
    ModuleLogOn logOn;
    Gallery g(QSize(1280, 720));
    g.add(1);
    QDlgScreen* s = g.screen();
    QTest::ignoreMessage(QtDebugMsg, "onModSwitchMode,vecPerson.size()<=1");
    s->onModSwitchMode();
    QCOMPARE(KXScreen_GetCurMode(g.h), 1);
    g.add(2);
    s->onModSwitchMode();
    QCOMPARE(KXScreen_GetCurMode(g.h), 5);
    s->onModSwitchMode();
    QCOMPARE(KXScreen_GetCurMode(g.h), 1);
    // From another mode back to the saved one, never to full screen.
    QKXScreenConfig::getInstance()->setPreScreenMode(9);
    KXScreen_SetCurMode(g.h, 4);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 4);
    s->onModSwitchMode();
    QCOMPARE(KXScreen_GetCurMode(g.h), 5);
    QCOMPARE(QKXScreenConfig::getInstance()->preScreenMode(), 5);
    // Out-of-range modes show the grid and are stored as 1.
    QKXScreenConfig::getInstance()->setCurScreenMode(10);
    s->reposPlayWnd();
    QCOMPARE(KXScreen_GetCurMode(g.h), 1);
    QCOMPARE(g.shown().size(), 3);
}

void TstGallery::doubleClickShowsOneTile()
{
    Gallery g(QSize(1280, 720));
    g.add(3);
    QDlgScreen* s = g.screen();
    CPlayWidget* tile = g.rec(1)->pWidget;
    QVERIFY(tile);
    QTest::mouseDClick(tile, Qt::LeftButton);
    QCOMPARE(KXScreen_GetCurMode(g.h), 9);
    QCOMPARE(s->maxPlayWidget(), tile);
    QCOMPARE(g.shown(), QVector<tagPersonInfo*>{g.rec(1)});
    // Already 16:9: the full-screen fit leaves the gallery rectangle as it is.
    QCOMPARE(tile->geometry(), QRect(0, 0, 1280, 720));
    QCOMPARE(Recorder::at(0).count(8), 1);
    for (const HostMsg& m : Recorder::at(0).all()) {
        if (m.msg == 8)
            QCOMPARE(m.wParam, uint64_t(5)); // from a grid layout
    }
    QTest::mouseDClick(tile, Qt::LeftButton);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 1);
    QVERIFY(!s->maxPlayWidget());
}

void TstGallery::shareTakesOverAndGivesBack()
{
    Gallery g(QSize(1280, 720));
    g.add(3);
    KXScreen_JoinMeetingFinish(g.h);
    KXScreen_SetCurMode(g.h, 8);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 8);
    QByteArray id("sharescreen_u1");
    QByteArray name("P1's screen");
    void* share = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 5000, 0, nullptr, 1);
    QDlgScreen* s = g.screen();
    QTRY_COMPARE(s->persons().size(), 4);
    QCOMPARE(KXScreen_GetCurMode(g.h), 4);
    QTRY_COMPARE(s->persons().first(), Gallery::rec(share));
    QCOMPARE(s->focusPerson(), Gallery::rec(share));
    QCOMPARE(QString(KXScreen_GetShareUserID(g.h)), QString("u1"));
    // The sharing participant comes right after the share.
    QCOMPARE(s->persons().at(1)->userID, QString("u1"));
    // A share is never asked to switch streams.
    g.feed();
    QCOMPARE(Recorder::at(0).lastStreamType(Gallery::rec(share)), 0);
    QCOMPARE(KXScreen_DelPerson(g.h, share), 1);
    QTRY_COMPARE(s->persons().size(), 3);
    QCOMPARE(KXScreen_GetCurMode(g.h), 8);
}

void TstGallery::insertionByJoinTime()
{
    Gallery g(QSize(1280, 720));
    QByteArray me("me");
    QByteArray a("a");
    QByteArray b("b");
    void* self = KXScreen_AddPerson(g.h, me.data(), me.data(), me.data(), 50, 0, nullptr, 1);
    QTRY_COMPARE(g.screen()->persons().size(), 1);
    KXScreen_SetPersonInfo(g.h, self, true, 0, me.data());
    QTRY_VERIFY(Gallery::rec(self)->bSelf);
    // With only the local user present, a newcomer goes in front of it.
    void* pa = KXScreen_AddPerson(g.h, a.data(), a.data(), a.data(), 100, 0, nullptr, 1);
    QTRY_COMPARE(g.screen()->persons().size(), 2);
    QCOMPARE(g.screen()->persons().at(0), Gallery::rec(pa));
    // The local user is never displaced by join time; earlier joiners go first.
    void* pb = KXScreen_AddPerson(g.h, b.data(), b.data(), b.data(), 10, 0, nullptr, 1);
    QTRY_COMPARE(g.screen()->persons().size(), 3);
    QCOMPARE(g.screen()->persons().at(0), Gallery::rec(pb));
}

void TstGallery::lookStates()
{
    Gallery g(QSize(1280, 720));
    g.add(4);
    KXScreen_JoinMeetingFinish(g.h);
    QDlgScreen* s = g.screen();
    // Everyone looks at the third participant: it takes the big tile of a
    // speaker layout, and the grid comes back when the look ends.
    QCOMPARE(KXScreen_AllLook(g.h, g.handles.at(2), 1), 1);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 5);
    QTRY_COMPARE(s->focusPerson(), g.rec(2));
    QCOMPARE(QString(KXScreen_GetAllLookUserID(g.h)), QString("u2"));
    QCOMPARE(Recorder::at(0).count(13), 1);
    QCOMPARE(KXScreen_AllLook(g.h, g.handles.at(2), 0), 1);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 1);
    QCOMPARE(Recorder::at(0).count(12), 1);
    QCOMPARE(QString(KXScreen_GetAllLookUserID(g.h)), QString());

    // Locking the view twice, or on another participant, still returns to
    // the layout from before the first lock.
    KXScreen_LockLook(g.h, g.handles.at(1), 1);
    QTRY_COMPARE(s->focusPerson(), g.rec(1));
    KXScreen_LockLook(g.h, g.handles.at(1), 1);
    KXScreen_LockLook(g.h, g.handles.at(3), 1);
    QTRY_COMPARE(s->focusPerson(), g.rec(3));
    QCOMPARE(QString(KXScreen_GetLockLookUserID(g.h)), QString("u3"));
    QVERIFY(!g.rec(1)->bLockLook);
    KXScreen_LockLook(g.h, g.handles.at(3), 0);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 1);
    // Leaving while everyone looks at you ends the look state.
    KXScreen_AllLook(g.h, g.handles.at(0), 1);
    QTRY_COMPARE(KXScreen_GetCurMode(g.h), 5);
    Recorder::at(0).clear();
    QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(0)), 1);
    g.handles.removeFirst();
    QTRY_COMPARE(s->persons().size(), 3);
    QCOMPARE(Recorder::at(0).count(12), 1);
    QCOMPARE(QString(KXScreen_GetAllLookUserID(g.h)), QString());
    QVERIFY(s->persons().contains(s->focusPerson()));
}

QTEST_MAIN(TstGallery)
#include "tst_gallery.moc"
