// Lifecycle and host faults: many meetings in one process without growth,
// release with work still queued, and host functions that call back into the
// module or throw.
#include "cplaywidget.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "kxgallerytest.h"
#include "kxtesthelpers.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"
#include "testhooks.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QWidget>
#include <QtTest>
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unistd.h>

// The sanitizers keep freed memory resident (quarantine, shadow memory):
// resident-size checks are for the plain build.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KX_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KX_UNDER_SANITIZER 1
#endif
#endif

using namespace kxtest;

namespace {

qint64 residentBytes()
{
    QFile f(QStringLiteral("/proc/self/statm"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> parts = f.readAll().split(' ');
    return parts.value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

int threadCount()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("Threads:"))
            return line.mid(8).trimmed().toInt();
    return -1;
}

int openFiles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size();
}

// A thread the test parks where an export has just taken its module handle.
std::atomic<bool> g_parkNext{false};
std::atomic<bool> g_parked{false};
std::atomic<bool> g_resume{false};
void parkHook(kxhooks::Point point)
{
    if (point != kxhooks::Point::ScreenAcquired || QThread::currentThread() == qApp->thread())
        return;
    bool expected = true;
    if (!g_parkNext.compare_exchange_strong(expected, false))
        return;
    g_parked = true;
    while (!g_resume)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// A host function the test can program per notification.
std::function<void(unsigned int, uint64_t, uint64_t)> g_onNotice;
std::atomic<int> g_noticeCount{0};

int programmable(unsigned int m, uint64_t w, uint64_t l)
{
    ++g_noticeCount;
    Recorder::at(0).add(m, w, l);
    if (g_onNotice)
        g_onNotice(m, w, l);
    return 0;
}

// Runs f on a thread of its own, as a host's media thread would.
template <typename F> auto onHostThread(F f) -> decltype(f())
{
    decltype(f()) result{};
    std::thread t([&]() { result = f(); });
    t.join();
    return result;
}

struct HostThreadAdds
{
    // Adds n participants from a host thread; returns their play handles.
    static QVector<void*> run(void* h, int n, int firstID)
    {
        QVector<void*> out;
        std::thread t([&]() {
            for (int i = 0; i < n; ++i) {
                QByteArray id = "u" + QByteArray::number(firstID + i);
                QByteArray name = "P" + QByteArray::number(firstID + i);
                out.append(KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 100 + i, 0,
                                              reinterpret_cast<void*>(quintptr(firstID + i + 1)), 1));
            }
        });
        t.join();
        return out;
    }
};

} // namespace

class TstLifecycle : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void manyMeetings();
    void releaseWithQueuedWork();
    void releaseWhileFramesArrive();
    void hostFunctionReenters_data();
    void hostFunctionReenters();
    void removedInsideItsStreamRequest();
    void removedInsideItsVideoStop();
    void frameDuringRebindStaysWithItsParticipant();
    void movedToAnotherWindow_data();
    void movedToAnotherWindow();
    void removedBeforeItsArrivalIsHandled_data();
    void removedBeforeItsArrivalIsHandled();
    void noTileKeepsALeaver_data();
    void noTileKeepsALeaver();
    void releasedInsideANotification_data();
    void releasedInsideANotification();
    void releasedUnderAHostThread_data();
    void releasedUnderAHostThread();
    void hostLocksInItsFunction();
    void staleWorkMeetsANewcomer();
    void hostFunctionThrows_data();
    void hostFunctionThrows();

private:
    QWidget* m_host = nullptr;
};

void TstLifecycle::initTestCase()
{
    logToNowhere();
    kxhooks::setHook(parkHook);
    m_host = new QWidget;
    m_host->resize(900, 520);
    m_host->show();
}

void TstLifecycle::init()
{
    g_onNotice = nullptr;
    g_noticeCount = 0;
    Recorder::at(0).clear();
    QKXScreenConfig::getInstance()->setCurScreenMode(1);
}

void TstLifecycle::cleanup()
{
    g_onNotice = nullptr;
    QCoreApplication::processEvents();
}

// ---------------------------------------------------------------------------
// Many meetings

