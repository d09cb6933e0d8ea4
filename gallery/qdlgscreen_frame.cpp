// Frame intake: the host thread's side and the interface thread's follow-up.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "kxscreenmod2.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

#include <QDateTime>

bool QDlgScreen::playFrame(void* person, KxCloudRTCVideoFrameQT* frame)
{
    // Host thread, under the frame lock: the record cannot be freed meanwhile.
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p || !frame)
        return false;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (cfg->testDelPerson(p, false)) {
        KXLOG << "xxxx playFrame pPerson had del";
        return false;
    }
    if (!p->bPreview)
        return false;

    if (cfg->cacheEveryFrame())
        cfg->dumpFrame(p, frame);
    // The follow-up always waits for the interface thread's next turn, also
    // when the frame comes from there: it can reach the host, whose function
    // may remove this very participant, and the frame lock is held here.
    const int width = frame->width;
    const int height = frame->height;
    // One follow-up waiting per participant is enough (it reads the record as
    // it is then); frames faster than the interface thread would otherwise
    // fill its queue without bound.
    if (!p->bFrameNoticeQueued.exchange(true)) {
        queueFromHost(WorkFrameNotice, p, [this, p, width, height]() {
            if (!QKXScreenConfig::getInstance()->testDelPerson(p, false))
                p->bFrameNoticeQueued = false;
            onPlayFrameUpdateUI(p, width, height);
        });
    }
    CPlayWidget* tile = p->pWidget;
    // The external screen may show the same participant: the picture is
    // copied once, into the record, and both tiles draw it from there.
    CPlayWidget* ext = m_pExtTile.load(std::memory_order_acquire);
    if (tile) {
        p->addTime = QDateTime::currentMSecsSinceEpoch();
        const bool ok = tile->PlayOneFrame(frame, p);
        if (ok && ext && ext != tile)
            ext->showSharedPicture(p);
        return ok;
    }
    if (ext && ext->PlayOneFrame(frame, p))
        return true;
    if (cfg->m_bSilenceSelfNoTile && p->bSelf)
        return false;
    KXLOG << "pInfo->pWidget == nullptr userName:" << p->userName << ", userID:" << p->userID;
    return false;
}

void QDlgScreen::onPlayFrameUpdateUI(void* person, int width, int height)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!p)
        return;
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (cfg->testDelPerson(p, false)) {
        KXLOG << "xxxxx QDlgScreen::onPlayFrameUpdateUI testDelPerson, pPerson:" << person;
        return;
    }
    // A share kept for the external screen is outside the roster, and its
    // frames are shown there all the same.
    const bool bKept = m_extShares.contains(p);
    if (!isHasPerson(p) && !bKept)
        return;
    const int oldStatus = p->eStreamStatus;
    bool bChanged = false;
    if (extShows(p) && !p->isShareScreen() && p->iStreamType != 4) {
        KXLOG << "[ScreenMod]qstrUserID:" << p->userID << ",userName:" << p->userName;
        p->bStreamTypeChange = true;
        p->iStreamType = 4;
    }
    if (p->bStreamTypeChange) {
        KXLOG << "[ScreenMod]userName:" << p->userName << ",streamType:" << p->iStreamType << ",bSelf:" << p->bSelf;
        p->bStreamTypeChange = false;
        if (!p->bSelf && !p->userName.isEmpty()) {
            const quint64 serial = p->serial;
            switchStream(p, p->iStreamType);
            // The host may have removed the participant from inside the request
            // (and even added someone at the same address).
            if (!isCurrentPerson(p, serial))
                return;
        }
    }
    if (p->iWidth != width || p->iHeight != height)
        bChanged = true;
    p->eStreamStatus = 2;
    if (oldStatus != 2) {
        bChanged = true;
        KXLOG << "userID:" << p->userID << ",userName:" << p->userName << ",bHasStream:true";
        KXLOG << "notifyDisplayOrder, userName:" << p->userName;
        if (!bKept)
            emit notifyDisplayOrder(false);
    }
    if (bChanged)
        refreshTile(p);
}
