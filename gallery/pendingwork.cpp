#include "pendingwork.h"

namespace kxwork {

uint qHash(const PendingWork::Key& key, uint seed)
{
    return ::qHash(quintptr(key.target), seed) ^ ::qHash(key.serial, seed) ^ ::qHash(key.kind, seed)
           ^ ::qHash(key.sub, seed) ^ ::qHash(key.name, seed);
}

void PendingWork::eraseLocked(Iter it)
{
    m_index.remove(it->key);
    if (--m_kindCount[it->key.kind] == 0)
        m_kindCount.remove(it->key.kind);
    m_items.erase(it);
}

bool PendingWork::put(const Key& key, std::function<void()> work, Policy policy)
{
    std::lock_guard<std::mutex> lock(m_lock);
    const bool wasEmpty = m_items.empty();
    auto found = m_index.find(key);
    if (found != m_index.end()) {
        if (policy.inPlace) {
            found.value()->work = std::move(work);
            return wasEmpty;
        }
        eraseLocked(found.value());
    }
    if (policy.cap > 0 && m_kindCount.value(key.kind) >= policy.cap) {
        for (Iter it = m_items.begin(); it != m_items.end(); ++it) {
            if (it->key.kind == key.kind) {
                eraseLocked(it);
                break;
            }
        }
    }
    m_items.push_back(Item{key, std::move(work)});
    m_index.insert(key, std::prev(m_items.end()));
    ++m_kindCount[key.kind];
    return wasEmpty;
}

void PendingWork::drop(int kind)
{
    std::lock_guard<std::mutex> lock(m_lock);
    for (Iter it = m_items.begin(); it != m_items.end();) {
        Iter next = std::next(it);
        if (it->key.kind == kind)
            eraseLocked(it);
        it = next;
    }
}

std::vector<std::function<void()>> PendingWork::takeAll()
{
    std::vector<std::function<void()>> out;
    std::lock_guard<std::mutex> lock(m_lock);
    out.reserve(m_items.size());
    for (Item& item : m_items)
        out.push_back(std::move(item.work));
    m_items.clear();
    m_index.clear();
    m_kindCount.clear();
    return out;
}

int PendingWork::size() const
{
    std::lock_guard<std::mutex> lock(m_lock);
    return int(m_items.size());
}

} // namespace kxwork