void TstLifecycle::manyMeetings()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const int cycles = qEnvironmentVariableIsSet("KX_LIFECYCLE_CYCLES") ? qEnvironmentVariableIntValue("KX_LIFECYCLE_CYCLES") : 200;
    const int warmup = 10;
    Frame frame(320, 180, 90);
    Frame odd(161, 91, 60);

    // One meeting: five participants from a host thread, frames, a layout
    // change, two leave, the rest go with the gallery.
    auto meeting = [&](int c, QVector<void*>* handlesOut, QVector<tagPersonInfo*>* recordsOut) -> bool {
        void* h = KXScreen_Init(m_host, "", programmable);
        if (!h)
            return false;
        KXScreen_MoveWindow(h, QRect(0, 0, 880, 500), KXSCREEN_MOVE_SHOW);
        const QVector<void*> handles = HostThreadAdds::run(h, 5, c * 10);
        if (!QTest::qWaitFor([&]() { return controllerOf(h)->persons().size() == 5; }, 10000))
            return false;
        KXScreen_JoinMeetingFinish(h);
        std::thread media([&]() {
            for (int k = 0; k < 3; ++k)
                for (void* p : handles)
                    KXScreen_PlayFrame(h, p, k == 1 ? &odd.rec : &frame.rec);
        });
        media.join();
        QCoreApplication::processEvents();
        KXScreen_SetCurMode(h, c % 2 ? 5 : 1);
        QCoreApplication::processEvents();
        for (void* p : handles)
            recordsOut->append(recordOf(p));
        KXScreen_DelPerson(h, handles.at(1));
        KXScreen_DelPerson(h, handles.at(3));
        QCoreApplication::processEvents();
        *handlesOut += handles;
        KXScreen_Release(h);
        QCoreApplication::processEvents();
        return true;
    };

    QVector<void*> handles;
    QVector<tagPersonInfo*> records;
    for (int c = 0; c < warmup; ++c)
        QVERIFY(meeting(c, &handles, &records));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const int widgetsBefore = QApplication::allWidgets().size();
    const int callbacksBefore = cfg->callbackCount();
    const int threadsBefore = threadCount();
    const int filesBefore = openFiles();
    const int registryBefore = cfg->delPersonCount();
    const qint64 rssBefore = residentBytes();

    for (int c = warmup; c < warmup + cycles; ++c) {
        QVERIFY2(meeting(c, &handles, &records), qPrintable(QStringLiteral("cycle %1").arg(c)));
        if (QTest::currentTestFailed())
            return;
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    // The settings reader of each Init is a thread of its own; it ends by itself.
    QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= threadsBefore, 10000);

    const qint64 rssAfter = residentBytes();
    const int registryAfter = cfg->delPersonCount();
    qInfo("meetings: %d cycles, widgets %d -> %d, threads %d -> %d, files %d -> %d, "
          "resident %.1f MB -> %.1f MB, freed-record registry %d -> %d entries",
          cycles, widgetsBefore, QApplication::allWidgets().size(), threadsBefore, threadCount(), filesBefore,
          openFiles(), rssBefore / 1048576.0, rssAfter / 1048576.0, registryBefore, registryAfter);

    QCOMPARE(QApplication::allWidgets().size(), widgetsBefore);
    QCOMPARE(cfg->callbackCount(), callbacksBefore);
    // With no gallery left nothing can hold a freed record's address: the
    // registry of them does not grow from meeting to meeting.
    QCOMPARE(registryAfter, 0);
    QCOMPARE(openFiles(), filesBefore);
    // Every play handle and record of every meeting is dead.
    for (void* p : qAsConst(handles))
        QVERIFY(!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)));
    for (tagPersonInfo* r : qAsConst(records))
        QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
#ifndef KX_UNDER_SANITIZER
    // A meeting that leaked a record with its picture buffer (~100 kB) or a
    // tile would show here; the sanitizer build checks small leaks instead
    // (its quarantine keeps freed memory resident).
    QVERIFY2(rssAfter - rssBefore < qint64(cycles) * 40 * 1024,
             qPrintable(QStringLiteral("resident memory grew by %1 kB over %2 meetings")
                            .arg((rssAfter - rssBefore) / 1024).arg(cycles)));
#endif
}

// ---------------------------------------------------------------------------
// Release with work still queued

void TstLifecycle::releaseWithQueuedWork()
{
    for (int round = 0; round < 4; ++round) {
        void* h = KXScreen_Init(m_host, "", programmable);
        QVERIFY(h);
        QVector<void*> handles;
        QVector<tagPersonInfo*> records;
        if (round > 0) {
            // Some participants already in place, with frames.
            handles = HostThreadAdds::run(h, 4, 0);
            QTRY_COMPARE(controllerOf(h)->persons().size(), 4);
            KXScreen_JoinMeetingFinish(h);
        }
        Frame frame(96, 54, 200);
        QVector<void*> fresh;
        std::thread host([&]() {
            // Just added, just given frames and updates, some just removed:
            // all of it still queued when the gallery goes.
            fresh = HostThreadAdds::run(h, 6, 100);
            for (void* p : fresh + handles) {
                KXScreen_PlayFrame(h, p, &frame.rec);
                KXScreen_SetMute(h, p, 0);
                KXScreen_SetVolume(h, p, 40);
                QByteArray name("Renamed");
                KXScreen_SetPersonInfo(h, p, false, 2, name.data());
                KXScreen_Preview(h, p, true);
                KXScreen_AllLook(h, p, 1);
                KXScreen_SetDefStreamType(h, p);
            }
            KXScreen_DelPerson(h, fresh.at(0));
            if (!handles.isEmpty())
                KXScreen_DelPerson(h, handles.at(0));
            KXScreen_SetCurMode(h, 8);
            KXScreen_ChangeShowPage(h, true);
            KXScreen_FocusByUserID(h, const_cast<char*>("u101"));
            KXScreen_JoinMeetingFinish(h);
            KXScreen_MoveWindow(h, QRect(0, 0, 400, 300), KXSCREEN_MOVE_SHOW);
            QByteArray s("a"), t("b");
            KXScreen_AddSentence(h, 1, 1, s.data(), t.data());
        });
        host.join();
        for (void* p : fresh + handles)
            if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
                records.append(recordOf(p));
        QVERIFY(controllerOf(h)->persons().size() <= 4);
        const int noticesBefore = g_noticeCount.load();
        KXScreen_Release(h);
        // The queued work finds nobody to run it.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents();
        QCOMPARE(g_noticeCount.load(), noticesBefore);
        for (void* p : fresh + handles)
            QVERIFY(!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)));
        for (tagPersonInfo* r : qAsConst(records))
            QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
        // And the handle is dead for every later call.
        QCOMPARE(KXScreen_PlayFrame(h, fresh.value(1), &frame.rec), 0);
        QVERIFY(!KXScreen_AddPerson(h, nullptr, nullptr, nullptr, 0, 0, nullptr, 1));
    }
}

