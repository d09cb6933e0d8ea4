// Participants and the tile map: arrival, removal, updates.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "displayorder.h"
#include "dlgextscreen.h"
#include "modulelog.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "kxsync.h"
#include "qkxscreenconfig.h"

#include <QDateTime>
#include <QThread>
#include <QTimer>
#include <limits>

void* QDlgScreen::AddMeetingPerson(QString userID, QString qstrExtra, QString userName, qint64 joinTime,
                                   int iExtra, void* pUserData, int m_iStatus)
{
    auto* p = new tagPersonInfo;
    p->userID = userID;
    p->qstrExtra = qstrExtra;
    p->userName = userName;
    p->joinTime = joinTime;
    p->iExtra = iExtra;
    p->pUserData = pUserData;
    p->addTime = QDateTime::currentMSecsSinceEpoch();
    p->m_iStatus = m_iStatus;
    if (p->isUnjoined()) {
        // An invited participant has neither video nor a muted microphone to show.
        p->bPreview = false;
        p->bMute = false;
    }
    p->serial = tagPersonInfo::nextSerial();
    // A new record may reuse the address of a freed one.
    QKXScreenConfig::getInstance()->testDelPerson(p, true);
    kxplatform::registerLive(p, sizeof(ST_PersonInfo));
    {
        std::lock_guard<std::mutex> lock(m_ownedLock);
        m_ownedSerials.insert(p, p->serial);
    }

    qint64 cur = m_minJoinTime.load();
    while (joinTime < cur && !m_minJoinTime.compare_exchange_weak(cur, joinTime)) {
    }
    cur = m_maxJoinTime.load();
    while (joinTime > cur && !m_maxJoinTime.compare_exchange_weak(cur, joinTime)) {
    }
    KXLOG << "\tAddMeetingPerson userid:" << p->userID << "\tuserName:" << p->userName
          << "\t\tjoinTime:" << p->joinTime << "\teStreamStatus:" << p->eStreamStatus;
    runFromHost(WorkArrival, p, [this, p]() { onModAddPerson(p); });
    return p;
}

void QDlgScreen::onModAddPerson(void* person)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return;
    if (cfg->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return;
    }
    if (!isOwnedPerson(p) || isHasPerson(p) || m_extShares.contains(p))
        return;
    if (p->isShareScreen() && testIsShareInExtMode()) {
        // Shown on the external screen only: kept outside the roster.
        m_extShares.append(p);
        KXLOG << "AddMeetingPerson share for the external screen, userid:" << p->userID;
        updateExtScreen();
        return;
    }
    if (p->isShareScreen()) {
        m_pSharePerson = nullptr;
        m_bShareScanDue = true;
    }

    KXLOG << "AddMeetingPerson 0personSize: " << m_vecPerson.size();
    if (m_vecPerson.size() == 1) {
        // With only the local user present the newcomer goes in front of it.
        m_vecPerson.insert(m_vecPerson.at(0)->bSelf ? 0 : 1, p);
    } else {
        // Only the local user, the hosts and the join times matter here.
        QVector<kxorder::OrderItem> items(m_vecPerson.size());
        for (int i = 0; i < m_vecPerson.size(); ++i) {
            items[i].self = m_vecPerson.at(i)->bSelf;
            items[i].role = m_vecPerson.at(i)->iRoleType;
            items[i].joinTime = m_vecPerson.at(i)->joinTime;
        }
        m_vecPerson.insert(kxorder::arrivalIndex(items, p->joinTime), p);
    }
    applyPin();
    KXLOG << "AddMeetingPerson 1personSize: " << m_vecPerson.size();
    KXLOG << "onModAddPerson 0, userName:" << p->userName << ",pWidget:" << p->pWidget << ",userID:" << p->userID;

    bool bTakesStage = false;
    if (p->isShareScreen()) {
        m_bHasShare = true;
        // A share takes the screen from a full view too; the layout before
        // the first of what took the gallery over comes back after the last.
        if (curMode() == 9)
            endFullView();
        const QString stage = m_layouts.stageShare();
        m_layouts.begin(LayoutMemory::Share, p->userID, curMode());
        bTakesStage = m_layouts.stageShare() != stage;
        KXLOG << "share screen,userName:" << p->userName << ",userID:" << p->userID
              << ",LockMode:" << m_layouts.home();
        setCurMode(m_layouts.layout());
        // The share takes the big tile; whoever had it gets it back when the
        // share ends. A second share waits in the floating window.
        if (bTakesStage) {
            if (m_pFocusPerson && !m_pFocusPerson->isShareScreen())
                m_pPreFocusPerson = m_pFocusPerson;
            reAddFocusPersonToPlayMap();
        }
    }
    const quint64 serial = p->serial;
    const QString name = p->userName;
    if (p->isShareScreen()) {
        emit notifyDisplayOrder(false);
        if (bTakesStage)
            notifyStageShare(p->userID);
    } else {
        reposPlayWnd();
    }

    testStartCheckTimer();
    // The relayout's notifications may have let the host remove the newcomer.
    if (isCurrentPerson(p, serial))
        KXLOG << "onModAddPerson finish, userName:" << name << ",pWidget:" << p->pWidget;
    else
        KXLOG << "onModAddPerson finish, userName:" << name << ",removed meanwhile";
}

