// The C exports: check the handles, log, forward. No gallery logic lives here.
#include "kxscreenmod2.h"

#include "cwin32uicallback.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "moduleapp.h"
#include "modulelog.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"
#include "videoframe.h"

#include <QApplication>
#include <QHash>
#include <QImage>
#include <QPointer>
#include <QThread>
#include <cmath>
#include <exception>

namespace {

// Galleries released from inside a host function whose dialog is still to be deleted.
int g_pendingGalleryDeletes = 0;

// The registry of freed records only protects pointers held by galleries
// (their tiles, overlays and queued calls). With no gallery left it would
// only grow, meeting after meeting.
void pruneFreedRecords()
{
    if (g_pendingGalleryDeletes == 0 && liveScreenHandleCount() == 0)
        QKXScreenConfig::getInstance()->clearDelPersons();
}

QMutex g_playOwnerLock;
// Live play handles and the gallery that issued each.
QHash<void*, KXScreenHandle*>& playOwners()
{
    static QHash<void*, KXScreenHandle*> owners;
    return owners;
}

QString fromLocal(const char* s)
{
    return s ? QString::fromLocal8Bit(s) : QString();
}

QString fromUtf8(const char* s)
{
    return s ? QString::fromUtf8(s) : QString();
}

KXScreenHandle* validHandle(void* hScreen)
{
    return isValidScreenHandle(hScreen) ? static_cast<KXScreenHandle*>(hScreen) : nullptr;
}

QDlgScreen* screenPtr(KXScreenHandle* h)
{
    return h->pMainDlg->GetDlgScreenPtr();
}

bool onInterfaceThread()
{
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

// Runs gallery code at once on the interface thread; from any other thread it
// is queued there (and dropped if the gallery is gone by then).
template <typename F>
void runOnUi(QObject* context, F&& f)
{
    if (onInterfaceThread())
        f();
    else
        QMetaObject::invokeMethod(context, std::forward<F>(f), Qt::QueuedConnection);
}

// Null and readability checks of a play handle; yields its record.
bool checkPlay(void* hPlay, tagPersonInfo** record)
{
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        return false;
    }
    void* rec = nullptr;
    if (!kxplatform::readPlayData(hPlay, &rec)) {
        KXLOG << "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
        return false;
    }
    *record = static_cast<tagPersonInfo*>(rec);
    return true;
}

void logException(const char* where, const std::exception* e)
{
    KXWARN << "[ScreenMod]exception in" << where << (e ? e->what() : "unknown");
}

} // namespace

// No exception leaves an export: it is logged and answered like any failure.
#define KX_TRY try {
#define KX_CATCH(name, ret)                                                                                  \
    }                                                                                                         \
    catch (const std::exception& e) { logException(name, &e); return ret; }                                   \
    catch (...) { logException(name, nullptr); return ret; }

#define KX_THREAD_LOG(name) KXLOG << name " thread:" << QThread::currentThreadId()

extern "C" {

// ---------------------------------------------------------------------------
// Lifecycle

void* KXScreen_Init(QWidget* parent, const char* baseDir, KXScreenMsgCallback callback)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "thread:" << QThread::currentThreadId() << fromUtf8(baseDir);
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()) || !onInterfaceThread()) {
        KXWARN << "[ScreenMod]KXScreen_Init must be called on the interface thread of a QApplication";
        return nullptr;
    }
    auto* h = new KXScreenHandle;
    h->callback = callback;
    h->pCallback = new CWin32UICallback;
    h->pCallback->m_pScreen = h;
    h->pMainDlg = new QDlgMain(parent);
    h->pMainDlg->show();
    registerScreenHandle(h);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->addCallback(h->pCallback);
    cfg->setBaseDir(fromUtf8(baseDir));
    cfg->getLoadingParam();
    QThread* thread = QThread::currentThread();
    const int prePriority = thread->priority();
    thread->setPriority(QThread::TimeCriticalPriority);
    KXLOG << "SetThreadPriority:" << "prePriLevel:" << prePriority << ",curPriLevel:" << thread->priority();
    return h;
    KX_CATCH("KXScreen_Init", nullptr)
}