void TstLifecycle::releaseWhileFramesArrive()
{
    // The media thread does not stop because the meeting ends: frames keep
    // coming while the interface thread releases the gallery.
    for (int round = 0; round < 6; ++round) {
        void* h = KXScreen_Init(m_host, "", programmable);
        QVERIFY(h);
        const QVector<void*> handles = HostThreadAdds::run(h, 3, 0);
        QTRY_COMPARE(controllerOf(h)->persons().size(), 3);
        std::atomic<bool> stop{false};
        std::atomic<bool> released{false};
        std::atomic<int> takenAfterRelease{0};
        std::atomic<int> calls{0};
        std::thread media([&]() {
            Frame frame(128, 72, 50);
            while (!stop) {
                for (void* p : handles) {
                    const bool after = released.load();
                    const int r = KXScreen_PlayFrame(h, p, &frame.rec);
                    if (after && r != 0)
                        ++takenAfterRelease;
                    ++calls;
                }
            }
        });
        QTRY_VERIFY(calls.load() > 30);
        QCoreApplication::processEvents();
        KXScreen_Release(h);
        released = true;
        const int atRelease = calls.load();
        QTRY_VERIFY(calls.load() > atRelease + 30);
        stop = true;
        media.join();
        QCOMPARE(takenAfterRelease.load(), 0);
        QCoreApplication::processEvents();
    }
}

// ---------------------------------------------------------------------------
// Host functions that call back in

typedef std::function<void(void* h, void* hPlay, void* other)> Reentry;
Q_DECLARE_METATYPE(Reentry)
Q_DECLARE_METATYPE(std::function<int(void*, void*)>)

void TstLifecycle::hostFunctionReenters_data()
{
    QTest::addColumn<Reentry>("reentry");
    QTest::addColumn<QVector<int>>("codes"); // the notifications the host answers by calling in
    static Frame frame(64, 36, 33);
    static QImage head(6, 6, QImage::Format_RGB32);
    // Every kind of call, from inside each kind of notification that names a
    // participant: stream requests (after frames), video stop and start
    // (after relayouts), a cancelled lock-look (after a removal).
    const struct
    {
        const char* name;
        QVector<int> codes;
    } triggers[] = {{"stream request", {2, 3, 4}}, {"video stop/start", {17, 18}}, {"look cancelled", {16}},
                     {"look toast", {12, 13}}};
    auto row = [&triggers](const char* n, Reentry r) {
        for (const auto& t : triggers)
            QTest::newRow(qPrintable(QStringLiteral("%1, in %2").arg(QLatin1String(n), QLatin1String(t.name))))
                << r << t.codes;
    };
    row("reads", [](void* h, void*, void*) {
        KXScreen_GetAllLookUserID(h);
        KXScreen_GetLockLookUserID(h);
        KXScreen_GetShareUserID(h);
        KXScreen_GetShareWgtPos(h);
        KXScreen_GetCurMode(h);
        KXScreen_IsIconic(h);
        KXScreen_IsUserShare(h);
        KXScreen_GetPicInPicWidgetPtr(h);
    });
    row("participant updates", [](void* h, void* p, void*) {
        KXScreen_SetMute(h, p, 1);
        KXScreen_SetHasMic(h, p, true);
        KXScreen_SetVolume(h, p, 12);
        KXScreen_SetPersonHeadImg(h, p, &head);
        KXScreen_UpdateNetWeak(h, "u1", false, 4);
        KXScreen_MoreInHide(h, p);
    });
    row("frames", [](void* h, void* p, void* o) {
        KXScreen_PlayFrame(h, p, &frame.rec);
        KXScreen_PlayFrame(h, o, &frame.rec);
    });
    row("preview", [](void* h, void* p, void*) { KXScreen_Preview(h, p, false); KXScreen_Preview(h, p, true); });
    row("role", [](void* h, void* p, void*) {
        QByteArray n("Boss");
        KXScreen_SetPersonInfo(h, p, false, 1, n.data());
    });
    row("layout", [](void* h, void*, void*) {
        KXScreen_SetCurMode(h, 5);
        KXScreen_ChangeShowPage(h, true);
        KXScreen_SetCurMode(h, 1);
        KXScreen_MoveWindow(h, QRect(0, 0, 700, 400), KXSCREEN_MOVE_SHOW);
    });
    row("focus and look", [](void* h, void* p, void*) {
        KXScreen_FocusByUserID(h, const_cast<char*>("u2"));
        KXScreen_AllLook(h, p, 1);
        KXScreen_LockLook(h, p, 1);
        KXScreen_AllLook(h, p, 0);
        KXScreen_LockLook(h, p, 0);
        KXScreen_SetVoiceActivateByUserID(h, const_cast<char*>("u3"));
        KXScreen_CancelVoiceActivate(h);
    });
    row("join", [](void* h, void* p, void*) {
        KXScreen_JoinMeetingFinish(h);
        KXScreen_SetDefStreamType(h, p);
    });
    row("add", [](void* h, void*, void*) {
        QByteArray id("late"), n("Late");
        KXScreen_AddPerson(h, id.data(), id.data(), n.data(), 999, 0, nullptr, 1);
    });
    row("remove the named participant", [](void* h, void* p, void*) { KXScreen_DelPerson(h, p); });
    row("remove another participant", [](void* h, void*, void* o) { KXScreen_DelPerson(h, o); });
}

