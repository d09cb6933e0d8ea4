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
#include "sentencestore.h"
#include "tilerenderer.h"
#include "videoframe.h"

#include <QApplication>
#include <QImage>
#include <QPointer>
#include <QThread>
#include <atomic>
#include <cmath>
#include <exception>

namespace {

using namespace kxexport;

// Why a play handle the host deleted is refused.
const char* const kDeletedPlay = "the participant was deleted (KXScreen_DelPerson), its play handle is dead";

// The participant a per-participant export names.
struct PersonRef
{
    tagPersonInfo* record = nullptr;
    quint64 serial = 0;
};

// The checks of a play handle: not null, readable, and issued by this gallery
// (another gallery's handle is as unreadable to this one as a stale pointer).
bool checkPlay(const ScreenUse& use, void* hPlay, PersonRef* ref, const char* name)
{
    if (!hPlay) {
        KXLOG << "hPlay == nullptr";
        refuse(name, "the play handle is null");
        return false;
    }
    if (!kxplatform::isReadable(hPlay, sizeof(ST_KXPlayHdl))
        || !kxplay::lookup(hPlay, use.handle(), &ref->record, &ref->serial)) {
        KXLOG << "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
        refuse(name, use.handle()->hadDelPlay(hPlay)
                         ? kDeletedPlay
                         : "not a play handle of this gallery (never issued, or another gallery's)",
               hPlay);
        return false;
    }
    return true;
}

// The per-participant exports: on the interface thread the controller's
// answer is the export's; from another thread the work waits in the gallery's
// queue (one item per participant and kind) and the export answers 1.
template <typename F>
int personCall(const char* name, void* hScreen, void* hPlay, QDlgScreen::Work kind, F call)
{
    return guarded(name, 0, [&] {
        logThread(name);
        ScreenUse use(hScreen);
        PersonRef ref;
        if (!checkScreen(use, name, hScreen) || !checkPlay(use, hPlay, &ref, name))
            return 0;
        QDlgScreen* screen = use.screen();
        if (kxsync::onInterfaceThread())
            return call(screen, ref.record) ? 1 : 0;
        tagPersonInfo* p = ref.record;
        screen->queueFromHost(kind, p, [screen, p, call]() { call(screen, p); });
        return 1;
    });
}

// The exports that change the gallery as a whole: checks, then the work, at
// once on the interface thread or queued (one item per kind) from another.
template <typename F>
int galleryCall(const char* name, void* hScreen, QDlgScreen::Work kind, F call, qint64 sub = 0,
                const QString& key = QString())
{
    return guarded(name, 0, [&] {
        logThread(name);
        ScreenUse use(hScreen);
        if (!checkScreen(use, name, hScreen))
            return 0;
        QDlgScreen* screen = use.screen();
        screen->runFromHost(kind, nullptr, [screen, call]() { call(screen); }, sub, key);
        return 1;
    });
}

// The exports that read the gallery or take the caller's widgets: the
// interface thread only.
template <typename R, typename F>
R interfaceCall(const char* name, void* hScreen, R fail, F call)
{
    return guarded(name, fail, [&]() -> R {
        logThread(name);
        ScreenUse use(hScreen);
        if (!checkScreen(use, name, hScreen) || !interfaceOnly(name))
            return fail;
        return call(use);
    });
}

// KXScreen_SetMeetingRoomMinimized without a gallery named reaches every
// gallery: at once on the interface thread, else on its next turn (one
// pass waits however often a host thread calls).
std::atomic<bool> g_roomMinimizedQueued{false};

void roomMinimizedToEveryGallery()
{
    g_roomMinimizedQueued.store(false);
    const bool bMinimized = config()->m_bMeetingRoomMinimized.load();
    for (QDlgScreen* screen : liveScreens())
        screen->onModMeetingRoomMinimized(bMinimized);
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
        auto* dlg = new QDlgMain(parent);
        KXScreenHandle* h = createScreenHandle(callback, dlg);
        dlg->show();
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
            refuse("KXScreen_Release", "not a gallery handle, or one already released", hScreen);
            return 0;
        }
        if (!kxsync::onInterfaceThread()) {
            // The gallery's widgets (and their GL contexts) can only go on the
            // interface thread: the release runs there when it next pumps. It
            // names the handle by its serial too, in case the host releases
            // it meanwhile and another is issued at the same address.
            KXLOG << "[ScreenMod]KXScreen_Release from a host thread: released when the interface thread pumps";
            const quint64 serial = static_cast<KXScreenHandle*>(hScreen)->serial;
            kxsync::post(config(), [hScreen, serial]() {
                if (isSameScreenHandle(hScreen, serial))
                    KXScreen_Release(hScreen);
            });
            return 0;
        }
        releaseScreenHandle(static_cast<KXScreenHandle*>(hScreen));
        return 0;
    });
}

