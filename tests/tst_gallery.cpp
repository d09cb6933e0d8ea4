// The gallery driven through the exports as a host drives it: the controller
// applies the layout rules, pages, asks for streams, stops and resumes video,
// follows looks, speakers, shares and removals, and tells the host with the
// header's codes.
#include "kxtestkit.h"
#include "layoutgeometry.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qdlgpopupscreen.h"
#include "tilerenderer.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QLineEdit>
#include <QScreen>
#include <QWheelEvent>

using namespace kxtest;

namespace {

const unsigned Open = KXSCREEN_MSG_REMOTE_VIDEO_OPEN, Close = KXSCREEN_MSG_REMOTE_VIDEO_CLOSE;

// One notch of the wheel over w: dy 120 away from the user, -120 toward.
void wheel(QWidget* w, int dy, QPoint at = {100, 100}, Qt::KeyboardModifiers mod = Qt::NoModifier)
{
    QWheelEvent e(at, QPointF(w->mapToGlobal(at)), QPoint(), QPoint(0, dy), Qt::NoButton, mod, Qt::NoScrollPhase,
                  false);
    QCoreApplication::sendEvent(w, &e);
}

// The left button pressed, moved or released at `at` over w.
void mouse(QWidget* w, QEvent::Type t, QPoint at)
{
    QMouseEvent e(t, at, w->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(w, &e);
}

} // namespace

class TstGallery : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void rightStripHidesAndShows()
    {
        Gallery g(QSize(1920, 1080), 3);
        g.setMode(5);
        QDlgScreen* s = g.screen();
        QMyPageCtrl* hide = g.ctrl(RightHide);
        QVERIFY(hide->isVisible() && !g.ctrl(LeftShow)->isVisible());
        QTest::mouseClick(hide, Qt::LeftButton);
        pump();
        QCOMPARE(s->focusPlayWidget()->geometry(), kxlayout::speakerGeometry(5, 1920, 1080, 3, true).big);
        QVERIFY(g.ctrl(LeftShow)->isVisible() && !hide->isVisible());
        QTest::mouseClick(g.ctrl(LeftShow), Qt::LeftButton);
        pump();
        QCOMPARE(s->focusPlayWidget()->geometry(), kxlayout::speakerGeometry(5, 1920, 1080, 3, false).big);
        QCOMPARE(g.shown().size(), 3);
    }

