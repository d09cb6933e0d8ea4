#ifndef KX_PLAYHANDLES_H
#define KX_PLAYHANDLES_H

#include <QtGlobal>

struct KXScreenHandle;
struct ST_KXPlayHdl;
struct tagPersonInfo;

// The play handles that are alive, each with the gallery that issued it. A
// handle is only ever looked into through here, under one lock, so that a
// handle another thread is deleting, or one that another gallery issued, is
// refused without being read.
namespace kxplay {

void add(ST_KXPlayHdl* hdl, KXScreenHandle* owner);
// The record behind a live handle that owner issued, and the record's serial
// number as it is now; false (and nothing read) for any other pointer.
bool lookup(const void* hPlay, const KXScreenHandle* owner, tagPersonInfo** record, quint64* serial = nullptr);
// Unregisters and frees a live handle that owner issued; false otherwise.
bool remove(void* hPlay, const KXScreenHandle* owner);
// Frees every handle owner issued (its gallery is being released).
void removeAll(const KXScreenHandle* owner);

} // namespace kxplay

#endif