int KXScreen_SetParent(void* hScreen, QWidget* parent)
{
    return interfaceCall("KXScreen_SetParent", hScreen, 0, [&](const ScreenUse& use) {
        use.screen()->onModMoveParent(parent);
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
        if (!checkScreen(use, "KXScreen_AddPerson", hScreen))
            return nullptr;
        auto* hdl = new ST_KXPlayHdl;
        hdl->userID = fromLocal(userID);
        hdl->userName = nameFromUtf8(userName);
        if (use.handle()->eraseDelPlay(hdl))
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
        forgetReleasedPlay(hdl);
        QDlgScreen* screen = use.screen();
        auto* record = static_cast<tagPersonInfo*>(screen->AddMeetingPerson(
            hdl->userID, fromLocal(extra), hdl->userName, joinTime, iExtra, pUserData, iStatus));
        hdl->pPlayData = record;
        // Once the host has heard of the participant it may delete it (and the
        // handle with it): what the log lines need is copied first.
        const QString id = hdl->userID;
        const QString name = hdl->userName;
        kxplay::add(hdl, use.handle());
        KXLOG << "before emit update personInfo, userID:" << id << ",userName:" << name;
        screen->runFromHost(QDlgScreen::WorkUserInfo, record,
                            [screen, hdl, record]() { screen->onNotifyUpdateUserInfo(hdl, record); });
        KXLOG << "after emit update personInfo, userID:" << id << ",userName:" << name;
        return hdl;
    });
}

int KXScreen_DelPerson(void* hScreen, void* hPlay)
{
    return guarded("KXScreen_DelPerson", 0, [&] {
        KXLOG << "thread,hPlay:" << hPlay;
        ScreenUse use(hScreen);
        if (!checkScreen(use, "KXScreen_DelPerson", hScreen))
            return 0;
        PersonRef ref;
        bool bShare = false;
        {
            // The barrier against frames in flight: a frame being copied holds
            // this lock, and once the handle is gone no frame can reach the
            // record. Nothing that can reach the host runs under it.
            std::lock_guard<std::recursive_mutex> lock(config()->frameLock());
            if (!checkPlay(use, hPlay, &ref, "KXScreen_DelPerson"))
                return 0;
            bShare = ref.record->isShareScreen();
            // Listed as released before its memory is freed, so that an
            // AddPerson on another thread that is handed the same address
            // erases the entry instead of finding it later.
            use.handle()->addDelPlay(hPlay);
            kxplay::remove(hPlay, use.handle());
        }
        QDlgScreen* screen = use.screen();
        if (bShare)
            screen->runFromHost(QDlgScreen::WorkSharePause, nullptr, [screen]() { screen->onModSetSharePause(false); });
        tagPersonInfo* p = ref.record;
        screen->runFromHost(QDlgScreen::WorkRemoval, p, [screen, p]() { screen->onModDelPerson(p); });
        KXLOG << "thread,pPerson:" << static_cast<void*>(p);
        return 1;
    });
}

