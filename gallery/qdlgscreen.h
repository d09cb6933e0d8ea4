#ifndef KX_QDLGSCREEN_H
#define KX_QDLGSCREEN_H

#include "gallerystate.h"
#include "layoutmemory.h"
#include "pendingwork.h"
#include "speakerhold.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QImage>
#include <QMap>
#include <QHash>
#include <QSet>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QStringList>
#include <QVector>
#include <atomic>
#include <functional>
#include <mutex>

class CPlayWidget;
class QDlgExtScreen;
class QDlgPicInPic;
class QLabel;
class QTimer;
class QMyPageCtrl;
class SubtitleBand;
struct tagPersonInfo;
struct KxCloudRTCVideoFrameQT;

namespace kxorder {
struct OrderItem;
}

// The gallery controller: the roster, the tile pool, ordering, paging, stream
// types and the layouts. Lives on the interface thread; only AddMeetingPerson
// and playFrame run on host threads, and work the host's threads give it
// waits in its own queue (runFromHost).
//
// Each gallery is whole in itself: its layout, its share and external-screen
// state, its floating window, its captions. The exports of a handle reach
// that handle's gallery only, and the gallery's own widgets (tiles' overlays,
// page controls, the floating window) report to it alone.
//
// Split by concern over several files: qdlgscreen.cpp (construction, routing),
// _roster (participants and the tile map), _order (display order), _stream
// (stream types and timers), _frame (frame intake), _layout (the layout
// passes and mode switching), _paging (pages and page controls), _focus (focus,
// look states, overlay actions), _share (the stage, sharing, the floating
// window), _access (the keyboard and what screen readers are told).
class QDlgScreen : public QDialog
{
    Q_OBJECT
public:
    explicit QDlgScreen(QWidget* parent = nullptr);
    ~QDlgScreen() override;

    typedef QMap<CPlayWidget*, tagPersonInfo*> PlayMap;

    // Escape would hide a dialog; the gallery stays until it is released.
    void reject() override {}

    // The kinds of work host threads hand the gallery: one item waits per
    // participant and kind (or per kind, for the gallery as a whole).
    enum Work {
        WorkArrival, WorkRemoval, WorkUserInfo, WorkFrameNotice, WorkPreview, WorkMute, WorkHasMic,
        WorkPersonInfo, WorkVolume, WorkMoreInHide, WorkHeadImage, WorkUnjoined, WorkAllLook, WorkLookLock,
        WorkDefStream, WorkFocus, WorkVoice, WorkSpeakList, WorkNetWeak, WorkMode, WorkMove, WorkJoinFinish,
        WorkPrimaryScreen, WorkLocalShare, WorkWatermark, WorkSharePause, WorkWhiteBoard, WorkReposShare,
        WorkPicInPic, WorkCaption, WorkClearCaptions, WorkOpenCaptions, WorkRoomMinimized, WorkParent,
        WorkExtClose, WorkExtUser, WorkPage
    };
    // Gallery work from an export: at once on the interface thread; from any
    // other it waits in the gallery's queue, replacing work of the same key
    // (person may be null for the gallery as a whole). Work for a participant
    // is dropped if the participant has left by the time it runs.
    void runFromHost(Work kind, tagPersonInfo* person, std::function<void()> f, qint64 sub = 0,
                     const QString& name = QString());
    // The same, always queued (also from the interface thread).
    void queueFromHost(Work kind, tagPersonInfo* person, std::function<void()> f, qint64 sub = 0,
                       const QString& name = QString());
    // Drops the work of one kind still waiting (any thread).
    void dropQueued(Work kind);
    // Items waiting in the queue (any thread).
    int queuedWork() const { return m_pending.size(); }

    // The gallery is done for (released, or its window destroyed): its windows
    // hide, its timers stop, work still queued for it is dropped.
    void retire();
    bool isRetired() const { return m_bRetired; }

    // The current layout (any thread) and the one to return to.
    int curMode() const { return m_iCurMode.load(); }
    void setCurMode(int mode) { m_iCurMode.store(mode); }
    int preScreenMode() const { return m_layouts.home(); }
    const GalleryState& state() const { return m_state; }

    // --- host thread ---------------------------------------------------------
    void* AddMeetingPerson(QString userID, QString qstrExtra, QString userName, qint64 joinTime,
                           int iExtra, void* pUserData, int m_iStatus);
    bool playFrame(void* person, KxCloudRTCVideoFrameQT* frame);

