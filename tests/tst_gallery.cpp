// The gallery driven through the exports as a host drives it: the controller
// applies the layout rules, pages, asks for streams, stops and resumes video,
// follows looks, shares and removals, and tells the host with the header's
// codes; plus the configuration the exports rest on.
#include "kxtestkit.h"
#include "layoutgeometry.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "tilerenderer.h"

#include <QAbstractEventDispatcher>
#include <QScreen>
#include <QTemporaryDir>
#include <QWheelEvent>

using namespace kxtest;

namespace {

void wheel(QWidget* w, int dy, QPoint at = {100, 100}, Qt::KeyboardModifiers mod = Qt::NoModifier)
{
    QWheelEvent e(at, QPointF(w->mapToGlobal(at)), QPoint(), QPoint(0, dy), Qt::NoButton, mod, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(w, &e);
}

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
    void layoutsApplyTheRules_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("n");
        QTest::newRow("six-cut 6") << 2 << 6;
        QTest::newRow("eight-cut 5") << 3 << 5;
        QTest::newRow("right strip 3") << 5 << 3;
        QTest::newRow("bottom strip 4") << 6 << 4;
        QTest::newRow("speaker4 3") << 8 << 3;
    }

    void layoutsApplyTheRules()
    {
        QFETCH(int, mode);
        QFETCH(int, n);
        const int W = 1920, H = 1080;
        Gallery g(QSize(W, H), n);
        g.setMode(mode);
        QDlgScreen* s = g.screen();
        QCOMPARE(g.shown().size(), n);
        int strip = 0;
        for (int i = 0; i < n; ++i) {
            tagPersonInfo* p = s->persons().at(i);
            QRect want;
            if (mode == 2)
                want = kxlayout::sixCutRect(W, H, n, i);
            else if (mode == 3)
                want = kxlayout::eightCutRect(W, H, n, i);
            else if (mode == 8) {
                const kxlayout::Speaker4Geometry geo = kxlayout::speaker4Geometry(W, H, n, n - 2, 0);
                want = (QVector<QRect>{geo.bigLeft, geo.bigRight} + geo.small).at(i);
            } else {
                const kxlayout::SpeakerGeometry geo = kxlayout::speakerGeometry(mode, W, H, n, false);
                want = p == s->focusPerson() ? geo.big : kxlayout::speakerSmallRect(mode, W, H, n, geo, strip++);
            }
            QVERIFY(p->pWidget && p->pWidget->personInfo() == p);
            QCOMPARE(p->pWidget->geometry(), want);
        }
        if (mode != 5)
            return;
        // The right strip hides and shows again with its controls.
        QMyPageCtrl* hide = g.ctrl(RightHide);
        QVERIFY(hide->isVisible() && !g.ctrl(LeftShow)->isVisible());
        QTest::mouseClick(hide, Qt::LeftButton);
        pump();
        QVERIFY(s->isStripHidden());
        QCOMPARE(s->focusPlayWidget()->geometry(), kxlayout::speakerGeometry(5, W, H, n, true).big);
        QVERIFY(g.ctrl(LeftShow)->isVisible() && !hide->isVisible());
        QTest::mouseClick(g.ctrl(LeftShow), Qt::LeftButton);
        pump();
        QVERIFY(!s->isStripHidden());
        QCOMPARE(s->focusPlayWidget()->geometry(), kxlayout::speakerGeometry(5, W, H, n, false).big);
    }

