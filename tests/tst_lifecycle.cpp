// Lifecycle and host faults: 200 meetings in one process without growth,
// release with work still queued or frames still arriving, and host functions
// that call back in, remove participants, release the gallery or throw.
#include "kxtestkit.h"
#include "qdlgplayinfo.h"
#include "testhooks.h"

#include <QApplication>
#include <QPointer>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <unistd.h>

// The sanitizers keep freed memory resident (quarantine, shadow memory):
// the resident-size check is for the plain build.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KX_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KX_UNDER_SANITIZER 1
#endif
#endif

using namespace kxtest;

namespace {

// Resident bytes, threads and open files of this process.
qint64 procValue(const char* what)
{
    if (qstrcmp(what, "files") == 0)
        return QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size();
    QFile f(qstrcmp(what, "rss") == 0 ? "/proc/self/statm" : "/proc/self/status");
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray text = f.readAll();
    if (qstrcmp(what, "rss") == 0)
        return text.split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
    for (const QByteArray& line : text.split('\n'))
        if (line.startsWith("Threads:"))
            return line.mid(8).trimmed().toInt();
    return -1;
}

void allFrames(void* h, const QVector<void*>& handles, const Frame& f)
{
    onHostThread([&]() {
        for (void* p : handles)
            if (alive(p))
                KXScreen_PlayFrame(h, p, const_cast<KxCloudRTCVideoFrameQT*>(&f.rec));
        return 0;
    });
    pump();
}

typedef std::function<void(void* h, void* hPlay, void* other)> Reentry;

QByteArray g_late("late");
Frame g_small(64, 36, 40);

// A host thread the test parks right after an export has taken its handle.
std::atomic<bool> g_parkNext{false}, g_parked{false}, g_resume{false};
void parkHook(kxhooks::Point point)
{
    bool expected = true;
    if (point != kxhooks::Point::ScreenAcquired || QThread::currentThread() == qApp->thread()
        || !g_parkNext.compare_exchange_strong(expected, false))
        return;
    g_parked = true;
    while (!g_resume)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

} // namespace

Q_DECLARE_METATYPE(Reentry)
Q_DECLARE_METATYPE(std::function<int(void*, void*)>)

class TstLifecycle : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void cleanup() { recorder(0).hook = nullptr; }
    void manyMeetings()
    {
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        const int cycles = qEnvironmentVariableIsSet("KX_LIFECYCLE_CYCLES") ? qEnvironmentVariableIntValue("KX_LIFECYCLE_CYCLES") : 200;
        const Frame frame(320, 180, 90), odd(161, 91, 60);
        QVector<void*> handles;
        QVector<tagPersonInfo*> records;
        // One meeting: five from a host thread, frames, a layout change, two
        // leave, the rest go with the gallery.
        auto meeting = [&](int c) {
            Gallery g(QSize(880, 500), 5);
            for (const Frame* f : {&frame, &odd, &frame})
                allFrames(g.h, g.handles, *f);
            g.setMode(c % 2 ? 5 : 1);
            for (void* p : g.handles)
                records.append(recordOf(p));
            KXScreen_DelPerson(g.h, g.handles.at(1));
            KXScreen_DelPerson(g.h, g.handles.at(3));
            pump();
            handles += g.handles;
        };
        for (int c = 0; c < 10; ++c)
            meeting(c);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const int widgets = QApplication::allWidgets().size(), callbacks = cfg->callbackCount();
        const qint64 threads = procValue("threads"), files = procValue("files"), rss = procValue("rss");
        for (int c = 10; c < 10 + cycles && !QTest::currentTestFailed(); ++c)
            meeting(c);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        pump();
        // The settings reader of each Init is a thread of its own; it ends by itself.
        QTRY_VERIFY_WITH_TIMEOUT(procValue("threads") <= threads, 10000);
        const qint64 grown = procValue("rss") - rss;
        qInfo("meetings: %d cycles, widgets %d -> %d, files %lld -> %lld, resident +%lld kB, freed-record registry %d",
              cycles, widgets, QApplication::allWidgets().size(), files, procValue("files"), grown / 1024, cfg->delPersonCount());
        QCOMPARE(QApplication::allWidgets().size(), widgets);
        QCOMPARE(cfg->callbackCount(), callbacks);
        QCOMPARE(cfg->delPersonCount(), 0); // no gallery left to hold a freed address
        QCOMPARE(procValue("files"), files);
        for (void* p : qAsConst(handles))
            QVERIFY(!alive(p));
        for (tagPersonInfo* r : qAsConst(records))
            QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
    #ifndef KX_UNDER_SANITIZER
        // A leaked record with its picture (~100 kB) or tile would show; the
        // sanitizer build checks small leaks instead (its quarantine keeps memory).
        QVERIFY2(grown < qint64(cycles) * 40 * 1024, qPrintable(QStringLiteral("grew %1 kB").arg(grown / 1024)));
    #endif
    }