    // --- roster and tile map -----------------------------------------------------
    bool DelMeetingPerson(void* person);
    bool DelPerson(tagPersonInfo* person);
    bool RemovePersonFromPlayMap(tagPersonInfo* person);
    CPlayWidget* findPlayWidgetByPersonInfo(tagPersonInfo* person) const;
    tagPersonInfo* getPersonInfoByPlayWidgetPtr(CPlayWidget* widget) const;
    bool isHasPerson(tagPersonInfo* person) const;
    static bool isUnjoinedPerson(tagPersonInfo* person);
    CPlayWidget* attachNewWidget(PlayMap::iterator it, tagPersonInfo* person);
    void resetLastNotUsePlayWidget(PlayMap::iterator& it);
    void releasePlayWidget();
    void releasePlayWidgetByPersonInfo(tagPersonInfo* person);
    void resetAll();
    void resetAllPlayMap();
    bool updatePersonInfo(void* person, bool bSelf, int iRoleType, QString name);
    bool updateUnJoinedPersonInfo(void* person, QString name, int status, const QImage& head);
    bool updatePersonHeadImg(void* person, const QImage& head);
    void setPreview(void* person, bool bPreview);
    bool setMute(void* person, bool bVolMute);
    bool setVolume(void* person, int volume);
    void changePersonVideoMute(bool bMute);
    void notifyRemotePlay(tagPersonInfo* person, bool bPlay);
    void notifyRecallPerson(tagPersonInfo* person);
    tagPersonInfo* findPersonByUserID(const QString& userID) const;

    // --- display order -------------------------------------------------------
    bool testChangePersonToHead(tagPersonInfo* person, bool bSelf, int iRoleType);
    bool testNeedOrder(tagPersonInfo* person, int index);
    qint64 getMinJoinTime();
    qint64 getMaxJoinTime();
    void setJoinMeetingFinish();
    bool isJoinMeetingFinish() const { return m_bJoinFinish; }

    // --- stream types and timers ----------------------------------------------
    void setPersonStreamType(tagPersonInfo* person, int iStreamType);
    void switchStream(tagPersonInfo* person, int streamType);
    void setPersonDefStreamType(void* person);
    int getCurPageStreamType() const;
    void resetStreamTick();
    void testStartCheckTimer();
    void testStopCehckTimer();
    int checkTimerId() const { return m_iCheckTimerId; }
    int videoMuteTimerId() const { return m_iVideoMuteTimerId; }
    // One pass of the check timer (the timer calls it every second).
    void onCheckTimer();
    // What the video-mute timer does when it fires.
    void onVideoMuteTimer();
    // How long the layout must stay still before off-screen video stops
    // (5 s; shorter for tests).
    void setVideoMuteDelay(int ms) { m_iVideoMuteDelayMs = ms; }

    // --- modes and layouts ------------------------------------------------------
    bool setMeetingMode(int mode);
    void reposPlayWnd();
    static bool IsFocusMode(int mode);
    bool Is6CurOr8CurMode() const;
    void hideAllPlayWnd();
    void reLayoutEqualCut();
    void reLayout6Cut();
    void reLayout8Cut();
    void reLayoutSpeaker(int mode);
    void reLayoutSpeaker4();
    void reLayoutPicinPic();
    void reposMeetingSignalFull();
    void getFoucsStartPos(int& start, int& end);

    // --- paging -----------------------------------------------------------
    bool nextPage();
    bool prevPage();
    void testShowPageButton(const QRect* rcSmall);
    void testPrevPageForDelPerson();
    int pageIndex() const { return m_iPageIdx; }
    // The host's page buttons: the pages that show somebody in the layout as
    // it is now (at least 1), the page shown, and a turn to a page (clamped;
    // answers the page shown after it).
    int shownPageCount() const;
    int shownPage() const;
    int setPage(int page);
    bool isStripHidden() const { return m_bStripHidden; }

