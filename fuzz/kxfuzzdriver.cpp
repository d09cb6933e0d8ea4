#include "kxfuzzdriver.h"
#include "kxinvariants.h"

#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "platform.h"
#include "qdlgmain.h"
#include "videoframe.h"

#include <QCoreApplication>
#include <QImage>
#include <QWidget>
#include <atomic>
#include <climits>
#include <cstring>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kxfuzz {

namespace {

// The decoder's bytes: a fuzz input read front to back (past its end every
// read is 0), or an endless stream from a seed (splitmix64: the same bytes on
// every platform and library).
class Bytes
{
public:
    Bytes(const uint8_t* d, size_t n) : m_d(d), m_n(n) {}
    explicit Bytes(quint64 seed) : m_seed(seed), m_endless(true) {}
    bool done() const { return !m_endless && m_i >= m_n; }
    uint8_t u8()
    {
        if (!m_endless)
            return m_i < m_n ? m_d[m_i++] : 0;
        if (m_left == 0) {
            quint64 z = (m_seed += 0x9e3779b97f4a7c15ull);
            z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
            z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
            m_word = z ^ (z >> 31);
            m_left = 8;
        }
        return uint8_t(m_word >> (8 * --m_left));
    }
    // Little-endian; one read per expression (the operands of one expression
    // are evaluated in no fixed order).
    uint16_t u16() { const uint16_t lo = u8(); return uint16_t(lo | (u8() << 8)); }
    int16_t i16() { return int16_t(u16()); }
    uint32_t u32() { const uint32_t lo = u16(); return lo | (uint32_t(u16()) << 16); }
    int64_t i64() { const uint64_t lo = u32(); return int64_t(lo | (uint64_t(u32()) << 32)); }
    bool flag() { return u8() & 1; }
    // A string of up to 40 bytes, any content (NULs end it early for the module).
    QByteArray str()
    {
        const int n = u8() % 41;
        QByteArray s;
        for (int i = 0; i < n; ++i)
            s.append(char(u8()));
        return s;
    }

private:
    const uint8_t* m_d = nullptr;
    size_t m_n = 0;
    size_t m_i = 0;
    quint64 m_seed = 0, m_word = 0;
    int m_left = 0;
    bool m_endless = false;
};

const char* const kIDs[] = {"u0", "u1", "u2", "u3", "sharescreen_u1", "sharescreen_u2", "unjoined_u3", ""};

// Everything one meeting shares, including the host function's view of it.
// Host threads and the interface thread use it at once: the lists and the
// findings are behind the lock, never held across a call into the module.
struct Meeting
{
    QWidget* host = nullptr;
    // the gallery, or a released one
    void* h = nullptr;
    std::atomic<bool> hLive{false};
    // the host function may end the meeting
    bool mayEnd = true;
    // a gallery released during this meeting
    void* released = nullptr;
    std::atomic<int> callbackMode{0};
    std::atomic<int> reentries{0};

    std::mutex lock;
    // play handles added and not removed
    QVector<void*> live;
    // play handles removed
    QVector<void*> dead;
    // record addresses seen (live or not)
    QVector<void*> records;
    // record -> play handle, for the host function
    QHash<quintptr, void*> handleOf;
    // removed (reissued) before their adder recorded them
    QHash<void*, int> preempted;
    QString broken;

    KXScreenHandle fakeScreen;
    ST_KXPlayHdl fakePlay;
    tagPersonInfo fakeRecord;

