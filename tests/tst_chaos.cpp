// Chaos: four host threads call the exports in a seeded random order, with
// live, released and never-issued handles, while the interface thread pumps
// events, resizes the gallery and checks the controller after every pump.
//
// A run is a series of rounds of 4 x kRoundOps calls. Even rounds are played
// in lockstep: a seeded schedule hands one turn at a time to a host thread or
// to the interface thread, so the whole interleaving follows from the seed and
// the frame path can be checked exactly (an accepted frame is in its own
// participant's buffer, a refused one had nowhere to go). Odd rounds run the
// four threads freely against the pumping interface thread. After every round
// the interface thread drains its queue and the roster must hold exactly the
// participants added and not yet removed.
//
//   KX_CHAOS_OPS=100000   calls in total (default: a short run for CI)
//   KX_CHAOS_SEED=12345   the seed to replay; "random" picks one and prints it
//   KX_CHAOS_SEEDS=3      how many consecutive seeds to run
#include "cplaywidget.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "kxtesthelpers.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QSet>
#include <QWidget>
#include <QtTest>
#include <atomic>
#include <climits>
#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr int kHostThreads = 4;
constexpr int kUiTurn = kHostThreads;   // the interface thread's number in the lockstep schedule
constexpr int kRoundOps = 48;           // calls per host thread per round
constexpr int kMaxW = 648;
constexpr int kMaxH = 488;
constexpr int kDefaultOps = 4800;
constexpr quint64 kDefaultSeed = 0x4b58'5343'4841'4f53ull; // "KXSCHAOS"

// splitmix64: the same numbers on every platform and library.
struct Rng
{
    quint64 s;
    explicit Rng(quint64 seed) : s(seed) {}
    quint64 next()
    {
        quint64 z = (s += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }
    int below(int n) { return n <= 1 ? 0 : int(next() % quint64(n)); }
    int range(int lo, int hi) { return int(qint64(lo) + qint64(next() % quint64(qint64(hi) - lo + 1))); }
    bool chance(int percent) { return below(100) < percent; }
    template <typename T> const T& pick(const std::vector<T>& v) { return v[size_t(below(int(v.size())))]; }
};

// Strings a host may send: ordinary IDs (some shared, so that the ID exports
// find someone), share and invited prefixes, and hostile text.
const std::vector<QByteArray>& userIDs()
{
    static const std::vector<QByteArray> ids = {
        "u0", "u1", "u2", "u3", "u4", "u5", "u6", "u7", "u8", "u9", "u10", "u11",
        "sharescreen_u1", "sharescreen_u2", "unjoined_u7", "unjoined_u30", "",
        "%3%1/..\\x", "../../etc/passwd", QByteArray("\xff\xfe\x80", 3), QByteArray(300, 'k')};
    return ids;
}

const std::vector<QByteArray>& userNames()
{
    static const std::vector<QByteArray> names = {
        "Alice", "Bob", "Zo\xc3\xab", "", "%1%2%3", "../../..", QByteArray("\xc3\x28\xa0", 3),
        QByteArray(500, 'n'), "a\nb\tc"};
    return names;
}

// What the test believes the module holds.
struct Shadow
{
    std::mutex lock;
    QVector<void*> live;          // handles added and not removed: claimable for DelPerson
    QSet<void*> released;         // addresses DelPerson released
    QHash<void*, int> preempted;  // reissued addresses removed before their adder recorded them