void QDlgScreen::onModDelPerson(void* person)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    auto* owned = static_cast<tagPersonInfo*>(person);
    if (owned && !m_extShares.contains(owned) && !isHasPerson(owned) && isOwnedPerson(owned)
        && !cfg->testDelPerson(owned, false)) {
        // Removed before its arrival was handled: a removal made on the
        // interface thread runs at once, while the arrival from a host thread
        // is still queued. It never enters the roster; the queued arrival
        // finds it in the registry and is dropped.
        KXLOG << "onModDelPerson before arrival:" << person;
        {
            std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());
            cfg->addDelPerson(owned);
        }
        forgetPerson(owned);
        return;
    }
    if (m_vecPerson.size() <= 0) {
        // A removal after resetAll is ignored: the record is not ours any more.
        KXLOG << "onModDelPerson<=0";
        return;
    }
    if (cfg->testDelPerson(person, false)) {
        KXLOG << "xxx testDelPerson";
        return;
    }
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!m_extShares.contains(p) && !isHasPerson(p)) {
        // Not (or no longer) in this gallery's roster: one already released
        // with a reset.
        KXLOG << "onModDelPerson not in roster:" << person;
        return;
    }
    {
        // The barrier against frames in flight: registered as freed while no
        // frame is being copied, so that no host thread reaches the record
        // from here on. The lock guards that pointer only: letting the tiles
        // go (which hides them and may clear a picture) and the removal
        // (relayout, notifications that may reach the host) run without it.
        std::lock_guard<std::recursive_mutex> lock(cfg->frameLock());
        cfg->addDelPerson(p);
    }
    detachFromTiles(p);
    DelMeetingPerson(p);
    testStopCehckTimer();
    if (m_vecPerson.isEmpty())
        QDlgPlayInfo::releaseImageCache();
}

bool QDlgScreen::DelMeetingPerson(void* person)
{
    KXLOG << "DelMeetingPerson curThreadID:" << QThread::currentThreadId();
    if (!person)
        return true;
    auto* p = static_cast<tagPersonInfo*>(person);
    if (m_extShares.contains(p)) {
        m_extShares.removeAll(p);
        m_pSharePerson = nullptr;
        m_bShareScanDue = true;
        forgetPerson(p);
        updateExtScreen();
        return true;
    }
    return DelPerson(p);
}