    void fail(const QString& what)
    {
        std::lock_guard<std::mutex> l(lock);
        broken = broken.isEmpty() ? what : broken;
    }
    QString findings()
    {
        std::lock_guard<std::mutex> l(lock);
        return broken;
    }
    void added(void* p)
    {
        std::lock_guard<std::mutex> l(lock);
        if (preempted.value(p) > 0) {
            --preempted[p];
            return;
        }
        tagPersonInfo* rec = static_cast<ST_KXPlayHdl*>(p)->pPlayData;
        live.push_back(p);
        records.push_back(rec);
        handleOf.insert(quintptr(rec), p);
    }
    void removed(void* p)
    {
        std::lock_guard<std::mutex> l(lock);
        if (live.removeOne(p))
            dead.push_back(p);
        else
            ++preempted[p];
    }
    QDlgScreen* screen() const { return static_cast<KXScreenHandle*>(h)->pMainDlg->GetDlgScreenPtr(); }
    // The gallery is released: every handle it gave is dead.
    void end()
    {
        KXScreen_Release(h);
        hLive = false;
        released = h;
        std::lock_guard<std::mutex> l(lock);
        dead += live;
        live.clear();
    }
};

Meeting* g_meeting = nullptr;

int hostFunction(unsigned int msg, uint64_t w, uint64_t)
{
    Meeting* m = g_meeting;
    if (!m)
        return 0;
    // A notification that names a participant names one who is there.
    if (kxtest::namesRecord(msg)
        && !kxplatform::isReadable(reinterpret_cast<void*>(quintptr(w)), sizeof(ST_PersonInfo)))
        m->fail(QStringLiteral("notification %1 named a freed record").arg(msg));
    const int mode = m->callbackMode;
    if (m->reentries > 64)
        return 0;
    if (mode == 3)
        throw std::runtime_error("host function fails");
    if (!m->hLive || (mode <= 2 && !kxtest::namesRecord(msg)))
        return 0;
    void* p = nullptr;
    {
        std::lock_guard<std::mutex> l(m->lock);
        p = m->handleOf.value(quintptr(w));
    }
    switch (mode) {
    case 1: // reads and an update about the participant named
        ++m->reentries;
        KXScreen_GetAllLookUserID(m->h);
        KXScreen_GetShareWgtPos(m->h);
        if (p)
            KXScreen_SetMute(m->h, p, 1);
        break;
    case 2: // the participant named is removed
        if (p && kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)) && ++m->reentries && KXScreen_DelPerson(m->h, p) == 1)
            m->removed(p);
        break;
    case 4: // the meeting ends inside the notification
        if (m->mayEnd)
            ++m->reentries, m->end();
        break;
    case 5: // a relayout
        ++m->reentries, KXScreen_SetCurMode(m->h, int(msg % 9) + 1);
        break;
    }
    return 0;
}

void pumpAndCheck(Meeting& m)
{
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    if (m.hLive) {
        const QString broken = kxtest::checkGallery(m.screen());
        if (!broken.isEmpty())
            m.fail(broken);
    }
}

class Player
{
public:
    Player(Meeting& m, Bytes& in) : m(m), in(in) {}

    void* screen()
    {
        void* const bad[] = {nullptr, m.released, &m.fakeScreen, reinterpret_cast<void*>(quintptr(0x40))};
        const int k = in.u8() % 10;
        return k < 4 ? bad[k] : m.h;
    }

    // One of the handles in v (a byte read only when there is one to pick).
    void* pick(const QVector<void*>& v)
    {
        std::lock_guard<std::mutex> l(m.lock);
        return v.empty() ? nullptr : v[in.u8() % v.size()];
    }
    void* play()
    {
        const int kind = in.u8() % 8;
        m_neverIssued = kind == 0 || kind == 2 || kind == 4;
        switch (kind) {
        case 0: return nullptr;
        case 1: return pick(m.dead);
        case 2: return &m.fakePlay;
        case 3: return pick(m.records);
        case 4: return reinterpret_cast<void*>(~quintptr(0) - 3);
        default: return pick(m.live);
        }
    }

    QByteArray id()
    {
        const uint8_t k = in.u8();
        return k < 200 ? QByteArray(kIDs[k % std::size(kIDs)]) : in.str();
    }

