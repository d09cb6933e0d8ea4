#ifndef KX_TESTKIT_H
#define KX_TESTKIT_H

// The fixture of every test that drives the exports as a host does: a gallery
// in a host widget, a host function that records what it is told (and can act
// from inside a notification), I420 frames, participants added from a host
// thread, and a pump that drains the work the exports queued. Gallery state is
// asserted only after a pump: the exports queue their work, and so do some
// relayouts.

#include "kxinvariants.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "modulelog.h"
#include "platform.h"
#include "qdlgmain.h"
#include "qmypagectrl.h"

#include <QAccessible>
#include <QLoggingCategory>
#include <mutex>
#include <QWidget>
#include <QtTest>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

namespace kxtest {

// --- the module's log ------------------------------------------------------
// Re-entrancy, lifecycle and chaos tests run with the "kxscreen" category on,
// so that the arguments of every log line are evaluated (that is where a freed
// record is read), and its text thrown away. KX_TEST_QUIET=1 leaves the
// category as the logging rules say (off under CTest). A filter is used
// because QT_LOGGING_RULES, which CTest sets, outranks setFilterRules().
namespace detail {
inline QLoggingCategory::CategoryFilter g_prevFilter = nullptr;
inline QtMessageHandler g_prevHandler = nullptr;
inline std::atomic<int> g_forward{0};
inline void filter(QLoggingCategory* c)
{
    if (g_prevFilter)
        g_prevFilter(c);
    if (qstrcmp(c->categoryName(), "kxscreen") == 0)
        c->setEnabled(QtDebugMsg, true);
}
inline void handler(QtMsgType t, const QMessageLogContext& ctx, const QString& msg)
{
    if (ctx.category && qstrcmp(ctx.category, "kxscreen") == 0 && g_forward.load() == 0)
        return;
    if (g_prevHandler)
        g_prevHandler(t, ctx, msg);
}
inline QLoggingCategory& category() { return const_cast<QLoggingCategory&>(lcKXScreen()); }
} // namespace detail

// Call from initTestCase (after QTest has installed its own handler); true
// when the category is on as asked.
inline bool moduleLogOn()
{
    if (qEnvironmentVariableIntValue("KX_TEST_QUIET") == 1)
        return true;
    detail::g_prevFilter = QLoggingCategory::installFilter(detail::filter);
    detail::g_prevHandler = qInstallMessageHandler(detail::handler);
    return lcKXScreen().isDebugEnabled();
}

// While alive, the module's lines are on and reach QTest, for ignoreMessage.
struct ExpectLog
{
    ExpectLog() : m_was(detail::category().isDebugEnabled())
    {
        detail::category().setEnabled(QtDebugMsg, true);
        ++detail::g_forward;
    }
    ~ExpectLog()
    {
        --detail::g_forward;
        detail::category().setEnabled(QtDebugMsg, m_was);
    }
    bool m_was;
};

// --- what a screen reader gets ----------------------------------------------
// Accessibility events reach the recorder only while Qt's bridge is on: CTest
// runs the *_a11y entries so (tests/run_with_a11y.sh); elsewhere a11yOn() is
// false and those tests skip.
inline QVector<std::pair<QObject*, QAccessible::Event>>& a11yEvents()
{
    static QVector<std::pair<QObject*, QAccessible::Event>> events;
    return events;
}
inline bool a11yOn()
{
    QAccessible::installUpdateHandler([](QAccessibleEvent* e) { a11yEvents().append({e->object(), e->type()}); });
    return qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
           && QTest::qWaitFor([]() { return QAccessible::isActive(); }, 5000);
}
inline int a11yCount(QObject* o, QAccessible::Event type)
{
    return int(std::count(a11yEvents().begin(), a11yEvents().end(), std::make_pair(o, type)));
}
inline QString a11yText(QObject* o, QAccessible::Text t = QAccessible::Name)
{
    QAccessibleInterface* i = QAccessible::queryAccessibleInterface(o);
    return i ? i->text(t) : QStringLiteral("(none)");
}

// --- the host function -----------------------------------------------------
struct HostMsg
{
    unsigned int msg;
    uint64_t w;
    uint64_t l;
};

class Recorder
{
public:
    // Runs inside the notification, after it is recorded: a test acts from
    // there (calls back in, removes someone, releases the gallery).
    std::function<void(const HostMsg&)> hook;

