#include "kxscreenhandle.h"

#include "cwin32uicallback.h"
#include "kxsync.h"
#include "modulelog.h"
#include "playhandles.h"
#include "qdlgmain.h"
#include "qkxscreenconfig.h"
#include "testhooks.h"

#include <QPointer>
#include <QSet>

namespace {

std::mutex g_handlesLock;
// Handles the host may use.
QSet<void*>& liveHandles()
{
    static QSet<void*> set;
    return set;
}
// Released handles whose gallery waits for its last export (or for the gallery
// code below a host notification) before it is freed.
int g_retiredCount = 0;

// The registry of freed records only protects pointers held by galleries
// (their tiles, overlays and queued calls). With no gallery left it would
// only grow, meeting after meeting.
void pruneFreedRecords()
{
    bool none = false;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        none = liveHandles().isEmpty() && g_retiredCount == 0;
    }
    if (none)
        QKXScreenConfig::getInstance()->clearDelPersons();
}

// Interface thread, nobody inside the handle: the gallery, its remaining play
// handles and the handle itself go.
void freeRetired(KXScreenHandle* h)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    {
        // No frame is being copied while the tiles and records go away.
        std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());
        delete h->pMainDlg;
        h->pMainDlg = nullptr;
    }
    // Play handles the host never deleted die with their gallery.
    kxplay::removeAll(h);
    delete h->pCallback;
    h->pCallback = nullptr;
    delete h;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        --g_retiredCount;
    }
    pruneFreedRecords();
}

// Frees a retired handle once nothing is inside it: at once when that is safe,
// else on the interface thread's next turn.
void finishLater(KXScreenHandle* h)
{
    kxsync::post(QKXScreenConfig::getInstance(), [h]() {
        {
            std::lock_guard<std::mutex> lock(g_handlesLock);
            if (h->users > 0)
                return; // the last export to leave hands it over again
        }
        if (QKXScreenConfig::getInstance()->inHostNotification()) {
            finishLater(h);
            return;
        }
        freeRetired(h);
    });
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
        if (!liveHandles().contains(hScreen))
            return;
        auto* h = static_cast<KXScreenHandle*>(hScreen);
        if (!h->pMainDlg || !h->pMainDlg->GetDlgScreenPtr())
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
        last = --m_h->users == 0 && m_h->retired;
    }
    if (last)
        finishLater(m_h);
}

QDlgScreen* ScreenUse::screen() const
{
    return m_h ? m_h->pMainDlg->GetDlgScreenPtr() : nullptr;
}

void registerScreenHandle(KXScreenHandle* h)
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    liveHandles().insert(h);
}

bool isLiveScreenHandle(void* hScreen)
{
    if (!hScreen)
        return false;
    std::lock_guard<std::mutex> lock(g_handlesLock);
    return liveHandles().contains(hScreen);
}

int liveScreenHandleCount()
{
    std::lock_guard<std::mutex> lock(g_handlesLock);
    return liveHandles().size() + g_retiredCount;
}

bool isValidScreenHandle(void* hScreen)
{
    if (!isLiveScreenHandle(hScreen))
        return false;
    auto* h = static_cast<KXScreenHandle*>(hScreen);
    return h->pMainDlg && h->pMainDlg->GetDlgScreenPtr();
}

QDlgScreen* screenOf(void* hScreen)
{
    if (!isValidScreenHandle(hScreen))
        return nullptr;
    return static_cast<KXScreenHandle*>(hScreen)->pMainDlg->GetDlgScreenPtr();
}

void releaseScreenHandle(KXScreenHandle* h)
{
    int users = 0;
    {
        std::lock_guard<std::mutex> lock(g_handlesLock);
        liveHandles().remove(h);
        h->retired = true;
        ++g_retiredCount;
        users = h->users;
    }
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    // From here on the host hears nothing more from this gallery, and its play
    // handles are dead (one an export on another thread adds meanwhile goes
    // when the gallery does).
    if (h->pCallback)
        cfg->removeCallback(h->pCallback);
    kxplay::removeAll(h);
    if (users == 0 && !cfg->inHostNotification()) {
        freeRetired(h);
        return;
    }
    // An export on another thread is still inside the gallery, or gallery code
    // that notified the host is still running below this call: the gallery is
    // dead for the host now and goes once they are done.
    KXLOG << "[ScreenMod]KXScreen_Release deferred, exports inside:" << users;
    if (h->pMainDlg)
        h->pMainDlg->hide();
    if (users == 0)
        finishLater(h);
}
