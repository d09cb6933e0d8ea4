// Chaos: four host threads call the exports in a seeded random order, with
// live, released and never-issued handles, while the interface thread pumps,
// moves the gallery, makes interface calls and checks the controller.
//
// A run is rounds of 4 x kRoundOps calls, the threads running freely. After
// every round the queue is drained and the roster must hold exactly the
// participants added and not removed.
//
//   KX_CHAOS_OPS=100000   calls in total (default: a short run for CI)
//   KX_CHAOS_SEED=12345   the seed to replay; "random" picks one and prints it
//   KX_CHAOS_SEEDS=3      how many consecutive seeds to run
#include "kxtestkit.h"
#include "playhandles.h"

#include <QDateTime>
#include <algorithm>
#include <climits>
#include <mutex>

using namespace kxtest;

namespace {

constexpr int kHosts = 4;
constexpr int kRoundOps = 48;

// splitmix64: the same numbers on every platform and library.
struct Rng
{
    quint64 s;
    quint64 next()
    {
        quint64 z = (s += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }
    int below(int n) { return n <= 1 ? 0 : int(next() % quint64(n)); }
    int range(int lo, int hi) { return int(lo + qint64(next() % quint64(qint64(hi) - lo + 1))); }
    bool chance(int percent) { return below(100) < percent; }
};

const char* const kIDs[] = {"u0", "u1", "u2", "u3", "u4", "u5", "sharescreen_u1", "unjoined_u7", "", "%3%1/..\\x", "\xff\xfe\x80"};
const char* const kNames[] = {"Alice", "Zo\xc3\xab", "", "%1%2%3", "../../..", "\xc3\x28\xa0", "a\nb\tc"};

// Notifications that name a record must name a live one.
std::atomic<int> g_stale{0}, g_notices{0};
int chaosHost(unsigned int msg, uint64_t w, uint64_t)
{
    ++g_notices;
    if (namesRecord(msg) && !kxplatform::isReadable(reinterpret_cast<void*>(quintptr(w)), sizeof(ST_PersonInfo)))
        ++g_stale;
    return 0;
}

// What one seeded run shares between its threads, and what the test believes
// the module holds.
struct Run
{
    quint64 seed = 0;
    void* h = nullptr;
    void* releasedScreen = nullptr;
    int round = 0;
    KXScreenHandle fakeScreen;
    ST_KXPlayHdl fakePlay[2];
    tagPersonInfo fakeRecord;
    std::mutex lock;               // guards everything below
    QVector<void*> live;         // added and not removed
    QVector<void*> released;     // addresses DelPerson released
    QHash<void*, int> preempted; // reissued addresses removed before their adder recorded them
    QStringList failures;
    std::atomic<bool> failed{false};
    std::atomic<qint64> calls{0}, frames{0};

    void fail(const QString& what)
    {
        std::lock_guard<std::mutex> l(lock);
        if (failures.size() < 20)
            failures << QStringLiteral("seed=%1 round=%2: %3").arg(seed).arg(round).arg(what);
        failed = true;
    }
    void added(void* p)
    {
        std::lock_guard<std::mutex> l(lock);
        if (preempted.contains(p)) {
            if (--preempted[p] == 0)
                preempted.remove(p);
            return;
        }
        live.append(p);
        released.removeAll(p);
    }
    void* anyLive(Rng& r, bool claim = false)
    {
        std::lock_guard<std::mutex> l(lock);
        if (live.isEmpty())
            return nullptr;
        const int i = r.below(live.size());
        return claim ? live.takeAt(i) : live.at(i);
    }
    void removed(void* p)
    {
        std::lock_guard<std::mutex> l(lock);
        released.append(p);
    }
};

class HostThread
{
public:
    HostThread(Run& run, quint64 seed) : m(run), r{seed}, m_pixels(648 * 488 * 2) {}

