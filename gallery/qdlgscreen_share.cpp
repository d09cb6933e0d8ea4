// The stage (layout 4), screen sharing, the whiteboard, local sharing and the
// floating picture-in-picture window that shows who is not on the stage.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "kxtranslate.h"
#include "layoutgeometry.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

#include <QEvent>
#include <QLabel>

bool QDlgScreen::bindFocusTile(bool bFollow, bool bLogName)
{
    if (getFoucsPerson() != m_pFocusPerson && (bFollow || !isHasPerson(m_pFocusPerson)))
        reAddFocusPersonToPlayMap();
    if (m_pFocusPerson && !m_pFocusPerson->pWidget)
        reAddFocusPersonToPlayMap();
    if (m_pFocusPerson) {
        m_pFocusPerson->pWidget = m_pFocusPlayWidget;
        if (!m_pFocusPlayWidget->personInfo())
            m_pFocusPlayWidget->setPersonData(m_pFocusPerson, false);
        return true;
    }
    m_pFocusPerson = getFoucsPerson();
    if (!m_pFocusPerson)
        return false;
    if (bLogName)
        KXLOG << "focusPerson userName:" << m_pFocusPerson->userName;
    m_pCurSelPlayWidget = m_pFocusPlayWidget;
    m_pFocusPlayWidget->setPersonData(m_pFocusPerson, false);
    if (m_pFocusPerson->pWidget != m_pFocusPlayWidget)
        resetPlayWidgetPtr(m_pFocusPerson);
    m_pFocusPerson->pWidget = m_pFocusPlayWidget;
    RemovePersonFromPlayMap(m_pFocusPerson);
    return true;
}

void QDlgScreen::reLayoutPicinPic()
{
    // The stage: the share (or the focus participant) alone, fitted 16:9 in
    // the whole gallery, or in the left half when a whiteboard is beside it.
    // Everybody else is in the floating window (placePicInPic, after the pass).
    const int W = width();
    const int H = height();
    const bool bShare = hasShare();
    const bool bBoard = !m_qstrWhiteBoardUserID.isEmpty();
    if (bBoard && !(m_bWhiteBoardDual && bShare)) {
        // The whiteboard has the stage to itself; the focus tile stays empty.
        reAddFocusPersonToPlayMap();
        placeWhiteBoard(kxlayout::shareStageRect(W, H));
        return;
    }
    if (m_vecPerson.isEmpty() || !bindFocusTile(true, false))
        return;
    setPersonStreamType(m_pFocusPerson, 4);
    releasePlayWidgetByPersonInfo(m_pFocusPerson);
    m_pFocusPlayWidget->setGeometry(bBoard ? kxlayout::splitStageRect(W, H, 0) : kxlayout::shareStageRect(W, H));
    m_pFocusPlayWidget->showTile();
    if (bBoard)
        placeWhiteBoard(kxlayout::splitStageRect(W, H, 1));
    KXLOG << "stage userName:" << m_pFocusPerson->userName;
}

void QDlgScreen::placeWhiteBoard(const QRect& rc)
{
    tagPersonInfo* owner = findPersonByUserID(m_qstrWhiteBoardUserID);
    const QString name = owner && !owner->userName.isEmpty() ? owner->userName : m_qstrWhiteBoardUserID;
    m_pWhiteBoard->setText(kxTranslate("QDlgScreen", "%1's whiteboard").arg(name));
    m_pWhiteBoard->setGeometry(rc);
    m_pWhiteBoard->show();
    m_pWhiteBoard->raise();
}

QWidget* QDlgScreen::whiteBoardArea() const
{
    return m_pWhiteBoard;
}