    void pagingAndVideoStop()
    {
        Gallery g(QSize(1280, 720), 8, false);
        Recorder& host = g.host();
        QDlgScreen* s = g.screen();
        KXScreen_JoinMeetingFinish(g.h);
        // What is on screen is pulled at once...
        QTRY_COMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN), 6);
        QCOMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 0);
        QCOMPARE(g.shown().size(), 6);
        QVERIFY(!s->persons().at(6)->pWidget); // off the page: no tile
        QVERIFY(g.ctrl(PageNext)->isVisible() && !g.ctrl(PagePre)->isVisible());
        QCOMPARE(g.ctrl(PagePre)->pos(), QPoint(24, (720 - g.ctrl(PagePre)->height()) / 2));
        // ...what is off screen stops once the layout has been still for five
        // seconds: every relayout starts the wait again.
        QTest::qWait(1200);
        KXScreen_MoveWindow(g.h, QRect(0, 0, 1200, 700), KXSCREEN_MOVE_SHOW);
        pump();
        QVERIFY2(QAbstractEventDispatcher::instance()->remainingTime(s->videoMuteTimerId()) > 4500, "not restarted");
        QTRY_COMPARE_WITH_TIMEOUT(host.count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 2, 8000);
        QCOMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE, s->persons().at(6)), 1);
        QCOMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE, s->persons().at(7)), 1);
        QCOMPARE(s->videoMuteTimerId(), 0);
        // Paged back on screen: resumed at once.
        host.clear();
        QTest::mouseClick(g.ctrl(PageNext), Qt::LeftButton);
        pump();
        QCOMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN, s->persons().at(6)), 1);
        QCOMPARE(host.count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN, s->persons().at(7)), 1);
        QCOMPARE(s->pageIndex(), 1);
        QCOMPARE(g.shown(), (QVector<tagPersonInfo*>{s->persons().at(6), s->persons().at(7)}));
        QCOMPARE(s->persons().at(6)->pWidget->geometry(), kxlayout::equalCutRects(1200, 700, 8, 1).at(0));
        QVERIFY(!g.ctrl(PageNext)->isVisible() && g.ctrl(PagePre)->isVisible());
        // Keys: Down back, Up forward; the wheel: toward the user forward, and a
        // second notch within 80 ms is the same turn.
        turnWait();
        QTest::keyClick(s, Qt::Key_Down);
        QCOMPARE(s->pageIndex(), 0);
        turnWait();
        QTest::keyClick(s, Qt::Key_Up);
        QCOMPARE(s->pageIndex(), 1);
        turnWait();
        wheel(s, 120);
        QCOMPARE(s->pageIndex(), 0);
        wheel(s, -120);
        QCOMPARE(s->pageIndex(), 0);
        turnWait();
        wheel(s, -120);
        QCOMPARE(s->pageIndex(), 1);
        turnWait();
        QTest::keyClick(s, Qt::Key_Up); // past the last page
        QCOMPARE(s->pageIndex(), 1);
        // One more: page 1 holds three, never one participant in two tiles.
        g.add(1);
        QCOMPARE(g.shown().size(), 3);
        QSet<CPlayWidget*> tiles;
        for (tagPersonInfo* p : g.shown())
            tiles.insert(p->pWidget);
        QCOMPARE(tiles.size(), 3);
        // The page empties: back one page. A mode change starts at page 0 too.
        for (int i = 8; i >= 6; --i)
            QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(i)), 1);
        QTRY_COMPARE(s->persons().size(), 6);
        QCOMPARE(s->pageIndex(), 0);
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
        // Once released, a gallery's host function hears nothing more.
        KXScreen_Release(other.h);
        host.clear();
        other.host().clear();
        QCOMPARE(KXScreen_SetDefStreamType(g.h, g.handles.at(0)), 1);
        QCOMPARE(host.count(KXSCREEN_MSG_STREAM_LARGE, g.rec(0)), 1);
        QCOMPARE(other.host().all().size(), 0);
        g.add(7);
        g.feed();
        for (int i = 0; i < 6; ++i)
            QTRY_COMPARE(host.lastStream(g.screen()->persons().at(i)), int(KXSCREEN_MSG_STREAM_NORMAL));
        // The bottom strip: the big tile large, the strip small, also on page 1.
        g.setMode(6);
        g.feed();
        QDlgScreen* s = g.screen();
        tagPersonInfo* focus = s->focusPerson();
        QTRY_COMPARE(host.lastStream(focus), int(KXSCREEN_MSG_STREAM_LARGE));
        for (tagPersonInfo* p : g.shown())
            if (p != focus)
                QTRY_COMPARE(host.lastStream(p), int(KXSCREEN_MSG_STREAM_SMALL));
        QCOMPARE(g.shown().size(), 7);
        QTest::mouseClick(g.ctrl(StripNext), Qt::LeftButton);
        pump();
        QCOMPARE(s->focusPerson(), focus);
        QCOMPARE(g.shown().size(), 3);
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
        pump();
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
        // Looks that overlap keep the layout from before the first, until the last ends.
        g.setMode(6);
        KXScreen_AllLook(g.h, g.handles.at(0), 1);
        KXScreen_LockLook(g.h, g.handles.at(2), 1);
        KXScreen_AllLook(g.h, g.handles.at(0), 0);
        pump();
        QCOMPARE(s->focusPerson(), g.rec(2));
        KXScreen_LockLook(g.h, g.handles.at(2), 0);
        QTRY_COMPARE(g.mode(), 6);
        // The participant of a look leaves (locked here): the host hears which
        // look ended, then the toast goes, and the layout from before comes back.
        g.setMode(1);
        for (bool all : {false, true}) {
            all ? KXScreen_AllLook(g.h, g.handles.at(1), 1) : KXScreen_LockLook(g.h, g.handles.at(3), 1);
            QTRY_COMPARE(g.mode(), 5);
            host.clear();
            void* leaving = g.handles.at(all ? 1 : 3);
            tagPersonInfo* looked = recordOf(leaving);
            QCOMPARE(KXScreen_DelPerson(g.h, leaving), 1);
            pump();
            QVector<unsigned int> codes;
            for (const HostMsg& m : host.all())
                codes << m.msg;
            QCOMPARE(host.last(KXSCREEN_MSG_LOCK_LOOK_CANCELLED).w, uint64_t(quintptr(looked)));
            QVERIFY(codes.indexOf(KXSCREEN_MSG_LOOK_TOAST_OFF) > codes.indexOf(KXSCREEN_MSG_LOCK_LOOK_CANCELLED));
            QTRY_COMPARE(g.mode(), 1);
            QVERIFY(s->persons().contains(s->focusPerson()) || !s->focusPerson());
        }
    }

    void doubleClickAndFloatingWindow()
    {
        Gallery g(QSize(1280, 720), 3);
        QDlgScreen* s = g.screen();
        // In the grid a double click pins: the participant leads the page and
        // wears the badge; another unpins.
        QTest::mouseDClick(g.rec(2)->pWidget, Qt::LeftButton);
        QTRY_COMPARE(s->persons().first(), g.rec(2));
        QVERIFY(g.rec(2)->pWidget->playInfo()->badgeIcons().contains("pin"));
        QCOMPARE(g.tile(2), kxlayout::equalCutRect(1280, 720, 3, 0));
        QCOMPARE(g.host().last(KXSCREEN_MSG_DBCLICK_TILE).w, uint64_t(5)); // from a grid layout
        QTest::mouseDClick(g.rec(2)->pWidget, Qt::LeftButton);
        pump();
        QVERIFY(!g.rec(2)->bPinned);
        QVERIFY(!g.rec(2)->pWidget->playInfo()->badgeIcons().contains("pin"));
        // In a speaker layout it shows that tile alone, and another brings the layout back.
        g.setMode(5);
        CPlayWidget* tile = g.rec(1)->pWidget;
        QTest::mouseDClick(tile, Qt::LeftButton);
        pump();
        QCOMPARE(g.mode(), 9);
        QCOMPARE(s->maxPlayWidget(), tile);
        QCOMPARE(g.shown(), QVector<tagPersonInfo*>{g.rec(1)});
        QCOMPARE(g.host().last(KXSCREEN_MSG_DBCLICK_TILE).w, uint64_t(6));
        QTest::mouseDClick(tile, Qt::LeftButton);
        QTRY_COMPARE(g.mode(), 5);
        QVERIFY(!s->maxPlayWidget());
        // Shown from the grid: the stage layout, until it is hidden again.
        g.setMode(1);
        g.host().clear();
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
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 0); // not before the five seconds
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHOW_PIC_IN_PIC), 0);    // nothing is shared
        s->onVideoMuteTimer();
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 2);
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE, g.inPicInPic().value(0)), 0);
        g.host().clear();
        KXScreen_SetMeetingRoomMinimized(g.h, false);
        pump();
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN, other), 1);
        // Hidden on request: the layout comes back, and with it every tile.
        QCOMPARE(KXScreen_ShowPicInPic(g.h, false), 1);
        QTRY_VERIFY(!pip->isVisible() && g.shown().size() == 3);
        QCOMPARE(g.mode(), 1);
        // Hidden by the host in a stage layout: it stays hidden, the others stop.
        g.setMode(4);
        QTRY_VERIFY(pip->isVisible());
        pip->hide();
        pump();
        QVERIFY(g.inPicInPic().isEmpty());
        g.host().clear();
        s->onVideoMuteTimer();
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 2);
        // Its close control hides it as the host does, until the layout changes.
        g.setMode(2);
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
        s->setSpeakerHoldTimes(300, 600);
        QByteArray u2("u2,u5"), u7("u7"), u1("u1"), u3("u3"), u4("u4"), u8("u8"), none("nobody"), me("Me");
        // The border shows who speaks at once; in the grid a speaker already
        // on screen keeps its tile once it holds the stage.
        const QRect kept = g.tile(2);
        KXScreen_SetCurSpeakPerson(g.h, u2.data());
        pump();
        QVERIFY(g.rec(2)->pWidget->playInfo()->isSpeakingShown() && g.rec(5)->pWidget->playInfo()->isSpeakingShown());
        QTRY_COMPARE(s->stageSpeaker(), QString("u2"));
        QCOMPARE(g.tile(2), kept);
        // One off the page takes the place of who spoke least recently on the
        // first page (u2 and u5 spoke: u4, before u5), nobody else moves.
        const QRect third = g.tile(3);
        KXScreen_SetCurSpeakPerson(g.h, u7.data());
        QTRY_COMPARE(s->stageSpeaker(), QString("u7"));
        QVERIFY(!g.rec(2)->pWidget->playInfo()->isSpeakingShown());
        QTRY_COMPARE(s->persons().indexOf(g.rec(7)), 4);
        QCOMPARE(g.tile(7), kxlayout::equalCutRect(1280, 720, 9, 4));
        QCOMPARE(g.tile(2), kept);
        QCOMPARE(g.tile(3), third);
        // In a speaker layout people talking over each other do not move the
        // stage, repeated reports do nothing at all, and the local user never
        // takes it.
        g.setMode(5);
        QTRY_COMPARE(s->focusPerson(), g.rec(7));
        const int changes = s->stageSpeakerChanges();
        for (int i = 0; i < 6; ++i) {
            KXScreen_SetCurSpeakPerson(g.h, i % 2 ? u1.data() : u3.data());
            QTest::qWait(120);
        }
        KXScreen_SetPersonInfo(g.h, g.handles.at(4), true, 0, me.data());
        pump();
        const int opens = g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN);
        for (int i = 0; i < 5; ++i)
            KXScreen_SetCurSpeakPerson(g.h, u3.data());
        pump();
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_OPEN), opens); // no relayout
        QCOMPARE(s->stageSpeakerChanges(), changes);
        KXScreen_SetCurSpeakPerson(g.h, u4.data());
        QTest::qWait(900);
        QCOMPARE(s->focusPerson(), g.rec(7));
        // A pin outranks the speaker; an unknown ID unpins.
        KXScreen_FocusByUserID(g.h, u8.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(8));
        QVERIFY(g.rec(8)->pWidget->playInfo()->badgeIcons().contains("pin"));
        KXScreen_FocusByUserID(g.h, none.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(7));
        QVERIFY(!g.rec(8)->bPinned);
        // Cancelling voice activation takes the speaker off the stage at once.
        KXScreen_SetVoiceActivateByUserID(g.h, u1.data());
        QTRY_COMPARE(s->focusPerson(), g.rec(1));
        KXScreen_CancelVoiceActivate(g.h);
        pump();
        QVERIFY(s->focusPerson() != g.rec(1));
        QCOMPARE(s->stageSpeaker(), QString());
        // It stays cancelled (a report would take the stage at once here): the border follows who speaks,
        // the stage does not, until voice activation is set again, which needs no hold.
        s->setSpeakerHoldTimes(0, 0);
        KXScreen_SetCurSpeakPerson(g.h, u3.data());
        pump();
        QVERIFY(g.rec(3)->bSpeaking && s->stageSpeaker().isEmpty());
        s->setSpeakerHoldTimes(300, 600);
        KXScreen_SetVoiceActivateByUserID(g.h, u4.data());
        pump();
        QCOMPARE(s->focusPerson(), g.rec(4));
    }

    void shareTakesTheStage()
    {
        Gallery g(QSize(1280, 720), 6);
        QDlgScreen* s = g.screen();
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        g.setMode(8);
        g.host().clear();
        QByteArray id("sharescreen_u1"), name("P1's screen");
        void* share = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 5000, 0, reinterpret_cast<void*>(0x55), 1);
        QTRY_COMPARE(s->persons().size(), 7);
        tagPersonInfo* sr = recordOf(share);
        QTRY_COMPARE(s->focusPerson(), sr);
        QCOMPARE(s->persons().at(1)->userID, QString("u1")); // the sharer right after
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
        g.feed(); // a changed stream type is asked for with the participant's next frame
        QCOMPARE(g.host().lastStream(g.inPicInPic().first()), int(KXSCREEN_MSG_STREAM_SMALL));
        QCOMPARE(g.host().lastStream(sr), 0); // a share is never asked to switch
        QDlgPlayInfo* info = sr->pWidget->playInfo();
        auto changed = [](const QImage& a, const QImage& b, const QRect& r) {
            int n = 0;
            for (int y = r.top(); y <= r.bottom(); ++y)
                for (int x = r.left(); x <= r.right(); ++x)
                    n += a.pixel(x, y) != b.pixel(x, y) ? 1 : 0;
            return n;
        };
        const QImage plain = info->grab().toImage();
        const QRect all = plain.rect();
        const QRect corner(0, 0, all.width() / 4, all.height() / 4);
        const QRect centre(all.center() - QPoint(20, 8), QSize(40, 16));
        // The watermark covers the whole share, corners too.
        KXScreen_SetShareWatermark(g.h, QStringLiteral("alice@example 10:42"), true);
        pump();
        QCOMPARE(info->watermarkShown(), QStringLiteral("alice@example 10:42"));
        const QImage marked = info->grab().toImage();
        QVERIFY(changed(plain, marked, corner) > corner.width() * corner.height() / 50);
        QVERIFY(changed(plain, marked, all.translated(all.width() * 3 / 4, all.height() * 3 / 4) & all) > 0);
        QVERIFY(g.inPicInPic().first()->pWidget->playInfo()->watermarkShown().isEmpty()); // never on a camera
        KXScreen_SetShareWatermark(g.h, QString(), false);
        QCOMPARE(changed(plain, info->grab().toImage(), all), 0);
        // Paused: a marker in the middle, nothing else.
        KXScreen_SetSharePaush(g.h, true);
        pump();
        const QImage paused = info->grab().toImage();
        QVERIFY(changed(plain, paused, centre) > centre.width() * centre.height() * 9 / 10);
        QCOMPARE(changed(plain, paused, corner), 0);
        KXScreen_SetSharePaush(g.h, false);
        QVERIFY(!info->isPausedShown());
        // A click in the window chooses who "one" shows; the share keeps the stage.
        emit pip->notifyClickPicInPicPlayWidget(g.rec(4));
        QVERIFY(g.inPicInPic() == QVector<tagPersonInfo*>{g.rec(4)} && s->focusPerson() == sr);
        // Several: four to a page, the last page clamped when people leave.
        emit pip->notifyPicInPicMutil(true);
        QCOMPARE(g.inPicInPic().size(), 4);
        emit pip->notifyPicInPicChangePage(true);
        QCOMPARE(pip->pageIndex(), 1);
        const QVector<tagPersonInfo*> lastPage = g.inPicInPic();
        QCOMPARE(lastPage.size(), 2);
        g.feed();
        for (tagPersonInfo* p : lastPage)
            QCOMPARE(g.host().lastStream(p), int(KXSCREEN_MSG_STREAM_SMALL));
        QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(s->persons().indexOf(lastPage.first()) - 1)), 1);
        pump();
        QTRY_COMPARE(pip->pageIndex(), 1);
        KXScreen_DelPerson(g.h, g.handles.at(0));
        QTRY_COMPARE(pip->pageIndex(), 0);
        QCOMPARE(g.inPicInPic().size(), 4);
        // Back to one: whoever left the window is stopped once the five seconds are up.
        g.host().clear();
        emit pip->notifyPicInPicOne();
        const QVector<tagPersonInfo*> one = g.inPicInPic();
        QVERIFY(s->videoMuteTimerId() != 0 && one.size() == 1);
        s->onVideoMuteTimer();
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE), 3);
        QCOMPARE(g.host().count(KXSCREEN_MSG_REMOTE_VIDEO_CLOSE, one.first()), 0);
        // One click on the stage shows or hides the host's toolbar.
        QTest::mouseClick(sr->pWidget, Qt::LeftButton);
        QTRY_COMPARE(g.host().count(KXSCREEN_MSG_TOOLBAR_SHOW), 1); // once no second click can follow
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
        QCOMPARE(g.mode(), 4);
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
        QTRY_COMPARE(s->persons().size(), 6);
        QVERIFY(s->focusPerson() == sr && g.host().count(KXSCREEN_MSG_SHARE_TIP) == 0);
        emit pip->notifyClickPicInPicPlayWidget(recordOf(share2));
        QTRY_COMPARE(g.shown(), QVector<tagPersonInfo*>{recordOf(share2)});
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_TIP, recordOf(share2)), 1);
        QCOMPARE(KXScreen_DelPerson(g.h, share2), 1);
        QTRY_COMPARE(g.shown(), QVector<tagPersonInfo*>{sr});
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_TIP, sr), 1);
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
        ExpectLog log;
        Gallery g(QSize(1280, 720));
        QDlgScreen* s = g.screen();
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        void* p = nullptr;
        std::thread host([&]() {
            QByteArray id("u1"), name("Zoë"), renamed("Alice B");
            p = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 50, 3, reinterpret_cast<void*>(0x77), 2);
            // Created on the host thread; the roster learns of it when the interface thread pumps.
            QCOMPARE(s->persons().size(), 0);
            QCOMPARE(KXScreen_SetMute(g.h, p, 0) + KXScreen_SetHasMic(g.h, p, false) + KXScreen_SetVolume(g.h, p, 55)
                         + KXScreen_SetPersonInfo(g.h, p, true, 2, renamed.data()) + KXScreen_UpdateNetWeak(g.h, "u1", true, 2)
                         + KXScreen_SetCurMode(g.h, 6) + KXScreen_Preview(g.h, p, false), 7);
        });
        host.join();
        pump();
        tagPersonInfo* r = recordOf(p);
        QCOMPARE(r->pUserData, reinterpret_cast<void*>(0x77));
        QCOMPARE(r->userName, QString("Alice B"));
        QVERIFY(!r->bMute && !r->bHasMic && r->bSelf && r->bNetWeak && !r->bPreview);
        // extra, call state, volume, role, network level, stream status (video off)
        QCOMPARE((QVector<int>{r->iExtra, r->m_iStatus, r->iVolume, r->iRoleType, r->iNetLevel, r->eStreamStatus}), (QVector<int>{3, 2, 55, 2, 2, 1}));
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
        // A removal for a record already removed is dropped.
        tagPersonInfo* gone = recordOf(pa);
        QCOMPARE(KXScreen_DelPerson(g.h, pa), 1);
        pump();
        QVERIFY(cfg->testDelPerson(gone, false));
        QTest::ignoreMessage(QtDebugMsg, "xxx testDelPerson");
        s->onModDelPerson(gone);
        QCOMPARE(s->persons().size(), 2);
        // Interface exports answer at once.
        QImage head(16, 16, QImage::Format_RGB32);
        head.fill(Qt::red);
        QCOMPARE(KXScreen_SetPersonHeadImg(g.h, p, &head), 1);
        QCOMPARE(r->headImage.pixel(0, 0), QColor(Qt::red).rgb());
        QCOMPARE(KXScreen_SetUnjoinedPersonInfo(g.h, p, const_cast<char*>("u1"), 3, head), 1);
        QCOMPARE(r->m_iStatus, 3);
        QCOMPARE(KXScreen_SetDPIs(g.h, 1.25, 1.5), 1);
        QCOMPARE(QPointF(cfg->dpi1(), cfg->dpi2()), QPointF(1.25, 1.5));
        KXScreen_SetDPIs(g.h, 1.0, 1.0);
        // Invited participants start with video off and microphone open.
        QByteArray inv("unjoined_9");
        void* invited = KXScreen_AddPerson(g.h, inv.data(), inv.data(), inv.data(), 1, 0, nullptr, 1);
        QVERIFY(!recordOf(invited)->bPreview && !recordOf(invited)->bMute);
        // Placed, hidden and raised by the host.
        QDlgMain* dlg = static_cast<KXScreenHandle*>(g.h)->pMainDlg;
        const QRect target(40, 30, 960, 540);
        onHostThread([&]() { return KXScreen_MoveWindow(g.h, target, KXSCREEN_MOVE_SHOW); });
        QTRY_COMPARE(dlg->geometry(), target);
        QCOMPARE(dlg->parentWidget(), &g.parent);
        QTRY_COMPARE(s->geometry(), QRect(0, 0, 960, 540));
        KXScreen_MoveWindow(g.h, target, KXSCREEN_MOVE_HIDE);
        pump();
        QVERIFY(!dlg->isVisible());
        KXScreen_MoveWindow(g.h, target, KXSCREEN_MOVE_RAISE);
        pump();
        QVERIFY(dlg->isVisible());
        // The main dialog refuses to close, by the window or by Escape.
        QVERIFY(!dlg->close());
        QTest::keyClick(dlg, Qt::Key_Escape);
        QVERIFY(dlg->isVisible() && isValidScreenHandle(g.h));
        // The last one to leave resets all.
        for (void* leaving : {pb, invited, p})
            QCOMPARE(KXScreen_DelPerson(g.h, leaving), 1);
        QTRY_COMPARE(s->persons().size(), 0);
        QCOMPARE(g.mode(), 1);
        QVERIFY(!s->focusPerson());
        QCOMPARE(s->minJoinTime(), std::numeric_limits<qint64>::max());
        QCOMPARE(s->maxJoinTime(), qint64(0));
    }

    void configuration()
    {
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        // The skin is set before Init and read there; the colours follow it.
        for (bool light : {true, false}) {
            QCOMPARE(KXScreen_SetIsNewSkin(nullptr, light), 1);
            Gallery g(QSize(320, 180));
            QCOMPARE(QStringList({cfg->getBackColor(), cfg->getTextColor(), cfg->getScreenColor()}),
                     light ? QStringList({"#FFFFFF", "#262626", "#FFFFFF"}) : QStringList({"#2A2E36", "#FFFFFF", "#0C1017"}));
        }
        // Freed records are remembered until asked to forget; asking does not erase.
        int a = 0, b = 0;
        QVERIFY(!cfg->testDelPerson(&a, false));
        cfg->addDelPerson(&a);
        QVERIFY(cfg->testDelPerson(&a, false) && cfg->testDelPerson(&a, false));
        QVERIFY(!cfg->testDelPerson(&b, true));
        QVERIFY(cfg->testDelPerson(&a, true));
        QVERIFY(!cfg->testDelPerson(&a, false));
        // Settings are read by Init on a thread of its own, from the host's directory.
        QTemporaryDir dir;
        QFile ini(dir.path() + "/user_data/sys_ver.ini");
        QVERIFY(QDir().mkpath(dir.path() + "/user_data") && ini.open(QIODevice::WriteOnly));
        QVERIFY(ini.write("[version]\ncache_frame1=true\nshow_resolution=1\n") > 0);
        ini.close();
        {
            Gallery g(QSize(320, 180), 0, true, 0, dir.path().toUtf8());
            QTRY_VERIFY(cfg->showResolution() && cfg->cacheEveryFrame());
        }
        cfg->setBaseDir(QString());
        cfg->loadSettingsNow();
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
            for (int i = 0; i < 3; ++i)
                if (!near(img.pixelColor(QVector<int>{100, 700, 1000}[i], 400), Frame::blockColour(blocks[i] - '0'), 24))
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
