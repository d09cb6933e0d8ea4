#ifndef KX_PENDINGWORK_H
#define KX_PENDINGWORK_H

#include <QHash>
#include <QString>
#include <QtGlobal>
#include <functional>
#include <list>
#include <mutex>
#include <vector>

namespace kxwork {

// Work that host threads hand a gallery, waiting for the interface thread.
//
// At most one item waits per key (what it is about and which kind of change),
// so that a flood of reports costs memory in proportion to the number of
// things reported on, not to the number of reports: 400 000 volume reports
// for one participant leave one item. A newer item under a waiting key
// replaces it and moves to the back, so the items run in the order of their
// last report (a layout set, a window shown, a layout set again ends in the
// last layout); an item of an "in place" kind keeps the place its key first
// took instead (a caption revised while it waits stays above the captions
// that began after it). A kind may have a cap: beyond it, its oldest waiting
// item is dropped, as the caption store drops its oldest sentence.
class PendingWork
{
public:
    struct Key
    {
        const void* target = nullptr; // the participant record; null for the gallery
        quint64 serial = 0;           // the record's serial (an address is reused)
        int kind = 0;
        qint64 sub = 0;               // e.g. a caption's index
        QString name;                 // e.g. a user ID, for work named by one
        bool operator==(const Key& o) const
        {
            return target == o.target && serial == o.serial && kind == o.kind && sub == o.sub && name == o.name;
        }
    };
    struct Policy
    {
        bool inPlace = false;
        int cap = 0; // 0: no cap
    };

    // Queues work under key; true when nothing was waiting before (the caller
    // then asks the interface thread for one drain).
    bool put(const Key& key, std::function<void()> work, Policy policy);
    bool put(const Key& key, std::function<void()> work) { return put(key, std::move(work), Policy{false, 0}); }
    // Drops what waits under kind.
    void drop(int kind);
    // Everything waiting, in order; the queue is empty afterwards.
    std::vector<std::function<void()>> takeAll();
    int size() const;

private:
    struct Item
    {
        Key key;
        std::function<void()> work;
    };
    using Iter = std::list<Item>::iterator;
    void eraseLocked(Iter it);

    mutable std::mutex m_lock;
    std::list<Item> m_items;
    QHash<Key, Iter> m_index;
    QHash<int, int> m_kindCount;
};

uint qHash(const PendingWork::Key& key, uint seed = 0);

} // namespace kxwork

#endif