    void added(void* h)
    {
        std::lock_guard<std::mutex> l(lock);
        auto it = preempted.find(h);
        if (it != preempted.end()) {
            if (--it.value() == 0)
                preempted.erase(it);
            return;
        }
        live.append(h);
        released.remove(h);
    }
    void* claimLive(Rng& r)
    {
        std::lock_guard<std::mutex> l(lock);
        if (live.isEmpty())
            return nullptr;
        return live.takeAt(r.below(live.size()));
    }
    void* anyLive(Rng& r)
    {
        std::lock_guard<std::mutex> l(lock);
        return live.isEmpty() ? nullptr : live.at(r.below(live.size()));
    }
    void releasedNow(void* h)
    {
        std::lock_guard<std::mutex> l(lock);
        released.insert(h);
    }
    // A released address that is not live again, with the lock held by the caller.
    void* pickReleasedLocked(Rng& r)
    {
        QVector<void*> c;
        for (void* h : qAsConst(released))
            if (!live.contains(h))
                c.append(h);
        std::sort(c.begin(), c.end()); // the set's order is not the seed's
        return c.isEmpty() ? nullptr : c.at(r.below(c.size()));
    }
};

struct Failures
{
    std::mutex lock;
    QStringList list;
    std::atomic<bool> any{false};
    void add(const QString& s)
    {
        std::lock_guard<std::mutex> l(lock);
        if (list.size() < 20)
            list << s;
        any = true;
    }
};

// Lockstep turns: the seed decides who runs next among the host threads that
// still have calls left in this round and the interface thread.
class Turns
{
public:
    explicit Turns(quint64 seed) : m_rng(seed) {}
    void startRound()
    {
        std::lock_guard<std::mutex> l(m_m);
        for (bool& a : m_active)
            a = true;
        m_turn = pickLocked();
    }
    void wait(int who)
    {
        std::unique_lock<std::mutex> l(m_m);
        m_cv.wait(l, [&] { return m_turn == who; });
    }
    void pass(int who, bool finished)
    {
        std::lock_guard<std::mutex> l(m_m);
        if (finished && who < kHostThreads)
            m_active[who] = false;
        m_turn = pickLocked();
        m_cv.notify_all();
    }
    bool hostsDone()
    {
        std::lock_guard<std::mutex> l(m_m);
        for (bool a : m_active)
            if (a)
                return false;
        return true;
    }

private:
    int pickLocked()
    {
        int c[kHostThreads + 1];
        int n = 0;
        for (int i = 0; i < kHostThreads; ++i)
            if (m_active[i])
                c[n++] = i;
        c[n++] = kUiTurn;
        return c[m_rng.below(n)];
    }
    std::mutex m_m;
    std::condition_variable m_cv;
    bool m_active[kHostThreads] = {};
    int m_turn = -1;
    Rng m_rng;
};

QDlgScreen* controllerOf(void* h)
{
    return static_cast<KXScreenHandle*>(h)->pMainDlg->GetDlgScreenPtr();
}

// Notifications that name a record must name a live one.
std::atomic<int> g_staleNotices{0};
std::atomic<int> g_notices{0};
std::mutex g_seenLock;
std::vector<void*> g_seenRecords; // record addresses the host was told about; a host may hand them back

int chaosCallback(unsigned int msg, uint64_t w, uint64_t)
{
    ++g_notices;
    switch (msg) {
    case KXSCREEN_MSG_CLICK_AUDIO:
    case KXSCREEN_MSG_STREAM_SMALL:
    case KXSCREEN_MSG_STREAM_NORMAL:
    case KXSCREEN_MSG_STREAM_LARGE:
    case KXSCREEN_MSG_LOCK_LOOK_CANCELLED:
    case KXSCREEN_MSG_REMOTE_VIDEO_CLOSE:
    case KXSCREEN_MSG_REMOTE_VIDEO_OPEN:
    case KXSCREEN_MSG_RECALL_PERSON: {
        void* rec = reinterpret_cast<void*>(quintptr(w));
        // A participant being removed may still be named (its look state is
        // cancelled as it goes); a freed one must not.
        if (!kxplatform::isReadable(rec, sizeof(ST_PersonInfo)))
            ++g_staleNotices;
        std::lock_guard<std::mutex> l(g_seenLock);
        if (g_seenRecords.size() < 64)
            g_seenRecords.push_back(rec);
        else
            g_seenRecords[size_t(g_notices.load()) % 64] = rec;
        break;
    }
    default:
        break;
    }
    return 0;
}

} // namespace

class TstChaos : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void chaos();

public:
    struct Run;

private:
    void runSeed(quint64 seed, int ops);
};

// Everything one seeded run shares between its threads.
struct TstChaos::Run
{
    quint64 seed = 0;
    void* h = nullptr;
    void* releasedScreen = nullptr;
    QWidget* host = nullptr;
    Shadow shadow;
    Failures failures;
    int round = 0;
    bool lockstep = false;

    // Never-issued handles: memory the test owns, so the module can never
    // have allocated a handle there, and addresses nothing lives at.
    KXScreenHandle fakeScreen;
    ST_KXPlayHdl fakePlay[2];
    tagPersonInfo fakeRecord;

    std::atomic<qint64> calls{0};
    std::atomic<qint64> framesTaken{0};
    std::atomic<qint64> adds{0};
    std::atomic<qint64> dels{0};

    QString where(int thread, int op, const char* what) const
    {
        return QStringLiteral("seed=%1 round=%2 (%3) thread=%4 op=%5 %6")
            .arg(seed)
            .arg(round)
            .arg(lockstep ? QStringLiteral("lockstep") : QStringLiteral("free"))
            .arg(thread)
            .arg(op)
            .arg(QLatin1String(what));
    }
};

void TstChaos::initTestCase()
{
    kxtest::logToNowhere();
}

namespace {

// One host thread's calls for one round.
class HostThread
{
public:
    HostThread(TstChaos::Run& run, int index, quint64 seed)
        : m_run(run), m_index(index), m_rng(seed), m_pixels(size_t(kMaxW) * kMaxH * 2, 0),
          m_image(12, 12, QImage::Format_RGB32)
    {
        m_image.fill(Qt::darkCyan);
    }

    void runRound(Turns* turns)
    {
        for (int k = 0; k < kRoundOps; ++k) {
            if (turns)
                turns->wait(m_index);
            if (!m_run.failures.any)
                oneCall(k);
            if (turns)
                turns->pass(m_index, k == kRoundOps - 1);
        }
    }

private:
    void fail(int op, const char* what, const QString& detail = QString())
    {
        m_run.failures.add(m_run.where(m_index, op, what) + (detail.isEmpty() ? QString() : QStringLiteral(": ") + detail));
    }