void TstLifecycle::hostFunctionReenters()
{
    QFETCH(Reentry, reentry);
    QFETCH(QVector<int>, codes);
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 880, 500), KXSCREEN_MOVE_SHOW);
    QVector<void*> handles = HostThreadAdds::run(h, 9, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 9);

    // The host answers every notification that names a participant by calling
    // back in about it, a few levels deep at most.
    QHash<quintptr, void*> byRecord;
    for (void* p : handles)
        byRecord.insert(quintptr(recordOf(p)), p);
    int depth = 0;
    int reentries = 0;
    g_onNotice = [&](unsigned int m, uint64_t w, uint64_t) {
        const bool namesRecord = codes.contains(int(m));
        // Each call back in can relayout and so notify again: bounded, or
        // the fan-out would never end.
        if (!namesRecord || depth >= 2 || reentries >= 120)
            return;
        void* p = byRecord.value(quintptr(w));
        void* other = nullptr;
        for (void* q : handles)
            if (q != p && kxplatform::isReadable(q, sizeof(ST_KXPlayHdl))) {
                other = q;
                break;
            }
        // The participant named may be on its way out (its handle already
        // dead): the host then calls in about someone else.
        if (!p || !kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            p = other;
        if (!p)
            return;
        ++depth;
        ++reentries;
        reentry(h, p, other);
        --depth;
    };

    // Notifications come from frames (stream types), from joining (video on
    // and off), from layout changes and from removals.
    Frame frame(160, 90, 70);
    KXScreen_JoinMeetingFinish(h);
    for (int k = 0; k < 2; ++k) {
        std::thread media([&]() {
            for (void* p : handles)
                KXScreen_PlayFrame(h, p, &frame.rec);
        });
        media.join();
        QCoreApplication::processEvents();
        for (void* p : handles)
            if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
                KXScreen_PlayFrame(h, p, &frame.rec); // on the interface thread: the follow-up runs at once
        KXScreen_SetCurMode(h, k == 0 ? 5 : 8);
        QCoreApplication::processEvents();
        KXScreen_ChangeShowPage(h, true);
        QCoreApplication::processEvents();
    }
    for (void* p : handles)
        if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            KXScreen_SetDefStreamType(h, p);
    QCoreApplication::processEvents();
    // Video turned off and on again for participants without a tile: the
    // host is told to stop pulling it.
    KXScreen_SetCurMode(h, 1);
    QCoreApplication::processEvents();
    for (void* p : handles) {
        if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)) && !recordOf(p)->pWidget) {
            KXScreen_Preview(h, p, false);
            if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
                KXScreen_Preview(h, p, true);
        }
    }
    QCoreApplication::processEvents();
    // Minimising the meeting room stops every participant's video, one
    // notification each.
    KXScreen_SetMeetingRoomMinimized(h, true);
    KXScreen_SetMeetingRoomMinimized(h, false);
    QCoreApplication::processEvents();
    // A participant everyone looks at, and whom the local user locked the view
    // on, leaves: the lock is cancelled as it goes.
    for (void* p : handles) {
        if (!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            continue;
        KXScreen_AllLook(h, p, 1);
        KXScreen_LockLook(h, p, 1);
        QCoreApplication::processEvents();
        KXScreen_DelPerson(h, p);
        QCoreApplication::processEvents();
        break;
    }
    QVERIFY2(reentries > 0, "the host function was never given a participant");

    // The gallery still works: a newcomer is placed and shown.
    g_onNotice = nullptr;
    QByteArray id("after"), name("After");
    void* late = KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 5000, 0, nullptr, 1);
    QVERIFY(late);
    QTRY_VERIFY(controllerOf(h)->persons().contains(recordOf(late)));
    KXScreen_SetCurMode(h, 1);
    QCoreApplication::processEvents();
    // Roster and tiles agree.
    QDlgScreen* s = controllerOf(h);
    for (tagPersonInfo* p : s->persons())
        QVERIFY(!p->pWidget || p->pWidget->personInfo() == p);
    KXScreen_Release(h);
}

// The participant a notification names is removed by the host from inside
// that notification; the gallery must not touch its record afterwards.
void TstLifecycle::removedInsideItsStreamRequest()
{
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    const QVector<void*> handles = HostThreadAdds::run(h, 3, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 3);
    void* victim = handles.at(1);
    tagPersonInfo* rec = recordOf(victim);
    int removed = 0;
    g_onNotice = [&](unsigned int m, uint64_t w, uint64_t) {
        if (m >= 2 && m <= 4 && w == quintptr(rec) && kxplatform::isReadable(victim, sizeof(ST_KXPlayHdl)))
            removed += KXScreen_DelPerson(h, victim);
    };
    // On the interface thread the frame's follow-up runs at once and asks
    // for the stream.
    Frame frame(64, 36);
    QCOMPARE(KXScreen_PlayFrame(h, victim, &frame.rec), 1);
    QCoreApplication::processEvents();
    QCOMPARE(removed, 1);
    QVERIFY(!controllerOf(h)->persons().contains(rec));
    QCOMPARE(controllerOf(h)->persons().size(), 2);
    // The others go on receiving frames.
    QCOMPARE(KXScreen_PlayFrame(h, handles.at(0), &frame.rec), 1);
    g_onNotice = nullptr;
    KXScreen_Release(h);
}

