#ifndef KX_TESTHELPERS_H
#define KX_TESTHELPERS_H

// Small tools shared by the tests that drive the module as a host does.

#include "kxscreenmod2.h"
#include "modulelog.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMutex>
#include <QVector>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kxtest {

// The module's debug lines are off under CTest (they are many); a test that
// asserts exact lines turns them on for its own duration.
struct ModuleLogOn
{
    ModuleLogOn() : m_before(lcKXScreen().isDebugEnabled()) { cat().setEnabled(QtDebugMsg, true); }
    ~ModuleLogOn() { cat().setEnabled(QtDebugMsg, m_before); }
    static QLoggingCategory& cat() { return const_cast<QLoggingCategory&>(lcKXScreen()); }
    bool m_before;
};

// Turns the module's lines on for the whole program and throws their text
// away: the arguments of every line are evaluated, so a line that reads a
// freed record is a read the sanitizers see, as in a host that logs.
// KX_QUIET_LOG=1 leaves the lines off (a faster run).
inline void logToNowhere()
{
    if (qEnvironmentVariableIsSet("KX_QUIET_LOG"))
        return;
    static QLoggingCategory::CategoryFilter previousFilter = nullptr;
    static QtMessageHandler previousHandler = nullptr;
    previousFilter = QLoggingCategory::installFilter([](QLoggingCategory* category) {
        if (previousFilter)
            previousFilter(category);
        if (qstrcmp(category->categoryName(), "kxscreen") == 0)
            category->setEnabled(QtDebugMsg, true);
    });
    previousHandler = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& ctx, const QString& msg) {
        if (type == QtDebugMsg && ctx.category && qstrcmp(ctx.category, "kxscreen") == 0)
            return;
        if (previousHandler)
            previousHandler(type, ctx, msg);
    });
}

struct HostMsg
{
    unsigned int msg;
    uint64_t wParam;
    uint64_t lParam;
};

// A host function that records what it receives. Several recorders can be
// told apart by index (up to four galleries).
class Recorder
{
public:
    static Recorder& at(int i)
    {
        static Recorder r[4];
        return r[i];
    }
    void add(unsigned int m, uint64_t w, uint64_t l)
    {
        QMutexLocker lock(&m_lock);
        m_msgs.append({m, w, l});
    }
    QVector<HostMsg> all() const
    {
        QMutexLocker lock(&m_lock);
        return m_msgs;
    }
    void clear()
    {
        QMutexLocker lock(&m_lock);
        m_msgs.clear();
    }
    int count(unsigned int m) const
    {
        QMutexLocker lock(&m_lock);
        int n = 0;
        for (const HostMsg& h : m_msgs)
            n += h.msg == m ? 1 : 0;
        return n;
    }
    // Messages with this code and this record address (wParam).
    int count(unsigned int m, const void* record) const
    {
        QMutexLocker lock(&m_lock);
        int n = 0;
        for (const HostMsg& h : m_msgs)
            n += (h.msg == m && h.wParam == reinterpret_cast<uintptr_t>(record)) ? 1 : 0;
        return n;
    }
    // The last stream type (2, 3 or 4) asked for this record, or 0.
    int lastStreamType(const void* record) const
    {
        QMutexLocker lock(&m_lock);
        for (int i = m_msgs.size() - 1; i >= 0; --i) {
            const HostMsg& h = m_msgs.at(i);
            if (h.msg >= 2 && h.msg <= 4 && h.wParam == reinterpret_cast<uintptr_t>(record))
                return int(h.msg);
        }
        return 0;
    }

private:
    mutable QMutex m_lock;
    QVector<HostMsg> m_msgs;
};

inline int recorder0(unsigned int m, uint64_t w, uint64_t l) { Recorder::at(0).add(m, w, l); return 0; }
inline int recorder1(unsigned int m, uint64_t w, uint64_t l) { Recorder::at(1).add(m, w, l); return 0; }
inline int recorder2(unsigned int m, uint64_t w, uint64_t l) { Recorder::at(2).add(m, w, l); return 0; }

// An I420 picture and its frame record.
struct Frame
{
    std::vector<uint8_t> bytes;
    KxCloudRTCVideoFrameQT rec{};

    Frame(int w, int h, uint8_t y = 126, uint8_t u = 128, uint8_t v = 128)
    {
        const int cw = (w + 1) / 2;
        const int ch = (h + 1) / 2;
        bytes.assign(size_t(w) * h + 2 * size_t(cw) * ch, y);
        std::memset(bytes.data() + size_t(w) * h, u, size_t(cw) * ch);
        std::memset(bytes.data() + size_t(w) * h + size_t(cw) * ch, v, size_t(cw) * ch);
        rec.data = bytes.data();
        rec.length = uint32_t(bytes.size());
        rec.width = w;
        rec.height = h;
    }
};

inline char* cstr(QByteArray& b)
{
    return b.data();
}

} // namespace kxtest

#endif
