#include "kxscreenhandle.h"

#include "cwin32uicallback.h"
#include "kxsync.h"
#include "modulelog.h"
#include "playhandles.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"
#include "testhooks.h"

#include <QList>
#include <atomic>

namespace {

std::mutex g_handlesLock;
// Every handle issued and not yet freed, in the order of issue: live ones,
// and released ones or ones whose dialog is gone that still wait for their
// last export (or for the gallery code below a host notification).
QList<KXScreenHandle*>& handles()
{
    static QList<KXScreenHandle*> list;
    return list;
}
std::atomic<quint64> g_nextSerial{1};

// Under g_handlesLock.
bool usable(const KXScreenHandle* h)
{
    return !h->retired && !h->galleryLost && h->pScreen;
}

// The registry of freed records only protects pointers held by galleries
// (their tiles, overlays and queued calls). With no gallery left it would
// only grow, meeting after meeting.
void pruneFreedRecords()
{
    bool none = false;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        none = handles().isEmpty();
    }
    if (none)
        QKXScreenConfig::getInstance()->clearDelPersons();
}

// Interface thread, nothing inside the handle: the gallery, the play handles
// it issued and its callback object go. The handle itself stays until the
// host releases it.
void freeGallery(KXScreenHandle* h)
{
    QDlgScreen* screen = nullptr;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        screen = h->pScreen;
        h->pScreen = nullptr;
    }
    if (QDlgMain* dlg = h->pMainDlg.data()) {
        dlg->disown();
        delete dlg; // the gallery is its child
    } else {
        delete screen; // taken out of a dialog that is gone
    }
    kxplay::removeAll(h);
    delete h->pCallback;
    h->pCallback = nullptr;
}

// Interface thread: frees what nothing uses any more.
void settle(KXScreenHandle* h)
{
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        if (h->users > 0 || !(h->retired || h->galleryLost))
            return;
    }
    // Gallery code that notified the host is still on the stack: the end of
    // the outermost notification settles.
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (cfg->inHostNotification()) {
        cfg->settleAfterNotification();
        return;
    }
    if (h->pScreen)
        freeGallery(h);
    if (!h->retired)
        return;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        handles().removeAll(h);
    }
    delete h;
    pruneFreedRecords();
    bool last = false;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        last = handles().isEmpty();
    }
    // With no gallery left nobody reads what the last Init asked the settings
    // reader for: it is waited for now (one small file) rather than at the
    // unload, which a host that keeps the library loaded may never reach.
    if (last)
        cfg->waitForSettings();
}

// From any thread: settles on the interface thread's next turn, once per
// handle however often it is asked. The work names no handle: by the time it
// runs, the handle may have been settled by the end of a notification.
void settleLater(KXScreenHandle* h)
{
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        if (h->settleQueued)
            return;
        h->settleQueued = true;
    }
    kxsync::post(QKXScreenConfig::getInstance(), []() { settleScreenHandles(); });
}

// The dialog of h is being destroyed by someone else than the module (the
// host deleted its parent widget); it has just given the gallery up.
void galleryLost(KXScreenHandle* h, QDlgScreen* screen)
{
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        h->galleryLost = true;
    }
    KXWARN << "[ScreenMod]the gallery's parent widget was destroyed before KXScreen_Release:"
           << "its handle answers 0 from now on; release it to free what is left";
    if (h->pCallback)
        QKXScreenConfig::getInstance()->removeCallback(h->pCallback);
    screen->retire();
    // Not freed inside the host's widget destruction: on the next turn.
    settleLater(h);
}

} // namespace

bool KXScreenHandle::hadDelPlay(void* hPlay)
{
    std::lock_guard<std::mutex> lock(mapLock);
    return mapHadDelPlay.contains(hPlay);
}

void KXScreenHandle::addDelPlay(void* hPlay)
{
    std::lock_guard<std::mutex> lock(mapLock);
    mapHadDelPlay.insert(hPlay, hPlay);
}