bool QDlgScreen::DelPerson(tagPersonInfo* p)
{
    if (!p)
        return true;
    KXLOG << "DelPerson, userName:" << p->userName << ",userID:" << p->userID;
    const bool bMax = testDelPersonIsMax(p);
    if (m_pPicInPic)
        m_pPicInPic->dropPerson(p);

    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        if (it.value() == p) {
            it.key()->ClearVideo();
            it.key()->setPersonData(nullptr, false);
            it.value() = nullptr;
            break;
        }
    }
    detachFromTiles(p);
    if (m_pMoreMenuPerson == p) {
        m_pMoreMenuPerson = nullptr;
    }

    const int idx = m_vecPerson.indexOf(p);
    if (idx >= 0) {
        KXLOG << "[ScreenMod]m_verPerson erase userName:" << p->userName;
        m_vecPerson.remove(idx);
    }
    p->pWidget = nullptr;

    // A full view ends with its participant.
    if (bMax)
        endFullView();
    QString stageShare;
    if (p->isShareScreen()) {
        m_pSharePerson = nullptr;
        m_bShareScanDue = true;
        m_bHasShare = firstShare() != nullptr;
        const bool bHadStage = m_layouts.stageShare() == p->userID;
        m_layouts.end(LayoutMemory::Share, p->userID);
        setCurMode(m_layouts.layout());
        if (curMode() != 9)
            m_pMaxPlayWnd = nullptr;
        if (bHadStage) {
            // The other share takes the stage, else whoever had it before.
            stageShare = m_layouts.stageShare();
            if (stageShare.isEmpty())
                testResetPreFocus();
        }
    } else if (p == m_pFocusPerson) {
        m_pFocusPlayWidget->ClearVideo();
        m_pFocusPlayWidget->setPersonData(nullptr, false);
        m_pFocusPerson = nullptr;
    } else if (p == m_pPreFocusPerson) {
        m_pPreFocusPerson = nullptr;
    }

    if (p == m_pAllLookPerson || p->bLockLook) {
        if (p == m_pAllLookPerson)
            m_pAllLookPerson = nullptr;
        // 16 and 12 go to the host, which may call back in: what is read
        // afterwards is this gallery's own state, and p is not freed yet.
        testCancelLockLook(p);
        if (!anyLookActive()) {
            m_layouts.end(LayoutMemory::Look);
            setCurMode(m_layouts.layout());
        }
    }
    if (p == m_pFocusPerson)
        m_pFocusPerson = nullptr;
    if (p == m_pPreFocusPerson)
        m_pPreFocusPerson = nullptr;
    if (m_bVoiceActivation && p->userID == m_speakerHold.stage())
        cancelVoiceActivation();
    m_speakerHold.forget(p->userID);
    m_speakingIDs.removeAll(p->userID);
    if (p->userID == m_qstrPrevStageSpeaker)
        m_qstrPrevStageSpeaker.clear();

    if (!m_vecPerson.isEmpty()) {
        testPrevPageForDelPerson();
        if (bMax) {
            KXLOG << "setMeetingMode m_iPreScreenMode:" << m_layouts.layout();
            applyLayouts();
        } else {
            KXLOG << "notifyDisplayOrder";
            onDisplayOrder(false);
        }
    } else {
        resetAll();
        setCurMode(1);
    }
    forgetPerson(p);
    // Told once the share is gone: the host may call back in.
    notifyStageShare(stageShare);
    return true;
}

bool QDlgScreen::isOwnedPerson(void* person) const
{
    std::lock_guard<std::mutex> lock(m_ownedLock);
    return m_ownedSerials.contains(person);
}

bool QDlgScreen::isCurrentPerson(void* person, quint64 serial) const
{
    std::lock_guard<std::mutex> lock(m_ownedLock);
    auto it = m_ownedSerials.constFind(person);
    return it != m_ownedSerials.constEnd() && it.value() == serial;
}

bool QDlgScreen::mayRunFor(void* person, quint64 serial) const
{
    // A record freed since the work was queued, and still listed as freed,
    // is left to the slot, which asks the registry first and says so; one
    // whose address a newcomer has taken meanwhile is not.
    return isCurrentPerson(person, serial) || QKXScreenConfig::getInstance()->testDelPerson(person, false);
}