void QDlgScreen::placePicInPic()
{
    const int mode = curMode();
    // Who is on the stage: the focus tile in layout 4 (nobody while a
    // whiteboard has it alone), the full-screen tile in layout 9.
    tagPersonInfo* stage = nullptr;
    if (mode == 4) {
        if (m_pFocusPerson && m_pFocusPerson->pWidget == m_pFocusPlayWidget && m_pFocusPlayWidget->isVisibleTo(this))
            stage = m_pFocusPerson;
    } else if (mode == 9 && m_pMaxPlayWnd) {
        stage = getPersonInfoByPlayWidgetPtr(m_pMaxPlayWnd);
    } else {
        // Layout 9 without a full-screen tile is the grid: everybody is there.
        releasePicInPic();
        return;
    }
    QVector<tagPersonInfo*> others;
    others.reserve(m_vecPerson.size());
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p != stage)
            others.append(p);
    }
    if (others.isEmpty() || m_bPicInPicUserHidden) {
        releasePicInPic();
        return;
    }
    // "One" shows the participant chosen in the window (until the next
    // speaker takes the stage), else the stage speaker, with the stage's
    // hold, else the one before (when the speaker is on the stage itself),
    // else the first. Never the participant on the stage.
    tagPersonInfo* one = nullptr;
    for (const QString& id : {m_qstrPicInPicOne, m_speakerHold.stage(), m_qstrPrevStageSpeaker}) {
        tagPersonInfo* p = id.isEmpty() ? nullptr : findPersonByUserID(id);
        if (p && p != stage && (!p->bSelf || id == m_qstrPicInPicOne)) {
            one = p;
            break;
        }
    }
    if (!one)
        one = others.first();
    m_pPicInPic->setParticipants(others, one);
    m_iPicInPicPageIdx = m_pPicInPic->pageIndex();
    for (int i = 0; m_pPicInPic->tile(i); ++i) {
        CPlayWidget* tile = m_pPicInPic->tile(i);
        tagPersonInfo* p = tile->personInfo();
        if (!p || !tile->isVisibleTo(m_pPicInPic))
            continue;
        // The window's tile is the participant's tile now: its frames go
        // there, and its gallery entry is free for the next pass.
        if (p->pWidget != tile) {
            RemovePersonFromPlayMap(p);
            p->pWidget = tile;
        }
        setPersonStreamType(p, 2);
    }
    // Whoever left the window lets its tile pointer go with it.
    for (tagPersonInfo* p : qAsConst(others)) {
        if (p->pWidget && m_pPicInPic->isTile(p->pWidget) && p->pWidget->personInfo() != p)
            p->pWidget = nullptr;
    }
    setPicInPicShown(true);
}

void QDlgScreen::releasePicInPic()
{
    for (int i = 0; m_pPicInPic->tile(i); ++i) {
        CPlayWidget* tile = m_pPicInPic->tile(i);
        tagPersonInfo* p = tile->personInfo();
        if (p && p->pWidget == tile)
            p->pWidget = nullptr;
    }
    m_pPicInPic->clear();
    setPicInPicShown(false);
}

void QDlgScreen::setPicInPicShown(bool bShow)
{
    if (m_pPicInPic->isVisible() == bShow)
        return;
    m_bPicInPicOwnChange = true;
    if (bShow) {
        m_pPicInPic->placeBeside(QRect(mapToGlobal(QPoint(0, 0)), size()));
        m_pPicInPic->show();
        m_pPicInPic->raise();
        // Told once the pass is over: the host may call back in.
        m_bPicInPicShownInPass = true;
    } else {
        m_pPicInPic->hide();
    }
    m_bPicInPicOwnChange = false;
}

bool QDlgScreen::eventFilter(QObject* watched, QEvent* e)
{
    if (watched == m_pPicInPic && !m_bPicInPicOwnChange) {
        if (e->type() == QEvent::Hide && m_pPicInPic->isHidden()) {
            // Hidden by the host through the pointer it holds, or by its close
            // control: it stays hidden until the layout changes, and the
            // participants in it are stopped after the usual five seconds.
            KXLOG << "picture-in-picture hidden by the host or its close control";
            m_bPicInPicUserHidden = true;
            m_iPicInPicHiddenMode = curMode();
            QMetaObject::invokeMethod(this, [this]() { restartVideoMuteTimer(); }, Qt::QueuedConnection);
        } else if (e->type() == QEvent::Show) {
            KXLOG << "picture-in-picture shown by the host";
            m_bPicInPicUserHidden = false;
            QMetaObject::invokeMethod(this, [this]() { reposPlayWnd(); }, Qt::QueuedConnection);
        }
    }
    return QDialog::eventFilter(watched, e);
}

void QDlgScreen::restartVideoMuteTimer()
{
    if (!m_bJoinFinish)
        return;
    changePersonVideoMute(false);
    if (m_iVideoMuteTimerId)
        killTimer(m_iVideoMuteTimerId);
    m_iVideoMuteTimerId = startTimer(m_iVideoMuteDelayMs, Qt::CoarseTimer);
}

bool QDlgScreen::isOnScreen(const tagPersonInfo* p) const
{
    if (extShows(p))
        return true;
    CPlayWidget* tile = p->pWidget;
    if (!tile || !tile->isVisible())
        return false;
    if (m_pPicInPic->isTile(tile))
        return true;
    return !m_bMeetingRoomMinimized;
}

