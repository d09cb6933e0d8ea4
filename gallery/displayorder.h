#ifndef KX_DISPLAYORDER_H
#define KX_DISPLAYORDER_H

#include <QVector>
#include <QtGlobal>

// Display ordering of the roster as pure functions over a light copy of the
// fields that matter. The controller builds the items from its records, runs
// the rule and writes join times and flags back.
namespace kxorder {

struct OrderItem {
    bool unjoined = false;          // "unjoined_" participant
    bool shareRecord = false;       // "sharescreen_" record
    bool sharingUser = false;       // the participant who shares
    bool self = false;              // the local user
    int role = 0;                   // 1 host
    bool videoStatusChange = false;
    bool preview = true;
    int streamStatus = 0;
    qint64 joinTime = 0;
};

// A participant the walk over the roster reports, in roster order.
struct OrderNote {
    enum Kind { SharingUser, Host, VideoStatusChange };
    Kind kind;
    int index; // input index
};

struct OrderResult {
    // Input indices in display order. The walk keeps one share record (the
    // last), one sharing user (the last), two hosts (the first and the last)
    // and one local user (the last); any other of those kinds is left out.
    QVector<int> order;
    QVector<qint64> joinTime;         // per input index, possibly rewritten
    QVector<bool> videoStatusChange;  // per input index, after the walk
    int hostIndex = -1;               // first role-1 participant (input index) or -1
    int secondHostIndex = -1;
    int selfIndex = -1;
    int shareIndex = -1;
    int sharingUserIndex = -1;
    QVector<int> changed;             // input indices whose video flag had just changed
    // What the reordering reports as it goes: the walk's notes in roster
    // order, the sorted video group's size before the changed participants
    // join it, the joined participants once the groups are merged, and the
    // order before the unjoined participants are appended.
    QVector<OrderNote> notes;
    int videoCount = 0;
    int joinedCount = 0;
    int orderedCount = 0;
};

// The full reordering. focusMode: the layout is 4..8.
OrderResult displayOrder(const QVector<OrderItem>& roster, bool focusMode);

// Index at which testChangePersonToHead re-inserts a participant after removing it
// (sizeAfterRemoval = roster size without it), or -1 when it must not move.
// currentIndex is its index before removal.
int changeToHeadIndex(int currentIndex, int sizeAfterRemoval, bool self, int role,
                      bool sharePresent, bool isSharingUser);

// testNeedOrder: the participant at index has no video but someone after it has.
bool needOrder(const QVector<OrderItem>& roster, int index);

// Insertion index of a newcomer on arrival (roster in display order).
int arrivalIndex(const QVector<OrderItem>& roster, qint64 joinTime);

// A participant on the first page of the grid, as the active speaker's
// arrival there sees it.
struct PlaceItem {
    qint64 spokeAt = 0; // when last reported speaking; 0 never
    bool fixed = false; // keeps its place: the local user, the pinned one, a share
};
// The grid brings an active speaker who is not on its first page there by
// giving it the place of the participant there who spoke least recently
// (never counts as longest ago; on a tie, the one further back), so that
// nobody else moves. -1 when every place is fixed.
int speakerPlaceIndex(const QVector<PlaceItem>& firstPage);

} // namespace kxorder

#endif