void QDlgScreen::forgetPerson(tagPersonInfo* person)
{
    {
        std::lock_guard<std::mutex> lock(m_ownedLock);
        m_ownedSerials.remove(person);
    }
    kxplatform::unregisterLive(person);
    delete person;
}

void QDlgScreen::setPersonName(tagPersonInfo* person, const QString& name)
{
    std::lock_guard<std::recursive_mutex> lock(QKXScreenConfig::getInstance()->frameLock());
    person->userName = name;
}

void QDlgScreen::detachFromTiles(tagPersonInfo* p)
{
    // Every tile that shows the record lets it go, also those whose entry was
    // let go earlier (the participant moved to the focus tile or off the
    // page) but still point at it. The map and the record's own tile pointer
    // are left to the removal, which still reads them.
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it) {
        if (it.key()->personInfo() == p)
            it.key()->setPersonData(nullptr, false);
    }
    if (m_pFocusPlayWidget && m_pFocusPlayWidget->personInfo() == p)
        m_pFocusPlayWidget->setPersonData(nullptr, false);
    if (m_pExtScreen && m_pExtScreen->person() == p)
        m_pExtScreen->setPerson(nullptr);
}

bool QDlgScreen::RemovePersonFromPlayMap(tagPersonInfo* person)
{
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        if (it.value() == person) {
            it.value() = nullptr;
            return true;
        }
    }
    return false;
}

CPlayWidget* QDlgScreen::findPlayWidgetByPersonInfo(tagPersonInfo* person) const
{
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it) {
        if (it.value() == person)
            return it.key();
    }
    return nullptr;
}

tagPersonInfo* QDlgScreen::getPersonInfoByPlayWidgetPtr(CPlayWidget* widget) const
{
    auto it = m_mapPlay.constFind(widget);
    if (it != m_mapPlay.constEnd())
        return it.value();
    if (widget && widget == m_pFocusPlayWidget)
        return m_pFocusPerson;
    return nullptr;
}

bool QDlgScreen::isHasPerson(tagPersonInfo* person) const
{
    return person && m_vecPerson.contains(person);
}

bool QDlgScreen::isUnjoinedPerson(tagPersonInfo* person)
{
    return person && person->isUnjoined();
}

tagPersonInfo* QDlgScreen::findPersonByUserID(const QString& userID) const
{
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->userID == userID)
            return p;
    }
    return nullptr;
}

CPlayWidget* QDlgScreen::attachNewWidget(PlayMap::iterator, tagPersonInfo*)
{
    // Tiles are attached by the layout passes.
    return nullptr;
}

void QDlgScreen::bindTile(PlayMap::iterator it, tagPersonInfo* person, bool bFlag)
{
    CPlayWidget* tile = it.key();
    person->pWidget = tile;
    it.value() = person;
    tile->setPersonData(person, bFlag);
}

void QDlgScreen::resetPlayWidgetPtr(tagPersonInfo* person)
{
    if (!person || !person->pWidget)
        return;
    person->pWidget->setPersonData(nullptr, false);
    person->pWidget = nullptr;
}

void QDlgScreen::resetLastNotUsePlayWidget(PlayMap::iterator&)
{
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        if (it.value() && it.value()->pWidget != it.key())
            it.value() = nullptr;
    }
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->pWidget && p->pWidget->personInfo() != p)
            p->pWidget = nullptr;
    }
}

void QDlgScreen::releasePlayWidgetByPersonInfo(tagPersonInfo* person)
{
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        if (it.value() == person && it.key() != person->pWidget)
            it.value() = nullptr;
    }
}

void QDlgScreen::resetAllPlayMap()
{
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        if (it.value() == m_pFocusPerson)
            continue;
        it.key()->setPersonData(nullptr, false);
        if (it.value())
            it.value()->pWidget = nullptr;
        it.value() = nullptr;
    }
}