    void runRound()
    {
        for (int k = 0; k < kRoundOps && !m.failed; ++k)
            oneCall();
    }

private:
    // A module handle and whether it is the live one: mostly it is, sometimes it is one the module
    // must refuse (the fifth kind is a play handle where the module handle belongs).
    std::pair<void*, bool> screen()
    {
        const int k = r.below(40);
        void* bad[] = {nullptr, m.releasedScreen, &m.fakeScreen, reinterpret_cast<void*>(quintptr(0xdeadbeef))};
        return {k < 4 ? bad[k] : k == 4 ? m.anyLive(r) : m.h, k > 4};
    }

    // A per-participant call with a play handle of a random kind: live (75 %),
    // released (13 %, used under the lock so it cannot be reissued meanwhile)
    // or never issued; the answer is checked where it is certain.
    template <typename F> void withPlay(const char* what, F call)
    {
        const bool isDel = qstrcmp(what, "DelPerson") == 0;
        const auto [h, good] = screen();
        const int kind = isDel ? 75 + r.below(25) : r.below(100); // live ones are claimed first (delPerson)
        if (kind < 75) {
            if (call(h, m.anyLive(r)) && !good)
                m.fail(QStringLiteral("%1 with a live play handle took a bad module handle").arg(what));
            return;
        }
        if (kind >= 88) {
            void* never[] = {nullptr, &m.fakePlay[0], &m.fakePlay[1], reinterpret_cast<void*>(quintptr(0x10)), &m.fakeRecord,
                             reinterpret_cast<char*>(&m.fakePlay[0]) + 3};
            if (call(h, never[r.below(6)]) != 0)
                m.fail(QStringLiteral("%1 took a never-issued play handle").arg(what));
            return;
        }
        std::unique_lock<std::mutex> l(m.lock);
        QVector<void*> c;
        for (void* p : qAsConst(m.released))
            if (!m.live.contains(p))
                c.append(p);
        std::sort(c.begin(), c.end()); // the list's order is not the seed's
        void* p = c.isEmpty() ? nullptr : c.at(r.below(c.size()));
        if (p && call(h, p) != 0) {
            // The address may have been reissued meanwhile to a thread that
            // has not recorded it yet: then the module knows it as live.
            tagPersonInfo* rec = nullptr;
            if (isDel && good)
                ++m.preempted[p];
            else if (!good || !kxplay::lookup(p, static_cast<KXScreenHandle*>(h), &rec))
                l.unlock(), m.fail(QStringLiteral("%1 took a released play handle").arg(what));
        }
    }

    void oneCall()
    {
        ++m.calls;
        const int d = r.below(100);
        QByteArray id = kIDs[r.below(11)], name = kNames[r.below(7)];
        const bool nullArg = r.chance(5);
        if (d < 14)
            return liveCount() > 14 ? delPerson() : addPerson(id, name);
        if (d < 22)
            return delPerson();
        if (d < 50)
            return playFrame();
        // [any thread] calls about a participant, and two [interface] ones called where they do not belong.
        switch (d) {
        case 50: case 51: case 52: case 53: return withPlay("Preview", [&](void* h, void* p) { return KXScreen_Preview(h, p, r.chance(70)); });
        case 54: case 55: case 56: case 57: return withPlay("SetMute", [&](void* h, void* p) { return KXScreen_SetMute(h, p, r.range(-1, 2)); });
        case 58: case 59: case 60: case 61:
            return withPlay("SetVolume", [&](void* h, void* p) { return KXScreen_SetVolume(h, p, r.chance(90) ? r.range(0, 100) : r.range(INT_MIN / 2, INT_MAX / 2)); });
        case 62: case 63: case 64: case 65:
            return withPlay("SetPersonInfo", [&](void* h, void* p) { return KXScreen_SetPersonInfo(h, p, r.chance(8), r.range(0, 3), nullArg ? nullptr : name.data()); });
        case 66: case 67: case 68: return withPlay("SetHasMic", [&](void* h, void* p) { return KXScreen_SetHasMic(h, p, r.chance(50)); });
        case 69: return withPlay("SetDefStreamType", [&](void* h, void* p) { return KXScreen_SetDefStreamType(h, p); });
        case 70: return withPlay("MoreInHide", [&](void* h, void* p) { return KXScreen_MoreInHide(h, p); });
        case 71: return withPlay("AllLook", [&](void* h, void* p) { return KXScreen_AllLook(h, p, r.chance(50)); });
        case 72: return withPlay("LockLook", [&](void* h, void* p) { return KXScreen_LockLook(h, p, r.chance(50)); });
        default: break;
        }
        // Calls that take the module handle only.
        const auto [h, good] = screen();
        char* idArg = nullArg ? nullptr : id.data();
        QByteArray list = id + ',' + kIDs[r.below(11)];
        const int res = d < 78 ? KXScreen_UpdateNetWeak(h, idArg, r.chance(50), r.range(-1, 7))
                        : d < 82 ? KXScreen_FocusByUserID(h, idArg)
                        : d < 87 ? KXScreen_SetCurMode(h, r.chance(90) ? r.range(1, 9) : r.range(-3, 12))
                        : d < 92 ? KXScreen_ChangeShowPage(h, r.chance(60))
                        : d < 93 ? KXScreen_JoinMeetingFinish(h)
                        : d < 96 ? KXScreen_SetVoiceActivateByUserID(h, idArg)
                        : d < 97 ? KXScreen_CancelVoiceActivate(h)
                        : d < 98 ? KXScreen_SetCurSpeakPerson(h, nullArg ? nullptr : list.data())
                        // the external screen's exports refuse host threads
                                 : KXScreenExt_Open(h, r.below(3)) + KXScreenExt_IsOpen(h) + (good ? 1 : 0);
        if (res != (good ? 1 : 0))
            m.fail(QStringLiteral("call %1 answered %2 with a %3 module handle").arg(d).arg(res).arg(good ? "live" : "bad"));
    }