    // --- focus, look states, sharing, picture-in-picture -------------------------
    tagPersonInfo* getFoucsPerson() const;
    void reAddFocusPersonToPlayMap();
    bool isShareScreenUser(const QString& userID) const;
    bool testIsShareInExtMode() const;
    bool testDelPersonIsMax(tagPersonInfo* person) const;
    bool testResetPreFocus();
    void testCancelLockLook(tagPersonInfo* person);
    void testHideMoreMenu();
    void testShowPicInPicDialog(bool bShow);
    QWidget* GetPicInPicWidgetPtr() const;
    QRect GetShareWgtPos() const;
    QString allLookUserID() const;
    QString lockLookUserID() const;
    QString shareUserID() const;
    bool isLocalShare() const;
    // Whether the participant's picture is in front of somebody: a visible
    // tile of the gallery while the meeting room is not minimised, or a tile
    // of the floating window.
    bool isOnScreen(const tagPersonInfo* person) const;
    bool isMeetingRoomMinimized() const { return m_bMeetingRoomMinimized; }
    bool isPrimaryScreen() const { return m_bPrimaryScreen; }
    // The floating window's bindings for the layout as it is now (4 and 9
    // use it; elsewhere it lets its tiles go and hides).
    void placePicInPic();
    QString whiteBoardUserID() const { return m_qstrWhiteBoardUserID; }

    // --- the external screen ---------------------------------------------------
    bool extOpen(int iScreen);
    void extClose();
    bool extIsOpen() const;
    // The participant to show there; empty: automatic.
    void extSetUserID(const QString& userID);
    QString extShownUserID() const;
    QWidget* extWidget() const; // null while closed
    bool extShows(const tagPersonInfo* person) const;
    // Who the external screen shows, after every relayout.
    void updateExtScreen();
    // The shares kept for the external screen, outside the roster.
    const QVector<tagPersonInfo*>& extShares() const { return m_extShares; }
    QWidget* whiteBoardArea() const;
    CPlayWidget* getCurSelPlayWidgetPtr();

    // True while person is a record of this gallery that still has the serial
    // number it had when work for it was queued (any thread).
    bool isCurrentPerson(void* person, quint64 serial) const;
    // Whether work queued for the record with this serial may still run: the
    // record is the same one, or it has been freed and is listed as freed
    // (the slots ask that list before anything else).
    bool mayRunFor(void* person, quint64 serial) const;