void QDlgScreen::releasePlayWidget()
{
    // Every record this gallery made goes: the roster, the external shares,
    // and records whose arrival is still queued. Listed as freed under the
    // frame lock, so that no frame still reaches them; the tiles (GL
    // contexts, hide events) go after it.
    QList<void*> owned;
    {
        std::lock_guard<std::recursive_mutex> lock(QKXScreenConfig::getInstance()->frameLock());
        m_pExtTile.store(nullptr, std::memory_order_release);
        std::lock_guard<std::mutex> ownedLock(m_ownedLock);
        owned = m_ownedSerials.keys();
        for (void* v : qAsConst(owned))
            QKXScreenConfig::getInstance()->addDelPerson(v);
    }
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end();) {
        delete it.key();
        it = m_mapPlay.erase(it);
    }
    delete m_pFocusPlayWidget;
    m_pFocusPlayWidget = nullptr;
    for (void* v : qAsConst(owned))
        forgetPerson(static_cast<tagPersonInfo*>(v));
    m_vecPerson.clear();
    m_extShares.clear();
    m_pSharePerson = nullptr;
    m_bShareScanDue = false;
}

void QDlgScreen::resetAll()
{
    m_pSharePerson = nullptr;
    m_bShareScanDue = false;
    m_pFocusPerson = nullptr;
    m_pPreFocusPerson = nullptr;
    m_pCurSelPlayWidget = nullptr;
    m_pMaxPlayWnd = nullptr;
    // The check timer's id is forgotten, not killed: its ticks no longer match
    // and are ignored, and the next arrival starts a fresh one.
    m_iCheckTimerId = 0;
    m_vecPerson.clear();
    m_iPageIdx = 0;
    m_iPicInPicPageIdx = 0;
    m_pAllLookPerson = nullptr;
    m_layouts.reset(1);
    m_ptMoreMenu = QPoint();
    m_ptLastShareWgt = QPoint();
    m_bShareWgtKnown = false;
    m_pMoreMenuPlayWidget = nullptr;
    m_pMoreMenuPerson = nullptr;
    m_pVoiceActivatePlayWidget = nullptr;
    m_bVoiceActivation = false;
    m_qstrFocusUserID.clear();
    m_speakingIDs.clear();
    m_bStageFollowsSpeaker = true;
    m_qstrPrevStageSpeaker.clear();
    m_speakerHold.clear();
    m_pSpeakerTimer->stop();
    m_bJoinFinish = false;
    m_bHasShare = false;
    m_bDisplayOrderFlag = false;
    m_qstrAciveUserID.clear();
    for (auto it = m_mapPlay.begin(); it != m_mapPlay.end(); ++it) {
        it.key()->setPersonData(nullptr, false);
        it.value() = nullptr;
    }
    m_pFocusPlayWidget->setPersonData(nullptr, false);
    m_minJoinTime = std::numeric_limits<qint64>::max();
    m_maxJoinTime = 0;
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it) {
        if (it.value())
            KXLOG << "pPlayWidget:" << it.key() << ",userName:" << it.value()->userName
                  << "pWidget:" << it.value()->pWidget;
    }
    KXLOG << "resetAll\r\n\r\n";
}

void QDlgScreen::refreshTile(tagPersonInfo* person)
{
    if (!person)
        return;
    if (person == m_pFocusPerson && m_pFocusPlayWidget->personInfo() == person)
        m_pFocusPlayWidget->playInfo()->refreshDisplay();
    if (person->pWidget && person->pWidget->playInfo())
        person->pWidget->playInfo()->refreshDisplay();
    if (extShows(person) && m_pExtScreen->tile() != person->pWidget)
        m_pExtScreen->tile()->playInfo()->refreshDisplay();
}