    void add(unsigned int m, uint64_t w, uint64_t l)
    {
        {
            std::lock_guard<std::mutex> lock(m_lock);
            m_msgs.append({m, w, l});
        }
        if (hook)
            hook({m, w, l});
    }
    QVector<HostMsg> all() const
    {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_msgs;
    }
    void clear()
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_msgs.clear();
    }
    // Messages with this code (and, when given, naming this record).
    int count(unsigned int m, const void* record = nullptr) const
    {
        int n = 0;
        for (const HostMsg& h : all())
            n += h.msg == m && (!record || h.w == quintptr(record)) ? 1 : 0;
        return n;
    }
    // The last message with this code (code ~0u when none).
    HostMsg last(unsigned int m) const
    {
        const QVector<HostMsg> msgs = all();
        for (int i = msgs.size() - 1; i >= 0; --i)
            if (msgs[i].msg == m)
                return msgs[i];
        return {~0u, 0, 0};
    }
    // The last stream type (2, 3, 4) asked for this record, or 0.
    int lastStream(const void* record) const
    {
        const QVector<HostMsg> msgs = all();
        for (int i = msgs.size() - 1; i >= 0; --i)
            if (msgs[i].msg >= KXSCREEN_MSG_STREAM_SMALL && msgs[i].msg <= KXSCREEN_MSG_STREAM_LARGE
                && msgs[i].w == quintptr(record))
                return int(msgs[i].msg);
        return 0;
    }

private:
    mutable std::mutex m_lock;
    QVector<HostMsg> m_msgs;
};

// One recorder per gallery slot, each behind a host function of its own.
inline Recorder& recorder(int slot = 0)
{
    static Recorder r[3];
    return r[slot];
}
template <int S> int hostFunction(unsigned int m, uint64_t w, uint64_t l)
{
    recorder(S).add(m, w, l);
    return 0;
}
inline KXScreenMsgCallback hostFunctionFor(int slot)
{
    static const KXScreenMsgCallback f[3] = {hostFunction<0>, hostFunction<1>, hostFunction<2>};
    return f[slot];
}

// --- frames ----------------------------------------------------------------
// One tightly packed I420 picture and its frame record.
struct Frame
{
    std::vector<uint8_t> bytes;
    KxCloudRTCVideoFrameQT rec{};

    Frame(int w, int h, uint8_t y = 126, uint8_t u = 128, uint8_t v = 128)
    {
        const size_t ys = size_t(w) * h;
        const size_t cs = size_t((w + 1) / 2) * size_t((h + 1) / 2);
        bytes.assign(ys + 2 * cs, y);
        std::memset(bytes.data() + ys, u, cs);
        std::memset(bytes.data() + ys + cs, v, cs);
        rec.data = bytes.data();
        rec.length = uint32_t(bytes.size());
        rec.width = w;
        rec.height = h;
    }
    // Six vertical blocks (BT.709 limited range) white, black, red, green,
    // blue, grey, under a white band over the top eighth: colour, order and
    // orientation all show in a read-back. Expected colours: blockColour().
    static Frame blocks(int w, int h)
    {
        static const uint8_t yuv[6][3] = {{235, 128, 128}, {16, 128, 128}, {63, 102, 240},
                                          {173, 42, 26},   {32, 240, 118}, {126, 128, 128}};
        Frame f(w, h);
        uint8_t* Y = f.bytes.data();
        uint8_t* U = Y + size_t(w) * h;
        uint8_t* V = U + size_t((w + 1) / 2) * ((h + 1) / 2);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int b = y < h / 8 ? 0 : x * 6 / w;
                Y[y * w + x] = yuv[b][0];
                if (x % 2 == 0 && y % 2 == 0) {
                    U[(y / 2) * ((w + 1) / 2) + x / 2] = yuv[b][1];
                    V[(y / 2) * ((w + 1) / 2) + x / 2] = yuv[b][2];
                }
            }
        return f;
    }
    static QColor blockColour(int b)
    {
        static const QColor c[6] = {Qt::white, Qt::black, QColor(255, 0, 0), QColor(0, 255, 0), QColor(0, 0, 255),
                                    QColor(128, 128, 128)};
        return c[b];
    }
};

inline bool near(const QColor& a, const QColor& b, int tol = 2)
{
    return qAbs(a.red() - b.red()) <= tol && qAbs(a.green() - b.green()) <= tol && qAbs(a.blue() - b.blue()) <= tol;
}
// Pixels of r where a and b differ by more than tol in some channel.
// The first of Frame::blocks' six blocks not where it belongs along row y of the picture's
// rectangle video in img, as a failure message; empty when all six are.
inline QString blocksWrong(const QImage& img, const QRect& video, int y, int tol = 2)
{
    for (int b = 0; b < 6; ++b) {
        const QColor got = img.pixelColor(video.left() + video.width() * (2 * b + 1) / 12, y);
        if (!near(got, Frame::blockColour(b), tol))
            return QStringLiteral("block %1 is %2").arg(b).arg(got.name());
    }
    return QString();
}
inline int differing(const QImage& a, const QImage& b, const QRect& r, int tol = 0)
{
    int n = 0;
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            n += near(a.pixelColor(x, y), b.pixelColor(x, y), tol) ? 0 : 1;
    return n;
}

