// Display order: who comes first.
#include "qdlgscreen.h"

#include "displayorder.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qkxscreenconfig.h"

QSet<QString> QDlgScreen::sharingUserIDs() const
{
    QSet<QString> ids;
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen())
            ids.insert(tagPersonInfo::sharerOf(p->userID));
    }
    return ids;
}

QVector<kxorder::OrderItem> QDlgScreen::orderItems() const
{
    const QSet<QString> sharers = sharingUserIDs();
    QVector<kxorder::OrderItem> items;
    items.reserve(m_vecPerson.size());
    for (tagPersonInfo* p : m_vecPerson) {
        kxorder::OrderItem item;
        item.unjoined = isUnjoinedPerson(p);
        item.shareRecord = p->isShareScreen();
        item.sharingUser = !item.shareRecord && !sharers.isEmpty() && sharers.contains(p->userID);
        item.self = p->bSelf;
        item.role = p->iRoleType;
        item.videoStatusChange = p->bVideoStatusChange;
        item.preview = p->bPreview;
        item.streamStatus = p->eStreamStatus;
        item.joinTime = p->joinTime;
        items.append(item);
    }
    return items;
}

void QDlgScreen::onDisplayOrder(bool bOrderForMute)
{
    // Nothing is ordered before the local user has finished joining.
    if (!m_bJoinFinish)
        return;
    const bool bFocusMode = IsFocusMode(curMode());
    m_bDisplayOrderFlag = bOrderForMute;
    KXLOG << "onDisplayOrder0 m_vecPerson.size():" << m_vecPerson.size();

    const kxorder::OrderResult result = kxorder::displayOrder(orderItems(), bFocusMode);

    for (const kxorder::OrderNote& note : result.notes) {
        const QString& name = m_vecPerson.at(note.index)->userName;
        switch (note.kind) {
        case kxorder::OrderNote::SharingUser:
            KXLOG << "[ScreenMod]onDisplayOrder has shareScreenUser";
            break;
        case kxorder::OrderNote::Host:
            KXLOG << "host,userName:" << name;
            break;
        case kxorder::OrderNote::VideoStatusChange:
            KXLOG << "bVideoStatusChange userName:" << name;
            break;
        }
    }
    KXLOG << "vecTmpPerson size:" << result.videoCount;
    if (result.sharingUserIndex >= 0)
        KXLOG << "[ScreenMod]onDisplayOrder pShareScreenUser";
    KXLOG << "onDisplayOrderx m_vecPerson.size():" << result.joinedCount;
    KXLOG << "onDisplayOrder1 m_vecPerson.size():" << result.orderedCount;

    QVector<tagPersonInfo*> ordered;
    ordered.reserve(result.order.size());
    for (int i = 0; i < m_vecPerson.size(); ++i) {
        tagPersonInfo* p = m_vecPerson.at(i);
        p->joinTime = result.joinTime.at(i);
        p->bVideoStatusChange = result.videoStatusChange.at(i);
    }
    QVector<bool> placed(m_vecPerson.size(), false);
    for (int idx : result.order) {
        ordered.append(m_vecPerson.at(idx));
        placed[idx] = true;
    }
    // A second share record or a second local user has no place of its own in
    // the order; it stays in the roster, at the end, rather than being lost.
    for (int i = 0; i < m_vecPerson.size(); ++i) {
        if (!placed.at(i))
            ordered.append(m_vecPerson.at(i));
    }
    m_vecPerson = ordered;
    applyPin();
    reposPlayWnd();
}

bool QDlgScreen::testChangePersonToHead(tagPersonInfo* person, bool bSelf, int iRoleType)
{
    const int idx = m_vecPerson.indexOf(person);
    if (idx < 0)
        return false;
    const int to = kxorder::changeToHeadIndex(idx, m_vecPerson.size() - 1, bSelf, iRoleType,
                                              m_bHasShare,
                                              isShareScreenUser(person->userID));
    if (to < 0)
        return false;
    m_vecPerson.remove(idx);
    m_vecPerson.insert(to, person);
    return true;
}

bool QDlgScreen::testNeedOrder(tagPersonInfo* person, int index)
{
    Q_UNUSED(person);
    return kxorder::needOrder(orderItems(), index);
}

qint64 QDlgScreen::getMinJoinTime()
{
    return --m_minJoinTime;
}

qint64 QDlgScreen::getMaxJoinTime()
{
    return ++m_maxJoinTime;
}

void QDlgScreen::setJoinMeetingFinish()
{
    KXLOG << "setJoinMeetingFinish";
    m_bJoinFinish = true;
    emit notifyDisplayOrder(false);
}