    void releaseWithQueuedWork()
    {
        for (int round = 0; round < 4; ++round) {
            Gallery g(QSize(880, 500), round > 0 ? 4 : 0);
            Frame frame(96, 54, 200);
            QVector<void*> all = g.handles;
            // Just added, given frames and updates, some just removed: all of it
            // still queued when the gallery goes.
            onHostThread([&]() {
                QByteArray name("Renamed");
                all += addFromHost(g.h, 6, 100);
                for (void* p : all) {
                    KXScreen_PlayFrame(g.h, p, &frame.rec);
                    KXScreen_SetMute(g.h, p, 0);
                    KXScreen_SetVolume(g.h, p, 40);
                    KXScreen_SetPersonInfo(g.h, p, false, 2, name.data());
                    KXScreen_Preview(g.h, p, true);
                    KXScreen_AllLook(g.h, p, 1);
                    KXScreen_SetDefStreamType(g.h, p);
                }
                KXScreen_DelPerson(g.h, all.last());
                KXScreen_DelPerson(g.h, all.first());
                KXScreen_SetCurMode(g.h, 8);
                KXScreen_ChangeShowPage(g.h, true);
                KXScreen_FocusByUserID(g.h, const_cast<char*>("u101"));
                KXScreen_JoinMeetingFinish(g.h);
                KXScreen_MoveWindow(g.h, QRect(0, 0, 400, 300), KXSCREEN_MOVE_SHOW);
                KXScreen_AddSentence(g.h, 1, 1, name.data(), name.data());
                return 0;
            });
            QVector<tagPersonInfo*> records;
            for (void* p : all)
                if (alive(p))
                    records.append(recordOf(p));
            const int notices = g.host().all().size();
            KXScreen_Release(g.h);
            pump(); // the queued work finds nobody to run it
            QCOMPARE(g.host().all().size(), notices);
            for (void* p : all)
                QVERIFY(!alive(p));
            for (tagPersonInfo* r : records)
                QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
            QCOMPARE(KXScreen_PlayFrame(g.h, all.value(1), &frame.rec), 0);
            QVERIFY(!KXScreen_AddPerson(g.h, nullptr, nullptr, nullptr, 0, 0, nullptr, 1));
        }
    }

    void releaseWhileFramesArrive()
    {
        // A media thread does not stop because the meeting ends.
        for (int round = 0; round < 6; ++round) {
            Gallery g(QSize(880, 500), 3, false);
            std::atomic<bool> stop{false}, released{false};
            std::atomic<int> takenAfter{0}, calls{0};
            std::thread media([&]() {
                Frame frame(128, 72, 50);
                while (!stop)
                    for (void* p : g.handles) {
                        const bool after = released.load();
                        const int r = KXScreen_PlayFrame(g.h, p, &frame.rec);
                        takenAfter += after && r ? 1 : 0;
                        ++calls;
                    }
            });
            const bool running = QTest::qWaitFor([&]() { return calls.load() > 30; });
            KXScreen_Release(g.h);
            released = true;
            const int atRelease = calls.load();
            const bool goesOn = QTest::qWaitFor([&]() { return calls.load() > atRelease + 30; });
            stop = true;
            media.join();
            QVERIFY(running);
            QVERIFY2(goesOn, "the media thread stalled after the release");
            QCOMPARE(takenAfter.load(), 0);
        }
    }

