#ifndef KX_KXSCREENHANDLE_H
#define KX_KXSCREENHANDLE_H

#include "kxscreenmod2.h"

#include <QByteArray>
#include <QMap>
#include <QPointer>
#include <mutex>

class QDlgMain;
class QDlgScreen;
class CWin32UICallback;

// One gallery as the host holds it. The handle owns its gallery: everything an
// export does goes to this gallery and no other.
struct KXScreenHandle
{
    // Identity beyond the address: work queued with the handle's address
    // checks it, so that a handle freed and another allocated at the same
    // address is not mistaken for it.
    quint64 serial = 0;
    KXScreenMsgCallback callback = nullptr;
    // The container dialog, a child of the host's widget: the host may delete
    // that widget (and the dialog with it) before it releases the gallery.
    QPointer<QDlgMain> pMainDlg;
    // The gallery. The dialog's child while the dialog lives; when the dialog
    // is destroyed by someone else the gallery is taken out of it and kept
    // here until nothing uses it any more.
    QDlgScreen* pScreen = nullptr;
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
    // now, whether KXScreen_Release has let it go, whether its dialog is gone.
    int users = 0;
    bool retired = false;
    bool galleryLost = false;
    bool settleQueued = false;

    bool hadDelPlay(void* hPlay);
    void addDelPlay(void* hPlay);
    // Erases a reused address; true when it was there.
    bool eraseDelPlay(void* hPlay);
};

// An export's hold on a module handle. While it is held, the handle and its
// gallery stay alive, even when KXScreen_Release runs on the interface thread
// meanwhile or the host deletes the gallery's parent widget: the gallery then
// goes once the last hold is let go. A handle that is not live (unknown,
// foreign, released, its dialog gone) is never read.
class ScreenUse
{
public:
    explicit ScreenUse(void* hScreen);
    ~ScreenUse();
    ScreenUse(const ScreenUse&) = delete;
    ScreenUse& operator=(const ScreenUse&) = delete;

    explicit operator bool() const { return m_h != nullptr; }
    KXScreenHandle* handle() const { return m_h; }
    QDlgScreen* screen() const { return m_h ? m_h->pScreen : nullptr; }

private:
    KXScreenHandle* m_h = nullptr;
};

// A new play handle took this address: no gallery's list of released play
// handles names it any more (another gallery may have released a handle that
// lived there; its entry would make that gallery take the new one for its old).
void forgetReleasedPlay(void* hPlay);
// Issues a new handle for a gallery in dlg (interface thread).
KXScreenHandle* createScreenHandle(KXScreenMsgCallback callback, QDlgMain* dlg);
// A handle the module issued whose gallery is usable: not released, its
// dialog not gone. Only for code that holds no ScreenUse and runs on the
// interface thread (where no release can run meanwhile).
bool isValidScreenHandle(void* hScreen);
// The gallery of a valid handle, or null (same rule).
QDlgScreen* screenOf(void* hScreen);
// True for a handle the module issued and the host has not released, whether
// or not its dialog is still there.
bool isLiveScreenHandle(void* hScreen);
// The handle at this address still is the one with this serial (any thread).
bool isSameScreenHandle(void* hScreen, quint64 serial);
// Handles issued and not yet freed (released ones that wait for their last
// export included).
int liveScreenHandleCount();
// The galleries in use, in the order their handles were issued (interface
// thread).
QList<QDlgScreen*> liveScreens();

// KXScreen_Release on the interface thread: the handle stops being live at
// once and the host hears nothing more from its gallery; the gallery goes now,
// or, when an export is still inside the handle or the host is being notified
// (gallery code still on the stack), as soon as that is over.
void releaseScreenHandle(KXScreenHandle* h);
// Frees, on the interface thread, what released handles and galleries whose
// dialog is gone still hold, where nothing uses it any more. Posted when the
// last export leaves a released handle and after the outermost host
// notification that held a release up has returned.
void settleScreenHandles();

#endif