    int liveCount()
    {
        std::lock_guard<std::mutex> l(m.lock);
        return m.live.size();
    }

    void addPerson(QByteArray& id, QByteArray& name)
    {
        const auto [h, good] = screen();
        QByteArray extra = "x" + QByteArray::number(r.below(1000));
        const qint64 join = r.chance(90) ? qint64(r.range(0, 5000)) : (r.chance(50) ? LLONG_MIN : LLONG_MAX);
        void* p = KXScreen_AddPerson(h, r.chance(3) ? nullptr : id.data(), r.chance(3) ? nullptr : extra.data(),
                                     r.chance(3) ? nullptr : name.data(), join, r.range(-2, 9),
                                     reinterpret_cast<void*>(quintptr(r.next())), r.range(0, 7));
        if (good != (p != nullptr))
            m.fail(QStringLiteral("AddPerson with a %1 module handle gave %2").arg(good ? "live" : "bad").arg(quintptr(p)));
        else if (p)
            m.added(p);
    }

    void delPerson()
    {
        void* p = r.chance(70) ? m.anyLive(r, true) : nullptr;
        if (!p)
            return withPlay("DelPerson", [&](void* h, void* q) { return KXScreen_DelPerson(h, q); });
        const auto [h, good] = screen();
        if (KXScreen_DelPerson(h, p) != (good ? 1 : 0))
            m.fail(QStringLiteral("DelPerson of a live handle with a %1 module handle").arg(good ? "live" : "bad"));
        good ? m.removed(p) : m.added(p); // refused: still live
    }