    QImage image()
    {
        const int side = in.u8() % 24;
        // null when side is 0
        QImage img(side, side, QImage::Format_RGB32);
        if (side > 0)
            img.fill(QColor::fromRgb(in.u32()));
        return img;
    }

    // A frame record: honest about its picture (data holds what width and
    // height promise, or is null; odd, zero, negative and overflowing sizes
    // come with no more than the record), or lying about its length, either
    // over an honest picture or over exactly as many bytes as it declares (so
    // that a read past them is caught, whatever the sides claim). One the
    // frame checks refuse must not be taken.
    int frame(void* h, void* p)
    {
        KxCloudRTCVideoFrameQT f{};
        std::vector<uint8_t> pixels;
        const int kind = in.u8() % 6;
        const int r1 = in.i16();
        const int r2 = in.i16();
        // Kind 0 overflows, 1 is too large, 2 is as read (maybe zero or negative), the rest fit a screen.
        int w = kind == 0 ? INT_MIN + (r1 & 0xff)
            : kind == 1   ? 46341 + (r1 & 0xff)
            : kind == 2   ? r1
                          : 1 + (r1 & 0xffff) % 1920;
        const int hgt = kind == 1 ? 46341 : kind <= 2 ? r2 : 1 + (r2 & 0xffff) % 1080;
        const bool nullData = (in.u8() % 16) == 0;
        const uint8_t fill = in.u8();
        const bool lie = (in.u8() % 8) == 0;
        const uint32_t length = in.u32();
        const bool exact = lie && (length >> 31) != 0;
        const bool fits = w > 0 && hgt > 0 && qint64(w) * hgt <= 1280 * 720;
        if (!nullData && (exact || fits)) {
            pixels.assign(exact ? length & 0xffff : size_t(w) * hgt + 2 * size_t((w + 1) / 2) * size_t((hgt + 1) / 2),
                          fill);
            f.data = pixels.empty() ? nullptr : pixels.data();
            f.length = lie && !exact ? length : uint32_t(pixels.size());
        } else if (!nullData && w > 0 && hgt > 0) {
            // a picture too large to fake here is kept out of range instead
            w = -w;
        }
        f.width = w;
        f.height = hgt;
        const bool noRecord = (in.u8() % 32) == 0;
        const int r = KXScreen_PlayFrame(h, p, noRecord ? nullptr : &f);
        if (r && (noRecord || kxvideo::frameRejectReason(f.data, f.width, f.height, f.length)))
            m.fail(QStringLiteral("a refused %1x%2 frame of %3 bytes was taken").arg(w).arg(hgt).arg(f.length));
        return r;
    }