int KXScreen_PlayFrame(void* hScreen, void* hPlay, void* frame)
{
    return guarded("KXScreen_PlayFrame", 0, [&] {
        QKXScreenConfig* cfg = config();
        std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());
        ScreenUse use(hScreen);
        if (!checkScreen(use, "KXScreen_PlayFrame", hScreen))
            return 0;
        if (!hPlay) {
            KXLOG << "hPlay == nullptr";
            refuse("KXScreen_PlayFrame", "the play handle is null");
            return 0;
        }
        if (!frame) {
            KXLOG << "pWin32Frame == nullptr";
            refuse("KXScreen_PlayFrame", "the frame is null");
            return 0;
        }
        if (use.handle()->hadDelPlay(hPlay)) {
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
            refuse("KXScreen_PlayFrame", kDeletedPlay, hPlay);
            return 0;
        }
        PersonRef ref;
        if (!checkPlay(use, hPlay, &ref, "KXScreen_PlayFrame"))
            return 0;
        if (!kxplatform::isReadable(ref.record, sizeof(ST_PersonInfo))) {
            KXLOG << "IsBadReadPtr(pPlay->pPlayData, sizeof(ST_PersonInfo))";
            refuse("KXScreen_PlayFrame", "the participant record is not readable", hPlay);
            return 0;
        }
        auto* f = static_cast<KxCloudRTCVideoFrameQT*>(frame);
        if (const char* reason = kxvideo::frameRejectReason(f->data, f->width, f->height, f->length)) {
            KXWARN << QStringLiteral("[ScreenMod]KXScreen_PlayFrame refused: %1 (%2x%3, length %4), userName: %5")
                          .arg(QLatin1String(reason)).arg(f->width).arg(f->height).arg(f->length)
                          .arg(ref.record->userName);
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
        if (!checkScreen(use, "KXScreen_Preview", hScreen))
            return 0;
        if (hPlay && use.handle()->hadDelPlay(hPlay)) {
            KXLOG << "iter != pScreen->mapHadDelPlay.end()";
            refuse("KXScreen_Preview", kDeletedPlay, hPlay);
            return 0;
        }
        PersonRef ref;
        if (!checkPlay(use, hPlay, &ref, "KXScreen_Preview"))
            return 0;
        QDlgScreen* screen = use.screen();
        tagPersonInfo* p = ref.record;
        screen->runFromHost(QDlgScreen::WorkPreview, p, [screen, p, bPreview]() { screen->onModPreview(p, bPreview); });
        return 1;
    });
}

int KXScreen_SetMute(void* hScreen, void* hPlay, int iMute)
{
    const bool mute = iMute != 0;
    return personCall("KXScreen_SetMute", hScreen, hPlay, QDlgScreen::WorkMute,
                      [mute](QDlgScreen* s, tagPersonInfo* p) { return s->setMute(p, mute); });
}

int KXScreen_SetHasMic(void* hScreen, void* hPlay, bool bHasMic)
{
    return personCall("KXScreen_SetHasMic", hScreen, hPlay, QDlgScreen::WorkHasMic,
                      [bHasMic](QDlgScreen* s, tagPersonInfo* p) {
                          s->onModHasMic(p, bHasMic);
                          return true;
                      });
}

int KXScreen_SetPersonInfo(void* hScreen, void* hPlay, bool bSelf, int iRoleType, char* name)
{
    const QString qname = nameFromUtf8(name);
    return personCall("KXScreen_SetPersonInfo", hScreen, hPlay, QDlgScreen::WorkPersonInfo,
                      [bSelf, iRoleType, qname](QDlgScreen* s, tagPersonInfo* p) {
                          s->onModPersonInfo(p, bSelf, iRoleType, qname);
                          return true;
                      });
}

int KXScreen_SetVolume(void* hScreen, void* hPlay, int iVolume)
{
    return personCall("KXScreen_SetVolume", hScreen, hPlay, QDlgScreen::WorkVolume,
                      [iVolume](QDlgScreen* s, tagPersonInfo* p) {
                          s->onModVolume(p, iVolume);
                          return true;
                      });
}

int KXScreen_MoreInHide(void* hScreen, void* hPlay)
{
    return personCall("KXScreen_MoreInHide", hScreen, hPlay, QDlgScreen::WorkMoreInHide,
                      [](QDlgScreen* s, tagPersonInfo* p) {
                          s->onModMoreInHide(p);
                          return true;
                      });
}

int KXScreen_SetPersonHeadImg(void* hScreen, void* hPlay, const QImage* image)
{
    if (!image) {
        logThread("KXScreen_SetPersonHeadImg");
        KXLOG << "pImage == nullptr";
        refuse("KXScreen_SetPersonHeadImg", "the image is null");
        return 0;
    }
    const QImage copy = image->copy();
    return personCall("KXScreen_SetPersonHeadImg", hScreen, hPlay, QDlgScreen::WorkHeadImage,
                      [copy](QDlgScreen* s, tagPersonInfo* p) { return s->updatePersonHeadImg(p, copy); });
}

