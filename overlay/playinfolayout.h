#ifndef KX_PLAYINFOLAYOUT_H
#define KX_PLAYINFOLAYOUT_H

#include <QFont>
#include <QRect>
#include <QSize>
#include <QString>
#include <QVector>

// Where each element of a tile overlay goes, as a pure function of the tile's
// size and what is to be shown. Kept apart from the widget so that painting,
// the placing of the control widgets and the tests agree on one geometry.
//
//   top-left      look badges (all-look, lock-look): icon and word, or icon only
//   top-right     the "more" control
//   bottom-left   the name plate: [microphone] name [network level]
//                 (share tile: [share icon] caption; invited: name only)
//   bottom-right  the video resolution
//   centre        while there is no picture: round head image or initial,
//                 the call state below it and the recall control below that
//
// Sizes follow the tile: the text is a 24th of the tile's 16:9 height, kept
// within 11..18 px, icons 1.45 times the text within 16..26 px, so a 180-pixel
// strip tile still has a readable name and microphone.
namespace kxoverlay {

struct PlayInfoInput
{
    QSize size;                  // the overlay (= the tile)
    QRect video;                 // the video inside the tile; empty when unknown
    bool placeholder = true;     // no picture: the centre shows the avatar
    QString plateText;           // name, or the caption of a share
    bool mic = false;            // microphone control on the plate
    bool shareIcon = false;      // share icon on the plate
    bool net = false;            // network level icon on the plate
    bool more = false;           // "more" control
    QVector<QString> badgeIcons; // look badges, in order
    QVector<QString> badgeTexts; // their words (same count)
    QString resolution;          // empty: no resolution
    QString status;              // call state under the avatar; empty: none
    bool recall = false;         // recall control under the call state
    QString recallText;
    QFont font;                  // family and style; the sizes are set here
};

struct PlayInfoBadge
{
    QRect rect;
    QRect icon;
    QRect text;                  // empty when only the icon fits
    QString iconName;
    QString label;
};

struct PlayInfoLayout
{
    // metrics
    int fontPx = 11;
    int smallFontPx = 11;
    int iconPx = 16;
    int plateH = 20;
    int margin = 4;
    int padH = 4;
    int gap = 3;
    int radius = 3;
    QFont font;                  // at fontPx
    QFont smallFont;             // at smallFontPx

    QRect area;                  // what the corner elements are placed against

    QRect plate;                 // empty: no plate
    QRect mic;
    QRect shareIcon;
    QRect name;
    QString nameText;            // elided to fit
    QRect net;

    QRect more;
    QVector<PlayInfoBadge> badges;

    QRect resolution;
    QString resolutionText;

    QRect avatar;                // empty unless placeholder
    QRect status;
    QString statusText;          // elided
    QRect recall;
    QString recallText;          // empty when only the icon fits
};

PlayInfoLayout layoutPlayInfo(const PlayInfoInput& in);

// Same geometry, texts and fonts: an overlay laid out by either draws the same.
bool operator==(const PlayInfoInput& a, const PlayInfoInput& b);
bool operator==(const PlayInfoBadge& a, const PlayInfoBadge& b);
bool operator==(const PlayInfoLayout& a, const PlayInfoLayout& b);

} // namespace kxoverlay

#endif