    // One call. hostThread: called from a thread of the host, so only the
    // exports meant for any thread. Every read of the input is a statement of
    // its own: the order of a call's arguments is the compiler's, and a saved
    // input must replay the same with any compiler.
    void call(uint8_t op, bool hostThread)
    {
        QByteArray a = id();
        QByteArray b = in.str();
        char* idArg = a.data();
        char* strArg = b.data();
        const bool nullA = in.flag();
        const bool nullB = in.flag();
        const bool f1 = in.flag();
        const bool f2 = in.flag();
        const int k = in.u8();
        void* h = screen();
        // Answers checked where they are certain: a module handle that is not
        // the live gallery's, or a play handle the module never issued, is
        // refused; the live one is answered (unless the meeting may end inside
        // the call).
        const bool good = h == m.h && m.hLive;
        m_neverIssued = false;
        const int code = op % (hostThread ? 20 : 32);
        int r = 0;
        switch (code) {
        case 0: case 1: case 2: {
            const int64_t join = in.i64();
            const int32_t extra = int32_t(in.u32());
            void* user = reinterpret_cast<void*>(quintptr(in.u32()));
            void* p = KXScreen_AddPerson(h, nullA ? nullptr : idArg, strArg, nullB ? nullptr : strArg, join, extra,
                                         user, k % 8);
            r = p ? 1 : 0;
            if (p && h == m.h && m.hLive)
                m.added(p);
            break;
        }
        case 3: { void* p = play(); if ((r = KXScreen_DelPerson(h, p)) == 1) m.removed(p); break; }
        case 4: case 5: case 6: { void* p = play(); r = frame(h, p); break; }
        case 7: { void* p = play(); r = KXScreen_SetMute(h, p, k - 1); break; }
        case 8: { void* p = play(); r = KXScreen_SetHasMic(h, p, f1); break; }
        case 9: { void* p = play(); r = KXScreen_SetPersonInfo(h, p, f1, k % 4, nullB ? nullptr : strArg); break; }
        case 10: { void* p = play(); r = KXScreen_SetVolume(h, p, f1 ? k : -k * 1000003); break; }
        case 11: { void* p = play(); r = KXScreen_MoreInHide(h, p); break; }
        case 12: r = KXScreen_FocusByUserID(h, nullA ? nullptr : idArg); break;
        case 13:
            r = f1 ? KXScreen_SetVoiceActivateByUserID(h, nullA ? nullptr : idArg) : KXScreen_CancelVoiceActivate(h);
            break;
        case 14: {
            QByteArray list = a + ',' + b + ',' + kIDs[k % std::size(kIDs)];
            r = KXScreen_SetCurSpeakPerson(h, nullB ? nullptr : list.data());
            break;
        }
        case 15: r = KXScreen_UpdateNetWeak(h, nullA ? nullptr : a.constData(), f1, int(int8_t(k))); break;
        case 16: r = KXScreen_SetCurMode(h, int(int8_t(k)) % 12); break;
        case 17:
            switch (k % 7) {
            case 0: r = KXScreen_ChangePrimaryScreen(h, f1); break;
            case 1: r = KXScreen_StartLocalShare(h, k, f1); break;
            case 2: r = KXScreen_StopLocalShare(h); break;
            case 3: r = KXScreen_SetSharePaush(h, f1); break;
            case 4: r = KXScreen_ShareWhiteBoard(h, nullA ? nullptr : a.constData(), f1, f2); break;
            case 5: r = KXScreen_ReposShareWgtForAnnonate(h); break;
            default: r = KXScreen_SetShareWatermark(h, QString::fromUtf8(b), f1); break;
            }
            break;
        case 18:
            switch (k % 4) {
            case 0: r = KXScreen_AddSentence(h, k % 3, k, nullA ? nullptr : idArg, strArg); break;
            case 1: r = KXScreen_ClearSubtitles(h); break;
            case 2: r = KXScreen_OpenSubtitle(h, f1); break;
            default: r = KXScreen_GetCurMode(h); break;
            }
            break;
        case 19: {
            // Scale factors as the host's doubles: any bit pattern, or (f1) a sane one.
            double d[2];
            for (double& x : d) {
                const uint64_t bits = uint64_t(in.i64());
                std::memcpy(&x, &bits, sizeof x);
                if (f1)
                    x = 1.0 + double(bits % 300) / 100.0;
            }
            r = KXScreen_SetDPIs(h, d[0], d[1]);
            break;
        }
        // Interface thread only from here.
        case 20: { void* p = play(); r = KXScreen_Preview(h, p, f1); break; }
        case 21: { void* p = play(); r = KXScreen_AllLook(h, p, k % 3); break; }
        case 22: { void* p = play(); r = KXScreen_LockLook(h, p, k % 3); break; }
        case 23: {
            void* p = play();
            const QImage img = image();
            r = f1 ? KXScreen_SetPersonHeadImg(h, p, f2 ? nullptr : &img)
                   : KXScreen_SetUnjoinedPersonInfo(h, p, nullB ? nullptr : strArg, k - 2, img);
            break;
        }
        case 24:
            KXScreen_GetAllLookUserID(h);
            KXScreen_GetLockLookUserID(h);
            KXScreen_GetShareUserID(h);
            KXScreen_GetShareWgtPos(h);
            KXScreen_GetPicInPicWidgetPtr(h);
            KXScreen_IsIconic(h);
            KXScreen_IsUserShare(h);
            break;
        case 25: r = KXScreen_JoinMeetingFinish(h); break;
        case 26: // the floating window and the external screen
            switch (k % 4) {
            case 0: r = KXScreen_ShowPicInPic(h, f1); break;
            case 1: r = KXScreenExt_Open(h, int(int8_t(k)) % 3); break;
            case 2: r = KXScreenExt_SetUserID(h, nullA ? nullptr : idArg), KXScreenExt_GetUserID(h); break;
            default: r = f1 ? KXScreenExt_Close(h) : KXScreenExt_IsOpen(h); break;
            }
            break;
        case 27: r = f1 ? KXScreen_ChangeShowPage(h, f2) : KXScreen_SetDefStreamType(h, play()); break;
        case 28: {
            const int x = in.i16() % 2000;
            const int y = in.i16() % 2000;
            const int w = in.u16() % 2000;
            const int hh = in.u16() % 1200;
            r = KXScreen_MoveWindow(h, QRect(x, y, w, hh), k % 4);
            break;
        }
        // no handle check
        case 29: f1 ? KXScreen_SetMeetingRoomMinimized(h, f2) : KXScreen_SetIsNewSkin(h, f2); break;
        case 30: r = KXScreen_SetParent(h, f1 ? m.host : nullptr); break;
        default: m.callbackMode = k % 6; break;
        }
        if (r != 0 && (!good || m_neverIssued))
            m.fail(QStringLiteral("call %1 answered %2 with a refused handle").arg(code).arg(r));
        // Calls about the gallery as a whole: 1 whenever its handle is live.
        const bool wholeGallery = (code >= 12 && code <= 16) || code == 25 || (code == 27 && f1);
        if (good && wholeGallery && r != 1 && (m.callbackMode != 4 || !m.mayEnd))
            m.fail(QStringLiteral("call %1 answered %2 with the live gallery").arg(code).arg(r));
    }