void KXScreen_Release(void* hScreen)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "current thread:" << QThread::currentThreadId();
    if (!hScreen)
        return;
    if (!isLiveScreenHandle(hScreen)) {
        KXLOG << "[ScreenMod]KXScreen_Release unknown handle:" << hScreen;
        return;
    }
    if (!onInterfaceThread()) {
        // The gallery's widgets (and their GL contexts) can only go on the
        // interface thread: the release runs there when it next pumps.
        KXWARN << "[ScreenMod]KXScreen_Release called off the interface thread; released when it pumps";
        QMetaObject::invokeMethod(QCoreApplication::instance(), [hScreen]() { KXScreen_Release(hScreen); },
                                  Qt::QueuedConnection);
        return;
    }
    auto* h = static_cast<KXScreenHandle*>(hScreen);
    unregisterScreenHandle(h);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    {
        // No frame is being copied while the tiles and records go away.
        QMutexLocker lock(&cfg->frameLock());
        if (h->pMainDlg) {
            cfg->removeCallback(h->pCallback);
            if (cfg->inHostNotification()) {
                // Called from inside the host function: the gallery code that
                // notified it is still running below. The gallery is dead for
                // the host now and goes once that code has returned.
                h->pMainDlg->hide();
                QPointer<QDlgMain> dlg(h->pMainDlg);
                ++g_pendingGalleryDeletes;
                QMetaObject::invokeMethod(QCoreApplication::instance(), [dlg]() {
                    delete dlg.data();
                    --g_pendingGalleryDeletes;
                    pruneFreedRecords();
                }, Qt::QueuedConnection);
            } else {
                delete h->pMainDlg;
            }
            h->pMainDlg = nullptr;
        }
        // Play handles the host never deleted die with their gallery.
        QMutexLocker ownerLock(&g_playOwnerLock);
        for (auto it = playOwners().begin(); it != playOwners().end();) {
            if (it.value() == h) {
                kxplatform::unregisterLive(it.key());
                delete static_cast<ST_KXPlayHdl*>(it.key());
                it = playOwners().erase(it);
            } else {
                ++it;
            }
        }
    }
    delete h->pCallback;
    h->pCallback = nullptr;
    delete h;
    pruneFreedRecords();
    KX_CATCH("KXScreen_Release", )
}

int KXScreen_SetParent(void* hScreen, QWidget* parent)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "current thread:" << QThread::currentThreadId();
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return 0;
    QDlgMain* dlg = h->pMainDlg;
    // Widgets are moved on the interface thread only; from another thread the
    // move is queued there (and dropped if the new parent is gone by then).
    QPointer<QWidget> newParent(parent);
    const bool toParent = parent != nullptr;
    runOnUi(dlg, [dlg, newParent, toParent]() {
        if (toParent && !newParent)
            return;
        dlg->setParent(newParent.data());
        dlg->show();
    });
    return 1;
    KX_CATCH("KXScreen_SetParent", 0)
}

// ---------------------------------------------------------------------------
// Participants

void* KXScreen_AddPerson(void* hScreen, char* userID, char* extra, char* userName, int64_t joinTime, int iExtra,
                         void* pUserData, int iStatus)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "thead:" << QThread::currentThreadId();
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return nullptr;
    auto* hdl = new ST_KXPlayHdl;
    hdl->userID = fromLocal(userID);
    hdl->userName = fromUtf8(userName);
    if (h->eraseDelPlay(hdl))
        KXLOG << "iter != pScreen->mapHadDelPlay.end()";
    hdl->pPlayData = static_cast<tagPersonInfo*>(screenPtr(h)->AddMeetingPerson(
        hdl->userID, fromLocal(extra), hdl->userName, joinTime, iExtra, pUserData, iStatus));
    {
        QMutexLocker lock(&g_playOwnerLock);
        playOwners().insert(hdl, h);
    }
    kxplatform::registerLive(hdl, sizeof(ST_KXPlayHdl));
    KXLOG << "before emit update personInfo, userID:" << hdl->userID << ",userName:" << hdl->userName;
    emit QKXScreenConfig::getInstance()->notifyUpdatePersonInfo(hdl, hdl->pPlayData);
    KXLOG << "after emit update personInfo, userID:" << hdl->userID << ",userName:" << hdl->userName;
    return hdl;
    KX_CATCH("KXScreen_AddPerson", nullptr)
}

