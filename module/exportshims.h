#ifndef KX_EXPORTSHIMS_H
#define KX_EXPORTSHIMS_H

// What every export shim does the same way: no exception leaves an export,
// arguments from C strings, the thread logged, refusals told to the host's
// log, gallery work run on the interface thread. Shared by the gallery's
// exports and the external screen's.

#include "kxscreenhandle.h"
#include "kxsync.h"
#include "moduleapp.h"
#include "modulelog.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QByteArray>
#include <QString>
#include <QThread>
#include <exception>
#include <utility>

namespace kxexport {

inline QKXScreenConfig* config()
{
    return QKXScreenConfig::getInstance();
}

inline QString fromLocal(const char* s)
{
    return s ? QString::fromLocal8Bit(s) : QString();
}

inline QString fromUtf8(const char* s)
{
    return s ? QString::fromUtf8(s) : QString();
}

// Longest user name kept: names are drawn on a tile and laid out on every
// relayout, so a host's absurd name must not cost each relayout its length.
constexpr int kMaxNameChars = 256;

// A user name (UTF-8) as it is kept: its first kMaxNameChars characters. No
// more of the host's string than that is read or converted.
QString nameFromUtf8(const char* s);

inline void logThread(const char* name)
{
    KXLOG << name << "thread:" << QThread::currentThreadId();
}

inline void logException(const char* where, const std::exception* e)
{
    KXWARN << "[ScreenMod]exception in" << where << (e ? e->what() : "unknown");
}

// A call the module refuses because of what the host passed or did: one
// warning line with the export's name and the reason, so that a host that
// turns the module's debug lines off still hears it.
void refuse(const char* name, const char* reason, const void* what = nullptr);

// The host named a gallery that is not there (null, unknown, released, or
// its window destroyed): answered with 0 and a warning.
void warnBadHandle(const char* name, void* hScreen);

// Takes the module handle for an export; false (with the warning) when it is
// not a usable gallery.
inline bool checkScreen(const ScreenUse& use, const char* name, void* hScreen)
{
    if (!use)
        warnBadHandle(name, hScreen);
    return bool(use);
}

// The exports that return gallery data or take the caller's widgets run on
// the interface thread only: from another thread they are refused, with a
// warning, instead of running gallery code there.
bool interfaceOnly(const char* name);

// Runs an export's body. No exception leaves an export: it is logged and
// answered like any other failure.
template <typename R, typename F>
R guarded(const char* name, R fail, F&& body)
{
    try {
        kxmodule::ensureAttached();
        return body();
    } catch (const std::exception& e) {
        logException(name, &e);
    } catch (...) {
        logException(name, nullptr);
    }
    return fail;
}

// The string returned by a user-ID query, kept in the handle until the next
// call of the same query.
inline const char* userIDString(const char* name, void* hScreen, QByteArray KXScreenHandle::*field,
                                QString (QDlgScreen::*read)() const)
{
    logThread(name);
    ScreenUse use(hScreen);
    if (!checkScreen(use, name, hScreen) || !interfaceOnly(name))
        return nullptr;
    (use.handle()->*field) = (use.screen()->*read)().toLocal8Bit();
    return (use.handle()->*field).constData();
}

} // namespace kxexport

#endif