    void run()
    {
        for (int ops = 0; !in.done() && ops < 400 && m.findings().isEmpty(); ++ops) {
            const uint8_t op = in.u8();
            if (op >= 240) {
                pumpAndCheck(m);
            } else if (op >= 224) {
                // A burst from a host thread; the interface thread waits.
                std::vector<uint8_t> burst(1 + (op & 7));
                for (uint8_t& o : burst)
                    o = in.u8();
                std::thread([&]() {
                    for (uint8_t o : burst)
                        call(o, true);
                }).join();
            // the meeting ends, or a new one starts
            } else if (op >= 216) {
                m.hLive ? m.end() : void(m.hLive = (m.h = KXScreen_Init(m.host, "", hostFunction)) != nullptr);
            } else {
                call(op, false);
            }
        }
    }

private:
    Meeting& m;
    Bytes& in;
    bool m_neverIssued = false;
};

// A fresh gallery for the meeting; false when Init fails.
bool begin(Meeting& m)
{
    static QWidget* host = nullptr;
    if (!host) {
        host = new QWidget;
        host->resize(960, 540);
        // Shown, the tiles draw with OpenGL (and each input pays for the
        // contexts); KX_FUZZ_HIDDEN=1 keeps the window hidden for speed.
        if (qgetenv("KX_FUZZ_HIDDEN") != "1")
            host->show();
    }
    m.host = host;
    m.fakePlay.pPlayData = &m.fakeRecord;
    g_meeting = &m;
    QKXScreenConfig::getInstance()->setStartMode(1);
    m.h = KXScreen_Init(m.host, "", hostFunction);
    m.hLive = m.h != nullptr;
    if (!m.hLive)
        return false;
    KXScreen_MoveWindow(m.h, QRect(0, 0, 960, 540), KXSCREEN_MOVE_SHOW);
    m.fakeScreen.pMainDlg = static_cast<KXScreenHandle*>(m.h)->pMainDlg;
    return true;
}