    void playFrame()
    {
        // Mostly valid and often odd sizes, sometimes refused ones.
        const int d = r.below(100), k = r.below(6);
        const int bad[6][2] = {{0, 50}, {50, -50}, {INT_MIN, INT_MIN}, {46341, 46341}, {INT_MAX, 3}, {64, 36}};
        const bool valid = d < 90, nullData = !valid && k == 5;
        const int w = d < 45 ? r.range(1, 648) : d < 75 ? r.range(0, 80) * 2 + 1 : d < 90 ? 8 * r.range(1, 81) : bad[k][0];
        const int hgt = d < 45 ? r.range(1, 488) : d < 75 ? r.range(0, 60) * 2 + 1 : d < 90 ? 2 * r.range(1, 244) : bad[k][1];
        const uint8_t tag = uint8_t(r.range(16, 235));
        KxCloudRTCVideoFrameQT f{};
        if (valid) {
            const size_t ys = size_t(w) * hgt, cs = size_t((w + 1) / 2) * ((hgt + 1) / 2);
            std::memset(m_pixels.data(), tag, ys);
            std::memset(m_pixels.data() + ys, 128, 2 * cs);
            f.length = uint32_t(ys + 2 * cs);
        }
        f.data = nullData ? nullptr : m_pixels.data();
        f.width = w;
        f.height = hgt;
        withPlay("PlayFrame", [&](void* h, void* p) {
            const int res = KXScreen_PlayFrame(h, p, &f);
            m.frames += res;
            if (!valid && res)
                m.fail(QStringLiteral("a refused %1x%2 frame was taken").arg(w).arg(hgt));
            return res;
        });
    }

    Run& m;
    Rng r;
    std::vector<uint8_t> m_pixels;
};

} // namespace

class TstChaos : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void chaos();

private:
    void runSeed(quint64 seed, int ops);
};

void TstChaos::chaos()
{
    const QByteArray seedEnv = qgetenv("KX_CHAOS_SEED");
    quint64 seed = 0x4b58534348414f53ull; // "KXSCHAOS"
    if (seedEnv == "random")
        seed = quint64(QDateTime::currentMSecsSinceEpoch()) * 0x9e3779b97f4a7c15ull;
    else if (!seedEnv.isEmpty())
        seed = seedEnv.toULongLong();
    const int ops = qMax(1, qEnvironmentVariableIsSet("KX_CHAOS_OPS") ? qEnvironmentVariableIntValue("KX_CHAOS_OPS") : 4800);
    const int seeds = qMax(1, qEnvironmentVariableIntValue("KX_CHAOS_SEEDS"));
    for (int i = 0; i < seeds && !QTest::currentTestFailed(); ++i)
        runSeed(seed + quint64(i), ops);
}