void QDlgScreen::testShowPicInPicDialog(bool bShow)
{
    KXLOG << "testShowPicInPicDialog bShow:" << bShow << ",mode:" << curMode();
    // The window needs a stage: layout 4 (or a full view), as a share
    // would, until it is hidden again.
    m_bPicInPicUserHidden = !bShow;
    if (bShow) {
        m_layouts.begin(LayoutMemory::PicInPic, QString(), curMode());
    } else {
        m_iPicInPicHiddenMode = curMode();
        m_layouts.end(LayoutMemory::PicInPic);
    }
    if (m_layouts.layout() != curMode())
        applyLayouts();
    else
        reposPlayWnd();
}

void QDlgScreen::applyLayouts()
{
    setMeetingMode(m_layouts.layout());
}

void QDlgScreen::endFullView()
{
    m_layouts.end(LayoutMemory::FullView);
    m_pMaxPlayWnd = nullptr;
}

void QDlgScreen::notifyStageShare(const QString& userID)
{
    // The share's tip: that share is the focused participant now. Shares
    // that arrive while another holds the stage stay in the window quietly.
    tagPersonInfo* p = userID.isEmpty() ? nullptr : findPersonByUserID(userID);
    if (p && p->isShareScreen())
        QKXScreenConfig::getInstance()->notifyHost(10, reinterpret_cast<quintptr>(p),
                                                   reinterpret_cast<quintptr>(p->pUserData));
}

QWidget* QDlgScreen::GetPicInPicWidgetPtr() const
{
    return m_pPicInPic;
}

void QDlgScreen::onSetPicInPicOne()
{
    m_pPicInPic->setSeveral(false);
    placePicInPic();
    restartVideoMuteTimer();
}

void QDlgScreen::onSetPicInPicMutil(bool bMulti)
{
    m_pPicInPic->setSeveral(bMulti);
    reposPlayWnd();
}

void QDlgScreen::onPicInPicChangePage(bool bNext)
{
    m_pPicInPic->setPageIndex(qMax(0, m_pPicInPic->pageIndex() + (bNext ? 1 : -1)));
    placePicInPic();
    resetStreamTick();
    restartVideoMuteTimer();
}

void QDlgScreen::onClickPicInPicPlayWidget(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onClickPicInPicPlayWidget"))
        return;
    tagPersonInfo* stage = curMode() == 4 ? m_pFocusPerson : nullptr;
    if (p->isShareScreen() && stage && stage->isShareScreen() && m_layouts.chooseStageShare(p->userID)) {
        // The other share takes the stage; the one that had it goes to the window.
        KXLOG << "share put on the stage, userID:" << p->userID;
        reAddFocusPersonToPlayMap();
        reposPlayWnd();
        notifyStageShare(p->userID);
        return;
    }
    if ((stage && stage->isShareScreen()) || !m_qstrWhiteBoardUserID.isEmpty()) {
        // The share keeps the stage; the click chooses who "one" shows.
        m_qstrPicInPicOne = p->userID;
        placePicInPic();
        restartVideoMuteTimer();
        return;
    }
    putOnStage(p);
}

void QDlgScreen::putOnStage(tagPersonInfo* p)
{
    if (curMode() == 9 && m_pMaxPlayWnd && m_pMaxPlayWnd != m_pFocusPlayWidget) {
        // Full screen: the participant takes the full-screen tile.
        auto it = m_mapPlay.find(m_pMaxPlayWnd);
        if (it != m_mapPlay.end()) {
            RemovePersonFromPlayMap(p);
            if (it.value() && it.value()->pWidget == m_pMaxPlayWnd)
                it.value()->pWidget = nullptr;
            bindTile(it, p, false);
        }
    } else {
        setPinned(p);
        reAddFocusPersonToPlayMap();
    }
    reposPlayWnd();
}

QRect QDlgScreen::GetShareWgtPos() const
{
    // While a whiteboard is up its area is reported: that is where the host
    // puts its whiteboard window. Otherwise the share's tile on the stage.
    if (m_pWhiteBoard->isVisible())
        return QRect(m_pWhiteBoard->mapToGlobal(QPoint(0, 0)), m_pWhiteBoard->size());
    tagPersonInfo* share = m_bShareScanDue ? firstShare() : m_pSharePerson;
    CPlayWidget* tile = share ? share->pWidget : nullptr;
    if (tile && tile->isVisible() && !m_pPicInPic->isTile(tile))
        return QRect(tile->mapToGlobal(QPoint(0, 0)), tile->size());
    return QRect();
}