    // --- state for the host interface and tests --------------------------------
    const QVector<tagPersonInfo*>& persons() const { return m_vecPerson; }
    const PlayMap& playMap() const { return m_mapPlay; }
    CPlayWidget* focusPlayWidget() const { return m_pFocusPlayWidget; }
    tagPersonInfo* focusPerson() const { return m_pFocusPerson; }
    CPlayWidget* maxPlayWidget() const { return m_pMaxPlayWnd; }
    QMyPageCtrl* pageCtrl(int index) const; // 0 pageNext, 1 stripNext, 2 pagePre, 3 stripPre, 4 pageDown, 5 pageUp, 6 leftShow, 7 rightHide
    qint64 minJoinTime() const { return m_minJoinTime.load(); }
    qint64 maxJoinTime() const { return m_maxJoinTime.load(); }
    // The live captions as "name: text", oldest first.
    // Who holds the stage as active speaker, and how often it changed hands.
    QString stageSpeaker() const { return m_speakerHold.stage(); }
    bool stageFollowsSpeaker() const { return m_bStageFollowsSpeaker; }
    int stageSpeakerChanges() const { return m_iStageSpeakerChanges; }
    // Shorter hold times, for tests.
    void setSpeakerHoldTimes(qint64 takeMs, qint64 holdMs);
    QStringList subtitles() const;
    SubtitleBand* subtitleBand() const { return m_pSubtitleBand; }

public slots:
    void onModMove(QRect rect, int flags);
    void onModAllLook(void* person, bool bAllLook);
    void onModLookLock(void* person, bool bLock);
    void onModPreview(void* person, bool bPreview);
    void onModDelPerson(void* person);
    void onMeetingMode(int mode);
    void onModScreenToolbar(QRect rect, bool bShow);
    void onModAudioMute(void* person, bool bMute);
    void onModHasMic(void* person, bool bHasMic);
    void onModPersonInfo(void* person, bool bSelf, int iRoleType, QString name);
    void onModVolume(void* person, int volume);
    void onModAddPerson(void* person);
    void onPlayFrameUpdateUI(void* person, int width, int height);
    void onModFocusByUserID(QString userID);
    void onModSwitchMode();
    void onNotifyUpdateUserInfo(void* pPlayHdl, void* person);
    void onModMoreInHide(void* person);
    void onModSetScreenMode(int mode);
    void onModJoinMeetingFinish();
    void onNotifyClickExtPlayWidget(void* person);
    void onSetPicInPicOne();
    void onSetPicInPicMutil(bool bMulti);
    void onPicInPicChangePage(bool bNext);
    void onClickPicInPicPlayWidget(void* person);
    void onModVoiceActivate(QString userID);
    void onModCancelVoiceActivate();
    void onModSetSpeakList(QString userIDs);
    void onClickPageCtl(QWidget* ctrl);
    void onClickAudioCtl(void* person);
    void onClickMore(void* person, int pos);
    void onRecallPerson(void* person);
    void onModSetSharePause(bool bPause);
    void onModPrimaryScreenChanged(bool bPrimary);
    void onModStartLocalShare(int iShareType, bool bShare);
    void onModStopLocalShare();
    void onModSetShareWatermark(QString text, bool bShow);
    void onModShareWhiteBoard(QString userID, bool bShare, bool bDulMode);
    void onModReposShareWgtPos();
    void onModUpdateNetWeak(QString userID, bool bNetWeak, int iNetLevel);
    void onModAddSubtitle(int iType, int iIndex, QString name, QString text);
    void onModClearSubtitles();
    void onModOpenSubtitle(bool bOpen);
    void onModMeetingRoomMinimized(bool bMinimized);
    void onModMoveParent(QWidget* parent);
    void onDisplayOrder(bool bOrderForMute);
    void onKey(int key);
    void onWheel(int delta);
    void onLeftBtnDBClick(CPlayWidget* widget);
    void onPlayStatusChange(CPlayWidget* widget);
    void onPlayWidgetLBtnClick(CPlayWidget* widget);

signals:
    // The roster is to be ordered again; delivered queued, after the current event.
    void notifyDisplayOrder(bool bOrderForMute);

protected:
    bool event(QEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;
    void timerEvent(QTimerEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void InitPlayWidget();
    // A tile of this gallery or of its windows: its overlay reads this
    // gallery's state and reports its controls' clicks here.
    void adoptTile(CPlayWidget* tile);
    void drainQueued();
    void stopTimers(); // the check and video-mute timers
    // Brings every share kept for the external screen into the gallery, and
    // the other way (true when any went).
    void takeBackExtShares();
    bool extTakeShares();
    void extReset();
    void initModSlotMap();
    void bindTile(PlayMap::iterator it, tagPersonInfo* person, bool bFlag);
    void resetPlayWidgetPtr(tagPersonInfo* person);
    bool testLivePerson(tagPersonInfo* person, const char* where) const;
    // Lets every tile that shows the record go (removal, under the frame lock).
    void detachFromTiles(tagPersonInfo* person);
    void refreshTile(tagPersonInfo* person);
    // The roster as the ordering rules see it; the IDs of sharing participants
    // are gathered once so that building the items stays linear.
    QVector<kxorder::OrderItem> orderItems() const;
    QSet<QString> sharingUserIDs() const;
    // Six-cut and eight-cut: one big tile and small ones, by slot.
    void reLayoutBigAndSmall(int slotCount, QRect (*rectOf)(int, int, int, int, int), bool bSixCut);
    // A look state begins (bToast: of a kind not active yet; bFirst: no look
    // of any kind was active) or moves to another participant.
    void beginLook(bool bToast, bool bFirst);
    void endLook();
    bool anyLookActive() const;
    // Shows the layout the causes under way want (after one began or ended).
    void applyLayouts();
    // A full view ends: its tile goes back to the layout.
    void endFullView();
    // Tells the host which share holds the stage now (message 10), if any.
    void notifyStageShare(const QString& userID);
    // Pin, active speaker and voice activation.
    void setPinned(tagPersonInfo* pinned);
    void applyPin();
    void speakerReport(const QStringList& userIDs);
    void setSpeaking(const QStringList& userIDs);
    void scheduleSpeakerTick();
    void onSpeakerTick();
    void applyStageSpeaker();
    bool bringSpeakerToFirstPage(tagPersonInfo* p); // true when it laid out again
    void cancelVoiceActivation();
    void NotifyShareWgtPos();
    void CheckShareWgtPosChanged();
    // Stream on for what is on screen now, off for the rest once the
    // layout has been still for five seconds.
    void restartVideoMuteTimer();
    // The focus tile takes the focus participant (the speaker layouts and
    // the stage); bFollow: also when the participant it has is still listed.
    bool bindFocusTile(bool bFollow, bool bLogName);
    void putOnStage(tagPersonInfo* person);
    void releasePicInPic();
    bool hasShare() const; // a share record in this gallery's roster
    tagPersonInfo* firstShare() const;
    bool m_bShareScanDue = false; // a share arrived or left since m_pSharePerson was found
    void setPicInPicShown(bool bShow);
    void placeWhiteBoard(const QRect& rc);
    // The floating window shows with the stage layouts: 4 and 9.
    static bool usesPicInPic(int mode) { return mode == 4 || mode == 9; }
    void logPlayMap(const char* tag) const;
    // A relayout hides, after its pass, the tiles the pass did not show.
    struct TileShowMark {
        CPlayWidget* tile;
        int showCount;
        bool wasVisible;
    };
    QVector<TileShowMark> markTilesBeforePass() const;
    void hideTilesNotShownByPass(const QVector<TileShowMark>& marks);
    // The same for the page controls: between begin and end,
    // testShowPageButton only marks them hidden and the end hides those not
    // shown again; raising waits for the end too (raiseInPass), and is
    // skipped when it would leave the stacking order as it is.
    unsigned pageCtrlBit(const QWidget* ctrl) const;
    void beginPassSweep();
    void endPassSweep();
    void raiseInPass(QWidget* w);
    bool m_bInPassSweep = false;
    unsigned m_uPageCtrlShown = 0; // bits by pageCtrl() index
    QVector<QWidget*> m_raisedInPass;
    void notifyDBClickPlayWnd();

    struct Form;
    Form* ui = nullptr;                          // the widget form
    CPlayWidget* m_pFocusPlayWidget = nullptr;   // ninth tile, never in m_mapPlay
    tagPersonInfo* m_pFocusPerson = nullptr;
    tagPersonInfo* m_pPreFocusPerson = nullptr;
    CPlayWidget* m_pCurSelPlayWidget = nullptr;
    CPlayWidget* m_pMaxPlayWnd = nullptr;        // the tile of full-screen mode 9
    CPlayWidget* m_pVoiceActivatePlayWidget = nullptr;
    int m_iCheckTimerId = 0;
    PlayMap m_mapPlay;
    QVector<tagPersonInfo*> m_vecPerson;
    // Shares shown only on the external screen, kept outside the roster.
    QVector<tagPersonInfo*> m_extShares;
    QDlgExtScreen* m_pExtScreen = nullptr;       // created at the first opening, lives with the gallery
    std::atomic<CPlayWidget*> m_pExtTile{nullptr}; // its tile, for host threads
    QString m_qstrExtChosen;                     // the host's choice; empty: automatic
    tagPersonInfo* extChoice() const;
    tagPersonInfo* m_pSharePerson = nullptr;     // the roster's first share (NotifyShareWgtPos)
    int m_iPageIdx = 0;
    int m_iPicInPicPageIdx = 0;
    QPoint m_ptMoreMenu;                         // where the "more" menu was opened
    tagPersonInfo* m_pAllLookPerson = nullptr;
    std::atomic<qint64> m_minJoinTime;
    std::atomic<qint64> m_maxJoinTime;
    QPoint m_ptLastShareWgt;                     // last announced share tile position
    QElapsedTimer m_timePageTurn;
    int m_iVideoMuteTimerId = 0;
    int m_iVideoMuteDelayMs = 5000;
    QMyPageCtrl* m_pPagePre = nullptr;
    QMyPageCtrl* m_pPageNext = nullptr;
    QMyPageCtrl* m_pStripPre = nullptr;
    QMyPageCtrl* m_pStripNext = nullptr;
    QMyPageCtrl* m_pPageDown = nullptr;
    QMyPageCtrl* m_pPageUp = nullptr;
    QMyPageCtrl* m_pCtrlRHide = nullptr;
    QMyPageCtrl* m_pCtrlLShow = nullptr;
    bool m_bStripHidden = false;
    QDlgPicInPic* m_pPicInPic = nullptr;
    QString m_qstrPicInPicOne;                   // the "one" state's choice while a share holds the stage
    bool m_bPicInPicUserHidden = false;          // hidden on request until the layout changes
    int m_iPicInPicHiddenMode = 0;
    bool m_bPicInPicOwnChange = false;           // the window is shown or hidden by this controller
    bool m_bPicInPicShownInPass = false;         // message 26 is due once the pass is over
    QString m_qstrWhiteBoardUserID;              // whose whiteboard holds the stage; empty: none
    bool m_bWhiteBoardDual = false;
    QLabel* m_pWhiteBoard = nullptr;             // the stage area the host's whiteboard covers

    bool m_bJoinFinish = false;
    QString m_qstrFocusUserID;                   // pinned with KXScreen_FocusByUserID or a double click
    SpeakerHold m_speakerHold;                   // who holds the stage as speaker
    QTimer* m_pSpeakerTimer = nullptr;           // when the hold can next change the stage
    QElapsedTimer m_speakerClock;
    QStringList m_speakingIDs;                   // reported speaking right now (the border)
    bool m_bVoiceActivation = false;             // the speaker came through voice activation
    bool m_bStageFollowsSpeaker = true;          // off from CancelVoiceActivate to the next SetVoiceActivate
    QString m_qstrPrevStageSpeaker;              // who held the stage before the one on it
    int m_iStageSpeakerChanges = 0;
    CPlayWidget* m_pMoreMenuPlayWidget = nullptr; // tile whose "more" menu is open
    tagPersonInfo* m_pMoreMenuPerson = nullptr;
    QMap<int, void (QDlgScreen::*)()> m_mapModeSlot; // layout pass of each mode
    SubtitleBand* m_pSubtitleBand = nullptr;
    void placeSubtitleBand(); // after every relayout
    bool m_bShareWgtKnown = false;
    // Records this controller created, with their serial numbers: queued work
    // and handed-back records are checked against it.
    mutable std::mutex m_ownedLock;
    QHash<void*, quint64> m_ownedSerials;
    bool isOwnedPerson(void* person) const;
    void forgetPerson(tagPersonInfo* person); // unregisters and frees a record
    // Assigns a participant's name: host threads read it under the frame lock.
    void setPersonName(tagPersonInfo* person, const QString& name);

    std::atomic<int> m_iCurMode{1};
    // What took the gallery over for a while (shares, the whiteboard, the
    // floating window, a full view, looks) and the layout to come back to.
    LayoutMemory m_layouts;
    GalleryState m_state;
    bool m_bHasShare = false;             // a remote share is in the roster
    bool m_bDisplayOrderFlag = false;     // argument of the last onDisplayOrder
    bool m_bSubtitleOpen = false;
    bool m_bMeetingRoomMinimized = false;
    bool m_bPrimaryScreen = false;        // shares go to the external screen while it is open
    QString m_qstrAciveUserID;            // the active speaker on the stage
    bool m_bRetired = false;
    kxwork::PendingWork m_pending;

    // --- the keyboard and screen readers (qdlgscreen_access.cpp) -------------
    // Tab goes from the gallery to its tiles in reading order (each followed
    // by its controls), then to the page controls; arrows step through the
    // tiles, PageUp/PageDown turn pages, Escape leaves. A relayout keeps the
    // keyboard on its participant when still shown.
    void initAccess();
    bool accessKey(QKeyEvent* event); // false: not a key of this kind
    void beginAccessPass();           // reposPlayWnd, before its pass
    void endAccessPass();             // and after it
    // The gallery's visible tiles showing someone, in reading order.
    QVector<CPlayWidget*> shownTiles() const;
    CPlayWidget* tileWithKeyboard() const;
    void placeTilesForReaders();
    void updateTabChain();
    void leaveKeyboard();
    struct AccessPass {
        int depth = 0;
        bool inGallery = false;        // the keyboard was in the gallery
        QPointer<QWidget> focus;       // where exactly
        tagPersonInfo* person = nullptr; // the participant of its tile, compared only
        quint64 serial = 0;
        QVector<tagPersonInfo*> shown; // on the gallery's tiles before the pass
    } m_access;
    const tagPersonInfo* m_pStagePerson = nullptr; // compared only, never read
    QVector<QWidget*> m_tabChain;
    bool m_bFocusForwarding = false;
};

#endif