    void hostFunctionReenters_data()
    {
        QTest::addColumn<Reentry>("reentry");
        QTest::addColumn<QVector<int>>("codes"); // the notifications the host answers by calling in
        static Frame frame(64, 36, 33);
        static QImage head(6, 6, QImage::Format_RGB32);
        const std::pair<const char*, QVector<int>> triggers[] = {
            {"stream request", {2, 3, 4}}, {"video stop/start", {17, 18}}, {"look cancelled", {16}}, {"look toast", {12, 13}}};
        auto row = [&triggers](const char* n, Reentry r) {
            for (const auto& t : triggers)
                QTest::addRow("%s, in %s", n, t.first) << r << t.second;
        };
        row("reads", [](void* h, void*, void*) {
            KXScreen_GetAllLookUserID(h), KXScreen_GetLockLookUserID(h), KXScreen_GetShareUserID(h), KXScreen_GetShareWgtPos(h);
            KXScreen_GetCurMode(h), KXScreen_IsIconic(h), KXScreen_IsUserShare(h), KXScreen_GetPicInPicWidgetPtr(h);
        });
        row("participant updates", [](void* h, void* p, void*) {
            KXScreen_SetMute(h, p, 1), KXScreen_SetHasMic(h, p, true), KXScreen_SetVolume(h, p, 12);
            KXScreen_SetPersonHeadImg(h, p, &head), KXScreen_UpdateNetWeak(h, "u1", false, 4), KXScreen_MoreInHide(h, p);
        });
        row("frames", [](void* h, void* p, void* o) { KXScreen_PlayFrame(h, p, &frame.rec), KXScreen_PlayFrame(h, o, &frame.rec); });
        row("preview", [](void* h, void* p, void*) { KXScreen_Preview(h, p, false), KXScreen_Preview(h, p, true); });
        row("role", [](void* h, void* p, void*) { KXScreen_SetPersonInfo(h, p, false, 1, const_cast<char*>("Boss")); });
        row("layout", [](void* h, void*, void*) {
            KXScreen_SetCurMode(h, 5), KXScreen_ChangeShowPage(h, true), KXScreen_SetCurMode(h, 1);
            KXScreen_MoveWindow(h, QRect(0, 0, 700, 400), KXSCREEN_MOVE_SHOW);
        });
        row("focus and look", [](void* h, void* p, void*) {
            KXScreen_FocusByUserID(h, const_cast<char*>("u2")), KXScreen_AllLook(h, p, 1), KXScreen_LockLook(h, p, 1);
            KXScreen_AllLook(h, p, 0), KXScreen_LockLook(h, p, 0);
            KXScreen_SetVoiceActivateByUserID(h, const_cast<char*>("u3")), KXScreen_CancelVoiceActivate(h);
        });
        row("join", [](void* h, void* p, void*) { KXScreen_JoinMeetingFinish(h), KXScreen_SetDefStreamType(h, p); });
        row("add", [](void* h, void*, void*) { QByteArray id("late"); KXScreen_AddPerson(h, id.data(), id.data(), id.data(), 999, 0, nullptr, 1); });
        row("remove the named participant", [](void* h, void* p, void*) { KXScreen_DelPerson(h, p); });
        row("remove another participant", [](void* h, void*, void* o) { KXScreen_DelPerson(h, o); });
    }