void TstChaos::runSeed(quint64 seed, int ops)
{
    // Printed first, so that a crash report still carries the seed.
    qInfo("chaos: KX_CHAOS_SEED=%llu KX_CHAOS_OPS=%d", static_cast<unsigned long long>(seed), ops);
    g_stale = 0;
    g_notices = 0;
    Run run;
    run.seed = seed;
    QWidget parent;
    parent.resize(1320, 760);
    parent.show();
    run.h = KXScreen_Init(&parent, "", chaosHost);
    // Released after the live one exists, so the live one cannot sit at its address.
    KXScreen_Release(run.releasedScreen = KXScreen_Init(&parent, "", chaosHost));
    KXScreen_MoveWindow(run.h, QRect(0, 0, 1280, 720), KXSCREEN_MOVE_SHOW);
    QDlgScreen* s = controllerOf(run.h);
    run.fakePlay[0].pPlayData = &run.fakeRecord;
    Rng ui{seed ^ 0x5555};
    std::vector<std::unique_ptr<HostThread>> hosts;
    for (int t = 0; t < kHosts; ++t)
        hosts.emplace_back(new HostThread(run, seed * 31 + quint64(t) + 1));
    auto check = [&](const char* when) {
        const QString broken = checkGallery(s);
        if (!broken.isEmpty() || g_stale.load())
            run.fail(QStringLiteral("%1: %2").arg(when, broken.isEmpty() ? "a notification named a freed record" : broken));
    };
    // The interface thread pumps, moves the gallery (now and then hiding it)
    // and makes interface calls, adds and removals included.
    auto uiStep = [&]() {
        QCoreApplication::processEvents();
        check("after a pump");
        if (ui.chance(12)) {
            const int flags = ui.chance(5) ? KXSCREEN_MOVE_HIDE : ui.chance(20) ? KXSCREEN_MOVE_RAISE : KXSCREEN_MOVE_SHOW;
            KXScreen_MoveWindow(run.h, QRect(ui.range(0, 40), ui.range(0, 40), ui.range(120, 1280), ui.range(90, 720)), flags);
        }
        if (!ui.chance(10))
            return;
        void* p = run.anyLive(ui);
        QImage head(8, 8, QImage::Format_RGB32);
        QByteArray id("ui");
        switch (ui.below(9)) {
        case 0: KXScreen_Preview(run.h, p, ui.chance(60)); break;
        case 1: KXScreen_AllLook(run.h, p, ui.chance(50)); break;
        case 2: KXScreen_LockLook(run.h, p, ui.chance(50)); break;
        case 3: KXScreen_SetPersonHeadImg(run.h, p, &head); break;
        case 4: KXScreen_SetUnjoinedPersonInfo(run.h, p, id.data(), ui.range(1, 6), head); break;
        case 5:
            KXScreen_GetAllLookUserID(run.h);
            KXScreen_GetLockLookUserID(run.h);
            KXScreen_GetShareUserID(run.h);
            KXScreen_GetShareWgtPos(run.h);
            KXScreenExt_Open(run.h, ui.below(2));
            KXScreenExt_SetUserID(run.h, ui.chance(50) ? "u1" : nullptr);
            KXScreenExt_GetUserID(run.h);
            KXScreen_ShowPicInPic(run.h, ui.chance(50));
            if (ui.chance(50))
                KXScreenExt_Close(run.h);
            break;
        case 6: // placed at once
            if (void* added = KXScreen_AddPerson(run.h, id.data(), id.data(), id.data(), ui.range(0, 5000), 0, nullptr, 1))
                run.added(added);
            else
                run.fail("AddPerson on the interface thread failed");
            break;
        default: // removed at once, maybe before a host thread's queued arrival ran
            if (void* victim = run.anyLive(ui, true)) {
                if (KXScreen_DelPerson(run.h, victim) != 1)
                    run.fail("DelPerson on the interface thread failed");
                run.removed(victim);
            }
        }
        check("after an interface call");
    };

    const int rounds = qMax(1, ops / (kHosts * kRoundOps));
    for (run.round = 0; run.round < rounds && !run.failed; ++run.round) {
        std::vector<std::thread> threads;
        std::atomic<int> done{0};
        for (auto& t : hosts)
            threads.emplace_back([&t, &done]() {
                t->runRound();
                ++done;
            });
        while (done.load() < kHosts)
            uiStep();
        for (std::thread& t : threads)
            t.join();
        if (run.round == rounds - 1)
            break; // the last round's work is left queued: the release must cope
        pump();
        check("drained");
        for (void* p : qAsConst(run.live))
            if (static_cast<KXScreenHandle*>(run.h)->hadDelPlay(p))
                run.fail(QStringLiteral("live play handle %1 is listed as released").arg(quintptr(p), 0, 16));
        const QString roster = checkRoster(s, run.live);
        if (!roster.isEmpty())
            run.fail(roster);
        if (!run.live.isEmpty()) // the forged handle that points at a real record gets a real one
            run.fakePlay[1].pPlayData = recordOf(run.live.at(ui.below(run.live.size())));
    }
    QVector<tagPersonInfo*> records;
    for (void* p : qAsConst(run.live))
        records.append(recordOf(p));
    qInfo("chaos: seed=%llu calls=%lld frames taken=%lld notices=%d live at end=%d", static_cast<unsigned long long>(seed),
          run.calls.load(), run.frames.load(), g_notices.load(), run.live.size());
    KXScreen_Release(run.h);
    pump();
    QVERIFY2(run.failures.isEmpty(), qPrintable(run.failures.join('\n')));
    // Every handle and record died with the gallery.
    for (void* p : qAsConst(run.live))
        QVERIFY2(!alive(p), qPrintable(QStringLiteral("seed=%1").arg(seed)));
    for (tagPersonInfo* rec : qAsConst(records))
        QVERIFY2(!kxplatform::isReadable(rec, sizeof(ST_PersonInfo)), qPrintable(QStringLiteral("seed=%1").arg(seed)));
    QCOMPARE(QKXScreenConfig::getInstance()->callbackCount(), 0);
}

QTEST_MAIN(TstChaos)
#include "tst_chaos.moc"