int KXScreen_DelPerson(void* hScreen, void* hPlay)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "thread,hPlay:" << hPlay;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QMutexLocker lock(&cfg->frameLock());
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return 0;
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        return 0;
    }
    if (!kxplatform::isReadable(hPlay, sizeof(ST_KXPlayHdl))) {
        KXLOG << "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
        return 0;
    }
    auto* pPlay = static_cast<ST_KXPlayHdl*>(hPlay);
    tagPersonInfo* record = pPlay->pPlayData;
    const bool bShare = pPlay->userID.startsWith(QLatin1String("sharescreen_"));
    // The handle dies before anyone hears of the removal: on the interface
    // thread the removal runs at once and reaches the host function, which may
    // call in again with this same handle. It is listed as released before
    // its memory is freed, so that an AddPerson on another thread that is
    // handed the same address erases the entry instead of finding it later.
    kxplatform::unregisterLive(pPlay);
    {
        QMutexLocker ownerLock(&g_playOwnerLock);
        playOwners().remove(pPlay);
    }
    h->addDelPlay(hPlay);
    delete pPlay;
    if (bShare)
        emit cfg->modSignalSetSharePause(false);
    emit cfg->modSignalDelPerson(record);
    KXLOG << "thread,pPerson:" << static_cast<void*>(record);
    return 1;
    KX_CATCH("KXScreen_DelPerson", 0)
}

int KXScreen_PlayFrame(void* hScreen, void* hPlay, void* frame)
{
    KX_TRY
    kxmodule::ensureAttached();
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QMutexLocker lock(&cfg->frameLock());
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return 0;
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        return 0;
    }
    if (!frame) {
        KXLOG << "pWin32Frame == nullptr";
        return 0;
    }
    if (h->hadDelPlay(hPlay)) {
        KXLOG << "iter != pScreen->mapHadDelPlay.end()";
        return 0;
    }
    if (!kxplatform::isReadable(hPlay, sizeof(ST_KXPlayHdl))) {
        KXLOG << "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
        return 0;
    }
    tagPersonInfo* record = static_cast<ST_KXPlayHdl*>(hPlay)->pPlayData;
    if (!kxplatform::isReadable(record, sizeof(ST_PersonInfo))) {
        KXLOG << "IsBadReadPtr(pPlay->pPlayData, sizeof(ST_PersonInfo))";
        return 0;
    }
    auto* f = static_cast<KxCloudRTCVideoFrameQT*>(frame);
    if (const char* reason = kxvideo::frameRejectReason(f->data, f->width, f->height)) {
        KXLOG << "[ScreenMod]PlayFrame refused:" << reason << ",userName:" << record->userName
              << ",size:" << f->width << "x" << f->height;
        return 0;
    }
    return screenPtr(h)->playFrame(record, f) ? 1 : 0;
    KX_CATCH("KXScreen_PlayFrame", 0)
}

int KXScreen_Preview(void* hScreen, void* hPlay, bool bPreview)
{
    KX_TRY
    kxmodule::ensureAttached();
    KX_THREAD_LOG("KXScreen_Preview");
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return 0;
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        return 0;
    }
    if (h->hadDelPlay(hPlay)) {
        KXLOG << "iter != pScreen->mapHadDelPlay.end()";
        return 0;
    }
    tagPersonInfo* record = nullptr;
    if (!checkPlay(hPlay, &record))
        return 0;
    QDlgScreen* screen = screenPtr(h);
    runOnUi(screen, [screen, record, bPreview]() { screen->onModPreview(record, bPreview); });
    return 1;
    KX_CATCH("KXScreen_Preview", 0)
}