    void pagingAndVideoStop()
    {
        Gallery g(QSize(1280, 720), 8, false);
        Recorder& host = g.host();
        QDlgScreen* s = g.screen();
        s->setVideoMuteDelay(1000);
        KXScreen_JoinMeetingFinish(g.h);
        // What is on screen is pulled at once...
        QTRY_COMPARE(host.count(Open), 6);
        QCOMPARE(host.count(Close), 0);
        QCOMPARE(g.shown().size(), 6);
        // off the page: no tile
        QVERIFY(!s->persons().at(6)->pWidget);
        QVERIFY(g.ctrl(PageNext)->isVisible() && !g.ctrl(PagePre)->isVisible());
        // ...what is off screen stops once the layout has been still for a
        // while: every relayout starts the wait again.
        auto remaining = [s]() { return QAbstractEventDispatcher::instance()->remainingTime(s->videoMuteTimerId()); };
        QTRY_VERIFY(remaining() < 700);
        KXScreen_MoveWindow(g.h, QRect(0, 0, 1200, 700), KXSCREEN_MOVE_SHOW);
        pump();
        QVERIFY2(remaining() > 700, "not restarted");
        QCOMPARE(host.count(Close), 0);
        QTRY_COMPARE(host.count(Close), 2);
        QCOMPARE(host.count(Close, s->persons().at(6)) + host.count(Close, s->persons().at(7)), 2);
        // Paged on screen: resumed at once.
        host.clear();
        QTest::mouseClick(g.ctrl(PageNext), Qt::LeftButton);
        pump();
        QCOMPARE(host.count(Open, s->persons().at(6)) + host.count(Open, s->persons().at(7)), 2);
        QCOMPARE(g.shown(), (QVector<tagPersonInfo*>{s->persons().at(6), s->persons().at(7)}));
        QVERIFY(!g.ctrl(PageNext)->isVisible() && g.ctrl(PagePre)->isVisible());
        // The host's own page turns: clamped, at once (no debounce), the way of the controls.
        QCOMPARE(KXScreen_GetPageCount(g.h), 2);
        g.host().clear();
        QCOMPARE(KXScreen_SetPage(g.h, -3), 0);
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN, s->persons().at(0)), 1);
        QCOMPARE(KXScreen_SetPage(g.h, 99), 1);
        QVERIFY(KXScreen_GetPage(g.h) == 1 && g.ctrl(PagePre)->isVisible() && s->videoMuteTimerId());
        // The page empties: back one page.
        QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(7)) + KXScreen_DelPerson(g.h, g.handles.at(6)), 2);
        QTRY_COMPARE(s->persons().size(), 6);
        QCOMPARE(s->pageIndex(), 0);
    }

    void keysAndWheelTurnPages()
    {
        // Down back, Up forward; the wheel toward the user forward. A turn
        // comes at most every 80 ms: a second notch within that is the same turn.
        Gallery g(QSize(1280, 720), 8);
        QDlgScreen* s = g.screen();
        QTRY_COMPARE((QTest::keyClick(s, Qt::Key_Up), s->pageIndex()), 1);
        QTRY_COMPARE((QTest::keyClick(s, Qt::Key_Down), s->pageIndex()), 0);
        QTRY_COMPARE((wheel(s, -120), s->pageIndex()), 1);
        wheel(s, 120);
        QCOMPARE(s->pageIndex(), 1);
        QTRY_COMPARE((wheel(s, 120), s->pageIndex()), 0);
    }

    void streamRequests()
    {
        Gallery g(QSize(1280, 720), 2);
        Gallery other(QSize(640, 360), 0, true, 1);
        QCOMPARE(other.screen()->persons().size(), 0); // not the other gallery's participant
        Recorder& host = g.host();
        // Announced with each participant's next frame, to every host function,
        // naming the record with the host's user data.
        QCOMPARE(g.feed(), 2);
        for (Recorder* r : {&host, &other.host()}) {
            QTRY_COMPARE(r->lastStream(g.rec(0)), int(KXSCREEN_MSG_STREAM_LARGE));
            QCOMPARE(r->lastStream(g.rec(1)), int(KXSCREEN_MSG_STREAM_LARGE));
            for (const HostMsg& m : r->all())
                if (m.msg == KXSCREEN_MSG_STREAM_LARGE)
                    QCOMPARE(m.l, m.w == quintptr(g.rec(0)) ? uint64_t(1) : uint64_t(2));
        }
        KXScreen_Release(other.h);
        host.clear();
        g.add(7);
        g.feed();
        for (int i = 0; i < 6; ++i)
            QTRY_COMPARE(host.lastStream(g.screen()->persons().at(i)), int(KXSCREEN_MSG_STREAM_NORMAL));
        // The bottom strip, its pictures drawn.
        g.setMode(6);
        g.feed();
        QDlgScreen* s = g.screen();
        tagPersonInfo* focus = s->focusPerson();
        QTRY_COMPARE(host.lastStream(focus), int(KXSCREEN_MSG_STREAM_LARGE));
        QCOMPARE(g.shown().size(), 7);
        // A page control is a translucent disc: the corners of its square show the tile as it is (and leave
        // a click there to the tile), the disc darkens the tile without hiding it.
        QMyPageCtrl* next = g.ctrl(StripNext);
        const QPoint corner = next->pos() + QPoint(1, 1), disc = next->geometry().center() - QPoint(12, 0);
        const QImage with = s->grab().toImage();
        next->hide();
        const QImage without = s->grab().toImage();
        next->show();
        auto at = [](const QImage& i, QPoint p) { return i.pixelColor(p * i.devicePixelRatio()); };
        QCOMPARE(at(with, corner), at(without, corner));
        QVERIFY(s->childAt(corner) != next && s->childAt(disc) == next);
        const int under = at(without, disc).lightness(), over = at(with, disc).lightness();
        QVERIFY2(over < under - 20 && over > QColor(0x14, 0x17, 0x1C).lightness() + 20, "hidden or opaque");
        QTest::mouseClick(next, Qt::LeftButton);
        pump();
        QCOMPARE(s->focusPerson(), focus);
        QCOMPARE(g.shown().size(), 3);
        QCOMPARE(KXScreen_SetPage(g.h, 5) + KXScreen_GetPageCount(g.h), 1 + 2); // the strip's eight: two pages
        host.clear();
        g.feed();
        QTRY_COMPARE(host.lastStream(s->persons().at(8)), int(KXSCREEN_MSG_STREAM_SMALL));
    }

    void looks()
    {
        Gallery g(QSize(1280, 720), 4);
        Recorder& host = g.host();
        QDlgScreen* s = g.screen();
        // Everyone looks at the third: a speaker layout with it in the big tile,
        // and the grid again when the look ends, each with its toast.
        QCOMPARE(KXScreen_AllLook(g.h, g.handles.at(2), 1), 1);
        QTRY_COMPARE(s->focusPerson(), g.rec(2));
        QCOMPARE(g.mode(), 5);
        QCOMPARE(QString(KXScreen_GetAllLookUserID(g.h)), QString("u2"));
        QCOMPARE(host.count(KXSCREEN_MSG_LOOK_TOAST_ON), 1);
        QCOMPARE(KXScreen_AllLook(g.h, g.handles.at(2), 0), 1);
        QTRY_COMPARE(g.mode(), 1);
        QCOMPARE(host.count(KXSCREEN_MSG_LOOK_TOAST_OFF), 1);
        QCOMPARE(QString(KXScreen_GetAllLookUserID(g.h)), QString());
        // A lock moves with the last one locked and ends in the layout from before.
        KXScreen_LockLook(g.h, g.handles.at(1), 1);
        KXScreen_LockLook(g.h, g.handles.at(3), 1);
        QTRY_COMPARE(s->focusPerson(), g.rec(3));
        QCOMPARE(QString(KXScreen_GetLockLookUserID(g.h)), QString("u3"));
        QVERIFY(!g.rec(1)->bLockLook);
        KXScreen_LockLook(g.h, g.handles.at(3), 0);
        QTRY_COMPARE(g.mode(), 1);
    }

    void lookedAtParticipantLeaves_data()
    {
        // everyone looks, or the local user locked
        QTest::addColumn<bool>("all");
        QTest::newRow("locked") << false;
        QTest::newRow("everyone looks") << true;
    }
    void lookedAtParticipantLeaves()
    {
        // The host hears which look ended, then the toast goes, and the layout
        // from before comes back.
        QFETCH(bool, all);
        Gallery g(QSize(1280, 720), 4);
        all ? KXScreen_AllLook(g.h, g.handles.at(1), 1) : KXScreen_LockLook(g.h, g.handles.at(1), 1);
        QTRY_COMPARE(g.mode(), 5);
        g.host().clear();
        tagPersonInfo* looked = g.rec(1);
        QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(1)), 1);
        pump();
        QVector<unsigned int> codes;
        for (const HostMsg& m : g.host().all())
            codes << m.msg;
        QCOMPARE(g.host().last(KXSCREEN_MSG_LOCK_LOOK_CANCELLED).w, uint64_t(quintptr(looked)));
        QVERIFY(codes.indexOf(KXSCREEN_MSG_LOOK_TOAST_OFF) > codes.indexOf(KXSCREEN_MSG_LOCK_LOOK_CANCELLED));
        QTRY_COMPARE(g.mode(), 1);
        QVERIFY(g.screen()->persons().contains(g.screen()->focusPerson()) || !g.screen()->focusPerson());
    }

    void doubleClick()
    {
        Gallery g(QSize(1280, 720), 3);
        QDlgScreen* s = g.screen();
        // In the grid a double click pins: the participant leads the page and
        // wears the badge; another unpins.
        QTest::mouseDClick(g.rec(2)->pWidget, Qt::LeftButton);
        QTRY_COMPARE(s->persons().first(), g.rec(2));
        QVERIFY(g.rec(2)->pWidget->playInfo()->badgeIcons().contains("pin"));
        // from a grid layout
        QCOMPARE(g.host().last(KXSCREEN_MSG_DBCLICK_TILE).w, uint64_t(5));
        QTest::mouseDClick(g.rec(2)->pWidget, Qt::LeftButton);
        pump();
        QVERIFY(!g.rec(2)->pWidget->playInfo()->badgeIcons().contains("pin"));
        // In a speaker layout it shows that tile alone, and another brings the layout back.
        g.setMode(5);
        CPlayWidget* tile = g.rec(1)->pWidget;
        QTest::mouseDClick(tile, Qt::LeftButton);
        pump();
        QCOMPARE(g.mode(), 9);
        QCOMPARE(g.shown(), QVector<tagPersonInfo*>{g.rec(1)});
        QCOMPARE(g.host().last(KXSCREEN_MSG_DBCLICK_TILE).w, uint64_t(6));
        QTest::mouseDClick(tile, Qt::LeftButton);
        QTRY_COMPARE(g.mode(), 5);
        QVERIFY(!s->maxPlayWidget());
    }

    void floatingWindow()
    {
        Gallery g(QSize(1280, 720), 3);
        QDlgScreen* s = g.screen();
        // Shown from the grid: the stage layout, until it is hidden again.
        QWidget* pip = KXScreen_GetPicInPicWidgetPtr(g.h);
        QCOMPARE(KXScreen_ShowPicInPic(g.h, true), 1);
        QTRY_VERIFY(pip->isVisible() && g.host().count(KXSCREEN_MSG_SHOW_PIC_IN_PIC) == 1);
        QCOMPARE(g.mode(), 4);
        tagPersonInfo* stage = s->focusPerson();
        QCOMPARE(g.shown(), QVector<tagPersonInfo*>{stage});
        // Without a share a click in the window puts that participant on the stage.
        tagPersonInfo* other = g.inPicInPic().value(0);
        QVERIFY(other && other != stage);
        emit qobject_cast<QDlgPicInPic*>(pip)->notifyClickPicInPicPlayWidget(other);
        QTRY_VERIFY(s->focusPerson() == other && !g.inPicInPic().contains(other));
        // Resized by its corner, its tile following, from a tile's narrowest to a third of its screen.
        QWidget* grip = pip->findChild<QWidget*>("pipResize");
        mouse(grip, QEvent::MouseButtonPress, {8, 8});
        mouse(grip, QEvent::MouseMove, {88, 8});
        QCOMPARE(g.inPicInPic().value(0)->pWidget->geometry(), QRect(0, 28, 400, 225));
        QCOMPARE(pip->size(), QSize(400, 253));
        mouse(grip, QEvent::MouseMove, {4000, 8});
        QCOMPARE(pip->width(), pip->screen()->availableGeometry().width() / 3);
        mouse(grip, QEvent::MouseMove, {-4000, 8});
        QCOMPARE(pip->size(), QSize(160, 118));
        // Dragged by its bar onto any screen, kept within them, where no compositor drags it itself.
        if (QGuiApplication::platformName() != "wayland") {
            const QPoint from = pip->pos();
            mouse(pip, QEvent::MouseButtonPress, {60, 10});
            mouse(pip, QEvent::MouseMove, {160, 60});
            QCOMPARE(pip->pos(), from + QPoint(100, 50));
            mouse(pip, QEvent::MouseMove, {9000, 9000});
            QCOMPARE(pip->geometry().bottomRight(), pip->screen()->availableGeometry().bottomRight());
        }
        // Minimised: the gallery's tiles stop counting, the window's still count.
        g.host().clear();
        KXScreen_SetMeetingRoomMinimized(g.h, true);
        pump();
        // not before the delay
        QCOMPARE(g.host().count(Close), 0);
        // nothing is shared
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHOW_PIC_IN_PIC), 0);
        s->onVideoMuteTimer();
        QCOMPARE(g.host().count(Close), 2);
        QCOMPARE(g.host().count(Close, g.inPicInPic().value(0)), 0);
        g.host().clear();
        KXScreen_SetMeetingRoomMinimized(g.h, false);
        pump();
        QCOMPARE(g.host().count(Open, other), 1);
        // Hidden on request: the layout comes back, and with it every tile.
        QCOMPARE(KXScreen_ShowPicInPic(g.h, false), 1);
        QTRY_VERIFY(!pip->isVisible() && g.shown().size() == 3);
        QCOMPARE(g.mode(), 1);
        // Its close control hides it as the host does, until the layout changes.
        g.setMode(4);
        QTRY_VERIFY(pip->isVisible());
        QTest::mouseClick(pip->findChild<QWidget*>("pipClose"), Qt::LeftButton);
        pump();
        QVERIFY(!pip->isVisible() && g.inPicInPic().isEmpty());
    }

    void activeSpeakerAndPin()
    {
        Gallery g(QSize(1280, 720), 9);
        QDlgScreen* s = g.screen();
        // how long a speaker must talk is the rules' (tst_rules)
        s->setSpeakerHoldTimes(0, 0);
        QByteArray u2("u2,u5"), u7("u7"), u1("u1"), u4("u4"), u8("u8"), none("nobody"), me("Me");
        // The border shows who speaks; in the grid a speaker already on screen
        // keeps its tile.
        const QRect kept = g.tile(2);
        KXScreen_SetCurSpeakPerson(g.h, u2.data());
        QTRY_COMPARE(s->stageSpeaker(), QString("u2"));
        QVERIFY(g.rec(2)->pWidget->playInfo()->isSpeakingShown() && g.rec(5)->pWidget->playInfo()->isSpeakingShown());
        QCOMPARE(g.tile(2), kept);
        // One off the page takes the place of who spoke least recently on the
        // first page (u2 and u5 spoke: u4, before u5), nobody else moves.
        const QRect third = g.tile(3);
        KXScreen_SetCurSpeakPerson(g.h, u7.data());
        QTRY_COMPARE(s->persons().indexOf(g.rec(7)), 4);
        QVERIFY(!g.rec(2)->pWidget->playInfo()->isSpeakingShown());
        QCOMPARE(g.tile(2), kept);
        QCOMPARE(g.tile(3), third);
        // In a speaker layout repeated reports do nothing at all, and the
        // local user never takes the stage.
        g.setMode(5);
        QTRY_COMPARE(s->focusPerson(), g.rec(7));
        KXScreen_SetPersonInfo(g.h, g.handles.at(4), true, 0, me.data());
        KXScreen_SetCurSpeakPerson(g.h, u1.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(1));
        pump();
        const int opens = g.host().count(Open), changes = s->stageSpeakerChanges();
        for (int i = 0; i < 5; ++i)
            KXScreen_SetCurSpeakPerson(g.h, u1.data());
        KXScreen_SetCurSpeakPerson(g.h, u4.data());
        pump();
        // no relayout
        QCOMPARE(g.host().count(Open), opens);
        QCOMPARE(s->stageSpeakerChanges(), changes);
        QCOMPARE(s->focusPerson(), g.rec(1));
        // A pin outranks the speaker; an unknown ID unpins.
        KXScreen_FocusByUserID(g.h, u8.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(8));
        QVERIFY(g.rec(8)->pWidget->playInfo()->badgeIcons().contains("pin"));
        KXScreen_FocusByUserID(g.h, none.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(1));
        // Cancelling voice activation takes the speaker off the stage at once.
        KXScreen_SetVoiceActivateByUserID(g.h, u7.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(7));
        KXScreen_CancelVoiceActivate(g.h);
        pump();
        QVERIFY(s->focusPerson() != g.rec(7) && s->stageSpeaker().isEmpty());
        // It stays cancelled: the border follows who speaks, the stage does not, until voice activation is
        // set again, which puts that participant there at once, however long the hold.
        KXScreen_SetCurSpeakPerson(g.h, u8.data());
        pump();
        QVERIFY(g.rec(8)->bSpeaking && s->stageSpeaker().isEmpty());
        s->setSpeakerHoldTimes(60000, 60000);
        KXScreen_SetVoiceActivateByUserID(g.h, u1.data());
        pump();
        QCOMPARE(s->focusPerson(), g.rec(1));
    }

    void stalledParticipantMovesBack()
    {
        // Someone who joined early with the camera off waits ahead of the video
        // until ten seconds have passed (the record's time stamp is moved back
        // rather than waited for); then the one-second check reorders.
        Gallery g(QSize(1280, 720), 2);
        g.feed();
        QByteArray id("early");
        void* early = KXScreen_AddPerson(g.h, id.data(), id.data(), id.data(), 5, 0, nullptr, 1);
        KXScreen_Preview(g.h, early, false);
        pump();
        tagPersonInfo* r = recordOf(early);
        QDlgScreen* s = g.screen();
        QCOMPARE(s->persons().first(), r);
        r->addTime -= 9000;
        s->onCheckTimer();
        pump();
        QCOMPARE(s->persons().first(), r);
        r->addTime -= 2000;
        QTRY_COMPARE(s->persons().last(), r);
    }

    void shareTakesTheStage()
    {
        Gallery g(QSize(1280, 720), 6);
        QDlgScreen* s = g.screen();
        g.setMode(8);
        g.host().clear();
        QByteArray id("sharescreen_u1"), name("P1's screen");
        void* share
            = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 5000, 0, reinterpret_cast<void*>(0x55), 1);
        QTRY_COMPARE(s->persons().size(), 7);
        tagPersonInfo* sr = recordOf(share);
        QTRY_COMPARE(s->focusPerson(), sr);
        // the sharer right after
        QCOMPARE(s->persons().at(1)->userID, QString("u1"));
        QCOMPARE(QString(KXScreen_GetShareUserID(g.h)), QString("u1"));
        const HostMsg tip = g.host().last(KXSCREEN_MSG_SHARE_TIP);
        QVERIFY(tip.w == quintptr(sr) && tip.l == 0x55);
        // The share alone on the stage; everybody else in the floating window,
        // one of them, on the small stream.
        QCOMPARE(g.shown(), QVector<tagPersonInfo*>{sr});
        QCOMPARE(sr->pWidget->geometry(), kxlayout::shareStageRect(1280, 720));
        auto* pip = qobject_cast<QDlgPicInPic*>(KXScreen_GetPicInPicWidgetPtr(g.h));
        QVERIFY(pip && pip->isVisible());
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHOW_PIC_IN_PIC) + g.inPicInPic().size(), 2);
        // a changed stream type is asked for with the participant's next frame
        g.feed();
        QCOMPARE(g.host().lastStream(g.inPicInPic().first()), int(KXSCREEN_MSG_STREAM_SMALL));
        // a share is never asked to switch
        QCOMPARE(g.host().lastStream(sr), 0);
        // The watermark covers the whole share, corners too, never a camera.
        QDlgPlayInfo* info = sr->pWidget->playInfo();
        const QImage plain = info->grab().toImage();
        const QRect all = plain.rect(), corner(0, 0, all.width() / 4, all.height() / 4);
        KXScreen_SetShareWatermark(g.h, QStringLiteral("alice@example 10:42"), true);
        pump();
        const QImage marked = info->grab().toImage();
        QVERIFY(differing(plain, marked, corner) > corner.width() * corner.height() / 50);
        QVERIFY(g.inPicInPic().first()->pWidget->playInfo()->watermarkShown().isEmpty());
        KXScreen_SetShareWatermark(g.h, QString(), false);
        QCOMPARE(differing(plain, info->grab().toImage(), all), 0);
        // Paused: a marker over it, gone when it goes on.
        KXScreen_SetSharePaush(g.h, true);
        QTRY_VERIFY(info->isPausedShown());
        KXScreen_SetSharePaush(g.h, false);
        QVERIFY(!info->isPausedShown());
        // One click on the stage shows or hides the host's toolbar, once no second click can follow.
        QTest::mouseClick(sr->pWidget, Qt::LeftButton);
        QTRY_COMPARE(g.host().count(KXSCREEN_MSG_TOOLBAR_SHOW), 1);
        // A whiteboard takes the stage; beside a share it takes the right half.
        g.host().clear();
        KXScreen_ShareWhiteBoard(g.h, "u1", true, false);
        QWidget* board = s->whiteBoardArea();
        QTRY_VERIFY(board->isVisible());
        QCOMPARE(board->geometry(), kxlayout::shareStageRect(1280, 720));
        QCOMPARE(KXScreen_GetShareWgtPos(g.h), QRect(board->mapToGlobal(QPoint(0, 0)), board->size()));
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_POS_CHANGED), 1);
        QVERIFY(g.inPicInPic().contains(sr));
        KXScreen_ShareWhiteBoard(g.h, "u1", true, true);
        QTRY_COMPARE(sr->pWidget->geometry(), kxlayout::splitStageRect(1280, 720, 0));
        QCOMPARE(board->geometry(), kxlayout::splitStageRect(1280, 720, 1));
        KXScreen_ShareWhiteBoard(g.h, "u1", false, true);
        QTRY_COMPARE(sr->pWidget->geometry(), kxlayout::shareStageRect(1280, 720));
        QVERIFY(!board->isVisible());
        // Who speaks shows in the window once the stage's hold is over; a second share waits there
        // quietly until it is clicked, and the first waits there then.
        s->setSpeakerHoldTimes(200, 400);
        tagPersonInfo* talker = s->persons().at(3);
        KXScreen_SetCurSpeakPerson(g.h, talker->userID.toLatin1().data());
        pump();
        QVERIFY(!g.inPicInPic().contains(talker));
        QTRY_COMPARE(g.inPicInPic(), QVector<tagPersonInfo*>{talker});
        g.host().clear();
        QByteArray id2("sharescreen_u3");
        void* share2 = KXScreen_AddPerson(g.h, id2.data(), id2.data(), id2.data(), 6000, 0, nullptr, 1);
        QTRY_COMPARE(s->persons().size(), 8);
        QVERIFY(s->focusPerson() == sr && g.host().count(KXSCREEN_MSG_SHARE_TIP) == 0);
        emit pip->notifyClickPicInPicPlayWidget(recordOf(share2));
        QTRY_COMPARE(g.shown(), QVector<tagPersonInfo*>{recordOf(share2)});
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_TIP, recordOf(share2)), 1);
        QCOMPARE(KXScreen_DelPerson(g.h, share2), 1);
        QTRY_COMPARE(g.shown(), QVector<tagPersonInfo*>{sr});
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_TIP, sr), 1);
        // The share ends: the layout from before, the window gone.
        QCOMPARE(KXScreen_DelPerson(g.h, share), 1);
        QTRY_VERIFY(!pip->isVisible() && g.inPicInPic().isEmpty());
        QCOMPARE(g.mode(), 8);
        // Sharing locally: the local user's tile says so, the host hears 26.
        g.host().clear();
        KXScreen_SetPersonInfo(g.h, g.handles.at(5), true, 0, const_cast<char*>("P5"));
        KXScreen_StartLocalShare(g.h, 1, true);
        QVERIFY(KXScreen_IsUserShare(g.h) && g.rec(5)->pWidget->playInfo()->isSharingBannerShown());
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHOW_PIC_IN_PIC), 1);
        KXScreen_StopLocalShare(g.h);
        QVERIFY(!KXScreen_IsUserShare(g.h) && !g.rec(5)->pWidget->playInfo()->isSharingBannerShown());
    }

    void exportsArrivalAndRemoval()
    {
        Gallery g(QSize(1280, 720));
        QDlgScreen* s = g.screen();
        void* p = nullptr;
        std::thread host([&]() {
            QByteArray id("u1"), name("Zoë"), renamed("Alice B");
            p = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 50, 3, reinterpret_cast<void*>(0x77), 2);
            // Created on the host thread; the roster learns of it when the interface thread pumps.
            QCOMPARE(s->persons().size(), 0);
            QCOMPARE(KXScreen_SetMute(g.h, p, 0) + KXScreen_SetHasMic(g.h, p, false) + KXScreen_SetVolume(g.h, p, 55)
                         + KXScreen_SetPersonInfo(g.h, p, true, 2, renamed.data())
                         + KXScreen_UpdateNetWeak(g.h, "u1", true, 2) + KXScreen_SetCurMode(g.h, 6)
                         + KXScreen_Preview(g.h, p, false),
                     7);
        });
        host.join();
        pump();
        tagPersonInfo* r = recordOf(p);
        QCOMPARE(r->pUserData, reinterpret_cast<void*>(0x77));
        QCOMPARE(r->userName, QString("Alice B"));
        QVERIFY(!r->bMute && !r->bHasMic && r->bSelf && r->bNetWeak && !r->bPreview);
        // extra, call state, volume, role, network level, stream status (video off)
        QCOMPARE((QVector<int>{r->iExtra, r->m_iStatus, r->iVolume, r->iRoleType, r->iNetLevel, r->eStreamStatus}),
                 (QVector<int>{3, 2, 55, 2, 2, 1}));
        QVERIFY(s->state().hostOrCoHost);
        QCOMPARE(g.mode(), 6);
        // The information-updated notice carries the play handle and the user data.
        QCOMPARE(g.host().count(KXSCREEN_MSG_USERINFO_UPDATED, p), 1);
        // With only the local user present a newcomer goes in front of it; the
        // local user is never displaced by join time, earlier joiners go first.
        QByteArray a("a"), b("b");
        void* pa = KXScreen_AddPerson(g.h, a.data(), a.data(), a.data(), 100, 0, nullptr, 1);
        pump();
        QCOMPARE(s->persons(), (QVector<tagPersonInfo*>{recordOf(pa), r}));
        void* pb = KXScreen_AddPerson(g.h, b.data(), b.data(), b.data(), 10, 0, nullptr, 1);
        pump();
        QCOMPARE(s->persons().at(0), recordOf(pb));
        QCOMPARE(KXScreen_DelPerson(g.h, pa), 1);
        // Interface exports answer at once.
        QImage head(16, 16, QImage::Format_RGB32);
        head.fill(Qt::red);
        QCOMPARE(KXScreen_SetUnjoinedPersonInfo(g.h, p, const_cast<char*>("u1"), 3, head), 1);
        QVERIFY(r->m_iStatus == 3 && r->headImage.pixel(0, 0) == QColor(Qt::red).rgb());
        // Invited participants start with video off and microphone open.
        QByteArray inv("unjoined_9");
        void* invited = KXScreen_AddPerson(g.h, inv.data(), inv.data(), inv.data(), 1, 0, nullptr, 1);
        QVERIFY(!recordOf(invited)->bPreview && !recordOf(invited)->bMute);
        // Placed, hidden and raised by the host.
        QDlgMain* dlg = static_cast<KXScreenHandle*>(g.h)->pMainDlg;
        const QRect target(40, 30, 960, 540);
        onHostThread([&]() { return KXScreen_MoveWindow(g.h, target, KXSCREEN_MOVE_SHOW); });
        QTRY_COMPARE(dlg->geometry(), target);
        QTRY_COMPARE(s->geometry(), QRect(0, 0, 960, 540));
        // The main dialog refuses to close, by the window or by Escape; the host hides it.
        QTest::keyClick(dlg, Qt::Key_Escape);
        QVERIFY(!dlg->close() && dlg->isVisible());
        KXScreen_MoveWindow(g.h, target, KXSCREEN_MOVE_HIDE);
        pump();
        QVERIFY(!dlg->isVisible());
        // The last one to leave resets all.
        for (void* leaving : {pb, invited, p})
            QCOMPARE(KXScreen_DelPerson(g.h, leaving), 1);
        QTRY_COMPARE(s->persons().size(), 0);
        QCOMPARE(g.mode(), 1);
        QVERIFY(!s->focusPerson());
    }

    void keyboardAndScreenReader()
    {
        if (!a11yOn())
            QSKIP("Qt's accessibility bridge is off; CTest runs this as tst_gallery_a11y");
        Gallery g(QSize(1280, 720), 8);
        QDlgScreen* s = g.screen();
        QApplication::setActiveWindow(&g.parent);
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(s);
        auto items = [](QAccessibleInterface* in) {
            QStringList out;
            for (int i = 0; i < in->childCount(); ++i)
                out << in->child(i)->text(QAccessible::Name);
            return out.join(',');
        };
        auto focus = []() { return QApplication::focusWidget(); };
        auto key = [&](Qt::Key k) { QTest::keyClick(focus(), k), pump(); };
        auto tile = [&](int i) { return static_cast<QWidget*>(g.rec(i)->pWidget); };
        // A list of the page's participants as read, then its control; each says where it stands.
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(items(list), QString("P0,P1,P2,P3,P4,P5,Next page"));
        QCOMPARE(a11yText(tile(2), QAccessible::Description), QString("muted, 3 of 8, page 1 of 2"));
        // Tab from the host's widget enters at the first tile, then its controls; the arrows go through the
        // tiles as read.
        QLineEdit before(&g.parent);
        before.show();
        before.setFocus();
        key(Qt::Key_Tab);
        QCOMPARE(focus(), tile(0));
        key(Qt::Key_Tab);
        QCOMPARE(focus(), g.rec(0)->pWidget->playInfo()->micButton());
        key(Qt::Key_Right);
        QCOMPARE(focus(), tile(1));
        // Return is a double click (a pin in the grid): the keyboard stays with its participant, now first.
        key(Qt::Key_Return);
        QCOMPARE(g.host().last(KXSCREEN_MSG_DBCLICK_TILE).w, uint64_t(5));
        QCOMPARE(focus(), tile(1));
        QCOMPARE(a11yText(tile(1), QAccessible::Description), QString("muted, pinned, 1 of 8, page 1 of 2"));
        // A page turned from the keyboard: the first tile of the new page; a page control that goes with
        // the turn hands the keyboard to the first tile of the page it turned to.
        key(Qt::Key_PageDown);
        QCOMPARE(focus(), tile(6));
        QCOMPARE(items(list), QString("P6,P7,Previous page"));
        QCOMPARE(a11yText(tile(6), QAccessible::Description), QString("muted, 7 of 8, page 2 of 2"));
        g.ctrl(PagePre)->setFocus();
        QTRY_COMPARE((key(Qt::Key_Space), s->pageIndex()), 0); // a turn within 80 ms of the last is dropped
        QCOMPARE(focus(), tile(1));
        // Escape leaves the gallery for the host's next widget; a change of stage then says nothing.
        key(Qt::Key_Escape);
        QCOMPARE(focus(), &before);
        g.setMode(5);
        QCOMPARE(a11yCount(s->focusPlayWidget(), QAccessible::Focus), 0);
        // With the keyboard in the gallery, the new stage takes it and is announced, also in the same tile.
        s->setFocus(Qt::TabFocusReason);
        a11yEvents().clear();
        QByteArray u3("u3"), u4("u4");
        KXScreen_FocusByUserID(g.h, u3.data());
        pump();
        QCOMPARE(focus(), s->focusPlayWidget());
        KXScreen_FocusByUserID(g.h, u4.data());
        pump();
        QCOMPARE(a11yCount(s->focusPlayWidget(), QAccessible::Focus), 2);
        QCOMPARE(a11yText(s->focusPlayWidget()), QString("P4"));
        // The floating window's tiles are items too.
        KXScreen_ShowPicInPic(g.h, true);
        pump();
        QAccessibleInterface* pip = QAccessible::queryAccessibleInterface(KXScreen_GetPicInPicWidgetPtr(g.h));
        QVERIFY(pip->childCount() > 1 && pip->child(0)->role() == QAccessible::ListItem);
    }

    void skin()
    {
        // The skin is set before Init and read there: a tile without video is
        // light in the new one, dark in the old.
        for (bool light : {true, false}) {
            QCOMPARE(KXScreen_SetIsNewSkin(nullptr, light), 1);
            Gallery g(QSize(320, 180), 1);
            QDlgPopupScreen popup(nullptr); // the tile list's own window
            for (QWidget* w : {static_cast<QWidget*>(g.rec(0)->pWidget->playInfo()), static_cast<QWidget*>(&popup)}) {
                const QColor back = w->grab().toImage().pixelColor(2, w->height() - 3);
                QVERIFY2(light ? back.lightness() > 200 : back.lightness() < 80, qPrintable(back.name()));
            }
        }
    }

    void zoomAndPanAShare_data()
    {
        QTest::addColumn<int>("renderer");
        QTest::newRow("gl") << int(kxrender::Renderer::Gl);
        QTest::newRow("raster") << int(kxrender::Renderer::Raster);
    }
    void zoomAndPanAShare()
    {
        // A 1920x1080 share of six blocks 320 wide on the 1281x721 stage: Ctrl+wheel and Ctrl+'+' zoom it about
        // the middle to 75 % and to actual size, a drag pans it as far as it goes, Ctrl+0 fits it again.
        // Zoomed in the grid it asks for the large stream, fitted the grid tile's again.
        QFETCH(int, renderer);
        kxtilerender::setForTests(kxrender::Renderer(renderer));
        Gallery g(QSize(1280, 720), 2);
        QByteArray id("sharescreen_u0");
        void* share = KXScreen_AddPerson(g.h, id.data(), id.data(), id.data(), 5000, 0, nullptr, 1);
        tagPersonInfo* sr = recordOf(share);
        QTRY_COMPARE(g.screen()->focusPerson(), sr);
        Frame f = Frame::blocks(1920, 1080);
        QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(g.h, share, &f.rec); }), 1);
        CPlayWidget* tile = sr->pWidget;
        auto shows = [&](const char* blocks) { // at x = 100, 700 and 1000
            const QImage img = tile->grabFramebuffer();
            const int x[] = {100, 700, 1000};
            for (int i = 0; i < 3; ++i)
                if (!near(img.pixelColor(x[i], 400), Frame::blockColour(blocks[i] - '0'), 24))
                    return false;
            return true;
        };
        QTRY_VERIFY(shows("034"));
        wheel(tile, 120, {640, 360}, Qt::ControlModifier);
        QCOMPARE(tile->zoomPercent(), 75);
        QTest::keyClick(tile, Qt::Key_Plus, Qt::ControlModifier);
        QTRY_VERIFY(tile->zoomPercent() == 100 && shows("134"));
        mouse(tile, QEvent::MouseButtonPress, {700, 400});
        mouse(tile, QEvent::MouseMove, {380, 400});
        mouse(tile, QEvent::MouseMove, {100, 400});
        QTRY_VERIFY(shows("245"));
        QTest::keyClick(tile, Qt::Key_0, Qt::ControlModifier);
        QTRY_VERIFY(!tile->isZoomed() && shows("034"));
        g.setMode(1);
        QTest::keyClick(sr->pWidget, Qt::Key_Plus, Qt::ControlModifier);
        QCOMPARE(sr->iStreamType, 4);
        QTest::keyClick(sr->pWidget, Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(sr->iStreamType, 3);
    }
};

QTEST_MAIN(TstGallery)
#include "tst_gallery.moc"