// Drained, the roster holds exactly who was added and not removed, and none
// of them is listed as released.
void checkDrained(Meeting& m)
{
    for (int i = 0; i < 4; ++i)
        pumpAndCheck(m);
    if (!m.hLive)
        return;
    std::lock_guard<std::mutex> l(m.lock);
    for (void* p : qAsConst(m.live))
        if (static_cast<KXScreenHandle*>(m.h)->hadDelPlay(p))
            m.broken = QStringLiteral("live play handle %1 is listed as released").arg(quintptr(p), 0, 16);
    if (m.broken.isEmpty())
        m.broken = kxtest::checkRoster(m.screen(), m.live);
}

// The gallery is released with whatever is still queued: every handle and
// record dies with it, and its host function is forgotten.
QString finish(Meeting& m)
{
    QVector<tagPersonInfo*> records;
    for (void* p : qAsConst(m.live))
        if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            records.append(static_cast<ST_KXPlayHdl*>(p)->pPlayData);
    if (m.hLive)
        KXScreen_Release(m.h);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    for (void* p : qAsConst(m.live))
        if (kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            m.fail(QStringLiteral("a play handle outlived its gallery"));
    for (tagPersonInfo* r : qAsConst(records))
        if (kxplatform::isReadable(r, sizeof(ST_PersonInfo)))
            m.fail(QStringLiteral("a record outlived its gallery"));
    if (QKXScreenConfig::getInstance()->callbackCount() != 0)
        m.fail(QStringLiteral("a host function outlived its gallery"));
    g_meeting = nullptr;
    KXScreen_SetIsNewSkin(nullptr, false);
    KXScreen_SetMeetingRoomMinimized(nullptr, false);
    return m.findings();
}

} // namespace

QString runOne(const uint8_t* data, size_t size)
{
    Meeting m;
    if (!begin(m))
        return QStringLiteral("KXScreen_Init failed");
    Bytes in(data, size);
    Player(m, in).run();
    if (m.findings().isEmpty())
        checkDrained(m);
    return finish(m);
}

QString runChaos(quint64 seed, int ops, int hostThreads)
{
    constexpr int kRoundOps = 48;
    Meeting m;
    // the host threads would have nothing left to do
    m.mayEnd = false;
    if (!begin(m))
        return QStringLiteral("KXScreen_Init failed");
    // Released after the live one exists, so that the live one cannot sit at its address.
    KXScreen_Release(m.released = KXScreen_Init(m.host, "", hostFunction));
    Bytes ui(seed ^ 0x5555);
    std::vector<Bytes> threadBytes;
    for (int t = 0; t < hostThreads; ++t)
        threadBytes.emplace_back(seed * 31 + quint64(t) + 1);
    const int rounds = qMax(1, ops / (hostThreads * kRoundOps));
    int round = 0;
    for (; round < rounds && m.findings().isEmpty(); ++round) {
        std::atomic<int> done{0};
        std::vector<std::thread> threads;
        for (Bytes& in : threadBytes)
            threads.emplace_back([&m, &in, &done]() {
                Player p(m, in);
                for (int k = 0; k < kRoundOps && m.findings().isEmpty(); ++k)
                    p.call(in.u8(), true);
                ++done;
            });
        // Meanwhile the interface thread pumps, checks, and now and then calls.
        Player p(m, ui);
        while (done.load() < hostThreads) {
            pumpAndCheck(m);
            if (ui.u8() < 26)
                p.call(ui.u8(), false);
        }
        for (std::thread& t : threads)
            t.join();
        // The last round's work is left queued: the release must cope.
        if (round < rounds - 1)
            checkDrained(m);
    }
    const QString found = finish(m);
    return found.isEmpty() ? found : QStringLiteral("seed=%1 round=%2: %3").arg(seed).arg(round - 1).arg(found);
}

} // namespace kxfuzz