// The per-participant exports routed through a configuration signal share
// their checks.
#define KX_PERSON_PROLOGUE(name)                                                                               \
    kxmodule::ensureAttached();                                                                               \
    KX_THREAD_LOG(name);                                                                                      \
    KXScreenHandle* h = validHandle(hScreen);                                                                 \
    if (!h)                                                                                                   \
        return 0;                                                                                             \
    tagPersonInfo* record = nullptr;                                                                          \
    if (!checkPlay(hPlay, &record))                                                                           \
        return 0;                                                                                             \
    QDlgScreen* screen = screenPtr(h);                                                                        \
    Q_UNUSED(screen);

int KXScreen_SetMute(void* hScreen, void* hPlay, int iMute)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetMute")
    emit QKXScreenConfig::getInstance()->modSignalAudioMute(record, iMute != 0);
    return 1;
    KX_CATCH("KXScreen_SetMute", 0)
}

int KXScreen_SetHasMic(void* hScreen, void* hPlay, bool bHasMic)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetHasMic")
    emit QKXScreenConfig::getInstance()->modSignalHasMic(record, bHasMic);
    return 1;
    KX_CATCH("KXScreen_SetHasMic", 0)
}

int KXScreen_SetPersonInfo(void* hScreen, void* hPlay, bool bSelf, int iRoleType, char* name)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetPersonInfo")
    emit QKXScreenConfig::getInstance()->modSignalPersonInfo(record, bSelf, iRoleType, fromUtf8(name));
    return 1;
    KX_CATCH("KXScreen_SetPersonInfo", 0)
}

int KXScreen_SetPersonHeadImg(void* hScreen, void* hPlay, const QImage* image)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetPersonHeadImg")
    if (!image) {
        KXLOG << "pImage == nullptr";
        return 0;
    }
    const QImage copy = image->copy();
    if (onInterfaceThread())
        return screen->updatePersonHeadImg(record, copy) ? 1 : 0;
    runOnUi(screen, [screen, record, copy]() { screen->updatePersonHeadImg(record, copy); });
    return 1;
    KX_CATCH("KXScreen_SetPersonHeadImg", 0)
}

int KXScreen_SetUnjoinedPersonInfo(void* hScreen, void* hPlay, char* name, int iStatus, const QImage& image)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetUnjoinedPersonInfo")
    const QString qname = fromLocal(name);
    const QImage copy = image.copy();
    if (onInterfaceThread())
        return screen->updateUnJoinedPersonInfo(record, qname, iStatus, copy) ? 1 : 0;
    runOnUi(screen, [screen, record, qname, iStatus, copy]() {
        screen->updateUnJoinedPersonInfo(record, qname, iStatus, copy);
    });
    return 1;
    KX_CATCH("KXScreen_SetUnjoinedPersonInfo", 0)
}

int KXScreen_SetVolume(void* hScreen, void* hPlay, int iVolume)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetVolume")
    emit QKXScreenConfig::getInstance()->modSignalVolume(record, iVolume);
    return 1;
    KX_CATCH("KXScreen_SetVolume", 0)
}

int KXScreen_AllLook(void* hScreen, void* hPlay, int bAllLook)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_AllLook")
    runOnUi(screen, [screen, record, bAllLook]() { screen->onModAllLook(record, bAllLook != 0); });
    return 1;
    KX_CATCH("KXScreen_AllLook", 0)
}

int KXScreen_LockLook(void* hScreen, void* hPlay, int bLockLook)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_LockLook")
    runOnUi(screen, [screen, record, bLockLook]() { screen->onModLookLock(record, bLockLook != 0); });
    return 1;
    KX_CATCH("KXScreen_LockLook", 0)
}

int KXScreen_MoreInHide(void* hScreen, void* hPlay)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_MoreInHide")
    emit QKXScreenConfig::getInstance()->modSignalMoreInHide(record);
    return 1;
    KX_CATCH("KXScreen_MoreInHide", 0)
}