    void hostFunctionReenters()
    {
        QFETCH(Reentry, reentry);
        QFETCH(QVector<int>, codes);
        Gallery g(QSize(880, 500), 9, false);
        // The host answers every notification that names a participant by calling
        // back in about it, a few levels deep at most (each call can notify again).
        int depth = 0, reentries = 0;
        g.host().hook = [&](const HostMsg& m) {
            if (!codes.contains(int(m.msg)) || depth >= 2 || reentries >= 120)
                return;
            void* p = nullptr;
            void* other = nullptr;
            for (void* q : g.handles) {
                if (!alive(q))
                    continue; // on its way out: the host calls in about someone else
                if (recordOf(q) == reinterpret_cast<tagPersonInfo*>(m.w))
                    p = q;
                else if (!other)
                    other = q;
            }
            if (!(p = p ? p : other))
                return;
            ++depth;
            ++reentries;
            reentry(g.h, p, other);
            --depth;
        };
        // Notifications come from frames (stream types), joining (video on and
        // off), layout changes, video turned on without a tile, minimising, looks
        // and removals.
        const Frame frame(160, 90, 70);
        KXScreen_JoinMeetingFinish(g.h);
        for (int k = 0; k < 2; ++k) {
            allFrames(g.h, g.handles, frame);
            for (void* p : g.handles)
                if (alive(p)) // on the interface thread the follow-up runs at once
                    KXScreen_PlayFrame(g.h, p, const_cast<KxCloudRTCVideoFrameQT*>(&frame.rec));
            KXScreen_SetCurMode(g.h, k == 0 ? 5 : 8);
            pump();
            KXScreen_ChangeShowPage(g.h, true);
            pump();
        }
        for (void* p : g.handles)
            if (alive(p))
                KXScreen_SetDefStreamType(g.h, p);
        KXScreen_SetCurMode(g.h, 1);
        pump();
        for (void* p : g.handles)
            if (alive(p) && !recordOf(p)->pWidget) {
                KXScreen_Preview(g.h, p, false);
                if (alive(p))
                    KXScreen_Preview(g.h, p, true);
            }
        KXScreen_SetMeetingRoomMinimized(g.h, true);
        KXScreen_SetMeetingRoomMinimized(g.h, false);
        pump();
        for (void* p : g.handles)
            if (alive(p)) {
                KXScreen_AllLook(g.h, p, 1);
                KXScreen_LockLook(g.h, p, 1);
                pump();
                KXScreen_DelPerson(g.h, p);
                pump();
                break;
            }
        QVERIFY2(reentries > 0, "the host function was never given a participant");
        g.host().hook = nullptr;
        QCOMPARE(checkGallery(g.screen()), QString());
        // It still works: a newcomer is placed.
        void* late = addFromHost(g.h, 1, 40).first();
        pump();
        QVERIFY(g.screen()->persons().contains(recordOf(late)));
    }

    void removedInsideItsNotification_data()
    {
        QTest::addColumn<bool>("videoStop");
        QTest::newRow("its stream request") << false;
        QTest::newRow("its video stop") << true;
    }