bool KXScreenHandle::eraseDelPlay(void* hPlay)
{
    std::lock_guard<std::mutex> lock(mapLock);
    return mapHadDelPlay.remove(hPlay) > 0;
}

ScreenUse::ScreenUse(void* hScreen)
{
    if (!hScreen)
        return;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        auto* h = static_cast<KXScreenHandle*>(hScreen);
        if (!handles().contains(h) || !usable(h))
            return;
        ++h->users;
        m_h = h;
    }
    kxhooks::reached(kxhooks::Point::ScreenAcquired);
}

ScreenUse::~ScreenUse()
{
    if (!m_h)
        return;
    bool last = false;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        last = --m_h->users == 0 && (m_h->retired || m_h->galleryLost);
    }
    if (last)
        settleLater(m_h);
}

void forgetReleasedPlay(void* hPlay)
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    for (KXScreenHandle* h : qAsConst(handles()))
        h->eraseDelPlay(hPlay);
}

KXScreenHandle* createScreenHandle(KXScreenMsgCallback callback, QDlgMain* dlg)
{
    auto* h = new KXScreenHandle;
    h->serial = g_nextSerial.fetch_add(1);
    h->callback = callback;
    h->pCallback = new CWin32UICallback;
    h->pCallback->m_pScreen = h;
    h->pMainDlg = dlg;
    h->pScreen = dlg->GetDlgScreenPtr();
    dlg->setOnLost([h](QDlgScreen* screen) { galleryLost(h, screen); });
    std::lock_guard<std::mutex> lock(g_handlesLock);
    handles().append(h);
    return h;
}

bool isLiveScreenHandle(void* hScreen)
{
    if (!hScreen)
        return false;
    std::lock_guard<std::mutex> lock(g_handlesLock);
    auto* h = static_cast<KXScreenHandle*>(hScreen);
    return handles().contains(h) && !h->retired;
}

bool isSameScreenHandle(void* hScreen, quint64 serial)
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    auto* h = static_cast<KXScreenHandle*>(hScreen);
    return handles().contains(h) && !h->retired && h->serial == serial;
}

int liveScreenHandleCount()
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    return handles().size();
}

bool isValidScreenHandle(void* hScreen)
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    auto* h = static_cast<KXScreenHandle*>(hScreen);
    return hScreen && handles().contains(h) && usable(h);
}

QDlgScreen* screenOf(void* hScreen)
{
    return isValidScreenHandle(hScreen) ? static_cast<KXScreenHandle*>(hScreen)->pScreen : nullptr;
}

QList<QDlgScreen*> liveScreens()
{
    QList<QDlgScreen*> out;
    std::lock_guard<std::mutex> lock(g_handlesLock);
    for (KXScreenHandle* h : qAsConst(handles())) {
        if (usable(h))
            out.append(h->pScreen);
    }
    return out;
}

void releaseScreenHandle(KXScreenHandle* h)
{
    int users = 0;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        h->retired = true;
        users = h->users;
    }
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    // From here on the host hears nothing more from this gallery.
    if (h->pCallback)
        cfg->removeCallback(h->pCallback);
    if (users == 0 && !cfg->inHostNotification()) {
        settle(h);
        return;
    }
    if (users == 0)
        cfg->settleAfterNotification();
    // An export on another thread is still inside the gallery, or gallery code
    // that notified the host is still running below this call: the gallery is
    // dead for the host now and goes once they are done.
    KXLOG << "[ScreenMod]KXScreen_Release deferred, exports inside:" << users;
    if (h->pScreen)
        h->pScreen->retire();
}

void settleScreenHandles()
{
    QList<KXScreenHandle*> all;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        all = handles();
        for (KXScreenHandle* h : qAsConst(all))
            h->settleQueued = false;
    }
    for (KXScreenHandle* h : qAsConst(all))
        settle(h);
}