bool QDlgScreen::updatePersonInfo(void* person, bool bSelf, int iRoleType, QString name)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    auto* p = static_cast<tagPersonInfo*>(person);
    if (cfg->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return false;
    }
    if (!isHasPerson(p))
        return false;
    bool bOrder = false;
    if (p->iRoleType != iRoleType)
        bOrder = testChangePersonToHead(p, bSelf, iRoleType);
    if (bSelf) {
        const bool bHost = iRoleType == 1 || iRoleType == 2;
        if (bHost != m_state.hostOrCoHost) {
            m_state.hostOrCoHost = bHost;
            // Invited participants show host-only controls.
            for (tagPersonInfo* q : qAsConst(m_vecPerson)) {
                if (q->isUnjoined())
                    refreshTile(q);
            }
        }
    }
    if (!name.isEmpty())
        setPersonName(p, name);
    p->bSelf = bSelf;
    p->iRoleType = iRoleType;
    refreshTile(p);
    KXLOG << "xxx updatePersonInfo, userName:" << p->userName << ",bSelf:" << bSelf << ",iRoteType:" << iRoleType;
    if (bOrder) {
        KXLOG << "notifyDisplayOrder, userName:" << p->userName;
        onDisplayOrder(false);
    } else {
        KXLOG << "reposPlayWnd, userName:" << p->userName;
        reposPlayWnd();
    }
    return true;
}

void QDlgScreen::onModPersonInfo(void* person, bool bSelf, int iRoleType, QString name)
{
    updatePersonInfo(person, bSelf, iRoleType, name);
}

bool QDlgScreen::updateUnJoinedPersonInfo(void* person, QString name, int status, const QImage& head)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return false;
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return false;
    }
    if (!isHasPerson(p))
        return false;
    setPersonName(p, name);
    p->m_iStatus = status;
    p->headImage = head;
    refreshTile(p);
    KXLOG << "xxx updateUnJoinedPersonInfo, userName:" << p->userName << ",m_iStatus:" << status;
    return true;
}

bool QDlgScreen::updatePersonHeadImg(void* person, const QImage& head)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return false;
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return false;
    }
    p->headImage = head;
    if (!isHasPerson(p))
        return false;
    refreshTile(p);
    return true;
}

bool QDlgScreen::setMute(void* person, bool bVolMute)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return false;
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return false;
    }
    p->bMute = bVolMute;
    if (!isHasPerson(p)) {
        KXLOG << "[ScreenMod]false == isHasPerson";
        return false;
    }
    KXLOG << "setMute,userName:" << p->userName << ",bVolMute" << bVolMute << ",userID:" << p->userID;
    CPlayWidget* tile = (p == m_pFocusPerson) ? m_pFocusPlayWidget : static_cast<CPlayWidget*>(p->pWidget);
    if (!tile)
        return false;
    tile->playInfo()->refreshDisplay();
    if (p->pWidget && p->pWidget != tile)
        p->pWidget->playInfo()->refreshDisplay();
    return true;
}

void QDlgScreen::onModAudioMute(void* person, bool bMute)
{
    setMute(person, bMute);
}

void QDlgScreen::onModHasMic(void* person, bool bHasMic)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p || QKXScreenConfig::getInstance()->testDelPerson(p, false) || !isHasPerson(p)) {
        KXLOG << "onModHasMic testDelPerson";
        return;
    }
    p->bHasMic = bHasMic;
    refreshTile(p);
}

bool QDlgScreen::setVolume(void* person, int volume)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p || QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "testDelPerson";
        return false;
    }
    const bool bChanged = p->iVolume != volume;
    p->iVolume = volume;
    if (bChanged && isHasPerson(p) && p->pWidget) {
        refreshTile(p);
        return true;
    }
    return false;
}

void QDlgScreen::onModVolume(void* person, int volume)
{
    setVolume(person, volume);
}

