// Focus and look states, screen sharing, picture-in-picture and the actions
// of the tiles' overlays.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

namespace {
const QString kSharePrefix = QStringLiteral("sharescreen_");
} // namespace

tagPersonInfo* QDlgScreen::getFoucsPerson() const
{
    // Who takes the big tile: what the meeting looks at (a share while the
    // share layout is on, the all-look and lock-look participants), then what
    // the local user chose, then who speaks, then a share, then the first.
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    tagPersonInfo* share = nullptr;
    tagPersonInfo* locked = nullptr;
    for (tagPersonInfo* p : m_vecPerson) {
        if (!share && p->isShareScreen())
            share = p;
        if (!locked && p->bLockLook)
            locked = p;
    }
    if (cfg->curScreenMode() == 4 && share)
        return share;
    if (m_pAllLookPerson && isHasPerson(m_pAllLookPerson))
        return m_pAllLookPerson;
    if (locked)
        return locked;
    if (!m_qstrFocusUserID.isEmpty()) {
        if (tagPersonInfo* p = findPersonByUserID(m_qstrFocusUserID))
            return p;
    }
    if (!cfg->m_qstrAciveUserID.isEmpty()) {
        tagPersonInfo* p = findPersonByUserID(cfg->m_qstrAciveUserID);
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
    if (userID.isEmpty() || userID.startsWith(kSharePrefix))
        return false;
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen() && p->userID.midRef(kSharePrefix.size()) == userID)
            return true;
    }
    return false;
}

bool QDlgScreen::testIsShareInExtMode() const
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    return cfg->m_pExtScreen != nullptr && cfg->m_bPrimaryScreen.load();
}

bool QDlgScreen::testDelPersonIsMax(tagPersonInfo* person) const
{
    return person && m_pMaxPlayWnd && QKXScreenConfig::getInstance()->curScreenMode() == 9
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
    if (!person)
        return;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const bool bHad = person->bLockLook || person->bAllLook;
    if (person->bLockLook) {
        cfg->notifyHost(16, reinterpret_cast<quintptr>(person), reinterpret_cast<quintptr>(person->pUserData));
    }
    person->bLockLook = false;
    person->bAllLook = false;
    if (bHad)
        cfg->notifyHost(12, 0, 0);
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
        const bool bStart = !m_pAllLookPerson;
        if (m_pAllLookPerson && m_pAllLookPerson != p) {
            m_pAllLookPerson->bAllLook = false;
            refreshTile(m_pAllLookPerson);
        }
        m_pAllLookPerson = p;
        p->bAllLook = true;
        beginLook(bStart);
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
        bool bStart = true;
        for (tagPersonInfo* q : qAsConst(m_vecPerson)) {
            if (q->bLockLook) {
                bStart = false;
                if (q != p) {
                    q->bLockLook = false;
                    refreshTile(q);
                }
            }
        }
        p->bLockLook = true;
        beginLook(bStart);
    } else if (p->bLockLook) {
        p->bLockLook = false;
        endLook();
    }
    // The host may have removed the participant from inside the toast.
    if (isCurrentPerson(p, serial))
        refreshTile(p);
}

void QDlgScreen::beginLook(bool bStart)
{
    // Everyone (or the local user) looks at one participant: show it large,
    // and remember the layout to return to when the look state ends.
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (bStart) {
        m_iPreLockMode = cfg->curScreenMode();
        cfg->notifyHost(13, 0, 0);
    }
    reAddFocusPersonToPlayMap();
    if (!IsFocusMode(cfg->curScreenMode()) && cfg->curScreenMode() != 9)
        setMeetingMode(5);
    else
        reposPlayWnd();
}

void QDlgScreen::endLook()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->notifyHost(12, 0, 0);
    reAddFocusPersonToPlayMap();
    const int back = m_iPreLockMode >= 1 && m_iPreLockMode <= 9 ? m_iPreLockMode : cfg->curScreenMode();
    m_iPreLockMode = 0;
    setMeetingMode(back);
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
            return p->userID.mid(kSharePrefix.size());
    }
    return QString();
}

bool QDlgScreen::isLocalShare() const
{
    return QKXScreenConfig::getInstance()->m_bLocalShare;
}

void QDlgScreen::onModFocusByUserID(QString userID)
{
    KXLOG << "onModFocusByUserID userID:" << userID;
    m_qstrFocusUserID = userID;
    if (IsFocusMode(QKXScreenConfig::getInstance()->curScreenMode()))
        reAddFocusPersonToPlayMap();
    emit QKXScreenConfig::getInstance()->notifyDisplayOrder(false);
}

void QDlgScreen::onModVoiceActivate(QString userID)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    tagPersonInfo* p = findPersonByUserID(userID);
    if (!p) {
        KXLOG << "onModVoiceActivate no person, userID:" << userID;
        return;
    }
    KXLOG << "onModVoiceActivate userName:" << p->userName;
    cfg->m_qstrAciveUserID = userID;
    // The speaker moves to the front of the join-time order, so it stays on
    // the first page.
    p->joinTime = getMinJoinTime();
    m_pVoiceActivatePlayWidget = p->pWidget;
    if (IsFocusMode(cfg->curScreenMode()))
        reAddFocusPersonToPlayMap();
    emit cfg->notifyDisplayOrder(false);
}