    // A module handle: mostly the live one, sometimes one the module must refuse.
    void* screen(bool* good)
    {
        *good = false;
        switch (m_rng.below(40)) {
        case 0: return nullptr;
        case 1: return m_run.releasedScreen;
        case 2: return &m_run.fakeScreen;
        case 3: return reinterpret_cast<void*>(quintptr(0xdeadbeef));
        case 4: return m_run.shadow.anyLive(m_rng); // a play handle where the module handle belongs
        default: *good = true; return m_run.h;
        }
    }

    enum class Kind { Live, Released, Never, Null };
    // A play handle of some kind. Released handles are used under the shadow
    // lock (see call sites) so that one cannot become live again meanwhile.
    void* neverIssued()
    {
        switch (m_rng.below(6)) {
        case 0: return &m_run.fakePlay[0];             // forged handle pointing at a fake record
        case 1: return &m_run.fakePlay[1];             // forged handle pointing at a live record
        case 2: return reinterpret_cast<void*>(quintptr(0x10));
        case 3: return reinterpret_cast<void*>(~quintptr(0) - 7);
        case 4: return &m_run.fakeRecord;
        default: return reinterpret_cast<char*>(&m_run.fakePlay[0]) + 3; // misaligned
        }
    }

    Kind kind()
    {
        const int d = m_rng.below(100);
        if (d < 75)
            return Kind::Live;
        if (d < 88)
            return Kind::Released;
        if (d < 97)
            return Kind::Never;
        return Kind::Null;
    }

    // Runs a per-participant call with a handle of a random kind and checks
    // the answer where it is certain.
    // mayRefuse: the call can answer 0 for a live handle (a null image).
    // DelPerson never takes a live handle here: those are claimed first.
    template <typename F> void withPlay(int op, const char* what, F call, bool mayRefuse = false)
    {
        const bool isDel = std::strcmp(what, "DelPerson") == 0;
        bool goodScreen = false;
        void* h = screen(&goodScreen);
        Kind k = kind();
        if (isDel && k == Kind::Live)
            k = Kind::Released;
        switch (k) {
        case Kind::Live: {
            void* p = m_run.shadow.anyLive(m_rng);
            const int r = call(h, p);
            if (!goodScreen && r != 0)
                fail(op, what, QStringLiteral("a refused module handle answered %1").arg(r));
            // In lockstep nobody removes it meanwhile.
            if (m_run.lockstep && goodScreen && p && !mayRefuse && r != 1)
                fail(op, what, QStringLiteral("live handle %1 answered %2").arg(quintptr(p), 0, 16).arg(r));
            break;
        }
        case Kind::Released: {
            std::lock_guard<std::mutex> l(m_run.shadow.lock);
            void* p = m_run.shadow.pickReleasedLocked(m_rng);
            if (!p)
                break;
            const int r = call(h, p);
            if (r != 0) {
                // Only a DelPerson can find its address live again: it was
                // reissued to a thread that has not recorded it yet.
                if (isDel && goodScreen && !m_run.lockstep) {
                    ++m_run.shadow.preempted[p];
                    ++m_run.dels;
                } else {
                    fail(op, what, QStringLiteral("released handle %1 answered %2")
                                       .arg(quintptr(p), 0, 16).arg(r));
                }
            }
            break;
        }
        case Kind::Never: {
            void* p = neverIssued();
            if (const int r = call(h, p))
                fail(op, what, QStringLiteral("never-issued handle %1 answered %2").arg(quintptr(p), 0, 16).arg(r));
            break;
        }
        case Kind::Null:
            if (const int r = call(h, nullptr))
                fail(op, what, QStringLiteral("null handle answered %1").arg(r));
            break;
        }
        // A record address the host was told about, handed back as a play handle.
        if (m_run.lockstep && m_rng.chance(3)) {
            void* rec = nullptr;
            {
                std::lock_guard<std::mutex> l(g_seenLock);
                if (!g_seenRecords.empty())
                    rec = g_seenRecords[size_t(m_rng.below(int(g_seenRecords.size())))];
            }
            bool isHandle = false;
            {
                std::lock_guard<std::mutex> l(m_run.shadow.lock);
                isHandle = m_run.shadow.live.contains(rec);
            }
            if (rec && !isHandle && call(m_run.h, rec) != 0)
                fail(op, what, QStringLiteral("a record address taken as a play handle"));
        }
    }