void QDlgScreen::setPreview(void* person, bool bPreview)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (cfg->testDelPerson(p, false)) {
        KXLOG << "xxxx QDlgScreen::setPreview testDelPerson";
        return;
    }
    KXLOG << "setPreview userID:" << p->userID << ",userName:" << p->userName
          << ",pInfo->bPrePreview:" << p->bPreview << ",bPreview:" << bPreview;
    const bool bOld = p->bPreview;
    p->bPreview = bPreview;
    if (!p->bSelf && bOld != bPreview) {
        p->bVideoStatusChange = true;
        KXLOG << ",set bVideoStatusChange=true, bPreview:" << bPreview;
    }
    if (bPreview && !p->pWidget) {
        // Video that has nowhere to go is not pulled.
        KXLOG << "pInfo->pWidget==nullptr";
        const quint64 serial = p->serial;
        notifyRemotePlay(p, false);
        // The host may have removed the participant from inside the notice.
        if (!isCurrentPerson(p, serial))
            return;
    }
    refreshTile(p);
    if (!bPreview)
        p->eStreamStatus = 1;
    p->bStreamTypeChange = true;
}

void QDlgScreen::onModPreview(void* person, bool bPreview)
{
    setPreview(person, bPreview);
}

void QDlgScreen::changePersonVideoMute(bool bMute)
{
    KXLOG << "start changePersonVideoMute, bMute:" << bMute;
    // The host may call back in from each notification and relayout or remove
    // participants: walk a copy, and once the roster has changed skip whoever
    // is no longer in it.
    const QVector<tagPersonInfo*> roster = m_vecPerson;
    for (tagPersonInfo* p : roster) {
        if (m_vecPerson.constData() != roster.constData() && !isHasPerson(p))
            continue;
        // Visibility first: after a relayout only the few participants on
        // screen are told anything, and a share is asked for by name only
        // for them (the comparison reads every record's ID).
        const bool bVisible = isOnScreen(p);
        if (bMute == bVisible || p->isShareScreen())
            continue;
        if (bMute && !bVisible) {
            KXLOG << "closePreview,userName:" << p->userName << ",userID:" << p->userID;
            notifyRemotePlay(p, false);
        } else if (!bMute && bVisible) {
            KXLOG << "openPreview,userName:" << p->userName << ",userID:" << p->userID << ",pWidget:" << p->pWidget;
            notifyRemotePlay(p, true);
        }
    }
    KXLOG << "end changePersonVideoMute";
}

void QDlgScreen::notifyRemotePlay(tagPersonInfo* person, bool bPlay)
{
    if (!person)
        return;
    QKXScreenConfig::getInstance()->notifyHost(bPlay ? 18 : 17, reinterpret_cast<quintptr>(person),
                                               reinterpret_cast<quintptr>(person->pUserData));
}

void QDlgScreen::notifyRecallPerson(tagPersonInfo* person)
{
    if (!person) {
        KXLOG << "return, pSTPerson is null! ";
        return;
    }
    QKXScreenConfig::getInstance()->notifyHost(24, reinterpret_cast<quintptr>(person),
                                               reinterpret_cast<quintptr>(person->pUserData));
}

void QDlgScreen::onRecallPerson(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (p && QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "onRecallPerson testDelPerson";
        return;
    }
    notifyRecallPerson(p);
}

void QDlgScreen::onNotifyUpdateUserInfo(void* pPlayHdl, void* person)
{
    if (!pPlayHdl || !person)
        return;
    auto* p = static_cast<tagPersonInfo*>(person);
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "onNotifyUpdateUserInfo testDelPerson";
        return;
    }
    // Only the gallery that owns the record answers for it.
    if (!isHasPerson(p) && !m_extShares.contains(p))
        return;
    QKXScreenConfig::getInstance()->notifyHost(20, reinterpret_cast<quintptr>(pPlayHdl),
                                               reinterpret_cast<quintptr>(p->pUserData));
}

void QDlgScreen::onModUpdateNetWeak(QString userID, bool bNetWeak, int iNetLevel)
{
    tagPersonInfo* p = findPersonByUserID(userID);
    if (!p)
        return;
    p->bNetWeak = bNetWeak;
    p->iNetLevel = iNetLevel;
    refreshTile(p);
}
