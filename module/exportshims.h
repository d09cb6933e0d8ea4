#ifndef KX_EXPORTSHIMS_H
#define KX_EXPORTSHIMS_H

// What every export shim does the same way: no exception leaves an export,
// arguments from C strings, the thread logged, gallery work run on the
// interface thread. Shared by the gallery's exports and the external
// screen's.

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

inline void logThread(const char* name)
{
    KXLOG << name << "thread:" << QThread::currentThreadId();
}

inline void logException(const char* where, const std::exception* e)
{
    KXWARN << "[ScreenMod]exception in" << where << (e ? e->what() : "unknown");
}

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

// Gallery work: at once on the interface thread, queued from any other (and
// dropped if the gallery is gone by then).
template <typename F>
void toGallery(const ScreenUse& use, F&& f)
{
    kxsync::runOnUi(use.screen(), std::forward<F>(f));
}

// The string returned by a user-ID query, kept in the handle until the next
// call of the same query.
inline const char* userIDString(const char* name, void* hScreen, QByteArray KXScreenHandle::*field,
                                QString (QDlgScreen::*read)() const)
{
    logThread(name);
    ScreenUse use(hScreen);
    if (!use)
        return nullptr;
    if (!kxsync::onInterfaceThread()) {
        KXLOG << "[ScreenMod]user ID queries belong on the interface thread";
        return nullptr;
    }
    (use.handle()->*field) = (use.screen()->*read)().toLocal8Bit();
    return (use.handle()->*field).constData();
}

} // namespace kxexport

#endif