    void oneCall(int op)
    {
        ++m_run.calls;
        const int d = m_rng.below(100);
        // Meetings stay small enough for most participants to hold a tile
        // now and then, so that frames land.
        if (d < 14)
            return liveCount() > 14 ? delPerson(op) : addPerson(op);
        if (d < 22)
            return delPerson(op);
        if (d < 50)
            return playFrame(op);
        if (d < 54)
            return withPlay(op, "Preview", [&](void* h, void* p) { return KXScreen_Preview(h, p, m_rng.chance(70)); });
        if (d < 58)
            return withPlay(op, "SetMute", [&](void* h, void* p) { return KXScreen_SetMute(h, p, m_rng.range(-1, 2)); });
        if (d < 62)
            return withPlay(op, "SetVolume", [&](void* h, void* p) {
                return KXScreen_SetVolume(h, p, m_rng.chance(90) ? m_rng.range(0, 100) : m_rng.range(INT_MIN / 2, INT_MAX / 2));
            });
        if (d < 66) {
            QByteArray name = m_rng.pick(userNames());
            const bool nullName = m_rng.chance(10);
            return withPlay(op, "SetPersonInfo", [&](void* h, void* p) {
                return KXScreen_SetPersonInfo(h, p, m_rng.chance(8), m_rng.range(0, 3), nullName ? nullptr : name.data());
            });
        }
        if (d < 69) {
            QByteArray name = m_rng.pick(userNames());
            const QImage image = m_rng.chance(20) ? QImage() : m_image;
            return withPlay(op, "SetUnjoinedPersonInfo", [&](void* h, void* p) {
                return KXScreen_SetUnjoinedPersonInfo(h, p, name.data(), m_rng.range(0, 7), image);
            });
        }
        if (d < 71)
            return withPlay(op, "SetHasMic", [&](void* h, void* p) { return KXScreen_SetHasMic(h, p, m_rng.chance(50)); });
        if (d < 72)
            return withPlay(op, "AllLook", [&](void* h, void* p) { return KXScreen_AllLook(h, p, m_rng.chance(50)); });
        if (d < 73)
            return withPlay(op, "LockLook", [&](void* h, void* p) { return KXScreen_LockLook(h, p, m_rng.chance(50)); });
        if (d < 74)
            return withPlay(op, "SetDefStreamType", [&](void* h, void* p) { return KXScreen_SetDefStreamType(h, p); });
        if (d < 75)
            return withPlay(op, "MoreInHide", [&](void* h, void* p) { return KXScreen_MoreInHide(h, p); });
        if (d < 76) {
            const bool nullImage = m_rng.chance(30);
            return withPlay(op, "SetPersonHeadImg", [&](void* h, void* p) {
                return KXScreen_SetPersonHeadImg(h, p, nullImage ? nullptr : &m_image);
            }, nullImage);
        }
        // Calls that take the module handle only.
        bool good = false;
        void* h = screen(&good);
        QByteArray id = m_rng.pick(userIDs());
        char* idArg = m_rng.chance(5) ? nullptr : id.data();
        int r = 0;
        const char* what = "";
        if (d < 80) {
            what = "UpdateNetWeak";
            r = KXScreen_UpdateNetWeak(h, idArg, m_rng.chance(50), m_rng.range(-1, 7));
        } else if (d < 84) {
            what = "FocusByUserID";
            r = KXScreen_FocusByUserID(h, idArg);
        } else if (d < 88) {
            what = "SetCurMode";
            r = KXScreen_SetCurMode(h, m_rng.chance(90) ? m_rng.range(1, 9) : m_rng.range(-3, 12));
        } else if (d < 93) {
            what = "ChangeShowPage";
            r = KXScreen_ChangeShowPage(h, m_rng.chance(60));
        } else if (d < 94) {
            what = "JoinMeetingFinish";
            r = KXScreen_JoinMeetingFinish(h);
        } else if (d < 96) {
            what = "SetVoiceActivateByUserID";
            r = KXScreen_SetVoiceActivateByUserID(h, idArg);
        } else if (d < 97) {
            what = "CancelVoiceActivate";
            r = KXScreen_CancelVoiceActivate(h);
        } else {
            what = "SetCurSpeakPerson";
            QByteArray list = m_rng.pick(userIDs()) + ',' + m_rng.pick(userIDs());
            r = KXScreen_SetCurSpeakPerson(h, m_rng.chance(5) ? nullptr : list.data());
        }
        if (r != (good ? 1 : 0))
            fail(op, what, QStringLiteral("answered %1 with a %2 module handle").arg(r).arg(good ? "live" : "refused"));
    }

    int liveCount()
    {
        std::lock_guard<std::mutex> l(m_run.shadow.lock);
        return m_run.shadow.live.size();
    }

    void addPerson(int op)
    {
        bool good = false;
        void* h = screen(&good);
        QByteArray id = m_rng.pick(userIDs());
        QByteArray name = m_rng.pick(userNames());
        QByteArray extra = "x" + QByteArray::number(m_rng.below(1000));
        const bool nullID = m_rng.chance(3);
        const bool nullName = m_rng.chance(3);
        const qint64 joinTime = m_rng.chance(90) ? qint64(m_rng.range(0, 5000)) : (m_rng.chance(50) ? LLONG_MIN : LLONG_MAX);
        void* userData = reinterpret_cast<void*>(quintptr(m_rng.next()));
        void* p = KXScreen_AddPerson(h, nullID ? nullptr : id.data(), m_rng.chance(3) ? nullptr : extra.data(),
                                     nullName ? nullptr : name.data(), joinTime, m_rng.range(-2, 9), userData,
                                     m_rng.range(0, 7));
        if (!good) {
            if (p)
                fail(op, "AddPerson", QStringLiteral("a refused module handle produced a play handle"));
            return;
        }
        if (!p) {
            fail(op, "AddPerson", QStringLiteral("no play handle"));
            return;
        }
        ++m_run.adds;
        m_run.shadow.added(p);
    }