void QDlgScreen::onModCancelVoiceActivate()
{
    KXLOG << "onModCancelVoiceActivate";
    m_pVoiceActivatePlayWidget = nullptr;
    QKXScreenConfig::getInstance()->m_qstrAciveUserID.clear();
}

void QDlgScreen::onModSetSpeakList(QString userIDs)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QStringList ids = userIDs.split(QLatin1Char(','), Qt::SkipEmptyParts);
    const QString active = ids.isEmpty() ? QString() : ids.first().trimmed();
    if (active == cfg->m_qstrAciveUserID)
        return;
    cfg->m_qstrAciveUserID = active;
    // In the speaker layouts the big tile follows the active speaker, unless a
    // look state or the local user's own choice holds it.
    if (IsFocusMode(cfg->curScreenMode()) && getFoucsPerson() != m_pFocusPerson) {
        reAddFocusPersonToPlayMap();
        reposPlayWnd();
    }
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
    const int mode = QKXScreenConfig::getInstance()->curScreenMode();
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
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    notifyDBClickPlayWnd();
    // A double click shows that tile alone; another brings the layout back.
    if (cfg->curScreenMode() == 9) {
        const int back = cfg->preScreenMode() == 9 ? 1 : cfg->preScreenMode();
        setMeetingMode(back);
    } else if (getPersonInfoByPlayWidgetPtr(widget)) {
        cfg->setPreScreenMode(cfg->curScreenMode());
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
    if (widget)
        m_pCurSelPlayWidget = widget;
}

void QDlgScreen::onNotifyClickExtPlayWidget(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onNotifyClickExtPlayWidget"))
        return;
    QKXScreenConfig::getInstance()->m_extUserID = p->userID;
}

void QDlgScreen::testShowPicInPicDialog(bool bShow)
{
    if (!m_pPicInPic)
        return;
    if (bShow) {
        m_pPicInPic->show();
        m_pPicInPic->raise();
        QKXScreenConfig::getInstance()->notifyHost(26, 0, 0);
    } else {
        m_pPicInPic->hide();
    }
}

QWidget* QDlgScreen::GetPicInPicWidgetPtr() const
{
    return m_pPicInPic;
}

void QDlgScreen::onSetPicInPicOne()
{
    if (m_bJoinFinish) {
        changePersonVideoMute(false);
        if (m_iVideoMuteTimerId)
            killTimer(m_iVideoMuteTimerId);
        m_iVideoMuteTimerId = startTimer(5000, Qt::CoarseTimer);
    }
}

void QDlgScreen::onSetPicInPicMutil(bool bMulti)
{
    Q_UNUSED(bMulti);
    reposPlayWnd();
}

void QDlgScreen::onPicInPicChangePage(bool bNext)
{
    m_iPicInPicPageIdx = qMax(0, m_iPicInPicPageIdx + (bNext ? 1 : -1));
    resetStreamTick();
}

void QDlgScreen::onClickPicInPicPlayWidget(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onClickPicInPicPlayWidget"))
        return;
    m_qstrFocusUserID = p->userID;
    reAddFocusPersonToPlayMap();
    reposPlayWnd();
}

QRect QDlgScreen::GetShareWgtPos() const
{
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen() && p->pWidget && p->pWidget->isVisible())
            return QRect(p->pWidget->mapToGlobal(QPoint(0, 0)), p->pWidget->size());
    }
    return QRect();
}

void QDlgScreen::NotifyShareWgtPos()
{
    m_pSharePerson = nullptr;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->isShareScreen()) {
            m_pSharePerson = p;
            break;
        }
    }
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
    QKXScreenConfig::getInstance()->m_bSharePause = bPause;
}

void QDlgScreen::onModPrimaryScreenChanged(bool bPrimary)
{
    KXLOG << "onModPrimaryScreenChanged bPrimary:" << bPrimary;
}

void QDlgScreen::onModStartLocalShare(int iShareType, bool bShare)
{
    KXLOG << "onModStartLocalShare iShareType:" << iShareType << ",bShare:" << bShare;
    QKXScreenConfig::getInstance()->m_bLocalShare = bShare;
}

void QDlgScreen::onModStopLocalShare()
{
    QKXScreenConfig::getInstance()->m_bLocalShare = false;
}

void QDlgScreen::onModSetShareWatermark(QString text, bool bShow)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->m_qstrShareWatermark = text;
    cfg->m_bShowWatermark = bShow;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->isShareScreen())
            refreshTile(p);
    }
}

void QDlgScreen::onModShareWhiteBoard(QString userID, bool bShare, bool bDulMode)
{
    KXLOG << "onModShareWhiteBoard userID:" << userID << ",bShare:" << bShare << ",bDulMode:" << bDulMode;
}
