// The gallery driven through the exports as a host drives it: the controller
// applies the layout rules, pages, asks for streams, stops and resumes video,
// follows looks, shares and removals, and tells the host with the header's
// codes; plus the configuration the exports rest on.
#include "kxtestkit.h"
#include "layoutgeometry.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"

#include <QAbstractButton>
#include <QAbstractEventDispatcher>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QWheelEvent>

using namespace kxtest;

namespace {

void wheel(QWidget* w, int dy)
{
    QWheelEvent e(QPointF(100, 100), QPointF(w->mapToGlobal(QPoint(100, 100))), QPoint(), QPoint(0, dy), Qt::NoButton,
                  Qt::NoModifier, Qt::NoScrollPhase, false);
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
        QVERIFY(g.rec(2)->pWidget->playInfo()->isSpeakingShown());
        QTRY_COMPARE(s->stageSpeaker(), QString("u2"));
        QCOMPARE(g.tile(2), kept);
        // One off the page takes the place of who spoke least recently on the
        // first page (nobody else spoke: the last there), nobody else moves.
        const QRect third = g.tile(3);
        KXScreen_SetCurSpeakPerson(g.h, u7.data());
        QTRY_COMPARE(s->stageSpeaker(), QString("u7"));
        QVERIFY(!g.rec(2)->pWidget->playInfo()->isSpeakingShown());
        QTRY_COMPARE(s->persons().indexOf(g.rec(7)), 5);
        QCOMPARE(g.tile(7), kxlayout::equalCutRect(1280, 720, 9, 5));
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
        // The menu key is "more" at its control's middle.
        QWidget* dots = g.rec(1)->pWidget->playInfo()->moreButton();
        key(Qt::Key_Menu);
        QCOMPARE(QDlgPlayInfo::unpackClickPos(int(g.host().last(KXSCREEN_MSG_CLICK_MORE).w)),
                 dots->mapToGlobal(dots->rect().center()));
        // A page turned from the keyboard: the first tile of the new page; a page control that goes with
        // the turn hands the keyboard to the first tile of the page it turned to.
        key(Qt::Key_PageDown);
        QCOMPARE(focus(), tile(6));
        QCOMPARE(items(list), QString("P6,P7,Previous page"));
        QCOMPARE(a11yText(tile(6), QAccessible::Description), QString("muted, 7 of 8, page 2 of 2"));
        g.ctrl(PagePre)->setFocus();
        turnWait();
        key(Qt::Key_Space);
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
        // Unmuted by the host: said once; the floating window's tiles are items too.
        a11yEvents().clear();
        KXScreen_SetMute(g.h, g.handles.at(4), 0);
        pump();
        QCOMPARE(a11yCount(tile(4), QAccessible::DescriptionChanged), 1);
        QVERIFY(a11yText(tile(4), QAccessible::Description).startsWith("on the stage, pinned, 5 of 8"));
        KXScreen_ShowPicInPic(g.h, true);
        pump();
        QAccessibleInterface* pip = QAccessible::queryAccessibleInterface(KXScreen_GetPicInPicWidgetPtr(g.h));
        QVERIFY(pip->childCount() > 1 && pip->child(0)->role() == QAccessible::ListItem);
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
};

QTEST_MAIN(TstGallery)
#include "tst_gallery.moc"
