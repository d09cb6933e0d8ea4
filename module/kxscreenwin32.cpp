// The C exports: check the handles, log, forward. No gallery logic lives here.
//
// Every export holds its module handle for its whole run (ScreenUse), so a
// release on the interface thread never frees a gallery under a host thread.
// Work for the gallery runs at once on the interface thread and is queued
// from any other; queued work for one participant carries the record's serial
// number and is dropped when that participant has left by the time it runs.
#include "kxscreenmod2.h"

#include "cwin32uicallback.h"
#include "exportshims.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxsync.h"
#include "moduleapp.h"
#include "modulelog.h"
#include "personinfo.h"
#include "platform.h"
#include "playhandles.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"
#include "tilerenderer.h"
#include "videoframe.h"

#include <QApplication>
#include <QImage>
#include <QPointer>
#include <QThread>
#include <cmath>
#include <exception>

namespace {

using namespace kxexport;

// The participant a per-participant export names.
struct PersonRef
{
    tagPersonInfo* record = nullptr;
    quint64 serial = 0;
};

// The checks of a play handle: not null, readable, and issued by this gallery
// (another gallery's handle is as unreadable to this one as a stale pointer).
bool checkPlay(const ScreenUse& use, void* hPlay, PersonRef* ref)
{
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        return false;
    }
    if (!kxplatform::isReadable(hPlay, sizeof(ST_KXPlayHdl))
        || !kxplay::lookup(hPlay, use.handle(), &ref->record, &ref->serial)) {
        KXLOG << "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
        return false;
    }
    return true;
}

// Work for one participant: at once on the interface thread; from any other
// thread queued, and dropped if by the time it runs the participant has left
// (even when a newcomer's record has been given the same address).
template <typename F>
void toPerson(const ScreenUse& use, const PersonRef& ref, F&& f)
{
    QDlgScreen* screen = use.screen();
    if (kxsync::onInterfaceThread()) {
        f();
        return;
    }
    kxsync::post(screen, [screen, ref, f = std::forward<F>(f)]() mutable {
        if (!screen->mayRunFor(ref.record, ref.serial)) {
            KXLOG << "testDelPerson: queued work dropped, the participant has left, pPerson:"
                  << static_cast<void*>(ref.record);
            return;
        }
        f();
    });
}

// The per-participant exports that call the controller directly: on the
// interface thread the controller's answer is the export's; from another
// thread the call is queued and the export answers 1.
template <typename F>
int personCall(const char* name, void* hScreen, void* hPlay, F call)
{
    return guarded(name, 0, [&] {
        logThread(name);
        ScreenUse use(hScreen);
        PersonRef ref;
        if (!use || !checkPlay(use, hPlay, &ref))
            return 0;
        QDlgScreen* screen = use.screen();
        if (kxsync::onInterfaceThread())
            return call(screen, ref.record) ? 1 : 0;
        toPerson(use, ref, [screen, ref, call]() { call(screen, ref.record); });
        return 1;
    });
}

// The per-participant exports that reach the gallery through a configuration
// signal: the same checks and queueing, the signal as the call.
template <typename F>
int personSignal(const char* name, void* hScreen, void* hPlay, F emitFor)
{
    return personCall(name, hScreen, hPlay, [emitFor](QDlgScreen*, tagPersonInfo* p) {
        emitFor(config(), p);
        return true;
    });
}

// The exports that change the gallery through a configuration signal: checks,
// then the signal, at once or queued.
template <typename F>
int gallerySignal(const char* name, void* hScreen, F emitIt)
{
    return guarded(name, 0, [&] {
        logThread(name);
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        toGallery(use, [emitIt]() { emitIt(config()); });
        return 1;
    });
}

} // namespace