    void delPerson(int op)
    {
        if (m_rng.chance(70)) {
            void* p = m_run.shadow.claimLive(m_rng);
            if (!p)
                return;
            bool good = false;
            void* h = screen(&good);
            if (!good) {
                if (KXScreen_DelPerson(h, p) != 0)
                    fail(op, "DelPerson", QStringLiteral("a refused module handle removed a participant"));
                // Not removed: it stays live.
                m_run.shadow.added(p);
                return;
            }
            const int r = KXScreen_DelPerson(h, p);
            if (r != 1)
                fail(op, "DelPerson", QStringLiteral("live handle %1 answered %2").arg(quintptr(p), 0, 16).arg(r));
            ++m_run.dels;
            m_run.shadow.releasedNow(p);
            return;
        }
        withPlay(op, "DelPerson", [&](void* h, void* p) { return KXScreen_DelPerson(h, p); });
    }

    void playFrame(int op)
    {
        // Sizes: mostly valid and often odd, sometimes refused.
        int w = 0;
        int hgt = 0;
        bool valid = true;
        bool nullData = false;
        const int d = m_rng.below(100);
        if (d < 45) {
            w = m_rng.range(1, kMaxW);
            hgt = m_rng.range(1, kMaxH);
        } else if (d < 75) {
            w = m_rng.range(0, 80) * 2 + 1;
            hgt = m_rng.range(0, 60) * 2 + 1;
        } else if (d < 90) {
            w = 8 * m_rng.range(1, kMaxW / 8);
            hgt = 2 * m_rng.range(1, kMaxH / 2);
        } else {
            valid = false;
            switch (m_rng.below(6)) {
            case 0: w = 0; hgt = m_rng.range(1, 100); break;
            case 1: w = m_rng.range(1, 100); hgt = -m_rng.range(1, 100); break;
            case 2: w = INT_MIN; hgt = INT_MIN; break;
            case 3: w = 46341; hgt = 46341; break;      // 2*w*h overflows a 32-bit size
            case 4: w = INT_MAX; hgt = 3; break;
            default: w = 64; hgt = 36; nullData = true; break;
            }
        }
        const uint8_t tag = uint8_t(m_rng.range(16, 235));
        if (valid) {
            const size_t ySize = size_t(w) * size_t(hgt);
            const size_t cSize = size_t((w + 1) / 2) * size_t((hgt + 1) / 2);
            std::memset(m_pixels.data(), tag, ySize);
            std::memset(m_pixels.data() + ySize, 128, 2 * cSize);
        }
        KxCloudRTCVideoFrameQT f{};
        f.data = nullData ? nullptr : m_pixels.data();
        f.length = valid ? uint32_t(size_t(w) * size_t(hgt) + 2 * size_t((w + 1) / 2) * size_t((hgt + 1) / 2)) : 16u;
        f.width = w;
        f.height = hgt;

        if (m_rng.chance(3)) {
            // No frame record at all.
            bool good = false;
            void* h = screen(&good);
            void* p = m_run.shadow.anyLive(m_rng);
            if (KXScreen_PlayFrame(h, p, nullptr) != 0)
                fail(op, "PlayFrame", QStringLiteral("a null frame record was taken"));
            return;
        }

        if (!m_run.lockstep || !m_rng.chance(75)) {
            withPlay(op, "PlayFrame", [&](void* h, void* p) {
                const int r = KXScreen_PlayFrame(h, p, &f);
                if (!valid && r != 0)
                    fail(op, "PlayFrame", QStringLiteral("a refused frame %1x%2 was taken").arg(w).arg(hgt));
                m_run.framesTaken += r;
                return r;
            }, true);
            return;
        }

        // Lockstep with a live handle: nothing else runs, so the frame path
        // can be checked exactly.
        void* p = m_run.shadow.anyLive(m_rng);
        if (!p)
            return;
        const int r = KXScreen_PlayFrame(m_run.h, p, &f);
        m_run.framesTaken += r;
        if (!valid) {
            if (r != 0)
                fail(op, "PlayFrame", QStringLiteral("a refused frame %1x%2 was taken").arg(w).arg(hgt));
            return;
        }
        tagPersonInfo* rec = static_cast<ST_KXPlayHdl*>(p)->pPlayData;
        QDlgScreen* s = controllerOf(m_run.h);
        if (r == 1) {
            if (!rec->pWidget) {
                fail(op, "PlayFrame", QStringLiteral("a frame was taken for a participant without a tile"));
            } else if (rec->pWidget->personInfo() != rec) {
                fail(op, "PlayFrame", QStringLiteral("%1's frame went into the tile of another participant").arg(rec->userName));
            } else if (w >= 8 && (rec->iWidth != w || rec->iHeight != hgt || !rec->m_pBufYuv420p
                                  || rec->m_pBufYuv420p[0] != tag)) {
                fail(op, "PlayFrame", QStringLiteral("an accepted %1x%2 frame is not in its participant's buffer").arg(w).arg(hgt));
            }
        } else if (s->persons().contains(rec) && rec->bPreview && rec->pWidget
                   && rec->pWidget->personInfo() == rec) {
            fail(op, "PlayFrame", QStringLiteral("frame lost: %1 has a tile and video on, %2x%3 refused")
                                      .arg(rec->userName).arg(w).arg(hgt));
        }
    }