#define KX_SCREEN_PROLOGUE(name, fail)                                                                         \
    kxmodule::ensureAttached();                                                                               \
    KX_THREAD_LOG(name);                                                                                      \
    KXScreenHandle* h = validHandle(hScreen);                                                                 \
    if (!h)                                                                                                   \
        return fail;                                                                                          \
    QDlgScreen* screen = screenPtr(h);                                                                        \
    Q_UNUSED(screen);

static const char* userIDString(void* hScreen, QByteArray KXScreenHandle::*field, QString (QDlgScreen::*read)() const)
{
    kxmodule::ensureAttached();
    KXScreenHandle* h = validHandle(hScreen);
    if (!h)
        return nullptr;
    if (!onInterfaceThread()) {
        KXLOG << "[ScreenMod]user ID queries belong on the interface thread";
        return nullptr;
    }
    (h->*field) = (screenPtr(h)->*read)().toLocal8Bit();
    return (h->*field).constData();
}

const char* KXScreen_GetAllLookUserID(void* hScreen)
{
    KX_TRY
    KX_THREAD_LOG("KXScreen_GetAllLookUserID");
    return userIDString(hScreen, &KXScreenHandle::allLookID, &QDlgScreen::allLookUserID);
    KX_CATCH("KXScreen_GetAllLookUserID", nullptr)
}

const char* KXScreen_GetLockLookUserID(void* hScreen)
{
    KX_TRY
    KX_THREAD_LOG("KXScreen_GetLockLookUserID");
    return userIDString(hScreen, &KXScreenHandle::lockLookID, &QDlgScreen::lockLookUserID);
    KX_CATCH("KXScreen_GetLockLookUserID", nullptr)
}

const char* KXScreen_GetShareUserID(void* hScreen)
{
    KX_TRY
    KX_THREAD_LOG("KXScreen_GetShareUserID");
    return userIDString(hScreen, &KXScreenHandle::shareID, &QDlgScreen::shareUserID);
    KX_CATCH("KXScreen_GetShareUserID", nullptr)
}

int KXScreen_FocusByUserID(void* hScreen, char* userID)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_FocusByUserID", 0)
    emit QKXScreenConfig::getInstance()->modSignalFocusByUserID(fromLocal(userID));
    return 1;
    KX_CATCH("KXScreen_FocusByUserID", 0)
}

int KXScreen_SetVoiceActivateByUserID(void* hScreen, char* userID)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_SetVoiceActivateByUserID", 0)
    emit QKXScreenConfig::getInstance()->modSignalVoiceActivate(fromLocal(userID));
    return 1;
    KX_CATCH("KXScreen_SetVoiceActivateByUserID", 0)
}

int KXScreen_CancelVoiceActivate(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_CancelVoiceActivate", 0)
    emit QKXScreenConfig::getInstance()->modSignalCancelVoiceActivate();
    return 1;
    KX_CATCH("KXScreen_CancelVoiceActivate", 0)
}

int KXScreen_SetCurSpeakPerson(void* hScreen, char* userIDs)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_SetCurSpeakPerson", 0)
    emit QKXScreenConfig::getInstance()->modSignalSetSpeakList(fromLocal(userIDs));
    return 1;
    KX_CATCH("KXScreen_SetCurSpeakPerson", 0)
}

int KXScreen_UpdateNetWeak(void* hScreen, const char* userID, bool bNetWeak, int iNetLevel)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_UpdateNetWeak", 0)
    emit QKXScreenConfig::getInstance()->modSignalUpdateNetWeak(fromLocal(userID), bNetWeak, iNetLevel);
    return 1;
    KX_CATCH("KXScreen_UpdateNetWeak", 0)
}

// ---------------------------------------------------------------------------
// Layout and gallery

int KXScreen_SetCurMode(void* hScreen, int iMode)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_SetCurMode", 0)
    emit QKXScreenConfig::getInstance()->modSignalSetScreenMode(iMode);
    return 1;
    KX_CATCH("KXScreen_SetCurMode", 0)
}

int KXScreen_GetCurMode(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_GetCurMode", 0)
    return QKXScreenConfig::getInstance()->curScreenMode();
    KX_CATCH("KXScreen_GetCurMode", 0)
}