void TstLifecycle::removedInsideItsVideoStop()
{
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    // Seven in the grid: the seventh has no tile on the first page.
    const QVector<void*> handles = HostThreadAdds::run(h, 7, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 7);
    void* victim = nullptr;
    for (void* p : handles)
        if (!recordOf(p)->pWidget)
            victim = p;
    QVERIFY(victim);
    tagPersonInfo* rec = recordOf(victim);
    int removed = 0;
    g_onNotice = [&](unsigned int m, uint64_t w, uint64_t) {
        if (m == KXSCREEN_MSG_REMOTE_VIDEO_CLOSE && w == quintptr(rec) && kxplatform::isReadable(victim, sizeof(ST_KXPlayHdl)))
            removed += KXScreen_DelPerson(h, victim);
    };
    // Video on for a participant with nowhere to show it: the host is told
    // to stop pulling it, and removes it instead.
    QCOMPARE(KXScreen_Preview(h, victim, false), 1);
    QCOMPARE(KXScreen_Preview(h, victim, true), 1);
    QCoreApplication::processEvents();
    QCOMPARE(removed, 1);
    QCOMPARE(controllerOf(h)->persons().size(), 6);
    g_onNotice = nullptr;
    KXScreen_Release(h);
}

void TstLifecycle::removedBeforeItsArrivalIsHandled_data()
{
    QTest::addColumn<int>("others");
    QTest::newRow("alone") << 0;
    QTest::newRow("with others") << 3;
}

void TstLifecycle::removedBeforeItsArrivalIsHandled()
{
    // The signalling thread adds a participant; before the interface thread
    // has handled the arrival, it removes the participant itself (the user
    // removed it, or the host's own handler ran first). It must never show up.
    QFETCH(int, others);
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    if (others > 0) {
        HostThreadAdds::run(h, others, 0);
        QTRY_COMPARE(controllerOf(h)->persons().size(), others);
    }
    const QVector<void*> fresh = HostThreadAdds::run(h, 2, 50);
    tagPersonInfo* rec = recordOf(fresh.at(0));
    QCOMPARE(controllerOf(h)->persons().size(), others); // the arrivals are still queued
    QCOMPARE(KXScreen_DelPerson(h, fresh.at(0)), 1);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents();
    QTRY_COMPARE(controllerOf(h)->persons().size(), others + 1);
    QVERIFY(!controllerOf(h)->persons().contains(rec));
    QVERIFY(controllerOf(h)->persons().contains(recordOf(fresh.at(1))));
    QVERIFY2(!kxplatform::isReadable(rec, sizeof(ST_PersonInfo)), "the removed participant's record is still alive");
    KXScreen_Release(h);
}

void TstLifecycle::movedToAnotherWindow_data()
{
    QTest::addColumn<bool>("toOwnWindow"); // no parent: the gallery becomes a window of its own
    QTest::newRow("another host window") << false;
    QTest::newRow("a window of its own") << true;
}

void TstLifecycle::movedToAnotherWindow()
{
    // The host moves the gallery into another window while video plays: the
    // tiles' GL contexts are replaced, and the tiles go on drawing, and can
    // be released, afterwards.
    QFETCH(bool, toOwnWindow);
    // A tile whose GL objects belong to a context that is gone cannot draw:
    // its shader program no longer links.
    struct NoLinkFailure
    {
        static void handler(QtMsgType type, const QMessageLogContext& ctx, const QString& msg)
        {
            if (msg.contains(QLatin1String("shader program is not linked")) || msg.contains(QLatin1String("QOpenGLTexture")))
                ++failures();
            previous().load()(type, ctx, msg);
        }
        static int& failures() { static int n = 0; return n; }
        // Read by whichever thread logs (the settings loader logs on its own).
        static std::atomic<QtMessageHandler>& previous() { static std::atomic<QtMessageHandler> p{nullptr}; return p; }
    };
    NoLinkFailure::failures() = 0;
    NoLinkFailure::previous() = qInstallMessageHandler(NoLinkFailure::handler);
    struct Restore
    {
        ~Restore() { qInstallMessageHandler(NoLinkFailure::previous()); }
    } restore;
    QWidget second;
    second.resize(800, 450);
    second.show();
    QVERIFY(QTest::qWaitForWindowExposed(&second));
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 800, 450), KXSCREEN_MOVE_SHOW);
    const QVector<void*> handles = HostThreadAdds::run(h, 2, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 2);
    Frame frame(128, 72, 90);
    auto feed = [&]() {
        for (void* p : handles)
            KXScreen_PlayFrame(h, p, &frame.rec);
    };
    CPlayWidget* tile = recordOf(handles.at(0))->pWidget;
    QVERIFY(tile);
    const int painted = tile->paintedFrames();
    // A tile that has just taken a participant waits a moment before drawing.
    QTRY_VERIFY((feed(), tile->paintedFrames() > painted));
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(KXScreen_SetParent(h, toOwnWindow ? nullptr : (round == 0 ? &second : m_host)), 1);
        QCoreApplication::processEvents();
        KXScreen_MoveWindow(h, QRect(0, 0, 640, 360), KXSCREEN_MOVE_SHOW);
        tile = recordOf(handles.at(0))->pWidget;
        QVERIFY(tile);
        const int before = tile->paintedFrames();
        QTRY_VERIFY((feed(), tile->paintedFrames() > before));
        if (toOwnWindow) {
            // Back into the host's window.
            QCOMPARE(KXScreen_SetParent(h, m_host), 1);
            QCoreApplication::processEvents();
            feed();
            QCoreApplication::processEvents();
        }
    }
    KXScreen_Release(h);
    QCoreApplication::processEvents();
    QCOMPARE(NoLinkFailure::failures(), 0);
}

