#ifndef KX_INVARIANTS_H
#define KX_INVARIANTS_H

// What must hold for a gallery controller after every pump, whatever the host
// did: shared by the chaos test and the fuzz target.

#include "cplaywidget.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QSet>

namespace kxtest {

// The host notifications whose wParam names a participant's record.
inline bool namesRecord(unsigned int msg)
{
    return msg == 0 || (msg >= 2 && msg <= 4) || msg == 16 || msg == 17 || msg == 18 || msg == 24;
}

// An empty string when the controller is consistent, else what is broken.
inline QString checkGallery(QDlgScreen* s)
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QSet<tagPersonInfo*> members;
    for (tagPersonInfo* p : s->persons()) {
        if (!p || members.contains(p))
            return QStringLiteral("the roster holds a null or a repeated record");
        members.insert(p);
        if (cfg->testDelPerson(p, false))
            return QStringLiteral("the roster holds freed record %1").arg(quintptr(p), 0, 16);
        // Frames follow pWidget: a participant's tile shows that participant.
        if (p->pWidget && p->pWidget->personInfo() != p)
            return QStringLiteral("%1's tile shows someone else").arg(p->userName.left(20));
    }
    tagPersonInfo* focus = s->focusPerson();
    if (focus && !members.contains(focus))
        return QStringLiteral("the focus participant is not in the roster");
    QSet<tagPersonInfo*> values;
    QVector<CPlayWidget*> tiles;
    for (auto it = s->playMap().constBegin(); it != s->playMap().constEnd(); ++it) {
        tiles.append(it.key());
        tagPersonInfo* p = it.value();
        if (!p)
            continue;
        if (!members.contains(p) || values.contains(p))
            return QStringLiteral("a tile entry holds a record twice or one not in the roster");
        values.insert(p);
        if (p->pWidget && p->pWidget != it.key() && !(p == focus && p->pWidget == s->focusPlayWidget()))
            return QStringLiteral("%1's tile and its entry disagree").arg(p->userName.left(20));
    }
    tiles.append(s->focusPlayWidget());
    // No tile, shown or not, keeps a freed record: its queued work would read it.
    QSet<tagPersonInfo*> shown;
    for (CPlayWidget* t : tiles) {
        tagPersonInfo* p = t->personInfo();
        if (!p)
            continue;
        if (cfg->testDelPerson(p, false))
            return QStringLiteral("a tile points at freed record %1").arg(quintptr(p), 0, 16);
        if (!t->isVisibleTo(s))
            continue;
        if (!members.contains(p) || shown.contains(p))
            return QStringLiteral("a visible tile shows a stranger or a participant shown twice");
        shown.insert(p);
    }
    const int n = s->persons().size();
    const int idx = s->pageIndex();
    if (idx < 0 || (n == 0 && idx != 0) || (n > 0 && idx > 0 && idx * 6 >= n))
        return QStringLiteral("page index %1 with %2 participants").arg(idx).arg(n);
    return QString();
}

// Drained, the roster must hold exactly the participants of the play handles in
// live (handles added and not removed). Empty, or what differs.
template <typename Handles> QString checkRoster(QDlgScreen* s, const Handles& live)
{
    QSet<tagPersonInfo*> expected;
    for (void* p : live) {
        if (!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)))
            return QStringLiteral("live play handle %1 is dead").arg(quintptr(p), 0, 16);
        expected.insert(static_cast<ST_KXPlayHdl*>(p)->pPlayData);
    }
    // Shares kept for the external screen are the gallery's too, outside the roster.
    const QVector<tagPersonInfo*> all = s->persons() + s->extShares();
    if (QSet<tagPersonInfo*>(all.begin(), all.end()) != expected || all.size() != int(live.size()))
        return QStringLiteral("the roster holds %1, %2 were added and not removed").arg(all.size()).arg(live.size());
    return QString();
}

} // namespace kxtest

#endif