int KXScreen_MoveWindow(void* hScreen, QRect rect, int flags)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_MoveWindow", 0)
    emit QKXScreenConfig::getInstance()->modSignalMove(rect, flags);
    return 1;
    KX_CATCH("KXScreen_MoveWindow", 0)
}

int KXScreen_JoinMeetingFinish(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_JoinMeetingFinish", 0)
    runOnUi(screen, [screen]() { screen->setJoinMeetingFinish(); });
    return 1;
    KX_CATCH("KXScreen_JoinMeetingFinish", 0)
}

int KXScreen_IsIconic(void* hScreen)
{
    KX_TRY
    kxmodule::ensureAttached();
    if (!hScreen)
        return 0;
    KXScreenHandle* h = validHandle(hScreen);
    if (!h || !onInterfaceThread())
        return 0;
    QDlgScreen* screen = screenPtr(h);
    return (screen->isMinimized() || screen->window()->isMinimized()) ? 1 : 0;
    KX_CATCH("KXScreen_IsIconic", 0)
}

// ---------------------------------------------------------------------------
// Sharing

int KXScreen_ChangePrimaryScreen(void* hScreen, bool bPrimary)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ChangePrimaryScreen", 0)
    QKXScreenConfig::getInstance()->m_bPrimaryScreen.store(bPrimary);
    emit QKXScreenConfig::getInstance()->modSignalPrimaryScreenChanged(bPrimary);
    return 1;
    KX_CATCH("KXScreen_ChangePrimaryScreen", 0)
}

int KXScreen_StartLocalShare(void* hScreen, int iShareType, bool bShare)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_StartLocalShare", 0)
    emit QKXScreenConfig::getInstance()->modSignalStartLocalShare(iShareType, bShare);
    return 1;
    KX_CATCH("KXScreen_StartLocalShare", 0)
}

int KXScreen_StopLocalShare(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_StopLocalShare", 0)
    emit QKXScreenConfig::getInstance()->modSignalStopLoaclShare();
    return 1;
    KX_CATCH("KXScreen_StopLocalShare", 0)
}

int KXScreen_SetShareWatermark(void* hScreen, QString text, bool bShow)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_SetShareWatermark", 0)
    emit QKXScreenConfig::getInstance()->modSignalSetShareWatermark(text, bShow);
    return 1;
    KX_CATCH("KXScreen_SetShareWatermark", 0)
}

int KXScreen_SetSharePaush(void* hScreen, bool bPause)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_SetSharePaush", 0)
    emit QKXScreenConfig::getInstance()->modSignalSetSharePause(bPause);
    return 1;
    KX_CATCH("KXScreen_SetSharePaush", 0)
}

int KXScreen_ShareWhiteBoard(void* hScreen, const char* userID, bool bShare, bool bDulMode)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ShareWhiteBoard", 0)
    emit QKXScreenConfig::getInstance()->modSignalShareWhiteBoard(fromLocal(userID), bShare, bDulMode);
    return 1;
    KX_CATCH("KXScreen_ShareWhiteBoard", 0)
}

int KXScreen_ReposShareWgtForAnnonate(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ReposShareWgtForAnnonate", 0)
    emit QKXScreenConfig::getInstance()->modSignalReposShareWgtPos();
    return 1;
    KX_CATCH("KXScreen_ReposShareWgtForAnnonate", 0)
}

QRect KXScreen_GetShareWgtPos(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_GetShareWgtPos", QRect())
    if (!onInterfaceThread())
        return QRect();
    return screen->GetShareWgtPos();
    KX_CATCH("KXScreen_GetShareWgtPos", QRect())
}

int KXScreen_IsUserShare(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_IsUserShare", 0)
    return screen->isLocalShare() ? 1 : 0;
    KX_CATCH("KXScreen_IsUserShare", 0)
}

// ---------------------------------------------------------------------------
// Picture-in-picture, subtitles, display

