#include "displayorder.h"

#include <algorithm>
#include <limits>

namespace kxorder {

namespace {

// Video as the placement of changed participants and the order check see it:
// only status 1 counts as no stream.
bool hasVideoLoose(const OrderItem& p)
{
    return p.preview && p.streamStatus != 1;
}

// Join times come from the host and may sit at either end of the range: one
// step before or after stops there instead of wrapping to the other end.
qint64 stepBefore(qint64 t)
{
    return t == std::numeric_limits<qint64>::min() ? t : t - 1;
}

qint64 stepAfter(qint64 t)
{
    return t == std::numeric_limits<qint64>::max() ? t : t + 1;
}

// Video as the full walk sees it: status 0 is no stream either.
bool hasVideoStrict(const OrderItem& p)
{
    return p.preview && p.streamStatus != 0 && p.streamStatus != 1;
}

} // namespace

OrderResult displayOrder(const QVector<OrderItem>& roster, bool focusMode)
{
    OrderResult res;
    const int n = roster.size();
    res.joinTime.resize(n);
    res.videoStatusChange.resize(n);
    for (int i = 0; i < n; ++i) {
        res.joinTime[i] = roster[i].joinTime;
        res.videoStatusChange[i] = roster[i].videoStatusChange;
    }

    QVector<int> unjoined;
    QVector<int> video;
    QVector<int> noVideo;
    int self = -1;

    for (int i = 0; i < n; ++i) {
        const OrderItem& p = roster[i];
        if (p.unjoined) {
            unjoined.append(i);
        } else if (p.shareRecord) {
            res.shareIndex = i;
        } else if (p.sharingUser) {
            res.sharingUserIndex = i;
            res.notes.append({OrderNote::SharingUser, i});
        } else if (p.role == 1) {
            if (res.hostIndex < 0)
                res.hostIndex = i;
            else
                res.secondHostIndex = i;
            res.videoStatusChange[i] = false;
            res.notes.append({OrderNote::Host, i});
        } else if (p.self) {
            res.videoStatusChange[i] = false;
            self = i;
        } else if (res.videoStatusChange[i]) {
            res.videoStatusChange[i] = false;
            res.changed.append(i);
            res.notes.append({OrderNote::VideoStatusChange, i});
        } else if (hasVideoStrict(p)) {
            video.append(i);
        } else {
            noVideo.append(i);
        }
    }
    res.selfIndex = self;

    const auto byJoinTime = [&res](int a, int b) { return res.joinTime[a] < res.joinTime[b]; };
    std::sort(video.begin(), video.end(), byJoinTime);
    std::sort(noVideo.begin(), noVideo.end(), byJoinTime);
    res.videoCount = video.size();

    // A participant whose video just came on goes behind everybody already
    // showing video; one whose video just went off heads the no-video group.
    // The rewritten join time keeps that place in later orderings.
    for (int i : qAsConst(res.changed)) {
        if (hasVideoLoose(roster[i])) {
            if (!video.isEmpty())
                res.joinTime[i] = stepAfter(res.joinTime[video.last()]);
            video.append(i);
        } else {
            if (!noVideo.isEmpty()) {
                if (!roster[noVideo.first()].shareRecord)
                    res.joinTime[i] = stepBefore(res.joinTime[noVideo.first()]);
                else if (noVideo.size() > 1)
                    res.joinTime[i] = stepBefore(res.joinTime[noVideo.at(1)]);
            }
            noVideo.prepend(i);
        }
    }

    const int host = res.hostIndex;
    const bool hostIsSelf = host >= 0 && roster[host].self;
    const bool selfIsHost = self >= 0 && roster[self].role == 1;
    if (!hostIsSelf && !selfIsHost) {
        // Ordinary layouts lead with the host, focus layouts with the local user.
        if (self >= 0)
            video.insert(0, self);
        if (host >= 0)
            video.insert(focusMode && self >= 0 ? 1 : 0, host);
    }

    if (res.sharingUserIndex >= 0)
        video.insert(0, res.sharingUserIndex);

    QVector<int> order = video + noVideo;
    res.joinedCount = order.size();

    // A host who is the local user stays second, behind whoever leads.
    if (hostIsSelf) {
        if (order.size() < 2)
            order.append(host);
        else
            order.insert(1, host);
    }

    if (res.secondHostIndex >= 0) {
        const int second = res.secondHostIndex;
        if (roster[second].self && order.size() > 1)
            order.insert(1, second);
        else
            order.insert(0, second);
    }

    if (res.shareIndex >= 0)
        order.insert(0, res.shareIndex);

    res.orderedCount = order.size();
    order += unjoined;
    res.order = order;
    return res;
}

int changeToHeadIndex(int currentIndex, int sizeAfterRemoval, bool self, int role,
                      bool sharePresent, bool isSharingUser)
{
    if (!self && role != 1)
        return -1;
    if (currentIndex == 0)
        return -1;
    if (self)
        return sizeAfterRemoval >= 1 ? 1 : 0;
    if (!sharePresent)
        return 0;
    if (isSharingUser)
        return 1; // behind the share record
    return sizeAfterRemoval < 3 ? sizeAfterRemoval : 3;
}

bool needOrder(const QVector<OrderItem>& roster, int index)
{
    if (index < 0 || index >= roster.size())
        return false;
    const OrderItem& p = roster[index];
    if (p.self || p.role == 1 || p.sharingUser)
        return false;
    if (hasVideoLoose(p))
        return false;
    for (int j = index + 1; j < roster.size(); ++j) {
        if (hasVideoLoose(roster[j]))
            return true;
    }
    return false;
}

int arrivalIndex(const QVector<OrderItem>& roster, qint64 joinTime)
{
    if (roster.size() == 1)
        return roster[0].self ? 0 : 1;
    for (int i = 0; i < roster.size(); ++i) {
        const OrderItem& p = roster[i];
        if (p.self || p.role == 1)
            continue;
        // Strictly greater: equal join times keep arrival order.
        if (p.joinTime > joinTime)
            return i;
    }
    return roster.size();
}

int speakerPlaceIndex(const QVector<PlaceItem>& firstPage)
{
    int best = -1;
    for (int i = 0; i < firstPage.size(); ++i) {
        if (firstPage[i].fixed)
            continue;
        if (best < 0 || firstPage[i].spokeAt <= firstPage[best].spokeAt)
            best = i;
    }
    return best;
}

} // namespace kxorder
