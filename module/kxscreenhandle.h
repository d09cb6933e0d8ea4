#ifndef KX_KXSCREENHANDLE_H
#define KX_KXSCREENHANDLE_H

#include "kxscreenmod2.h"

#include <QByteArray>
#include <QMap>
#include <mutex>

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
    std::mutex mapLock; // mapHadDelPlay is touched from host threads
    // Storage behind the strings returned by the Get*UserID exports.
    QByteArray allLookID;
    QByteArray lockLookID;
    QByteArray shareID;
    QByteArray extID;     // KXScreenExt_GetUserID

    // Lifetime, under the registry's lock: exports inside the handle right
    // now, and whether KXScreen_Release has let it go.
    int users = 0;
    bool retired = false;

    bool hadDelPlay(void* hPlay);
    void addDelPlay(void* hPlay);
    // Erases a reused address; true when it was there.
    bool eraseDelPlay(void* hPlay);
};

// An export's hold on a module handle. While it is held, the handle, its
// dialog and its controller stay alive, even when KXScreen_Release runs on
// the interface thread meanwhile: the release then leaves the freeing to the
// last hold, which hands it to the interface thread. A handle that is not
// live (unknown, foreign, released) is never read.
class ScreenUse
{
public:
    explicit ScreenUse(void* hScreen);
    ~ScreenUse();
    ScreenUse(const ScreenUse&) = delete;
    ScreenUse& operator=(const ScreenUse&) = delete;

    explicit operator bool() const { return m_h != nullptr; }
    KXScreenHandle* handle() const { return m_h; }
    QDlgScreen* screen() const;

private:
    KXScreenHandle* m_h = nullptr;
};

// A handle the module issued and has not released, with its dialog and
// controller in place. Only for code that holds no ScreenUse and runs on the
// interface thread (where no release can run meanwhile).
bool isValidScreenHandle(void* hScreen);
// The controller of a valid handle, or null (same rule).
QDlgScreen* screenOf(void* hScreen);
void registerScreenHandle(KXScreenHandle* h);
// True for a handle the module issued and has not released.
bool isLiveScreenHandle(void* hScreen);
// Handles issued and not yet freed (released ones that wait for their last
// export included).
int liveScreenHandleCount();

// KXScreen_Release on the interface thread: the handle stops being live at
// once and the host hears nothing more from its gallery; the gallery goes now,
// or, when an export is still inside the handle or the host is being notified
// (gallery code still on the stack), as soon as that is over.
void releaseScreenHandle(KXScreenHandle* h);

#endif