    TstChaos::Run& m_run;
    int m_index;
    Rng m_rng;
    std::vector<uint8_t> m_pixels;
    QImage m_image;
};

// The controller's invariants; an empty string when they hold.
QString checkController(QDlgScreen* s)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QVector<tagPersonInfo*>& roster = s->persons();
    QSet<tagPersonInfo*> members;
    for (tagPersonInfo* p : roster) {
        if (!p)
            return QStringLiteral("a null record in the roster");
        if (members.contains(p))
            return QStringLiteral("record %1 is twice in the roster").arg(quintptr(p), 0, 16);
        members.insert(p);
        if (cfg->testDelPerson(p, false))
            return QStringLiteral("roster record %1 is in the deleted-participant registry").arg(quintptr(p), 0, 16);
    }
    // A participant's tile shows that participant: frames follow pWidget.
    for (tagPersonInfo* p : roster) {
        if (p->pWidget && p->pWidget->personInfo() != p)
            return QStringLiteral("%1's tile shows another participant").arg(p->userName.left(20));
    }
    tagPersonInfo* focus = s->focusPerson();
    if (focus && !members.contains(focus))
        return QStringLiteral("the focus participant is not in the roster");

    QSet<tagPersonInfo*> values;
    const QDlgScreen::PlayMap& map = s->playMap();
    for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
        tagPersonInfo* p = it.value();
        if (!p)
            continue;
        if (!members.contains(p))
            return QStringLiteral("a tile entry holds record %1, which is not in the roster").arg(quintptr(p), 0, 16);
        if (values.contains(p))
            return QStringLiteral("%1 is the value of two tile entries").arg(p->userName);
        values.insert(p);
        if (p->pWidget && p->pWidget != it.key() && !(p == focus && p->pWidget == s->focusPlayWidget()))
            return QStringLiteral("%1's tile is not the entry that holds it").arg(p->userName);
    }

    QHash<tagPersonInfo*, CPlayWidget*> shownBy;
    QVector<CPlayWidget*> tiles = map.keys().toVector();
    tiles.append(s->focusPlayWidget());
    // No tile, shown or not, keeps a freed record: queued work of the tile
    // (fitting the picture, painting) would read it.
    for (CPlayWidget* t : tiles) {
        if (tagPersonInfo* p = t->personInfo())
            if (cfg->testDelPerson(p, false))
                return QStringLiteral("a %1 tile still points at freed record %2")
                    .arg(t->isVisibleTo(s) ? "visible" : "hidden")
                    .arg(quintptr(p), 0, 16);
    }
    for (CPlayWidget* t : tiles) {
        if (!t->isVisibleTo(s))
            continue;
        tagPersonInfo* p = t->personInfo();
        if (!p)
            continue;
        if (!members.contains(p))
            return QStringLiteral("a visible tile shows record %1, which is not in the roster").arg(quintptr(p), 0, 16);
        if (shownBy.contains(p))
            return QStringLiteral("%1 is shown by two visible tiles").arg(p->userName);
        shownBy.insert(p, t);
    }

    const int n = roster.size();
    const int idx = s->pageIndex();
    if (idx < 0 || (n == 0 && idx != 0) || (n > 0 && idx > 0 && idx * 6 >= n))
        return QStringLiteral("page index %1 with %2 participants").arg(idx).arg(n);
    return QString();
}

