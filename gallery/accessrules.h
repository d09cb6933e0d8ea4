#ifndef KX_ACCESSRULES_H
#define KX_ACCESSRULES_H

#include <QRect>
#include <QString>
#include <QVector>

// What a screen reader says about a tile, and the order in which a person
// reads the tiles and steps through them with the keyboard. The words are
// made from the same facts the overlay draws, so what is heard is what is
// seen.
namespace kxaccess {

// The module's translate function (kxTranslate). The words are marked for
// lupdate here and translated through it; a caller that passes a function
// returning the source text gets the English.
typedef QString (*Translate)(const char* context, const char* sourceText, const char* disambiguation);

// Where a tile stands, as the gallery that shows it knows it.
struct TilePlace
{
    bool stage = false; // the stage of a speaker or share layout, or a tile shown alone
    int position = 0;   // 1-based place in the display order; 0: not told
    int count = 0;
    int page = 0;       // 1-based; said only when there is more than one page
    int pages = 0;
};

// Everything the overlay shows of one participant.
struct TileFacts
{
    enum Kind { Person, Share, Invited };
    Kind kind = Person;
    QString name;            // the display name (the sharer's, for a share)
    int callState = 0;       // an invited participant's call state (callStateText)
    int role = 0;            // 1 host, 2 co-host
    bool self = false;       // the local user
    bool hasMic = true;
    bool muted = false;
    bool cameraOff = false;
    bool speaking = false;
    bool weakNetwork = false;
    bool lockLook = false;   // the local user locked the view on this participant
    bool allLook = false;    // everyone is made to watch this participant
    bool pinned = false;
    bool paused = false;     // a share its sharer paused
    bool sharing = false;    // the local user shares a screen
    TilePlace place;
};
bool operator==(const TilePlace& a, const TilePlace& b);
bool operator==(const TileFacts& a, const TileFacts& b);

// The call state under an invited participant's picture: 1 calling, 2 no
// answer, 3 declined, 4 busy, 5 hung up, 6 call failed, else not joined.
QString callStateText(int state, Translate translate);
// The tile's accessible name: the display name, "<name>'s screen" for a
// share, the name with the call state for an invited participant.
QString tileName(const TileFacts& f, Translate translate);
// Its description: the states the overlay shows, in words, then the place
// ("3 of 8, page 1 of 2").
QString tileDescription(const TileFacts& f, Translate translate);
// The microphone control is named for what a click asks for; its state is
// its description.
QString micActionName(bool hasMic, bool muted, Translate translate);
QString micStateText(bool hasMic, bool muted, Translate translate);

// Reading order of rectangles (indices into rects): rows from the top, each
// left to right, then top to bottom. Taken by their tops, a rectangle joins
// the row so far when it starts above the middle of the row's first one or
// its own middle lies above the row's bottom: a stage beside a column of
// small tiles is one row (the stage first, then the column), and rows whose
// tiles share an edge pixel stay apart.
QVector<int> readingOrder(const QVector<QRect>& rects);

} // namespace kxaccess

#endif