void TstLifecycle::frameDuringRebindStaysWithItsParticipant()
{
    // A layout pass binds a tile in steps: the newcomer's tile pointer is set
    // before the tile takes the newcomer, and the previous holder's pointer is
    // put right only at the end of the pass. A frame from a host thread that
    // arrives in between must not be drawn as somebody else's picture.
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    const QVector<void*> handles = HostThreadAdds::run(h, 2, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 2);
    tagPersonInfo* a = recordOf(handles.at(0));
    tagPersonInfo* b = recordOf(handles.at(1));
    QVERIFY(a->pWidget && b->pWidget && a->pWidget != b->pWidget);
    Frame fa(64, 36, 10);
    Frame fb(64, 36, 20);
    QCOMPARE(KXScreen_PlayFrame(h, handles.at(0), &fa.rec), 1);
    QCOMPARE(KXScreen_PlayFrame(h, handles.at(1), &fb.rec), 1);
    QCoreApplication::processEvents();
    CPlayWidget* tileB = b->pWidget;

    // The state in the middle of the pass: b is being moved to a's tile.
    b->pWidget = a->pWidget;
    Frame intruder(64, 36, 99);
    const int r = onHostThread([&]() { return KXScreen_PlayFrame(h, handles.at(1), &intruder.rec); });
    QCOMPARE(int(a->m_pBufYuv420p[0]), 10);
    QCOMPARE(r, 0);
    b->pWidget = tileB;

    QCOMPARE(KXScreen_PlayFrame(h, handles.at(1), &intruder.rec), 1);
    QCOMPARE(int(b->m_pBufYuv420p[0]), 99);
    QCOMPARE(int(a->m_pBufYuv420p[0]), 10);
    KXScreen_Release(h);
}

void TstLifecycle::noTileKeepsALeaver_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("grid") << 1;
    QTest::newRow("speaker right") << 5;
    QTest::newRow("speaker bottom") << 6;
    QTest::newRow("speaker4") << 8;
}

void TstLifecycle::noTileKeepsALeaver()
{
    // Participants move between tiles (focus, pages, layouts) and leave; no
    // tile, shown or hidden, may keep a record that has been freed: the
    // tile's queued work (fitting the picture after a frame or a resize)
    // reads it.
    QFETCH(int, mode);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 880, 500), KXSCREEN_MOVE_SHOW);
    QVector<void*> handles = HostThreadAdds::run(h, 9, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 9);
    KXScreen_JoinMeetingFinish(h);
    Frame frame(96, 54);
    auto feed = [&]() {
        std::thread media([&]() {
            for (void* p : handles)
                KXScreen_PlayFrame(h, p, &frame.rec);
        });
        media.join();
        QCoreApplication::processEvents();
    };
    feed();
    QDlgScreen* s = controllerOf(h);
    auto tiles = [&]() {
        QVector<CPlayWidget*> t = s->playMap().keys().toVector();
        t.append(s->focusPlayWidget());
        return t;
    };
    int i = 0;
    while (!handles.isEmpty()) {
        // Move people around: another layout, a focus choice, a page.
        KXScreen_SetCurMode(h, (i % 2) ? 1 : mode);
        QCoreApplication::processEvents();
        const QByteArray id = "u" + QByteArray::number(i % 9);
        KXScreen_FocusByUserID(h, const_cast<char*>(id.constData()));
        KXScreen_ChangeShowPage(h, i % 3 == 0);
        feed();
        // One leaves.
        void* leaver = handles.takeAt(i % handles.size());
        tagPersonInfo* rec = recordOf(leaver);
        QCOMPARE(KXScreen_DelPerson(h, leaver), 1);
        QCoreApplication::processEvents();
        QVERIFY(cfg->testDelPerson(rec, false));
        for (CPlayWidget* t : tiles()) {
            QVERIFY2(t->personInfo() != rec, qPrintable(QStringLiteral("mode %1, removal %2: a %3 tile keeps the leaver")
                                                            .arg(mode).arg(i).arg(t->isVisible() ? "visible" : "hidden")));
            // What a frame queued before the removal makes the tile do.
            emit t->notifyViewCenter(t->width(), t->height());
        }
        ++i;
    }
    KXScreen_Release(h);
}

void TstLifecycle::releasedInsideANotification_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("stream request") << int(KXSCREEN_MSG_STREAM_LARGE); // any of 2, 3, 4
    QTest::newRow("video start") << int(KXSCREEN_MSG_REMOTE_VIDEO_OPEN);
    QTest::newRow("information updated") << int(KXSCREEN_MSG_USERINFO_UPDATED);
    QTest::newRow("look toast") << int(KXSCREEN_MSG_LOOK_TOAST_ON);
}

