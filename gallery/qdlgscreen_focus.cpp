// Focus and look states, the active speaker and the actions of the tiles'
// overlays.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "displayorder.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

#include <QTimer>

tagPersonInfo* QDlgScreen::getFoucsPerson() const
{
    // Who takes the big tile: what the meeting looks at (a share while the
    // share layout is on, the all-look and lock-look participants), then what
    // the local user chose, then who speaks, then a share, then the first.
    tagPersonInfo* share = nullptr;
    tagPersonInfo* locked = nullptr;
    for (tagPersonInfo* p : m_vecPerson) {
        if (!share && p->isShareScreen())
            share = p;
        if (!locked && p->bLockLook)
            locked = p;
    }
    if (curMode() == 4 && share) {
        // Of two shares, the one chosen for the stage, else the first to arrive.
        tagPersonInfo* stage = findPersonByUserID(m_layouts.stageShare());
        return stage && stage->isShareScreen() ? stage : share;
    }
    if (m_pAllLookPerson && isHasPerson(m_pAllLookPerson))
        return m_pAllLookPerson;
    if (locked)
        return locked;
    if (!m_qstrFocusUserID.isEmpty()) {
        if (tagPersonInfo* p = findPersonByUserID(m_qstrFocusUserID))
            return p;
    }
    if (!m_qstrAciveUserID.isEmpty()) {
        tagPersonInfo* p = findPersonByUserID(m_qstrAciveUserID);
        if (p && !p->bSelf)
            return p;
    }
    if (share)
        return share;
    return m_vecPerson.isEmpty() ? nullptr : m_vecPerson.first();
}

void QDlgScreen::reAddFocusPersonToPlayMap()
{
    // The focus tile lets its participant go; the next pass places it again,
    // in the focus tile or an ordinary one.
    if (m_pFocusPerson) {
        if (m_pFocusPerson->pWidget == m_pFocusPlayWidget)
            m_pFocusPerson->pWidget = nullptr;
        m_pFocusPerson->bFocusMark = false;
    }
    if (m_pFocusPlayWidget)
        m_pFocusPlayWidget->setPersonData(nullptr, false);
    m_pFocusPerson = nullptr;
}

bool QDlgScreen::isShareScreenUser(const QString& userID) const
{
    if (userID.isEmpty() || tagPersonInfo::isShareID(userID))
        return false;
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen() && tagPersonInfo::sharerOf(p->userID) == userID)
            return true;
    }
    return false;
}

bool QDlgScreen::testIsShareInExtMode() const
{
    return extIsOpen() && m_bPrimaryScreen;
}

bool QDlgScreen::testDelPersonIsMax(tagPersonInfo* person) const
{
    return person && m_pMaxPlayWnd && curMode() == 9
           && (person->pWidget == m_pMaxPlayWnd || getPersonInfoByPlayWidgetPtr(m_pMaxPlayWnd) == person);
}

bool QDlgScreen::testResetPreFocus()
{
    // After a share ends, whoever was in focus before it takes the focus tile again.
    if (!m_pPreFocusPerson || !isHasPerson(m_pPreFocusPerson))
        return false;
    reAddFocusPersonToPlayMap();
    m_pFocusPerson = m_pPreFocusPerson;
    RemovePersonFromPlayMap(m_pFocusPerson);
    m_pFocusPerson->pWidget = m_pFocusPlayWidget;
    m_pFocusPlayWidget->setPersonData(m_pFocusPerson, false);
    m_pPreFocusPerson = nullptr;
    return true;
}

void QDlgScreen::testCancelLockLook(tagPersonInfo* person)
{
    // The participant everyone (or the local user) looked at has gone: the
    // host hears which look ended, then the toast goes.
    if (!person)
        return;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const bool bHad = person->bLockLook || person->bAllLook;
    person->bLockLook = false;
    person->bAllLook = false;
    if (!bHad)
        return;
    cfg->notifyHost(16, reinterpret_cast<quintptr>(person), reinterpret_cast<quintptr>(person->pUserData));
    cfg->notifyHost(12, 0, 0);
}

