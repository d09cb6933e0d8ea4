#include "playhandles.h"

#include "personinfo.h"
#include "platform.h"

#include <QHash>
#include <mutex>

namespace kxplay {

namespace {
std::mutex g_lock;
QHash<const void*, const KXScreenHandle*>& owners()
{
    static QHash<const void*, const KXScreenHandle*> map;
    return map;
}
} // namespace

void add(ST_KXPlayHdl* hdl, KXScreenHandle* owner)
{
    std::lock_guard<std::mutex> lock(g_lock);
    owners().insert(hdl, owner);
    kxplatform::registerLive(hdl, sizeof(ST_KXPlayHdl));
}

bool lookup(const void* hPlay, const KXScreenHandle* owner, tagPersonInfo** record, quint64* serial)
{
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = owners().constFind(hPlay);
    if (!hPlay || it == owners().constEnd() || it.value() != owner)
        return false;
    // A live handle's record lives at least as long as the handle: records are
    // freed only after their handle has gone from here.
    tagPersonInfo* p = static_cast<const ST_KXPlayHdl*>(hPlay)->pPlayData;
    *record = p;
    if (serial)
        *serial = p ? p->serial : 0;
    return true;
}

bool remove(void* hPlay, const KXScreenHandle* owner)
{
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = owners().find(hPlay);
    if (!hPlay || it == owners().end() || it.value() != owner)
        return false;
    owners().erase(it);
    kxplatform::unregisterLive(hPlay);
    delete static_cast<ST_KXPlayHdl*>(hPlay);
    return true;
}

void removeAll(const KXScreenHandle* owner)
{
    std::lock_guard<std::mutex> lock(g_lock);
    for (auto it = owners().begin(); it != owners().end();) {
        if (it.value() == owner) {
            kxplatform::unregisterLive(it.key());
            delete static_cast<const ST_KXPlayHdl*>(it.key());
            it = owners().erase(it);
        } else {
            ++it;
        }
    }
}

} // namespace kxplay