void TstLifecycle::releasedInsideANotification()
{
    // The meeting ends while the host is being told something: the host
    // releases the gallery from inside its function.
    QFETCH(int, code);
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
    const QVector<void*> handles = HostThreadAdds::run(h, 3, 0);
    QVector<tagPersonInfo*> records;
    for (void* p : handles)
        records.append(recordOf(p));
    int released = 0;
    QTRY_COMPARE(controllerOf(h)->persons().size(), 3);
    QTRY_COMPARE(Recorder::at(0).count(KXSCREEN_MSG_USERINFO_UPDATED), 3);
    struct Guard
    {
        void* h;
        ~Guard()
        {
            if (isLiveScreenHandle(h))
                KXScreen_Release(h);
        }
    } guard{h};
    g_onNotice = [&](unsigned int m, uint64_t, uint64_t) {
        const bool match = code == KXSCREEN_MSG_STREAM_LARGE ? (m >= 2 && m <= 4) : int(m) == code;
        if (match && released == 0) {
            ++released;
            KXScreen_Release(h);
        }
    };
    switch (code) {
    case KXSCREEN_MSG_STREAM_LARGE:
        KXScreen_SetDefStreamType(h, handles.at(0));
        break;
    case KXSCREEN_MSG_REMOTE_VIDEO_OPEN:
        KXScreen_JoinMeetingFinish(h);
        break;
    case KXSCREEN_MSG_USERINFO_UPDATED: {
        QByteArray id("late"), name("Late");
        KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 9, 0, nullptr, 1);
        break;
    }
    default:
        KXScreen_AllLook(h, handles.at(0), 1);
        break;
    }
    QCoreApplication::processEvents();
    QCOMPARE(released, 1);
    // Dead at once for the host, gone once the stack has unwound.
    QVERIFY(!isLiveScreenHandle(h));
    const int notices = g_noticeCount.load();
    QCOMPARE(KXScreen_SetCurMode(h, 5), 0);
    for (void* p : handles)
        QVERIFY(!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    QTRY_VERIFY(dlg.isNull());
    for (tagPersonInfo* r : qAsConst(records))
        QVERIFY(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)));
    QCOMPARE(g_noticeCount.load(), notices);
    g_onNotice = nullptr;
}

// ---------------------------------------------------------------------------
// Host functions that throw

typedef std::function<void()> Thrower;
Q_DECLARE_METATYPE(Thrower)

void TstLifecycle::releasedUnderAHostThread_data()
{
    // Exports a host thread may be inside when the interface thread releases
    // the gallery: each is held right after it has taken its module handle.
    QTest::addColumn<std::function<int(void*, void*)>>("call");
    static Frame frame(64, 36, 40);
    QTest::newRow("AddPerson") << std::function<int(void*, void*)>([](void* h, void*) {
        QByteArray id("racer"), n("Racer");
        return KXScreen_AddPerson(h, id.data(), id.data(), n.data(), 7, 0, nullptr, 1) ? 1 : 0;
    });
    QTest::newRow("PlayFrame") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_PlayFrame(h, p, &frame.rec); });
    QTest::newRow("SetMute") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_SetMute(h, p, 1); });
    QTest::newRow("DelPerson") << std::function<int(void*, void*)>([](void* h, void* p) { return KXScreen_DelPerson(h, p); });
    QTest::newRow("SetCurMode") << std::function<int(void*, void*)>([](void* h, void*) { return KXScreen_SetCurMode(h, 5); });
}

void TstLifecycle::releasedUnderAHostThread()
{
    QFETCH(std::function<int(void*, void*)>, call);
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
    const QVector<void*> handles = HostThreadAdds::run(h, 2, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 2);
    g_parked = false;
    g_resume = false;
    g_parkNext = true;
    int result = -1;
    std::thread host([&]() { result = call(h, handles.at(0)); });
    QTRY_VERIFY(g_parked.load());
    // The meeting ends while the host thread is inside the gallery.
    KXScreen_Release(h);
    QVERIFY(!isLiveScreenHandle(h));
    QVERIFY(dlg); // still there for the thread inside
    const int notices = g_noticeCount.load();
    g_resume = true;
    host.join();
    QVERIFY(result == 0 || result == 1);
    // The last one out hands the gallery to the interface thread, which frees it.
    QTRY_VERIFY(dlg.isNull());
    QCOMPARE(g_noticeCount.load(), notices);
    QCOMPARE(KXScreen_SetCurMode(h, 1), 0);
}

