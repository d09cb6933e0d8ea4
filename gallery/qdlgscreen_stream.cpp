// Stream types asked of the host, and the gallery's two timers.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qkxscreenconfig.h"
#include "streampolicy.h"

#include <QDateTime>

void QDlgScreen::setPersonStreamType(tagPersonInfo* person, int iStreamType)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (cfg->testDelPerson(person, false))
        return;
    if (!person) {
        KXLOG << "nullptr==pPerson";
        return;
    }
    // A share read at actual size needs every pixel it has, whatever its tile.
    if (person->pWidget && person->pWidget->isZoomed())
        iStreamType = 4;
    // Only recorded here; the next frame of the participant announces it, so a
    // participant whose video has not arrived is not re-subscribed.
    person->iStreamType = iStreamType;
    person->bStreamTypeChange = true;
    KXLOG << "iStreamType:" << iStreamType << ",userName:" << person->userName;
}

void QDlgScreen::switchStream(tagPersonInfo* person, int streamType)
{
    if (!person)
        return;
    KXLOG << "switchStream,userName:" << person->userName << ",streamType:" << streamType;
    if (person->isShareScreen()) {
        KXLOG << "switchStream isShareScreen";
        return;
    }
    // Only 2, 3 and 4 are stream requests; the other codes mean something else
    // to the host (a participant that never had a tile still has type 0).
    if (streamType < 2 || streamType > 4) {
        KXLOG << "switchStream no stream type yet";
        return;
    }
    QKXScreenConfig::getInstance()->notifyHost(static_cast<unsigned int>(streamType),
                                               reinterpret_cast<quintptr>(person),
                                               reinterpret_cast<quintptr>(person->pUserData));
}

void QDlgScreen::setPersonDefStreamType(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p) {
        KXLOG << "setPersonDefStreamType pPerson == nullptr";
        return;
    }
    if (QKXScreenConfig::getInstance()->testDelPerson(p, false)) {
        KXLOG << "setPersonDefStreamType testDelPerson";
        return;
    }
    const int n = m_vecPerson.size();
    const int iDefType = kxstream::defaultType(n);
    KXLOG << "0iStreamType:" << 3 << ",iDefType:" << iDefType << ",userName:" << p->userName;
    const int mode = curMode();
    const bool bFullTile = m_pMaxPlayWnd && p->pWidget == m_pMaxPlayWnd;
    const int type = kxstream::defStreamType(mode, n, bFullTile, p == m_pFocusPerson);
    p->iStreamType = type;
    KXLOG << "1iStreamType:" << type << ",iDefType:" << iDefType << ",userName:" << p->userName;
    switchStream(p, type);
}

int QDlgScreen::getCurPageStreamType() const
{
    return kxstream::curPageStreamType(curMode(), m_iPageIdx,
                                       m_vecPerson.size());
}

void QDlgScreen::resetStreamTick()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (tagPersonInfo* p : qAsConst(m_vecPerson))
        p->addTime = now;
}

void QDlgScreen::testStartCheckTimer()
{
    if (m_iCheckTimerId)
        return;
    m_iCheckTimerId = startTimer(1000, Qt::CoarseTimer);
    if (m_iCheckTimerId == 0)
        KXLOG << "xxxxx cannot startCheckTimer";
}

void QDlgScreen::testStopCehckTimer()
{
    if (!m_vecPerson.isEmpty())
        return;
    if (m_iCheckTimerId)
        killTimer(m_iCheckTimerId);
    m_iCheckTimerId = 0;
}

void QDlgScreen::onCheckTimer()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    bool bOrder = false;
    for (int i = 0; i < m_vecPerson.size(); ++i) {
        tagPersonInfo* p = m_vecPerson.at(i);
        if (!p->pWidget) {
            p->addTime = now;
            continue;
        }
        // The stream status is compared with itself: a status change is found
        // on the frame path instead, so this branch never fires.
        const int statusBefore = p->eStreamStatus;
        if (statusBefore != p->eStreamStatus) {
            KXLOG << "bHasStreamChange=true userName:" << p->userName << ",eTmpStreamStatusPre:" << statusBefore
                  << ",pPerson->bHasStream:" << p->eStreamStatus;
            continue;
        }
        if (static_cast<quint64>(now - p->addTime) > 10000 && testNeedOrder(p, i)) {
            KXLOG << "userName:" << p->userName << "need order";
            p->addTime = now;
            bOrder = true;
        }
    }
    if (bOrder) {
        KXLOG << "notifyDisplayOrder";
        emit notifyDisplayOrder(false);
    }
}

void QDlgScreen::onVideoMuteTimer()
{
    killTimer(m_iVideoMuteTimerId);
    m_iVideoMuteTimerId = 0;
    KXLOG << "changeersonVidoMute(true)";
    changePersonVideoMute(true);
}