// --- threads, pumping, lookups ----------------------------------------------
// Runs f on a thread of its own, as a host's media or signalling thread would.
template <typename F> auto onHostThread(F f) -> decltype(f())
{
    decltype(f()) result{};
    std::thread t([&]() { result = f(); });
    t.join();
    return result;
}

// Drains what the exports and relayouts queued (not the gallery's timers).
inline void pump()
{
    for (int i = 0; i < 4; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

inline bool alive(void* hPlay) { return kxplatform::isReadable(hPlay, sizeof(ST_KXPlayHdl)); }
inline tagPersonInfo* recordOf(void* hPlay) { return static_cast<ST_KXPlayHdl*>(hPlay)->pPlayData; }
inline QDlgScreen* controllerOf(void* h) { return static_cast<KXScreenHandle*>(h)->pScreen; }

// Adds n participants from a host thread: IDs u<first+i>, names P<first+i>,
// join times in order, user data first + i + 1. Not yet in the roster.
inline QVector<void*> addFromHost(void* h, int n, int first = 0)
{
    QVector<void*> out;
    std::thread t([&]() {
        for (int i = first; i < first + n; ++i) {
            QByteArray id = "u" + QByteArray::number(i);
            QByteArray name = "P" + QByteArray::number(i);
            out.append(KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 1000 + i, 0,
                                          reinterpret_cast<void*>(quintptr(i + 1)), 1));
        }
    });
    t.join();
    return out;
}

// --- a gallery as a host makes one ------------------------------------------
struct Gallery
{
    QWidget parent;
    void* h = nullptr;
    int slot;
    QVector<void*> handles;

    // Init in a host widget, placed at size; n participants from a host
    // thread; then the local user has joined (unless join is false).
    explicit Gallery(QSize size = QSize(1280, 720), int n = 0, bool join = true, int slot = 0,
                     const QByteArray& baseDir = QByteArray())
        : slot(slot)
    {
        recorder(slot).clear();
        parent.resize(size + QSize(40, 40));
        parent.show();
        h = KXScreen_Init(&parent, baseDir.constData(), hostFunctionFor(slot));
        KXScreen_MoveWindow(h, QRect(QPoint(0, 0), size), KXSCREEN_MOVE_SHOW);
        add(n);
        if (join)
            KXScreen_JoinMeetingFinish(h);
        pump();
    }
    ~Gallery()
    {
        recorder(slot).hook = nullptr;
        if (isLiveScreenHandle(h))
            KXScreen_Release(h);
        pump();
        QKXScreenConfig::getInstance()->setStartMode(1);
    }
    Recorder& host() const { return recorder(slot); }
    QDlgScreen* screen() const { return controllerOf(h); }
    tagPersonInfo* rec(int i) const { return recordOf(handles.at(i)); }
    QMyPageCtrl* ctrl(int index) const { return screen()->pageCtrl(index); }
    int mode() const { return KXScreen_GetCurMode(h); }

    void add(int n)
    {
        if (n <= 0)
            return;
        handles += addFromHost(h, n, handles.size());
        pump();
        QTRY_COMPARE(screen()->persons().size(), handles.size());
    }
    void setMode(int m)
    {
        KXScreen_SetCurMode(h, m);
        pump();
        QTRY_COMPARE(mode(), m);
    }
    // One frame for every participant from a host thread; how many were taken.
    int feed(int w = 640, int hgt = 360)
    {
        Frame f(w, hgt);
        const int ok = onHostThread([&]() {
            int n = 0;
            for (void* p : handles)
                n += alive(p) ? KXScreen_PlayFrame(h, p, &f.rec) : 0;
            return n;
        });
        pump();
        return ok;
    }
    // Who the gallery shows, or (pip) who the floating window shows, in order.
    QVector<tagPersonInfo*> shown(bool pip = false) const
    {
        QVector<tagPersonInfo*> out;
        for (tagPersonInfo* p : screen()->persons())
            if (p->pWidget && p->pWidget->isVisible()
                && (p->pWidget->window() == screen()->GetPicInPicWidgetPtr()) == pip)
                out.append(p);
        return out;
    }
    QVector<tagPersonInfo*> inPicInPic() const { return shown(true); }
    QRect tile(int i) const { return rec(i)->pWidget ? rec(i)->pWidget->geometry() : QRect(); }
};

enum Ctrl { PageNext = 0, StripNext, PagePre, StripPre, PageDown, PageUp, LeftShow, RightHide };

} // namespace kxtest

#endif
