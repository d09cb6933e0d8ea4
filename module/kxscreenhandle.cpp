#include "kxscreenhandle.h"

#include "qdlgmain.h"

#include <QSet>

namespace {
QMutex g_handlesLock;
QSet<void*>& liveHandles()
{
    static QSet<void*> set;
    return set;
}
} // namespace

bool KXScreenHandle::hadDelPlay(void* hPlay)
{
    QMutexLocker lock(&mapLock);
    return mapHadDelPlay.contains(hPlay);
}

void KXScreenHandle::addDelPlay(void* hPlay)
{
    QMutexLocker lock(&mapLock);
    mapHadDelPlay.insert(hPlay, hPlay);
}

bool KXScreenHandle::eraseDelPlay(void* hPlay)
{
    QMutexLocker lock(&mapLock);
    return mapHadDelPlay.remove(hPlay) > 0;
}

void registerScreenHandle(KXScreenHandle* h)
{
    QMutexLocker lock(&g_handlesLock);
    liveHandles().insert(h);
}

void unregisterScreenHandle(KXScreenHandle* h)
{
    QMutexLocker lock(&g_handlesLock);
    liveHandles().remove(h);
}

bool isLiveScreenHandle(void* hScreen)
{
    if (!hScreen)
        return false;
    QMutexLocker lock(&g_handlesLock);
    return liveHandles().contains(hScreen);
}

int liveScreenHandleCount()
{
    QMutexLocker lock(&g_handlesLock);
    return liveHandles().size();
}

bool isValidScreenHandle(void* hScreen)
{
    // A foreign or released pointer is never dereferenced: only handles in the
    // live set are looked into.
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