extern "C" {

// ---------------------------------------------------------------------------
// Lifecycle

void* KXScreen_Init(QWidget* parent, const char* baseDir, KXScreenMsgCallback callback)
{
    return guarded<void*>("KXScreen_Init", nullptr, [&]() -> void* {
        KXLOG << "thread:" << QThread::currentThreadId() << fromUtf8(baseDir);
        if (!qobject_cast<QApplication*>(QCoreApplication::instance()) || !kxsync::onInterfaceThread()) {
            KXWARN << "[ScreenMod]KXScreen_Init must be called on the interface thread of a QApplication";
            return nullptr;
        }
        // How tiles draw is chosen once per process, before the first tile.
        const QString dir = fromUtf8(baseDir);
        kxtilerender::choose([&dir]() { return QKXScreenConfig::rendererSetting(dir); });
        auto* h = new KXScreenHandle;
        h->callback = callback;
        h->pCallback = new CWin32UICallback;
        h->pCallback->m_pScreen = h;
        h->pMainDlg = new QDlgMain(parent);
        h->pMainDlg->show();
        registerScreenHandle(h);
        QKXScreenConfig* cfg = config();
        cfg->addCallback(h->pCallback);
        cfg->setBaseDir(fromUtf8(baseDir));
        cfg->getLoadingParam();
        QThread* thread = QThread::currentThread();
        const int prePriority = thread->priority();
        thread->setPriority(QThread::TimeCriticalPriority);
        KXLOG << "SetThreadPriority:" << "prePriLevel:" << prePriority << ",curPriLevel:" << thread->priority();
        return h;
    });
}

void KXScreen_Release(void* hScreen)
{
    guarded("KXScreen_Release", 0, [&] {
        KXLOG << "current thread:" << QThread::currentThreadId();
        if (!hScreen)
            return 0;
        if (!isLiveScreenHandle(hScreen)) {
            KXLOG << "[ScreenMod]KXScreen_Release unknown handle:" << hScreen;
            return 0;
        }
        if (!kxsync::onInterfaceThread()) {
            // The gallery's widgets (and their GL contexts) can only go on the
            // interface thread: the release runs there when it next pumps.
            KXWARN << "[ScreenMod]KXScreen_Release called off the interface thread; released when it pumps";
            kxsync::post(config(), [hScreen]() { KXScreen_Release(hScreen); });
            return 0;
        }
        releaseScreenHandle(static_cast<KXScreenHandle*>(hScreen));
        return 0;
    });
}

int KXScreen_SetParent(void* hScreen, QWidget* parent)
{
    return guarded("KXScreen_SetParent", 0, [&] {
        KXLOG << "current thread:" << QThread::currentThreadId();
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        // Widgets move on the interface thread only; from another thread the
        // move is queued there (and dropped if the new parent is gone by then).
        QPointer<QDlgMain> dlg(use.handle()->pMainDlg);
        QPointer<QWidget> newParent(parent);
        const bool toParent = parent != nullptr;
        toGallery(use, [dlg, newParent, toParent]() {
            if (!dlg || (toParent && !newParent))
                return;
            dlg->setParent(newParent.data());
            dlg->show();
        });
        return 1;
    });
}

// ---------------------------------------------------------------------------
// Participants

void* KXScreen_AddPerson(void* hScreen, char* userID, char* extra, char* userName, int64_t joinTime, int iExtra,
                         void* pUserData, int iStatus)
{
    return guarded<void*>("KXScreen_AddPerson", nullptr, [&]() -> void* {
        KXLOG << "thead:" << QThread::currentThreadId();
        ScreenUse use(hScreen);
        if (!use)
            return nullptr;
        auto* hdl = new ST_KXPlayHdl;
        hdl->userID = fromLocal(userID);
        hdl->userName = fromUtf8(userName);
        if (use.handle()->eraseDelPlay(hdl))
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
        hdl->pPlayData = static_cast<tagPersonInfo*>(use.screen()->AddMeetingPerson(
            hdl->userID, fromLocal(extra), hdl->userName, joinTime, iExtra, pUserData, iStatus));
        // Once the host has heard of the participant it may delete it (and the
        // handle with it): what the log lines need is copied first.
        const QString id = hdl->userID;
        const QString name = hdl->userName;
        const PersonRef ref{hdl->pPlayData, hdl->pPlayData->serial};
        kxplay::add(hdl, use.handle());
        KXLOG << "before emit update personInfo, userID:" << id << ",userName:" << name;
        toPerson(use, ref, [hdl, ref]() { emit config()->notifyUpdatePersonInfo(hdl, ref.record); });
        KXLOG << "after emit update personInfo, userID:" << id << ",userName:" << name;
        return hdl;
    });
}

int KXScreen_DelPerson(void* hScreen, void* hPlay)
{
    return guarded("KXScreen_DelPerson", 0, [&] {
        KXLOG << "thread,hPlay:" << hPlay;
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        PersonRef ref;
        bool bShare = false;
        {
            // The barrier against frames in flight: a frame being copied holds
            // this lock, and once the handle is gone no frame can reach the
            // record. Nothing that can reach the host runs under it.
            std::lock_guard<std::recursive_mutex> lock(config()->frameLock());
            if (!checkPlay(use, hPlay, &ref))
                return 0;
            bShare = ref.record->isShareScreen();
            // Listed as released before its memory is freed, so that an
            // AddPerson on another thread that is handed the same address
            // erases the entry instead of finding it later.
            use.handle()->addDelPlay(hPlay);
            kxplay::remove(hPlay, use.handle());
        }
        if (bShare)
            toGallery(use, []() { emit config()->modSignalSetSharePause(false); });
        toPerson(use, ref, [ref]() { emit config()->modSignalDelPerson(ref.record); });
        KXLOG << "thread,pPerson:" << static_cast<void*>(ref.record);
        return 1;
    });
}

int KXScreen_PlayFrame(void* hScreen, void* hPlay, void* frame)
{
    return guarded("KXScreen_PlayFrame", 0, [&] {
        QKXScreenConfig* cfg = config();
        std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        if (!hPlay) {
            KXLOG << "hPlay == nullptr";
            return 0;
        }
        if (!frame) {
            KXLOG << "pWin32Frame == nullptr";
            return 0;
        }
        if (use.handle()->hadDelPlay(hPlay)) {
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
            return 0;
        }
        PersonRef ref;
        if (!checkPlay(use, hPlay, &ref))
            return 0;
        if (!kxplatform::isReadable(ref.record, sizeof(ST_PersonInfo))) {
            KXLOG << "IsBadReadPtr(pPlay->pPlayData, sizeof(ST_PersonInfo))";
            return 0;
        }
        auto* f = static_cast<KxCloudRTCVideoFrameQT*>(frame);
        if (const char* reason = kxvideo::frameRejectReason(f->data, f->width, f->height, f->length)) {
            KXLOG << "[ScreenMod]PlayFrame refused:" << reason << ",userName:" << ref.record->userName
                  << ",size:" << f->width << "x" << f->height << ",length:" << f->length;
            return 0;
        }
        return use.screen()->playFrame(ref.record, f) ? 1 : 0;
    });
}

int KXScreen_Preview(void* hScreen, void* hPlay, bool bPreview)
{
    return guarded("KXScreen_Preview", 0, [&] {
        logThread("KXScreen_Preview");
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        if (hPlay && use.handle()->hadDelPlay(hPlay)) {
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
            return 0;
        }
        PersonRef ref;
        if (!checkPlay(use, hPlay, &ref))
            return 0;
        QDlgScreen* screen = use.screen();
        toPerson(use, ref, [screen, ref, bPreview]() { screen->onModPreview(ref.record, bPreview); });
        return 1;
    });
}

int KXScreen_SetMute(void* hScreen, void* hPlay, int iMute)
{
    const bool mute = iMute != 0;
    return personSignal("KXScreen_SetMute", hScreen, hPlay,
                        [mute](QKXScreenConfig* c, tagPersonInfo* p) { emit c->modSignalAudioMute(p, mute); });
}

int KXScreen_SetHasMic(void* hScreen, void* hPlay, bool bHasMic)
{
    return personSignal("KXScreen_SetHasMic", hScreen, hPlay,
                        [bHasMic](QKXScreenConfig* c, tagPersonInfo* p) { emit c->modSignalHasMic(p, bHasMic); });
}

int KXScreen_SetPersonInfo(void* hScreen, void* hPlay, bool bSelf, int iRoleType, char* name)
{
    const QString qname = fromUtf8(name);
    return personSignal("KXScreen_SetPersonInfo", hScreen, hPlay,
                        [bSelf, iRoleType, qname](QKXScreenConfig* c, tagPersonInfo* p) {
                            emit c->modSignalPersonInfo(p, bSelf, iRoleType, qname);
                        });
}

int KXScreen_SetVolume(void* hScreen, void* hPlay, int iVolume)
{
    return personSignal("KXScreen_SetVolume", hScreen, hPlay,
                        [iVolume](QKXScreenConfig* c, tagPersonInfo* p) { emit c->modSignalVolume(p, iVolume); });
}

int KXScreen_MoreInHide(void* hScreen, void* hPlay)
{
    return personSignal("KXScreen_MoreInHide", hScreen, hPlay,
                        [](QKXScreenConfig* c, tagPersonInfo* p) { emit c->modSignalMoreInHide(p); });
}

int KXScreen_SetPersonHeadImg(void* hScreen, void* hPlay, const QImage* image)
{
    if (!image) {
        logThread("KXScreen_SetPersonHeadImg");
        KXLOG << "pImage == nullptr";
        return 0;
    }
    const QImage copy = image->copy();
    return personCall("KXScreen_SetPersonHeadImg", hScreen, hPlay,
                      [copy](QDlgScreen* s, tagPersonInfo* p) { return s->updatePersonHeadImg(p, copy); });
}

int KXScreen_SetUnjoinedPersonInfo(void* hScreen, void* hPlay, char* name, int iStatus, const QImage& image)
{
    const QString qname = fromLocal(name);
    const QImage copy = image.copy();
    return personCall("KXScreen_SetUnjoinedPersonInfo", hScreen, hPlay,
                      [qname, iStatus, copy](QDlgScreen* s, tagPersonInfo* p) {
                          return s->updateUnJoinedPersonInfo(p, qname, iStatus, copy);
                      });
}

int KXScreen_AllLook(void* hScreen, void* hPlay, int bAllLook)
{
    return personCall("KXScreen_AllLook", hScreen, hPlay, [bAllLook](QDlgScreen* s, tagPersonInfo* p) {
        s->onModAllLook(p, bAllLook != 0);
        return true;
    });
}

int KXScreen_LockLook(void* hScreen, void* hPlay, int bLockLook)
{
    return personCall("KXScreen_LockLook", hScreen, hPlay, [bLockLook](QDlgScreen* s, tagPersonInfo* p) {
        s->onModLookLock(p, bLockLook != 0);
        return true;
    });
}

const char* KXScreen_GetAllLookUserID(void* hScreen)
{
    return guarded<const char*>("KXScreen_GetAllLookUserID", nullptr, [&] {
        return userIDString("KXScreen_GetAllLookUserID", hScreen, &KXScreenHandle::allLookID,
                            &QDlgScreen::allLookUserID);
    });
}

const char* KXScreen_GetLockLookUserID(void* hScreen)
{
    return guarded<const char*>("KXScreen_GetLockLookUserID", nullptr, [&] {
        return userIDString("KXScreen_GetLockLookUserID", hScreen, &KXScreenHandle::lockLookID,
                            &QDlgScreen::lockLookUserID);
    });
}

const char* KXScreen_GetShareUserID(void* hScreen)
{
    return guarded<const char*>("KXScreen_GetShareUserID", nullptr, [&] {
        return userIDString("KXScreen_GetShareUserID", hScreen, &KXScreenHandle::shareID, &QDlgScreen::shareUserID);
    });
}

int KXScreen_FocusByUserID(void* hScreen, char* userID)
{
    const QString id = fromLocal(userID);
    return gallerySignal("KXScreen_FocusByUserID", hScreen,
                         [id](QKXScreenConfig* c) { emit c->modSignalFocusByUserID(id); });
}

int KXScreen_SetVoiceActivateByUserID(void* hScreen, char* userID)
{
    const QString id = fromLocal(userID);
    return gallerySignal("KXScreen_SetVoiceActivateByUserID", hScreen,
                         [id](QKXScreenConfig* c) { emit c->modSignalVoiceActivate(id); });
}

int KXScreen_CancelVoiceActivate(void* hScreen)
{
    return gallerySignal("KXScreen_CancelVoiceActivate", hScreen,
                         [](QKXScreenConfig* c) { emit c->modSignalCancelVoiceActivate(); });
}

int KXScreen_SetCurSpeakPerson(void* hScreen, char* userIDs)
{
    const QString ids = fromLocal(userIDs);
    return gallerySignal("KXScreen_SetCurSpeakPerson", hScreen,
                         [ids](QKXScreenConfig* c) { emit c->modSignalSetSpeakList(ids); });
}

int KXScreen_UpdateNetWeak(void* hScreen, const char* userID, bool bNetWeak, int iNetLevel)
{
    const QString id = fromLocal(userID);
    return gallerySignal("KXScreen_UpdateNetWeak", hScreen, [id, bNetWeak, iNetLevel](QKXScreenConfig* c) {
        emit c->modSignalUpdateNetWeak(id, bNetWeak, iNetLevel);
    });
}

// ---------------------------------------------------------------------------
// Layout and gallery

int KXScreen_SetCurMode(void* hScreen, int iMode)
{
    return gallerySignal("KXScreen_SetCurMode", hScreen,
                         [iMode](QKXScreenConfig* c) { emit c->modSignalSetScreenMode(iMode); });
}

int KXScreen_GetCurMode(void* hScreen)
{
    return guarded("KXScreen_GetCurMode", 0, [&] {
        logThread("KXScreen_GetCurMode");
        ScreenUse use(hScreen);
        return use ? config()->curScreenMode() : 0;
    });
}

int KXScreen_MoveWindow(void* hScreen, QRect rect, int flags)
{
    return gallerySignal("KXScreen_MoveWindow", hScreen,
                         [rect, flags](QKXScreenConfig* c) { emit c->modSignalMove(rect, flags); });
}

int KXScreen_JoinMeetingFinish(void* hScreen)
{
    return guarded("KXScreen_JoinMeetingFinish", 0, [&] {
        logThread("KXScreen_JoinMeetingFinish");
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        QDlgScreen* screen = use.screen();
        toGallery(use, [screen]() { screen->setJoinMeetingFinish(); });
        return 1;
    });
}

int KXScreen_IsIconic(void* hScreen)
{
    return guarded("KXScreen_IsIconic", 0, [&] {
        ScreenUse use(hScreen);
        if (!use || !kxsync::onInterfaceThread())
            return 0;
        // The gallery is a child widget and is never minimised itself: what
        // the host minimises is its top-level window.
        QDlgScreen* screen = use.screen();
        return (screen->isMinimized() || screen->window()->isMinimized()) ? 1 : 0;
    });
}

// ---------------------------------------------------------------------------
// Sharing

int KXScreen_ChangePrimaryScreen(void* hScreen, bool bPrimary)
{
    return gallerySignal("KXScreen_ChangePrimaryScreen", hScreen, [bPrimary](QKXScreenConfig* c) {
        c->m_bPrimaryScreen.store(bPrimary);
        emit c->modSignalPrimaryScreenChanged(bPrimary);
    });
}

int KXScreen_StartLocalShare(void* hScreen, int iShareType, bool bShare)
{
    return gallerySignal("KXScreen_StartLocalShare", hScreen, [iShareType, bShare](QKXScreenConfig* c) {
        emit c->modSignalStartLocalShare(iShareType, bShare);
    });
}

int KXScreen_StopLocalShare(void* hScreen)
{
    return gallerySignal("KXScreen_StopLocalShare", hScreen,
                         [](QKXScreenConfig* c) { emit c->modSignalStopLoaclShare(); });
}

int KXScreen_SetShareWatermark(void* hScreen, QString text, bool bShow)
{
    return gallerySignal("KXScreen_SetShareWatermark", hScreen,
                         [text, bShow](QKXScreenConfig* c) { emit c->modSignalSetShareWatermark(text, bShow); });
}

int KXScreen_SetSharePaush(void* hScreen, bool bPause)
{
    return gallerySignal("KXScreen_SetSharePaush", hScreen,
                         [bPause](QKXScreenConfig* c) { emit c->modSignalSetSharePause(bPause); });
}

int KXScreen_ShareWhiteBoard(void* hScreen, const char* userID, bool bShare, bool bDulMode)
{
    const QString id = fromLocal(userID);
    return gallerySignal("KXScreen_ShareWhiteBoard", hScreen, [id, bShare, bDulMode](QKXScreenConfig* c) {
        emit c->modSignalShareWhiteBoard(id, bShare, bDulMode);
    });
}

int KXScreen_ReposShareWgtForAnnonate(void* hScreen)
{
    return gallerySignal("KXScreen_ReposShareWgtForAnnonate", hScreen,
                         [](QKXScreenConfig* c) { emit c->modSignalReposShareWgtPos(); });
}

QRect KXScreen_GetShareWgtPos(void* hScreen)
{
    return guarded("KXScreen_GetShareWgtPos", QRect(), [&] {
        logThread("KXScreen_GetShareWgtPos");
        ScreenUse use(hScreen);
        if (!use || !kxsync::onInterfaceThread())
            return QRect();
        return use.screen()->GetShareWgtPos();
    });
}

int KXScreen_IsUserShare(void* hScreen)
{
    return guarded("KXScreen_IsUserShare", 0, [&] {
        logThread("KXScreen_IsUserShare");
        ScreenUse use(hScreen);
        return use && use.screen()->isLocalShare() ? 1 : 0;
    });
}

// ---------------------------------------------------------------------------
// Picture-in-picture, subtitles, display

int KXScreen_ShowPicInPic(void* hScreen, bool bShow)
{
    return guarded("KXScreen_ShowPicInPic", 0, [&] {
        logThread("KXScreen_ShowPicInPic");
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        QDlgScreen* screen = use.screen();
        toGallery(use, [screen, bShow]() { screen->testShowPicInPicDialog(bShow); });
        return 1;
    });
}

QWidget* KXScreen_GetPicInPicWidgetPtr(void* hScreen)
{
    return guarded<QWidget*>("KXScreen_GetPicInPicWidgetPtr", nullptr, [&]() -> QWidget* {
        logThread("KXScreen_GetPicInPicWidgetPtr");
        ScreenUse use(hScreen);
        return use ? use.screen()->GetPicInPicWidgetPtr() : nullptr;
    });
}

int KXScreen_AddSentence(void* hScreen, int iType, int iIndex, char* name, char* text)
{
    const QString qname = fromUtf8(name);
    const QString qtext = fromUtf8(text);
    return gallerySignal("KXScreen_AddSentence", hScreen, [iType, iIndex, qname, qtext](QKXScreenConfig* c) {
        c->addSentence(iType, iIndex, qname, qtext);
    });
}

int KXScreen_ClearSubtitles(void* hScreen)
{
    return gallerySignal("KXScreen_ClearSubtitles", hScreen, [](QKXScreenConfig* c) { c->clearSubtitles(); });
}

int KXScreen_OpenSubtitle(void* hScreen, bool bOpen)
{
    return gallerySignal("KXScreen_OpenSubtitle", hScreen,
                         [bOpen](QKXScreenConfig* c) { emit c->modSignalOpenSubtitle(bOpen); });
}

int KXScreen_SetDPIs(void* hScreen, double dpi1, double dpi2)
{
    return guarded("KXScreen_SetDPIs", 0, [&] {
        KXLOG << "[ScreenMod]KXScreen_SetDPIs dpi1=:" << dpi1 << ";dpi2=" << dpi2;
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        // Kept for the host's sake (tiles draw at the pixel ratio of the screen
        // they are on): only a finite, positive factor that a screen can have is taken.
        const auto plausible = [](double d) { return std::isfinite(d) && d > 0.0 && d <= 16.0; };
        if (!plausible(dpi1) || !plausible(dpi2)) {
            KXLOG << "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16";
            return 0;
        }
        config()->setDPIs(dpi1, dpi2);
        return 1;
    });
}

int KXScreen_SetIsNewSkin(void* hScreen, bool bNewSkin)
{
    Q_UNUSED(hScreen);
    return guarded("KXScreen_SetIsNewSkin", 0, [&] {
        config()->setNewSkin(bNewSkin);
        return 1;
    });
}

int KXScreen_SetMeetingRoomMinimized(void* hScreen, bool bMinimized)
{
    Q_UNUSED(hScreen);
    return guarded("KXScreen_SetMeetingRoomMinimized", 0, [&] {
        KXLOG << "[ScreenMod]KXScreen_SetMeetingRoomMinimized, bMinimized:" << bMinimized;
        QKXScreenConfig* cfg = config();
        cfg->m_bMeetingRoomMinimized.store(bMinimized);
        kxsync::runOnUi(cfg, [cfg, bMinimized]() { emit cfg->modSignalMeetingRoomMinimized(bMinimized); });
        return 1;
    });
}

const char* KXScreen_GetRenderer(void)
{
    return guarded<const char*>("KXScreen_GetRenderer", "gl", []() { return kxtilerender::currentName(); });
}

// ---------------------------------------------------------------------------
// Internal operations

int KXScreen_ChangeShowPage(void* hScreen, bool bNext)
{
    return guarded("KXScreen_ChangeShowPage", 0, [&] {
        logThread("KXScreen_ChangeShowPage");
        ScreenUse use(hScreen);
        if (!use)
            return 0;
        QDlgScreen* screen = use.screen();
        const int key = bNext ? Qt::Key_Up : Qt::Key_Down;
        toGallery(use, [screen, key]() { screen->onKey(key); });
        return 1;
    });
}

int KXScreen_SetDefStreamType(void* hScreen, void* hPlay)
{
    return personCall("KXScreen_SetDefStreamType", hScreen, hPlay, [](QDlgScreen* s, tagPersonInfo* p) {
        s->setPersonDefStreamType(p);
        return true;
    });
}

} // extern "C"
