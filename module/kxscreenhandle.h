#ifndef KX_KXSCREENHANDLE_H
#define KX_KXSCREENHANDLE_H

#include "kxscreenmod2.h"

#include <QByteArray>
#include <QMap>
#include <QMutex>

class QDlgMain;
class QDlgScreen;
class CWin32UICallback;

// One gallery as the host holds it.
struct KXScreenHandle
{
    KXScreenMsgCallback callback = nullptr;
    QDlgMain* pMainDlg = nullptr;
    CWin32UICallback* pCallback = nullptr;
    // Play handles released by KXScreen_DelPerson (address -> address).
    QMap<void*, void*> mapHadDelPlay;
    QMutex mapLock; // mapHadDelPlay is touched from host threads
    // Storage behind the strings returned by the Get*UserID exports.
    QByteArray allLookID;
    QByteArray lockLookID;
    QByteArray shareID;

    bool hadDelPlay(void* hPlay);
    void addDelPlay(void* hPlay);
    // Erases a reused address; true when it was there.
    bool eraseDelPlay(void* hPlay);
};

// A handle the module issued and has not released, with its dialog and
// controller in place.
bool isValidScreenHandle(void* hScreen);
// The controller of a valid handle, or null.
QDlgScreen* screenOf(void* hScreen);
void registerScreenHandle(KXScreenHandle* h);
void unregisterScreenHandle(KXScreenHandle* h);
// True for a handle the module issued and has not released (dialog or not).
bool isLiveScreenHandle(void* hScreen);
// Handles issued and not released.
int liveScreenHandleCount();

#endif