tagPersonInfo* QDlgScreen::firstShare() const
{
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen())
            return p;
    }
    return nullptr;
}

bool QDlgScreen::hasShare() const
{
    return (m_bShareScanDue ? firstShare() : m_pSharePerson) != nullptr;
}

void QDlgScreen::NotifyShareWgtPos()
{
    // Looked for again only when a share arrived or left: a relayout that
    // changes nothing reads no record (a large roster's records are far
    // apart in memory, and each read is a cache miss).
    if (!m_bShareScanDue)
        return;
    m_pSharePerson = firstShare();
    m_bShareScanDue = false;
}

void QDlgScreen::CheckShareWgtPosChanged()
{
    const QRect rc = GetShareWgtPos();
    if (rc.isEmpty()) {
        m_bShareWgtKnown = false;
        return;
    }
    if (m_bShareWgtKnown && rc.topLeft() == m_ptLastShareWgt)
        return;
    m_bShareWgtKnown = true;
    m_ptLastShareWgt = rc.topLeft();
    // x in the high half, y in the low half.
    const quint64 pos = (static_cast<quint64>(static_cast<quint32>(rc.x())) << 32) | static_cast<quint32>(rc.y());
    QKXScreenConfig::getInstance()->notifyHost(25, pos, 0);
}

void QDlgScreen::onModReposShareWgtPos()
{
    m_bShareWgtKnown = false;
    CheckShareWgtPosChanged();
}

void QDlgScreen::onModSetSharePause(bool bPause)
{
    // The share's tile keeps its last picture; the overlay marks it paused.
    m_state.sharePause = bPause;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->isShareScreen())
            refreshTile(p);
    }
}

void QDlgScreen::onModStartLocalShare(int iShareType, bool bShare)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    KXLOG << "onModStartLocalShare iShareType:" << iShareType << ",bShare:" << bShare;
    if (m_state.localShare == bShare)
        return;
    m_state.localShare = bShare;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->bSelf)
            refreshTile(p);
    }
    // The host usually minimises its meeting window now and shows the
    // floating one in its place.
    if (bShare)
        cfg->notifyHost(26, 0, 0);
}

void QDlgScreen::onModStopLocalShare()
{
    onModStartLocalShare(0, false);
}

void QDlgScreen::onModSetShareWatermark(QString text, bool bShow)
{
    m_state.watermark = text;
    m_state.showWatermark = bShow;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->isShareScreen())
            refreshTile(p);
    }
}

void QDlgScreen::onModShareWhiteBoard(QString userID, bool bShare, bool bDulMode)
{
    KXLOG << "onModShareWhiteBoard userID:" << userID << ",bShare:" << bShare << ",bDulMode:" << bDulMode;
    if (bShare) {
        if (userID.isEmpty())
            return;
        m_qstrWhiteBoardUserID = userID;
        m_bWhiteBoardDual = bDulMode;
        // The whiteboard takes the stage, from a full view too.
        if (curMode() == 9)
            endFullView();
        m_layouts.begin(LayoutMemory::WhiteBoard, QString(), curMode());
        m_bShareWgtKnown = false; // the host needs the area's position even if a share had it
        applyLayouts();
        return;
    }
    if (m_qstrWhiteBoardUserID.isEmpty())
        return;
    m_qstrWhiteBoardUserID.clear();
    m_bWhiteBoardDual = false;
    m_pWhiteBoard->hide();
    m_bShareWgtKnown = false;
    m_layouts.end(LayoutMemory::WhiteBoard);
    applyLayouts();
}

void QDlgScreen::onModMeetingRoomMinimized(bool bMinimized)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    KXLOG << "onModMeetingRoomMinimized bMinimized:" << bMinimized;
    m_bMeetingRoomMinimized = bMinimized;
    if (!bMinimized) {
        // What is visible again is pulled at once.
        reposPlayWnd();
        return;
    }
    // Nobody sees the gallery now: its tiles stop counting as on screen and
    // their video is stopped five seconds later, unless the room comes back
    // first; the floating window's tiles still count.
    restartVideoMuteTimer();
    if (m_state.localShare || hasShare())
        cfg->notifyHost(26, 0, 0);
}
