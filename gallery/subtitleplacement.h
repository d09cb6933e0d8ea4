#ifndef KX_SUBTITLEPLACEMENT_H
#define KX_SUBTITLEPLACEMENT_H

#include <QRect>
#include <QVector>

namespace kxsubtitle {

// What the caption band needs to know of the gallery as it is laid out now.
struct GalleryState {
    int mode = 1;             // layout 1..9 (other values as 1)
    int W = 0;                // gallery size
    int H = 0;
    int n = 0;                // participants in the roster
    int pageIdx = 0;
    bool stripHidden = false; // layout 5's strip folded away
    QVector<QRect> controls;  // page controls on screen now
};

// The part of the gallery the caption band may use: the video it is read
// over, never a strip of small tiles nor a page control. The band sits at
// the bottom of it.
//   1        the tiles of the page
//   2, 3     the big tile, above the bottom row of small tiles
//   4        the whole gallery (the share stage has no strip)
//   5, 6, 7  the big tile, beside, above or below the strip
//   8        the two big tiles, above the strip
//   9        the tile shown full screen
// A control over that area pushes its top below the control. Empty when the
// gallery is.
QRect bandArea(const GalleryState& g);

} // namespace kxsubtitle

#endif