bool QDlgScreen::anyLookActive() const
{
    if (m_pAllLookPerson)
        return true;
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->bLockLook)
            return true;
    }
    return false;
}

void QDlgScreen::onModAllLook(void* person, bool bAllLook)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (!p || cfg->testDelPerson(p, false) || !isHasPerson(p)) {
        KXLOG << "onModAllLook testDelPerson";
        return;
    }
    KXLOG << "onModAllLook userName:" << p->userName << ",bAllLook:" << bAllLook;
    const quint64 serial = p->serial;
    if (bAllLook) {
        const bool bToast = !m_pAllLookPerson;
        const bool bFirst = !anyLookActive();
        if (m_pAllLookPerson && m_pAllLookPerson != p) {
            m_pAllLookPerson->bAllLook = false;
            refreshTile(m_pAllLookPerson);
        }
        m_pAllLookPerson = p;
        p->bAllLook = true;
        beginLook(bToast, bFirst);
    } else if (m_pAllLookPerson == p) {
        p->bAllLook = false;
        m_pAllLookPerson = nullptr;
        endLook();
    }
    // The host may have removed the participant from inside the toast.
    if (isCurrentPerson(p, serial))
        refreshTile(p);
}

void QDlgScreen::onModLookLock(void* person, bool bLock)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (!p || cfg->testDelPerson(p, false) || !isHasPerson(p)) {
        KXLOG << "onModLookLock testDelPerson";
        return;
    }
    KXLOG << "onModLookLock userName:" << p->userName << ",bLock:" << bLock;
    const quint64 serial = p->serial;
    if (bLock) {
        bool bToast = true;
        const bool bFirst = !anyLookActive();
        for (tagPersonInfo* q : qAsConst(m_vecPerson)) {
            if (q->bLockLook) {
                bToast = false;
                if (q != p) {
                    q->bLockLook = false;
                    refreshTile(q);
                }
            }
        }
        p->bLockLook = true;
        beginLook(bToast, bFirst);
    } else if (p->bLockLook) {
        p->bLockLook = false;
        endLook();
    }
    // The host may have removed the participant from inside the toast.
    if (isCurrentPerson(p, serial))
        refreshTile(p);
}

void QDlgScreen::beginLook(bool bToast, bool bFirst)
{
    // Everyone (or the local user) looks at one participant: show it large.
    // The looks together are one cause of the layout: a second look that
    // begins meanwhile changes who is large, not the layout to return to.
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (bFirst)
        m_layouts.begin(LayoutMemory::Look, QString(), curMode());
    if (bToast)
        cfg->notifyHost(13, 0, 0);
    reAddFocusPersonToPlayMap();
    applyLayouts();
}

void QDlgScreen::endLook()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->notifyHost(12, 0, 0);
    reAddFocusPersonToPlayMap();
    if (anyLookActive()) {
        // Another look goes on: its participant takes the big tile.
        reposPlayWnd();
        return;
    }
    m_layouts.end(LayoutMemory::Look);
    applyLayouts();
}

QString QDlgScreen::allLookUserID() const
{
    return m_pAllLookPerson ? m_pAllLookPerson->userID : QString();
}

QString QDlgScreen::lockLookUserID() const
{
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->bLockLook)
            return p->userID;
    }
    return QString();
}

QString QDlgScreen::shareUserID() const
{
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen())
            return tagPersonInfo::sharerOf(p->userID);
    }
    return QString();
}

bool QDlgScreen::isLocalShare() const
{
    return m_state.localShare;
}

void QDlgScreen::onModFocusByUserID(QString userID)
{
    // A pin: the stage in the speaker layouts, the first place of the first
    // page in the grid. An empty or unknown ID unpins.
    KXLOG << "onModFocusByUserID userID:" << userID;
    tagPersonInfo* p = userID.isEmpty() ? nullptr : findPersonByUserID(userID);
    setPinned(p);
    if (IsFocusMode(curMode()))
        reAddFocusPersonToPlayMap();
    emit notifyDisplayOrder(false);
}