int KXScreen_SetUnjoinedPersonInfo(void* hScreen, void* hPlay, char* name, int iStatus, const QImage& image)
{
    const QString qname = fromLocal(name).left(kMaxNameChars);
    const QImage copy = image.copy();
    return personCall("KXScreen_SetUnjoinedPersonInfo", hScreen, hPlay, QDlgScreen::WorkUnjoined,
                      [qname, iStatus, copy](QDlgScreen* s, tagPersonInfo* p) {
                          return s->updateUnJoinedPersonInfo(p, qname, iStatus, copy);
                      });
}

int KXScreen_AllLook(void* hScreen, void* hPlay, int bAllLook)
{
    return personCall("KXScreen_AllLook", hScreen, hPlay, QDlgScreen::WorkAllLook,
                      [bAllLook](QDlgScreen* s, tagPersonInfo* p) {
                          s->onModAllLook(p, bAllLook != 0);
                          return true;
                      });
}

int KXScreen_LockLook(void* hScreen, void* hPlay, int bLockLook)
{
    return personCall("KXScreen_LockLook", hScreen, hPlay, QDlgScreen::WorkLookLock,
                      [bLockLook](QDlgScreen* s, tagPersonInfo* p) {
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
    return galleryCall("KXScreen_FocusByUserID", hScreen, QDlgScreen::WorkFocus,
                       [id](QDlgScreen* s) { s->onModFocusByUserID(id); });
}

// Voice activation set and cancelled share one queue place: the last of the
// two a host thread asked for is the one that holds.
int KXScreen_SetVoiceActivateByUserID(void* hScreen, char* userID)
{
    const QString id = fromLocal(userID);
    return galleryCall("KXScreen_SetVoiceActivateByUserID", hScreen, QDlgScreen::WorkVoice,
                       [id](QDlgScreen* s) { s->onModVoiceActivate(id); });
}

int KXScreen_CancelVoiceActivate(void* hScreen)
{
    return galleryCall("KXScreen_CancelVoiceActivate", hScreen, QDlgScreen::WorkVoice,
                       [](QDlgScreen* s) { s->onModCancelVoiceActivate(); });
}

int KXScreen_SetCurSpeakPerson(void* hScreen, char* userIDs)
{
    const QString ids = fromLocal(userIDs);
    return galleryCall("KXScreen_SetCurSpeakPerson", hScreen, QDlgScreen::WorkSpeakList,
                       [ids](QDlgScreen* s) { s->onModSetSpeakList(ids); });
}

int KXScreen_UpdateNetWeak(void* hScreen, const char* userID, bool bNetWeak, int iNetLevel)
{
    const QString id = fromLocal(userID);
    return galleryCall(
        "KXScreen_UpdateNetWeak", hScreen, QDlgScreen::WorkNetWeak,
        [id, bNetWeak, iNetLevel](QDlgScreen* s) { s->onModUpdateNetWeak(id, bNetWeak, iNetLevel); }, 0, id);
}

// ---------------------------------------------------------------------------
// Layout and gallery

int KXScreen_SetCurMode(void* hScreen, int iMode)
{
    return galleryCall("KXScreen_SetCurMode", hScreen, QDlgScreen::WorkMode,
                       [iMode](QDlgScreen* s) { s->onModSetScreenMode(iMode); });
}

int KXScreen_GetCurMode(void* hScreen)
{
    return guarded("KXScreen_GetCurMode", 0, [&] {
        logThread("KXScreen_GetCurMode");
        ScreenUse use(hScreen);
        return checkScreen(use, "KXScreen_GetCurMode", hScreen) ? use.screen()->curMode() : 0;
    });
}

int KXScreen_MoveWindow(void* hScreen, QRect rect, int flags)
{
    return galleryCall("KXScreen_MoveWindow", hScreen, QDlgScreen::WorkMove,
                       [rect, flags](QDlgScreen* s) { s->onModMove(rect, flags); });
}

int KXScreen_JoinMeetingFinish(void* hScreen)
{
    return galleryCall("KXScreen_JoinMeetingFinish", hScreen, QDlgScreen::WorkJoinFinish,
                       [](QDlgScreen* s) { s->setJoinMeetingFinish(); });
}

int KXScreen_IsIconic(void* hScreen)
{
    return interfaceCall("KXScreen_IsIconic", hScreen, 0, [](const ScreenUse& use) {
        // The gallery is a child widget and is never minimised itself: what
        // the host minimises is its top-level window.
        QDlgScreen* screen = use.screen();
        return (screen->isMinimized() || screen->window()->isMinimized()) ? 1 : 0;
    });
}

// The host's own page buttons. They read the gallery and relayout it at once,
// so they belong on the interface thread.
int KXScreen_SetPage(void* hScreen, int iPage)
{
    return interfaceCall("KXScreen_SetPage", hScreen, 0,
                         [iPage](const ScreenUse& use) { return use.screen()->setPage(iPage); });
}

int KXScreen_GetPage(void* hScreen)
{
    return interfaceCall("KXScreen_GetPage", hScreen, 0,
                         [](const ScreenUse& use) { return use.screen()->shownPage(); });
}

int KXScreen_GetPageCount(void* hScreen)
{
    return interfaceCall("KXScreen_GetPageCount", hScreen, 0,
                         [](const ScreenUse& use) { return use.screen()->shownPageCount(); });
}

// ---------------------------------------------------------------------------
// Sharing

int KXScreen_ChangePrimaryScreen(void* hScreen, bool bPrimary)
{
    return galleryCall("KXScreen_ChangePrimaryScreen", hScreen, QDlgScreen::WorkPrimaryScreen,
                       [bPrimary](QDlgScreen* s) { s->onModPrimaryScreenChanged(bPrimary); });
}

// Started and stopped share one queue place: the last holds.
int KXScreen_StartLocalShare(void* hScreen, int iShareType, bool bShare)
{
    return galleryCall("KXScreen_StartLocalShare", hScreen, QDlgScreen::WorkLocalShare,
                       [iShareType, bShare](QDlgScreen* s) { s->onModStartLocalShare(iShareType, bShare); });
}

int KXScreen_StopLocalShare(void* hScreen)
{
    return galleryCall("KXScreen_StopLocalShare", hScreen, QDlgScreen::WorkLocalShare,
                       [](QDlgScreen* s) { s->onModStopLocalShare(); });
}

int KXScreen_SetShareWatermark(void* hScreen, QString text, bool bShow)
{
    // Drawn across a tile: no more of it than a tile could show is kept.
    const QString clipped = text.left(kMaxNameChars);
    return galleryCall("KXScreen_SetShareWatermark", hScreen, QDlgScreen::WorkWatermark,
                       [clipped, bShow](QDlgScreen* s) { s->onModSetShareWatermark(clipped, bShow); });
}

int KXScreen_SetSharePaush(void* hScreen, bool bPause)
{
    return galleryCall("KXScreen_SetSharePaush", hScreen, QDlgScreen::WorkSharePause,
                       [bPause](QDlgScreen* s) { s->onModSetSharePause(bPause); });
}

int KXScreen_ShareWhiteBoard(void* hScreen, const char* userID, bool bShare, bool bDulMode)
{
    const QString id = fromLocal(userID);
    return galleryCall("KXScreen_ShareWhiteBoard", hScreen, QDlgScreen::WorkWhiteBoard,
                       [id, bShare, bDulMode](QDlgScreen* s) { s->onModShareWhiteBoard(id, bShare, bDulMode); });
}

int KXScreen_ReposShareWgtForAnnonate(void* hScreen)
{
    return galleryCall("KXScreen_ReposShareWgtForAnnonate", hScreen, QDlgScreen::WorkReposShare,
                       [](QDlgScreen* s) { s->onModReposShareWgtPos(); });
}

QRect KXScreen_GetShareWgtPos(void* hScreen)
{
    return interfaceCall("KXScreen_GetShareWgtPos", hScreen, QRect(),
                         [](const ScreenUse& use) { return use.screen()->GetShareWgtPos(); });
}

int KXScreen_IsUserShare(void* hScreen)
{
    return interfaceCall("KXScreen_IsUserShare", hScreen, 0,
                         [](const ScreenUse& use) { return use.screen()->isLocalShare() ? 1 : 0; });
}

// ---------------------------------------------------------------------------
// Picture-in-picture, subtitles, display

int KXScreen_ShowPicInPic(void* hScreen, bool bShow)
{
    return galleryCall("KXScreen_ShowPicInPic", hScreen, QDlgScreen::WorkPicInPic,
                       [bShow](QDlgScreen* s) { s->testShowPicInPicDialog(bShow); });
}

QWidget* KXScreen_GetPicInPicWidgetPtr(void* hScreen)
{
    return interfaceCall<QWidget*>("KXScreen_GetPicInPicWidgetPtr", hScreen, nullptr,
                                   [](const ScreenUse& use) { return use.screen()->GetPicInPicWidgetPtr(); });
}

int KXScreen_AddSentence(void* hScreen, int iType, int iIndex, char* name, char* text)
{
    // Cut on the calling thread to what the captions keep, so that a flood
    // of long texts waits as little as the captions hold; sentences waiting
    // under the same index are merged.
    const QString qname = kxsubtitle::SentenceStore::clipName(nameFromUtf8(name));
    const QString qtext = kxsubtitle::SentenceStore::clipText(fromUtf8(text));
    return galleryCall(
        "KXScreen_AddSentence", hScreen, QDlgScreen::WorkCaption,
        [iType, iIndex, qname, qtext](QDlgScreen* s) { s->onModAddSubtitle(iType, iIndex, qname, qtext); },
        iIndex);
}

int KXScreen_ClearSubtitles(void* hScreen)
{
    return guarded("KXScreen_ClearSubtitles", 0, [&] {
        logThread("KXScreen_ClearSubtitles");
        ScreenUse use(hScreen);
        if (!checkScreen(use, "KXScreen_ClearSubtitles", hScreen))
            return 0;
        // Sentences still waiting would be cleared the moment they arrive.
        QDlgScreen* screen = use.screen();
        screen->dropQueued(QDlgScreen::WorkCaption);
        screen->runFromHost(QDlgScreen::WorkClearCaptions, nullptr, [screen]() { screen->onModClearSubtitles(); });
        return 1;
    });
}

int KXScreen_OpenSubtitle(void* hScreen, bool bOpen)
{
    return galleryCall("KXScreen_OpenSubtitle", hScreen, QDlgScreen::WorkOpenCaptions,
                       [bOpen](QDlgScreen* s) { s->onModOpenSubtitle(bOpen); });
}

int KXScreen_SetDPIs(void* hScreen, double dpi1, double dpi2)
{
    return guarded("KXScreen_SetDPIs", 0, [&] {
        KXLOG << "[ScreenMod]KXScreen_SetDPIs dpi1=:" << dpi1 << ";dpi2=" << dpi2;
        ScreenUse use(hScreen);
        if (!checkScreen(use, "KXScreen_SetDPIs", hScreen))
            return 0;
        // Kept for the host's sake (tiles draw at the pixel ratio of the screen
        // they are on): only a finite, positive factor that a screen can have is taken.
        const auto plausible = [](double d) { return std::isfinite(d) && d > 0.0 && d <= 16.0; };
        if (!plausible(dpi1) || !plausible(dpi2)) {
            KXLOG << "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16";
            refuse("KXScreen_SetDPIs", "a factor is not between 0 and 16");
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
    return guarded("KXScreen_SetMeetingRoomMinimized", 0, [&] {
        KXLOG << "[ScreenMod]KXScreen_SetMeetingRoomMinimized, bMinimized:" << bMinimized;
        ScreenUse use(hScreen);
        if (use) {
            QDlgScreen* screen = use.screen();
            screen->runFromHost(QDlgScreen::WorkRoomMinimized, nullptr,
                                [screen, bMinimized]() { screen->onModMeetingRoomMinimized(bMinimized); });
            return 1;
        }
        // No gallery named (the handle is not checked here): the meeting room
        // is the host's one window, and every gallery hears it.
        config()->m_bMeetingRoomMinimized.store(bMinimized);
        if (kxsync::onInterfaceThread())
            roomMinimizedToEveryGallery();
        else if (!g_roomMinimizedQueued.exchange(true))
            kxsync::post(config(), []() { roomMinimizedToEveryGallery(); });
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
    const int key = bNext ? Qt::Key_Up : Qt::Key_Down;
    return galleryCall("KXScreen_ChangeShowPage", hScreen, QDlgScreen::WorkPage,
                       [key](QDlgScreen* s) { s->onKey(key); }, key);
}

int KXScreen_SetDefStreamType(void* hScreen, void* hPlay)
{
    return personCall("KXScreen_SetDefStreamType", hScreen, hPlay, QDlgScreen::WorkDefStream,
                      [](QDlgScreen* s, tagPersonInfo* p) {
                          s->setPersonDefStreamType(p);
                          return true;
                      });
}

} // extern "C"