    void removedInsideItsNotification()
    {
        // The host removes the participant a notification names, from inside it.
        QFETCH(bool, videoStop);
        Gallery g(QSize(880, 500), videoStop ? 7 : 3, false);
        void* victim = g.handles.at(1);
        for (void* p : g.handles)
            if (videoStop && !recordOf(p)->pWidget)
                victim = p; // off the page: video on means "stop pulling it"
        tagPersonInfo* rec = recordOf(victim);
        int removed = 0;
        g.host().hook = [&](const HostMsg& m) {
            const bool named = videoStop ? m.msg == KXSCREEN_MSG_REMOTE_VIDEO_CLOSE : (m.msg >= 2 && m.msg <= 4);
            if (named && m.w == quintptr(rec) && alive(victim))
                removed += KXScreen_DelPerson(g.h, victim);
        };
        Frame frame(64, 36);
        if (videoStop) {
            QCOMPARE(KXScreen_Preview(g.h, victim, false), 1);
            QCOMPARE(KXScreen_Preview(g.h, victim, true), 1);
        } else {
            QCOMPARE(KXScreen_PlayFrame(g.h, victim, &frame.rec), 1);
        }
        pump();
        QCOMPARE(removed, 1);
        QVERIFY(!g.screen()->persons().contains(rec));
        QCOMPARE(g.screen()->persons().size(), g.handles.size() - 1);
        QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &frame.rec), 1); // the others go on
        QCOMPARE(checkGallery(g.screen()), QString());
    }

    void removedBeforeItsArrivalIsHandled()
    {
        // The signalling thread adds a participant and removes it before the
        // interface thread has handled the arrival: it must never show up.
        for (int others : {0, 3}) {
            Gallery g(QSize(880, 500), others);
            const QVector<void*> fresh = addFromHost(g.h, 2, 50);
            tagPersonInfo* rec = recordOf(fresh.at(0));
            QCOMPARE(g.screen()->persons().size(), others); // the arrivals are still queued
            QCOMPARE(KXScreen_DelPerson(g.h, fresh.at(0)), 1);
            pump();
            QCOMPARE(g.screen()->persons().size(), others + 1);
            QVERIFY(g.screen()->persons().contains(recordOf(fresh.at(1))));
            QVERIFY(!kxplatform::isReadable(rec, sizeof(ST_PersonInfo)));
        }
    }

    void releasedInsideANotification_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("onUi"); // the call that leads to it is made on the interface thread
        QTest::newRow("stream request") << int(KXSCREEN_MSG_STREAM_LARGE) << true; // any of 2, 3, 4
        QTest::newRow("video start") << int(KXSCREEN_MSG_REMOTE_VIDEO_OPEN) << true;
        QTest::newRow("information updated") << int(KXSCREEN_MSG_USERINFO_UPDATED) << false;
        // Inside the adding call itself, which still has to log who it added.
        QTest::newRow("information updated, added on the interface thread") << int(KXSCREEN_MSG_USERINFO_UPDATED) << true;
        QTest::newRow("look toast") << int(KXSCREEN_MSG_LOOK_TOAST_ON) << true;
    }

    void releasedInsideANotification()
    {
        // The meeting ends while the host is being told something.
        QFETCH(int, code);
        QFETCH(bool, onUi);
        Gallery g(QSize(880, 500), 3, false);
        QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(g.h)->pMainDlg;
        QVector<tagPersonInfo*> records;
        for (void* p : g.handles)
            records.append(recordOf(p));
        int released = 0;
        g.host().hook = [&](const HostMsg& m) {
            const bool match = code == KXSCREEN_MSG_STREAM_LARGE ? (m.msg >= 2 && m.msg <= 4) : int(m.msg) == code;
            if (match && released++ == 0)
                KXScreen_Release(g.h);
        };
        if (code == KXSCREEN_MSG_STREAM_LARGE)
            KXScreen_SetDefStreamType(g.h, g.handles.at(0));
        else if (code == KXSCREEN_MSG_REMOTE_VIDEO_OPEN)
            KXScreen_JoinMeetingFinish(g.h);
        else if (code == KXSCREEN_MSG_USERINFO_UPDATED && !onUi)
            addFromHost(g.h, 1, 9);
        else if (code == KXSCREEN_MSG_USERINFO_UPDATED)
            KXScreen_AddPerson(g.h, g_late.data(), g_late.data(), g_late.data(), 9, 0, nullptr, 1);
        else
            KXScreen_AllLook(g.h, g.handles.at(0), 1);
        pump();
        QCOMPARE(released, 1);
        // Dead at once for the host, gone once the stack has unwound.
        QVERIFY(!isLiveScreenHandle(g.h));
        const int notices = g.host().all().size();
        QCOMPARE(KXScreen_SetCurMode(g.h, 5), 0);
        for (void* p : g.handles)
            QVERIFY(!alive(p));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTRY_VERIFY(dlg.isNull());
        for (tagPersonInfo* r : qAsConst(records))
            QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
        QCOMPARE(g.host().all().size(), notices);
    }

    void releasedUnderAHostThread_data()
    {
        // A host thread is inside an export, just past its handle check, when
        // the interface thread releases the gallery.
        QTest::addColumn<std::function<int(void*, void*)>>("call");
        QTest::newRow("AddPerson") << std::function<int(void*, void*)>([](void* h, void*) {
            return KXScreen_AddPerson(h, g_late.data(), g_late.data(), g_late.data(), 7, 0, nullptr, 1) ? 1 : 0;
        });
        QTest::newRow("PlayFrame") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_PlayFrame(h, p, &g_small.rec); });
        QTest::newRow("SetMute") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_SetMute(h, p, 1); });
        QTest::newRow("DelPerson") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_DelPerson(h, p); });
        QTest::newRow("SetCurMode") << std::function<int(void*, void*)>([](void* h, void*) { return KXScreen_SetCurMode(h, 5); });
    }

    void releasedUnderAHostThread()
    {
        QFETCH(std::function<int(void*, void*)>, call);
        Gallery g(QSize(880, 500), 2);
        QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(g.h)->pMainDlg;
        g_parked = false;
        g_resume = false;
        g_parkNext = true;
        kxhooks::setHook(parkHook);
        int result = -1;
        std::thread host([&]() { result = call(g.h, g.handles.at(0)); });
        QTRY_VERIFY(g_parked.load());
        KXScreen_Release(g.h);
        QVERIFY(!isLiveScreenHandle(g.h));
        QVERIFY(dlg); // still there for the thread inside
        const int notices = g.host().all().size();
        g_resume = true;
        host.join();
        kxhooks::setHook(nullptr);
        QVERIFY(result == 0 || result == 1);
        // The last one out hands the gallery to the interface thread, which frees it.
        QTRY_VERIFY(dlg.isNull());
        QCOMPARE(g.host().all().size(), notices);
    }

    void hostLocksInItsFunction()
    {
        // The media thread holds the host's own lock around every PlayFrame;
        // the host function takes it for the video messages that removals
        // cause. It gives up after a while instead of hanging, and counts that.
        Gallery g(QSize(880, 500), 6);
        std::timed_mutex hostLock;
        std::atomic<int> stuck{0}, taken{0};
        g.host().hook = [&](const HostMsg& m) {
            if (m.msg != KXSCREEN_MSG_REMOTE_VIDEO_OPEN && m.msg != KXSCREEN_MSG_REMOTE_VIDEO_CLOSE)
                return;
            if (!hostLock.try_lock_for(std::chrono::seconds(2))) {
                ++stuck;
                return;
            }
            ++taken;
            hostLock.unlock();
        };
        std::atomic<bool> stop{false};
        const QVector<void*> staying = g.handles.mid(3); // the first three leave
        std::thread media([&]() {
            while (!stop)
                for (void* p : staying) {
                    std::lock_guard<std::timed_mutex> lock(hostLock);
                    KXScreen_PlayFrame(g.h, p, &g_small.rec);
                }
        });
        QTest::qWait(50);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(i)), 1);
            pump();
        }
        stop = true;
        media.join();
        g.host().hook = nullptr;
        QCOMPARE(stuck.load(), 0);
        QVERIFY(taken.load() > 0);
    }

    void staleWorkMeetsANewcomer()
    {
        // Work a host thread queued for a participant who then leaves must not
        // reach a newcomer whose record the allocator puts at the same address.
        Gallery g(QSize(880, 500), 1);
        bool reused = false;
        for (int attempt = 0; attempt < 50 && !reused; ++attempt) {
            void* leaver = KXScreen_AddPerson(g.h, g_late.data(), g_late.data(), g_late.data(), 50, 0, nullptr, 1);
            tagPersonInfo* old = recordOf(leaver);
            // Queued from a host thread: the microphone opens (records start muted).
            QCOMPARE(onHostThread([&]() { return KXScreen_SetMute(g.h, leaver, 0); }), 1);
            // Before it runs, the participant leaves and a newcomer arrives.
            QCOMPARE(KXScreen_DelPerson(g.h, leaver), 1);
            void* newcomer = KXScreen_AddPerson(g.h, g_late.data(), g_late.data(), g_late.data(), 60, 0, nullptr, 1);
            reused = recordOf(newcomer) == old;
            pump();
            QVERIFY2(recordOf(newcomer)->bMute, "the leaver's queued work reached the newcomer");
            QCOMPARE(KXScreen_DelPerson(g.h, newcomer), 1);
            pump();
        }
        if (!reused)
            QWARN("no record address was reused: only the registry of freed records was exercised");
    }

    void hostFunctionThrows()
    {
        ExpectLog log;
        for (int kind = 0; kind < 2; ++kind) {
            Gallery g(QSize(880, 500), 2, false);
            g.host().hook = [kind](const HostMsg&) {
                if (kind == 0)
                    throw std::runtime_error("host is unhappy");
                throw 42;
            };
            // One notification, one warning, and the export answers as usual.
            QTest::ignoreMessage(QtWarningMsg, qPrintable(QStringLiteral("[ScreenMod]host callback threw, dwMsg: 4")
                                                              + (kind == 0 ? " ,what: host is unhappy" : "")));
            QCOMPARE(KXScreen_SetDefStreamType(g.h, g.handles.at(0)), 1);
            QCOMPARE(g.host().count(KXSCREEN_MSG_STREAM_LARGE), 1);
            // Throwing on every notification of a relayout, frames and a removal: the gallery goes on.
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[ScreenMod\\]host callback threw"));
            KXScreen_JoinMeetingFinish(g.h);
            Frame frame(64, 36);
            QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &frame.rec) + KXScreen_PlayFrame(g.h, g.handles.at(1), &frame.rec), 2);
            pump();
            QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(1)), 1);
            pump();
            QCOMPARE(g.screen()->persons().size(), 1);
            g.host().hook = nullptr;
        }
    }

    void frameDuringRebindStaysWithItsParticipant()
    {
        // A layout pass sets the newcomer's tile pointer before the tile takes the
        // newcomer; a host thread's frame in between must not become somebody
        // else's picture.
        Gallery g(QSize(880, 500), 2);
        tagPersonInfo* a = g.rec(0);
        tagPersonInfo* b = g.rec(1);
        Frame fa(64, 36, 10), fb(64, 36, 20), intruder(64, 36, 99);
        QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &fa.rec) + KXScreen_PlayFrame(g.h, g.handles.at(1), &fb.rec), 2);
        pump();
        CPlayWidget* tileB = b->pWidget;
        b->pWidget = a->pWidget; // the state in the middle of the pass
        const int r = onHostThread([&]() { return KXScreen_PlayFrame(g.h, g.handles.at(1), &intruder.rec); });
        b->pWidget = tileB;
        QCOMPARE(r, 0);
        QCOMPARE(int(a->m_pBufYuv420p[0]), 10);
        QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(1), &intruder.rec), 1);
        QCOMPARE(int(b->m_pBufYuv420p[0]), 99);
    }

    void noTileKeepsALeaver_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("grid") << 1;
        QTest::newRow("speaker right") << 5;
        QTest::newRow("speaker bottom") << 6;
        QTest::newRow("speaker4") << 8;
    }

    void noTileKeepsALeaver()
    {
        // Participants move between tiles and leave; no tile, shown or hidden,
        // keeps a freed record (its queued work would read it).
        QFETCH(int, mode);
        Gallery g(QSize(880, 500), 9);
        QVector<void*> handles = g.handles;
        const Frame frame(96, 54);
        allFrames(g.h, handles, frame);
        QDlgScreen* s = g.screen();
        for (int i = 0; !handles.isEmpty(); ++i) {
            KXScreen_SetCurMode(g.h, (i % 2) ? 1 : mode);
            pump();
            KXScreen_FocusByUserID(g.h, const_cast<char*>(("u" + QByteArray::number(i % 9)).constData()));
            KXScreen_ChangeShowPage(g.h, i % 3 == 0);
            allFrames(g.h, handles, frame);
            void* leaver = handles.takeAt(i % handles.size());
            QCOMPARE(KXScreen_DelPerson(g.h, leaver), 1);
            pump();
            QCOMPARE(checkGallery(s), QString());
            QVector<CPlayWidget*> tiles = s->playMap().keys().toVector() << s->focusPlayWidget();
            for (CPlayWidget* t : tiles)
                emit t->notifyViewCenter(t->width(), t->height()); // what a frame queued before the removal does
        }
    }

    void movedToAnotherWindow()
    {
        // The host moves the gallery into another window, or into none, while
        // video plays: the tiles' GL contexts are replaced and the tiles go on
        // drawing (a tile with objects of a lost context cannot link its shaders).
        static int glFailures = 0;
        static QtMessageHandler previous = qInstallMessageHandler([](QtMsgType t, const QMessageLogContext& c, const QString& m) {
            if (m.contains("shader program is not linked") || m.contains("QOpenGLTexture"))
                ++glFailures;
            previous(t, c, m);
        });
        QWidget second;
        second.resize(800, 450);
        second.show();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        for (bool toOwnWindow : {false, true}) {
            Gallery g(QSize(800, 450), 2);
            const Frame frame(128, 72, 90);
            auto paints = [&]() {
                CPlayWidget* tile = g.rec(0)->pWidget;
                const int before = tile->paintedFrames();
                return QTest::qWaitFor([&]() { allFrames(g.h, g.handles, frame); return tile->paintedFrames() > before; }, 5000);
            };
            QVERIFY(paints());
            for (int round = 0; round < 2; ++round) {
                QCOMPARE(KXScreen_SetParent(g.h, toOwnWindow ? nullptr : (round == 0 ? &second : &g.parent)), 1);
                pump();
                KXScreen_MoveWindow(g.h, QRect(0, 0, 640, 360), KXSCREEN_MOVE_SHOW);
                QVERIFY(paints());
                if (toOwnWindow)
                    QCOMPARE(KXScreen_SetParent(g.h, &g.parent), 1);
            }
        }
        qInstallMessageHandler(previous);
        QCOMPARE(glFailures, 0);
    }
};

QTEST_MAIN(TstLifecycle)
#include "tst_lifecycle.moc"