void QDlgScreen::setPinned(tagPersonInfo* pinned)
{
    m_qstrFocusUserID = pinned ? pinned->userID : QString();
    for (tagPersonInfo* q : qAsConst(m_vecPerson)) {
        if (q->bPinned != (q == pinned)) {
            q->bPinned = q == pinned;
            refreshTile(q);
        }
    }
}

void QDlgScreen::applyPin()
{
    // In the grid the pinned participant leads the first page, whatever the
    // ordering put there.
    const int mode = curMode();
    if (m_qstrFocusUserID.isEmpty() || mode < 1 || mode > 3)
        return;
    tagPersonInfo* p = findPersonByUserID(m_qstrFocusUserID);
    const int idx = m_vecPerson.indexOf(p);
    if (idx > 0) {
        m_vecPerson.remove(idx);
        m_vecPerson.prepend(p);
    }
}

void QDlgScreen::onModVoiceActivate(QString userID)
{
    tagPersonInfo* p = findPersonByUserID(userID);
    if (!p) {
        KXWARN << "[ScreenMod]KXScreen_SetVoiceActivateByUserID: no participant" << userID << "here, ignored";
        return;
    }
    KXLOG << "onModVoiceActivate userName:" << p->userName;
    // The host's decision, not a detector's guess: the participant takes the
    // stage at once, and the stage follows the speaker reports again.
    m_bVoiceActivation = true;
    m_bStageFollowsSpeaker = true;
    if (!p->bSelf && m_speakerHold.force(userID, m_speakerClock.elapsed() + 1))
        applyStageSpeaker();
    scheduleSpeakerTick();
}

void QDlgScreen::onModCancelVoiceActivate()
{
    // The stage stops following who speaks until voice activation is set
    // again; the speaking border still follows the reports.
    KXLOG << "onModCancelVoiceActivate";
    cancelVoiceActivation();
    m_bStageFollowsSpeaker = false;
    if (IsFocusMode(curMode()))
        reAddFocusPersonToPlayMap();
    reposPlayWnd();
}

void QDlgScreen::cancelVoiceActivation()
{
    m_pVoiceActivatePlayWidget = nullptr;
    m_bVoiceActivation = false;
    m_speakerHold.clear();
    m_pSpeakerTimer->stop();
    m_qstrAciveUserID.clear();
    m_qstrPrevStageSpeaker.clear();
}

void QDlgScreen::onModSetSpeakList(QString userIDs)
{
    QStringList ids;
    for (const QString& id : userIDs.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (!id.trimmed().isEmpty())
            ids.append(id.trimmed());
    }
    speakerReport(ids);
}

void QDlgScreen::speakerReport(const QStringList& userIDs)
{
    // Hosts report the speakers many times a second: the same list again
    // changes nothing, not even a repaint.
    if (userIDs == m_speakingIDs)
        return;
    setSpeaking(userIDs);
    const qint64 now = m_speakerClock.elapsed() + 1;
    // The stage follows the first named. The local user never takes the
    // stage as speaker: the first of the others does, and with nobody else
    // named that is silence for the stage, and the last speaker stays.
    QString candidate;
    for (const QString& id : userIDs) {
        tagPersonInfo* p = findPersonByUserID(id);
        if (!p)
            continue;
        p->spokeAt = now;
        if (candidate.isEmpty() && !p->bSelf)
            candidate = id;
    }
    if (!m_bStageFollowsSpeaker)
        return;
    if (m_speakerHold.report(candidate, now))
        applyStageSpeaker();
    scheduleSpeakerTick();
}

void QDlgScreen::setSpeaking(const QStringList& userIDs)
{
    m_speakingIDs = userIDs;
    for (tagPersonInfo* q : qAsConst(m_vecPerson)) {
        const bool speaking = userIDs.contains(q->userID);
        if (q->bSpeaking != speaking) {
            q->bSpeaking = speaking;
            refreshTile(q);
        }
    }
}