int KXScreen_ShowPicInPic(void* hScreen, bool bShow)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ShowPicInPic", 0)
    runOnUi(screen, [screen, bShow]() { screen->testShowPicInPicDialog(bShow); });
    return 1;
    KX_CATCH("KXScreen_ShowPicInPic", 0)
}

QWidget* KXScreen_GetPicInPicWidgetPtr(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_GetPicInPicWidgetPtr", nullptr)
    return screen->GetPicInPicWidgetPtr();
    KX_CATCH("KXScreen_GetPicInPicWidgetPtr", nullptr)
}

int KXScreen_AddSentence(void* hScreen, int iType, int iIndex, char* name, char* text)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_AddSentence", 0)
    QKXScreenConfig::getInstance()->addSentence(iType, iIndex, fromUtf8(name), fromUtf8(text));
    return 1;
    KX_CATCH("KXScreen_AddSentence", 0)
}

int KXScreen_ClearSubtitles(void* hScreen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ClearSubtitles", 0)
    QKXScreenConfig::getInstance()->clearSubtitles();
    return 1;
    KX_CATCH("KXScreen_ClearSubtitles", 0)
}

int KXScreen_OpenSubtitle(void* hScreen, bool bOpen)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_OpenSubtitle", 0)
    emit QKXScreenConfig::getInstance()->modSignalOpenSubtitle(bOpen);
    return 1;
    KX_CATCH("KXScreen_OpenSubtitle", 0)
}

int KXScreen_SetDPIs(void* hScreen, double dpi1, double dpi2)
{
    KX_TRY
    kxmodule::ensureAttached();
    KXLOG << "[ScreenMod]KXScreen_SetDPIs dpi1=:" << dpi1 << ";dpi2=" << dpi2;
    if (!validHandle(hScreen))
        return 0;
    // The factors scale every tile's viewport into integer pixels: only a
    // finite, positive factor that a screen can have is taken.
    const auto plausible = [](double d) { return std::isfinite(d) && d > 0.0 && d <= 16.0; };
    if (!plausible(dpi1) || !plausible(dpi2)) {
        KXLOG << "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16";
        return 0;
    }
    QKXScreenConfig::getInstance()->setDPIs(dpi1, dpi2);
    return 1;
    KX_CATCH("KXScreen_SetDPIs", 0)
}

int KXScreen_SetIsNewSkin(void* hScreen, bool bNewSkin)
{
    KX_TRY
    Q_UNUSED(hScreen);
    kxmodule::ensureAttached();
    QKXScreenConfig::getInstance()->setNewSkin(bNewSkin);
    return 1;
    KX_CATCH("KXScreen_SetIsNewSkin", 0)
}

int KXScreen_SetMeetingRoomMinimized(void* hScreen, bool bMinimized)
{
    KX_TRY
    Q_UNUSED(hScreen);
    kxmodule::ensureAttached();
    KXLOG << "[ScreenMod]KXScreen_SetMeetingRoomMinimized, bMinimized:" << bMinimized;
    QKXScreenConfig::getInstance()->m_bMeetingRoomMinimized.store(bMinimized);
    emit QKXScreenConfig::getInstance()->modSignalMeetingRoomMinimized(bMinimized);
    return 1;
    KX_CATCH("KXScreen_SetMeetingRoomMinimized", 0)
}

// ---------------------------------------------------------------------------
// Internal operations

int KXScreen_ChangeShowPage(void* hScreen, bool bNext)
{
    KX_TRY
    KX_SCREEN_PROLOGUE("KXScreen_ChangeShowPage", 0)
    const int key = bNext ? Qt::Key_Up : Qt::Key_Down;
    runOnUi(screen, [screen, key]() { screen->onKey(key); });
    return 1;
    KX_CATCH("KXScreen_ChangeShowPage", 0)
}

int KXScreen_SetDefStreamType(void* hScreen, void* hPlay)
{
    KX_TRY
    KX_PERSON_PROLOGUE("KXScreen_SetDefStreamType")
    runOnUi(screen, [screen, record]() { screen->setPersonDefStreamType(record); });
    return 1;
    KX_CATCH("KXScreen_SetDefStreamType", 0)
}

} // extern "C"