void drain()
{
    for (int i = 0; i < 4; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

} // namespace

void TstChaos::chaos()
{
    const QByteArray seedEnv = qgetenv("KX_CHAOS_SEED");
    quint64 seed = kDefaultSeed;
    if (seedEnv == "random")
        seed = quint64(QDateTime::currentMSecsSinceEpoch()) * 0x9e3779b97f4a7c15ull;
    else if (!seedEnv.isEmpty())
        seed = seedEnv.toULongLong();
    bool ok = false;
    int ops = qEnvironmentVariableIntValue("KX_CHAOS_OPS", &ok);
    if (!ok || ops <= 0)
        ops = kDefaultOps;
    int seeds = qEnvironmentVariableIntValue("KX_CHAOS_SEEDS", &ok);
    if (!ok || seeds <= 0)
        seeds = 1;
    for (int i = 0; i < seeds; ++i) {
        runSeed(seed + quint64(i), ops);
        if (QTest::currentTestFailed())
            return;
    }
}

void TstChaos::runSeed(quint64 seed, int ops)
{
    // Printed first, so that a crash report still carries the seed.
    qInfo("chaos: KX_CHAOS_SEED=%llu KX_CHAOS_OPS=%d", static_cast<unsigned long long>(seed), ops);
    g_staleNotices = 0;
    g_notices = 0;
    {
        std::lock_guard<std::mutex> l(g_seenLock);
        g_seenRecords.clear();
    }
    QKXScreenConfig::getInstance()->setCurScreenMode(1);

    Run run;
    run.seed = seed;
    QWidget host;
    host.resize(1320, 760);
    host.show();
    run.host = &host;

    run.h = KXScreen_Init(&host, "", chaosCallback);
    QVERIFY2(run.h, qPrintable(QStringLiteral("seed=%1").arg(seed)));
    // A module handle released before the run, after the live one exists so
    // that the live one cannot sit at its address: never valid again.
    run.releasedScreen = KXScreen_Init(&host, "", chaosCallback);
    QVERIFY(run.releasedScreen);
    KXScreen_Release(run.releasedScreen);
    KXScreen_MoveWindow(run.h, QRect(0, 0, 1280, 720), KXSCREEN_MOVE_SHOW);
    QDlgScreen* s = controllerOf(run.h);
    run.fakePlay[0].pPlayData = &run.fakeRecord;

    Rng uiRng(seed ^ 0x5555);
    Turns turns(seed ^ 0xaaaa);
    std::vector<HostThread*> hosts;
    for (int t = 0; t < kHostThreads; ++t)
        hosts.push_back(new HostThread(run, t, seed * 31 + quint64(t) + 1));

    auto uiStep = [&](const char* phase) {
        QCoreApplication::processEvents();
        QString broken = checkController(s);
        if (broken.isEmpty() && uiRng.chance(12)) {
            // The host moves and resizes the gallery, now and then hiding it.
            const QRect rc(uiRng.range(0, 40), uiRng.range(0, 40), uiRng.range(120, 1280), uiRng.range(90, 720));
            const int flags = uiRng.chance(5) ? KXSCREEN_MOVE_HIDE : (uiRng.chance(20) ? KXSCREEN_MOVE_RAISE : KXSCREEN_MOVE_SHOW);
            KXScreen_MoveWindow(run.h, rc, flags);
            broken = checkController(s);
        }
        if (broken.isEmpty() && uiRng.chance(10)) {
            // [interface] calls made where they belong.
            void* p = run.shadow.anyLive(uiRng);
            QImage head(8, 8, QImage::Format_RGB32);
            head.fill(Qt::yellow);
            QByteArray name("Inv");
            switch (uiRng.below(10)) {
            case 0: KXScreen_Preview(run.h, p, uiRng.chance(60)); break;
            case 1: KXScreen_AllLook(run.h, p, uiRng.chance(50)); break;
            case 2: KXScreen_LockLook(run.h, p, uiRng.chance(50)); break;
            case 3: KXScreen_SetPersonHeadImg(run.h, p, &head); break;
            case 4: KXScreen_SetUnjoinedPersonInfo(run.h, p, name.data(), uiRng.range(1, 6), head); break;
            case 5: KXScreen_ChangeShowPage(run.h, uiRng.chance(50)); break;
            case 6:
                KXScreen_GetAllLookUserID(run.h);
                KXScreen_GetLockLookUserID(run.h);
                KXScreen_GetShareUserID(run.h);
                KXScreen_GetShareWgtPos(run.h);
                break;
            case 7: KXScreen_JoinMeetingFinish(run.h); break;
            case 8: {
                // The interface thread adds someone too: placed at once.
                QByteArray id("ui"), nm("UI");
                if (void* added = KXScreen_AddPerson(run.h, id.data(), id.data(), nm.data(), uiRng.range(0, 5000), 0, nullptr, 1)) {
                    ++run.adds;
                    run.shadow.added(added);
                } else {
                    run.failures.add(QStringLiteral("seed=%1 round=%2: AddPerson on the interface thread failed").arg(seed).arg(run.round));
                }
                break;
            }
            default: {
                // ... and removes someone, at once, maybe before a host
                // thread's queued arrival of that participant was handled.
                void* victim = run.shadow.claimLive(uiRng);
                if (!victim)
                    break;
                const int r = KXScreen_DelPerson(run.h, victim);
                if (r != 1)
                    run.failures.add(QStringLiteral("seed=%1 round=%2: DelPerson on the interface thread answered %3").arg(seed).arg(run.round).arg(r));
                ++run.dels;
                run.shadow.releasedNow(victim);
                break;
            }
            }
            broken = checkController(s);
        }
        if (!broken.isEmpty())
            run.failures.add(QStringLiteral("seed=%1 round=%2 (%3) after a pump: %4").arg(seed).arg(run.round).arg(QLatin1String(phase)).arg(broken));
        if (g_staleNotices.load() != 0)
            run.failures.add(QStringLiteral("seed=%1 round=%2: a notification named a freed record").arg(seed).arg(run.round));
    };

    const int rounds = qMax(1, ops / (kHostThreads * kRoundOps));
    const int finalRound = rounds - 1;
    for (run.round = 0; run.round < rounds && !run.failures.any; ++run.round) {
        run.lockstep = run.round % 2 == 0;
        std::vector<std::thread> threads;
        if (run.lockstep) {
            turns.startRound();
            for (HostThread* t : hosts)
                threads.emplace_back([t, &turns]() { t->runRound(&turns); });
            for (;;) {
                turns.wait(kUiTurn);
                if (turns.hostsDone())
                    break;
                uiStep("lockstep");
                turns.pass(kUiTurn, false);
            }
        } else {
            std::atomic<int> done{0};
            for (HostThread* t : hosts)
                threads.emplace_back([t, &done]() {
                    t->runRound(nullptr);
                    ++done;
                });
            while (done.load() < kHostThreads)
                uiStep("free");
        }
        for (std::thread& t : threads)
            t.join();

        // The last round's work is left queued: release must cope with it.
        if (run.round == finalRound)
            break;
        drain();
        QString broken = checkController(s);
        if (broken.isEmpty()) {
            // With the queue drained the roster is exactly the participants
            // added and not removed.
            std::lock_guard<std::mutex> l(run.shadow.lock);
            QSet<tagPersonInfo*> expected;
            for (void* p : qAsConst(run.shadow.live)) {
                if (!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl))) {
                    broken = QStringLiteral("live play handle %1 is not readable").arg(quintptr(p), 0, 16);
                    break;
                }
                if (static_cast<KXScreenHandle*>(run.h)->hadDelPlay(p)) {
                    broken = QStringLiteral("live play handle %1 is listed as released").arg(quintptr(p), 0, 16);
                    break;
                }
                expected.insert(static_cast<ST_KXPlayHdl*>(p)->pPlayData);
            }
            if (broken.isEmpty()) {
                const QVector<tagPersonInfo*>& roster = s->persons();
                const QSet<tagPersonInfo*> actual(roster.begin(), roster.end());
                if (actual != expected || roster.size() != run.shadow.live.size()) {
                    QStringList missing;
                    for (tagPersonInfo* r : qAsConst(expected))
                        if (!actual.contains(r))
                            missing << QStringLiteral("'%1'").arg(r->userID.left(20));
                    QStringList extra;
                    for (tagPersonInfo* r : qAsConst(actual))
                        if (!expected.contains(r))
                            extra << QStringLiteral("%1").arg(quintptr(r), 0, 16);
                    broken = QStringLiteral("roster holds %1 participants, %2 were added and not removed; missing %3; extra %4")
                                 .arg(roster.size())
                                 .arg(run.shadow.live.size())
                                 .arg(missing.join(QLatin1Char(',')), extra.join(QLatin1Char(',')));
                }
            }
        }
        if (!broken.isEmpty())
            run.failures.add(QStringLiteral("seed=%1 round=%2 (%3) drained: %4")
                                 .arg(seed)
                                 .arg(run.round)
                                 .arg(run.lockstep ? "lockstep" : "free")
                                 .arg(broken));
        // Give the fake handle that points at a real record a real record.
        if (void* p = run.shadow.anyLive(uiRng))
            run.fakePlay[1].pPlayData = static_cast<ST_KXPlayHdl*>(p)->pPlayData;
    }
    // Threads are gone; the handle list is no longer shared.
    QVector<void*> live;
    {
        std::lock_guard<std::mutex> l(run.shadow.lock);
        live = run.shadow.live;
    }
    QVector<tagPersonInfo*> records;
    for (void* p : qAsConst(live))
        records.append(static_cast<ST_KXPlayHdl*>(p)->pPlayData);
    run.fakePlay[1].pPlayData = nullptr;

    const QString summary = QStringLiteral("seed=%1 calls=%2 adds=%3 removals=%4 frames taken=%5 notices=%6 live at end=%7")
                                .arg(seed)
                                .arg(run.calls.load())
                                .arg(run.adds.load())
                                .arg(run.dels.load())
                                .arg(run.framesTaken.load())
                                .arg(g_notices.load())
                                .arg(live.size());
    qInfo("chaos: %s", qPrintable(summary));
    for (HostThread* t : hosts)
        delete t;

    // Release with the last round's work still queued.
    KXScreen_Release(run.h);
    QCoreApplication::processEvents();
    {
        std::lock_guard<std::mutex> l(run.failures.lock);
        QVERIFY2(run.failures.list.isEmpty(), qPrintable(run.failures.list.join(QLatin1Char('\n'))));
    }
    // Every handle and record died with the gallery.
    for (void* p : qAsConst(live))
        QVERIFY2(!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)), qPrintable(QStringLiteral("seed=%1").arg(seed)));
    for (tagPersonInfo* r : qAsConst(records))
        QVERIFY2(!kxplatform::isReadable(r, sizeof(ST_PersonInfo)), qPrintable(QStringLiteral("seed=%1").arg(seed)));
    QVERIFY2(run.calls.load() >= qint64(rounds) * kHostThreads * kRoundOps * 9 / 10,
             qPrintable(QStringLiteral("seed=%1: only %2 calls ran").arg(seed).arg(run.calls.load())));
    QCOMPARE(QKXScreenConfig::getInstance()->callbackCount(), 0);
}

QTEST_MAIN(TstChaos)
#include "tst_chaos.moc"