void QDlgScreen::scheduleSpeakerTick()
{
    const qint64 at = m_speakerHold.nextChangeAt();
    if (at < 0) {
        m_pSpeakerTimer->stop();
        return;
    }
    m_pSpeakerTimer->start(int(qBound<qint64>(0, at - (m_speakerClock.elapsed() + 1), 60000)));
}

void QDlgScreen::onSpeakerTick()
{
    if (m_speakerHold.tick(m_speakerClock.elapsed() + 1))
        applyStageSpeaker();
    scheduleSpeakerTick();
}

void QDlgScreen::applyStageSpeaker()
{
    const QString stage = m_speakerHold.stage();
    if (!m_qstrAciveUserID.isEmpty() && m_qstrAciveUserID != stage)
        m_qstrPrevStageSpeaker = m_qstrAciveUserID;
    m_qstrAciveUserID = stage;
    ++m_iStageSpeakerChanges;
    // A choice made in the floating window lasts until the next speaker.
    m_qstrPicInPicOne.clear();
    tagPersonInfo* p = stage.isEmpty() ? nullptr : findPersonByUserID(stage);
    KXLOG << "[ScreenMod]active speaker on stage, userID:" << stage;
    const int mode = curMode();
    bool bRelaid = false;
    if (IsFocusMode(mode)) {
        if (getFoucsPerson() != m_pFocusPerson) {
            reAddFocusPersonToPlayMap();
            reposPlayWnd();
            bRelaid = true;
        }
    } else if (mode >= 1 && mode <= 3 && p) {
        bRelaid = bringSpeakerToFirstPage(p);
    }
    if (!bRelaid) {
        // A share (or a full view) keeps the stage: the floating window and
        // the external screen follow the speaker by themselves.
        if (extIsOpen() && extShownUserID() != (extChoice() ? extChoice()->userID : QString())) {
            reposPlayWnd();
        } else if (usesPicInPic(mode) && m_pPicInPic->isVisible()) {
            placePicInPic();
            restartVideoMuteTimer();
        }
    }
    if (m_bVoiceActivation)
        m_pVoiceActivatePlayWidget = p && isHasPerson(p) ? static_cast<CPlayWidget*>(p->pWidget) : nullptr;
}

bool QDlgScreen::bringSpeakerToFirstPage(tagPersonInfo* p)
{
    // A speaker already on screen keeps its tile: the grid does not reshuffle.
    if (p->pWidget && p->pWidget->isVisible())
        return false;
    const int mode = curMode();
    const int places = qMin(mode == 3 ? 8 : 6, m_vecPerson.size());
    const int idx = m_vecPerson.indexOf(p);
    if (idx < places)
        return false; // on the first page already (the local user is looking at another)
    QVector<kxorder::PlaceItem> page(places);
    for (int i = 0; i < places; ++i) {
        const tagPersonInfo* q = m_vecPerson.at(i);
        page[i].spokeAt = q->spokeAt;
        page[i].fixed = q->bSelf || q->bPinned || q->iRoleType == 1 || q->isShareScreen();
    }
    const int t = kxorder::speakerPlaceIndex(page);
    if (t < 0)
        return false;
    // The stamp keeps the speaker ahead of the participants who joined
    // before it when the roster is next ordered.
    p->joinTime = getMinJoinTime();
    std::swap(m_vecPerson[t], m_vecPerson[idx]);
    reposPlayWnd();
    return true;
}

void QDlgScreen::setSpeakerHoldTimes(qint64 takeMs, qint64 holdMs)
{
    m_speakerHold = SpeakerHold(takeMs, holdMs);
    m_pSpeakerTimer->stop();
}

// A record handed back by a tile's control or a window after it may have left:
// dropped with the registry's line when freed, silently when not ours.
bool QDlgScreen::testLivePerson(tagPersonInfo* p, const char* where) const
{
    if (!p)
        return false;
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << where << "testDelPerson, pPerson:" << static_cast<void*>(p);
        return false;
    }
    return isHasPerson(p);
}