void TstLifecycle::hostLocksInItsFunction()
{
    // A host whose media thread holds the host's own lock around every
    // KXScreen_PlayFrame, and whose function takes that lock for the video
    // messages: removing a participant must not leave the two waiting for
    // each other. The function gives up after a while instead of hanging,
    // and counts that as a failure.
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 880, 500), KXSCREEN_MOVE_SHOW);
    QVector<void*> handles = HostThreadAdds::run(h, 6, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 6);
    KXScreen_JoinMeetingFinish(h);
    QCoreApplication::processEvents();
    std::timed_mutex hostLock;
    std::atomic<int> stuck{0};
    std::atomic<int> taken{0};
    g_onNotice = [&](unsigned int m, uint64_t, uint64_t) {
        if (m != KXSCREEN_MSG_REMOTE_VIDEO_OPEN && m != KXSCREEN_MSG_REMOTE_VIDEO_CLOSE)
            return;
        if (!hostLock.try_lock_for(std::chrono::seconds(2))) {
            ++stuck;
            return;
        }
        ++taken;
        hostLock.unlock();
    };
    std::atomic<bool> stop{false};
    // The media thread feeds the three who stay; the three others leave.
    const std::vector<void*> staying(handles.begin() + 3, handles.end());
    std::thread media([&]() {
        Frame frame(160, 90, 80);
        while (!stop) {
            for (void* p : staying) {
                std::lock_guard<std::timed_mutex> lock(hostLock);
                KXScreen_PlayFrame(h, p, &frame.rec);
            }
        }
    });
    QTest::qWait(50);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(KXScreen_DelPerson(h, handles.at(i)), 1);
        QCoreApplication::processEvents();
    }
    stop = true;
    media.join();
    g_onNotice = nullptr;
    QCOMPARE(stuck.load(), 0);
    QVERIFY(taken.load() > 0);
    KXScreen_Release(h);
}

void TstLifecycle::staleWorkMeetsANewcomer()
{
    // Work a host thread queued for a participant who then leaves must not
    // reach a newcomer whose record the allocator puts at the same address.
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 880, 500), KXSCREEN_MOVE_SHOW);
    QDlgScreen* c = controllerOf(h);
    HostThreadAdds::run(h, 1, 0);
    QTRY_COMPARE(c->persons().size(), 1);
    bool reused = false;
    for (int attempt = 0; attempt < 50 && !reused; ++attempt) {
        QByteArray id("leaver"), n("Leaver");
        void* leaver = KXScreen_AddPerson(h, id.data(), id.data(), n.data(), 50, 0, nullptr, 1);
        QTRY_VERIFY(c->persons().contains(recordOf(leaver)));
        tagPersonInfo* old = recordOf(leaver);
        // Queued from a host thread: the microphone opens (records start muted).
        QCOMPARE(onHostThread([&]() { return KXScreen_SetMute(h, leaver, 0); }), 1);
        // Before it runs, the participant leaves and a newcomer arrives.
        QCOMPARE(KXScreen_DelPerson(h, leaver), 1);
        QByteArray id2("newcomer"), n2("Newcomer");
        void* newcomer = KXScreen_AddPerson(h, id2.data(), id2.data(), n2.data(), 60, 0, nullptr, 1);
        reused = recordOf(newcomer) == old;
        QCoreApplication::processEvents();
        QVERIFY2(recordOf(newcomer)->bMute, "the leaver's queued work reached the newcomer");
        QCOMPARE(KXScreen_DelPerson(h, newcomer), 1);
        QCoreApplication::processEvents();
    }
    if (!reused)
        QWARN("the allocator never reused a record's address: only the registry was exercised");
    KXScreen_Release(h);
}

void TstLifecycle::hostFunctionThrows_data()
{
    QTest::addColumn<Thrower>("thrower");
    QTest::addColumn<QString>("line"); // the warning, with %1 for the message code
    QTest::newRow("std::exception") << Thrower([]() { throw std::runtime_error("host is unhappy"); })
                                    << "[ScreenMod]host callback threw, dwMsg: %1 ,what: host is unhappy";
    QTest::newRow("anything else") << Thrower([]() { throw 42; }) << "[ScreenMod]host callback threw, dwMsg: %1";
}

void TstLifecycle::hostFunctionThrows()
{
    QFETCH(Thrower, thrower);
    QFETCH(QString, line);
    ModuleLogOn logOn;
    void* h = KXScreen_Init(m_host, "", programmable);
    QVERIFY(h);
    const QVector<void*> handles = HostThreadAdds::run(h, 2, 0);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 2);
    g_onNotice = [&](unsigned int, uint64_t, uint64_t) { thrower(); };

    // A stream request: one notification, one warning, and the export answers as usual.
    QTest::ignoreMessage(QtWarningMsg, qPrintable(line.arg(KXSCREEN_MSG_STREAM_LARGE)));
    QCOMPARE(KXScreen_SetDefStreamType(h, handles.at(0)), 1);
    QCOMPARE(Recorder::at(0).count(KXSCREEN_MSG_STREAM_LARGE), 1);

    // Throwing on every notification of a relayout, a removal and frames:
    // the gallery goes on.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^\\[ScreenMod\\]host callback threw")));
    KXScreen_JoinMeetingFinish(h);
    Frame frame(64, 36);
    QCOMPARE(KXScreen_PlayFrame(h, handles.at(0), &frame.rec), 1);
    QCOMPARE(KXScreen_PlayFrame(h, handles.at(1), &frame.rec), 1);
    QCoreApplication::processEvents();
    QCOMPARE(KXScreen_DelPerson(h, handles.at(1)), 1);
    QCoreApplication::processEvents();
    QCOMPARE(controllerOf(h)->persons().size(), 1);
    QVERIFY(Recorder::at(0).all().size() > 1);
    g_onNotice = nullptr;
    KXScreen_Release(h);
}

QTEST_MAIN(TstLifecycle)
#include "tst_lifecycle.moc"
