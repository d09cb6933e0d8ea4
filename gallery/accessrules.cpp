#include "accessrules.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>

namespace kxaccess {

namespace {

// The words are the overlay's: they are translated in its context, next to
// what it draws.
const char* const kContext = "QDlgPlayInfo";

// A word with a note for its translators (QT_TRANSLATE_NOOP3).
struct NotedText
{
    const char* source;
    const char* comment;
};

} // namespace

bool operator==(const TilePlace& a, const TilePlace& b)
{
    return a.stage == b.stage && a.position == b.position && a.count == b.count && a.page == b.page
        && a.pages == b.pages;
}

bool operator==(const TileFacts& a, const TileFacts& b)
{
    return a.kind == b.kind && a.name == b.name && a.callState == b.callState && a.role == b.role
        && a.self == b.self && a.hasMic == b.hasMic && a.muted == b.muted && a.cameraOff == b.cameraOff
        && a.speaking == b.speaking && a.weakNetwork == b.weakNetwork && a.lockLook == b.lockLook
        && a.allLook == b.allLook && a.pinned == b.pinned && a.paused == b.paused && a.sharing == b.sharing
        && a.place == b.place;
}

QString callStateText(int state, Translate translate)
{
    static const char* const kStates[] = {
        QT_TRANSLATE_NOOP("QDlgPlayInfo", "Not joined"), QT_TRANSLATE_NOOP("QDlgPlayInfo", "Calling\u2026"),
        QT_TRANSLATE_NOOP("QDlgPlayInfo", "No answer"),  QT_TRANSLATE_NOOP("QDlgPlayInfo", "Declined"),
        QT_TRANSLATE_NOOP("QDlgPlayInfo", "Busy"),       QT_TRANSLATE_NOOP("QDlgPlayInfo", "Hung up"),
        QT_TRANSLATE_NOOP("QDlgPlayInfo", "Call failed"),
    };
    return translate(kContext, kStates[state >= 1 && state <= 6 ? state : 0], nullptr);
}

QString tileName(const TileFacts& f, Translate translate)
{
    switch (f.kind) {
    case TileFacts::Share:
        return f.name.isEmpty() ? translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "Shared screen"), nullptr)
                                : translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "%1's screen"), nullptr)
                                      .arg(f.name);
    case TileFacts::Invited: {
        static const NotedText kInvited =
            QT_TRANSLATE_NOOP3("QDlgPlayInfo", "%1 (%2)", "an invited participant's name and call state");
        return translate(kContext, kInvited.source, kInvited.comment).arg(f.name, callStateText(f.callState, translate));
    }
    case TileFacts::Person:
        break;
    }
    return f.name;
}

QString tileDescription(const TileFacts& f, Translate translate)
{
    QStringList parts;
    auto say = [&](bool when, const char* word) {
        if (when)
            parts.append(translate(kContext, word, nullptr));
    };
    const bool person = f.kind == TileFacts::Person;
    say(f.role == 1, QT_TRANSLATE_NOOP("QDlgPlayInfo", "host"));
    say(f.role == 2, QT_TRANSLATE_NOOP("QDlgPlayInfo", "co-host"));
    say(f.self, QT_TRANSLATE_NOOP("QDlgPlayInfo", "you"));
    say(f.kind == TileFacts::Invited, QT_TRANSLATE_NOOP("QDlgPlayInfo", "invited"));
    if (person && (!f.hasMic || f.muted))
        parts.append(micStateText(f.hasMic, f.muted, translate));
    say(person && f.cameraOff, QT_TRANSLATE_NOOP("QDlgPlayInfo", "camera off"));
    say(f.speaking, QT_TRANSLATE_NOOP("QDlgPlayInfo", "speaking"));
    say(person && f.weakNetwork, QT_TRANSLATE_NOOP("QDlgPlayInfo", "weak network"));
    say(f.allLook, QT_TRANSLATE_NOOP("QDlgPlayInfo", "everyone watching"));
    say(f.lockLook, QT_TRANSLATE_NOOP("QDlgPlayInfo", "view locked"));
    say(f.place.stage, QT_TRANSLATE_NOOP("QDlgPlayInfo", "on the stage"));
    say(f.pinned, QT_TRANSLATE_NOOP("QDlgPlayInfo", "pinned"));
    say(f.kind == TileFacts::Share && f.paused, QT_TRANSLATE_NOOP("QDlgPlayInfo", "sharing paused"));
    say(person && f.self && f.sharing, QT_TRANSLATE_NOOP("QDlgPlayInfo", "you are sharing"));
    if (f.place.position > 0 && f.place.count > 0) {
        parts.append(translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "%1 of %2"), nullptr)
                         .arg(f.place.position)
                         .arg(f.place.count));
    }
    if (f.place.pages > 1 && f.place.page > 0) {
        parts.append(translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "page %1 of %2"), nullptr)
                         .arg(f.place.page)
                         .arg(f.place.pages));
    }
    static const NotedText kSeparator =
        QT_TRANSLATE_NOOP3("QDlgPlayInfo", ", ", "between the parts of a tile's spoken description");
    return parts.join(translate(kContext, kSeparator.source, kSeparator.comment));
}

QString micActionName(bool hasMic, bool muted, Translate translate)
{
    if (!hasMic)
        return translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "Microphone"), nullptr);
    return muted ? translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "Unmute"), nullptr)
                 : translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "Mute"), nullptr);
}

QString micStateText(bool hasMic, bool muted, Translate translate)
{
    if (!hasMic)
        return translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "no microphone"), nullptr);
    return muted ? translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "muted"), nullptr)
                 : translate(kContext, QT_TRANSLATE_NOOP("QDlgPlayInfo", "microphone on"), nullptr);
}

QVector<int> readingOrder(const QVector<QRect>& rects)
{
    QVector<int> byTop(rects.size());
    for (int i = 0; i < rects.size(); ++i)
        byTop[i] = i;
    std::stable_sort(byTop.begin(), byTop.end(), [&](int a, int b) {
        return rects[a].top() != rects[b].top() ? rects[a].top() < rects[b].top() : rects[a].left() < rects[b].left();
    });
    QVector<int> row(rects.size());
    int current = -1;
    int firstMiddle = 0; // of the row's first rectangle
    int rowBottom = 0;   // of all its rectangles
    for (int i : qAsConst(byTop)) {
        const QRect& r = rects[i];
        if (current < 0 || (r.top() >= firstMiddle && r.center().y() >= rowBottom)) {
            ++current;
            firstMiddle = r.center().y();
            rowBottom = r.top() + r.height();
        }
        rowBottom = qMax(rowBottom, r.top() + r.height());
        row[i] = current;
    }
    QVector<int> order = byTop;
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (row[a] != row[b])
            return row[a] < row[b];
        return rects[a].left() != rects[b].left() ? rects[a].left() < rects[b].left() : rects[a].top() < rects[b].top();
    });
    return order;
}

} // namespace kxaccess