void QDlgScreen::onClickAudioCtl(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onClickAudioCtl"))
        return;
    QKXScreenConfig::getInstance()->notifyHost(0, reinterpret_cast<quintptr>(p), reinterpret_cast<quintptr>(p->pUserData));
}

void QDlgScreen::onClickMore(void* person, int pos)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onClickMore"))
        return;
    if (!p->pWidget) {
        KXLOG << "userName:" << p->userName << "pWidget==nullptr";
        return;
    }
    m_pMoreMenuPlayWidget = p->pWidget;
    m_pMoreMenuPerson = p;
    m_ptMoreMenu = p->pWidget->mapToGlobal(QPoint(0, 0));
    QKXScreenConfig::getInstance()->notifyHost(1, static_cast<quint64>(static_cast<qint64>(pos)),
                                               reinterpret_cast<quintptr>(p->pUserData));
}

void QDlgScreen::onModMoreInHide(void* person)
{
    Q_UNUSED(person);
    m_pMoreMenuPlayWidget = nullptr;
    m_pMoreMenuPerson = nullptr;
}

void QDlgScreen::testHideMoreMenu()
{
    if (!m_pMoreMenuPlayWidget)
        return;
    const bool bGone = !m_pMoreMenuPerson || !m_pMoreMenuPlayWidget->isVisible()
                       || m_pMoreMenuPlayWidget->personInfo() != m_pMoreMenuPerson
                       || m_pMoreMenuPlayWidget->mapToGlobal(QPoint(0, 0)) != m_ptMoreMenu;
    if (!bGone)
        return;
    m_pMoreMenuPlayWidget = nullptr;
    m_pMoreMenuPerson = nullptr;
    QKXScreenConfig::getInstance()->notifyHost(19, 0, 0);
}

void QDlgScreen::notifyDBClickPlayWnd()
{
    const int mode = curMode();
    quint64 w = 7;
    if (mode >= 1 && mode <= 3)
        w = 5;
    else if (mode >= 4 && mode <= 8)
        w = 6;
    QKXScreenConfig::getInstance()->notifyHost(8, w, 0);
}

void QDlgScreen::onLeftBtnDBClick(CPlayWidget* widget)
{
    if (!widget)
        return;
    notifyDBClickPlayWnd();
    const int mode = curMode();
    if (mode >= 1 && mode <= 3) {
        // In the grid a double click pins that participant (or unpins the
        // pinned one): it leads the first page from then on.
        tagPersonInfo* p = getPersonInfoByPlayWidgetPtr(widget);
        if (p)
            onModFocusByUserID(p->bPinned ? QString() : p->userID);
        return;
    }
    // Elsewhere a double click shows that tile alone; another brings the
    // layout back.
    if (mode == 9 && m_layouts.isActive(LayoutMemory::FullView)) {
        endFullView();
        applyLayouts();
    } else if (getPersonInfoByPlayWidgetPtr(widget)) {
        m_layouts.begin(LayoutMemory::FullView, QString(), mode);
        m_pMaxPlayWnd = widget;
        m_pCurSelPlayWidget = widget;
        setMeetingMode(9);
    }
}

void QDlgScreen::onPlayStatusChange(CPlayWidget* widget)
{
    Q_UNUSED(widget);
}

void QDlgScreen::onPlayWidgetLBtnClick(CPlayWidget* widget)
{
    if (!widget)
        return;
    m_pCurSelPlayWidget = widget;
    // On a stage that fills the gallery a click shows or hides the host's
    // toolbar, which would otherwise cover the picture for good.
    const int mode = curMode();
    if ((mode == 4 && widget == m_pFocusPlayWidget) || (mode == 9 && widget == m_pMaxPlayWnd))
        QKXScreenConfig::getInstance()->notifyHost(11, 0, 0);
}

