#ifndef KX_LAYOUTGEOMETRY_H
#define KX_LAYOUTGEOMETRY_H

#include <QRect>
#include <QSize>
#include <QVector>

// Rectangle arithmetic of every gallery layout, as pure functions of the
// gallery size, participant counts and slot. All integer arithmetic is signed
// 32-bit with truncating division. Rectangles keep the toolkit's inclusive
// edges (right = left + width - 1): where a layout sets an edge to left + w the
// tile comes out one pixel wider than w, and the functions return exactly that.
// g is the gap unit (1 pixel).
namespace kxlayout {

// 16:9 fit that keeps the top-left corner.
QRect myMake169Rect(const QRect& rc);
// 16:9 fit about the centre of gallery (full-screen mode).
QRect make169Rect(const QRect& rc, const QRect& gallery, int g = 1);

// Equal-cut grid: grid shape and tile size for n participants.
struct EqualCutGrid {
    int columns = 0;
    int rows = 0;
    int w = 0; // fitted tile width
    int h = 0; // fitted tile height
};
EqualCutGrid equalCutGrid(int W, int H, int n, int g = 1);
// Rectangle of page slot i (0..5) when n participants are in the roster.
QRect equalCutRect(int W, int H, int n, int slot, int g = 1);
// Rectangles of every slot that page pageIdx uses (at most 6, none past the roster).
QVector<QRect> equalCutRects(int W, int H, int n, int pageIdx, int g = 1);

// Speaker4 (mode 8). smallCount = participants in the strip list (n less the two big ones).
struct Speaker4Geometry {
    QRect single;          // n <= 1: the focus tile alone
    QRect bigLeft;         // focus participant
    QRect bigRight;        // second participant
    QRect strip;           // (0, stripTop, ws, hs): tells where the strip's controls go
    QVector<QRect> small;  // strip slots of page pageIdx
};
Speaker4Geometry speaker4Geometry(int W, int H, int n, int smallCount, int pageIdx, int g = 1);

// Speaker layouts with a strip (modes 5 right, 6 bottom, 7 top; other values as 7).
struct SpeakerGeometry {
    QRect single;          // n <= 1
    QRect big;             // focus tile
    QSize smallSize;       // fitted small tile size sw x sh
    int stripX = 0;        // mode 5: x of the strip column
};
SpeakerGeometry speakerGeometry(int mode, int W, int H, int n, bool stripHidden, int g = 1);
// Small tile number `placed` of the strip (the count shown is min(n - 1, 6) whatever the page).
QRect speakerSmallRect(int mode, int W, int H, int n, const SpeakerGeometry& geo, int placed, int g = 1);

// Six-cut (mode 2) and eight-cut (mode 3): rectangle of slot i for n participants.
QRect sixCutRect(int W, int H, int n, int slot, int g = 1);
QRect eightCutRect(int W, int H, int n, int slot, int g = 1);

// Layout 4, the share stage: the stage participant fitted 16:9 and centred in
// the whole gallery; with a whiteboard beside a share, the gallery's two
// halves (half 0 left, 1 right), each fitted and centred in its half.
QRect shareStageRect(int W, int H);
QRect splitStageRect(int W, int H, int half, int g = 1);

// The floating picture-in-picture window, in its own coordinates: a control
// bar along the top, then one 16:9 tile as wide as the window ("one", 320 x
// 180 unless the person resized it), or up to four in a column, three
// quarters as wide ("several", paged four at a time).
constexpr int kPicInPicWidth = 320;    // "one", as it first opens
constexpr int kPicInPicMinWidth = 160; // the narrowest a tile still shows a face and a name at
struct PicInPicGeometry {
    QSize window;
    int oneWidth = 0;      // the width of "one" kept (the wanted one, within its limits)
    QRect bar;
    QRect toggle;          // one <-> several
    QRect close;           // hides the window
    QRect grip;            // dragged to resize, at the bottom-right corner
    QRect prev;            // page controls, empty in "one"
    QRect next;
    QVector<QRect> tiles;  // the tiles of the page shown
    int pageIdx = 0;       // clamped to the pages there are
    int pages = 1;
};
// oneWidth is the width wanted for "one", kept at least kPicInPicMinWidth
// and, on a screen screenWidth wide (0: not known), at most a third of it.
PicInPicGeometry picInPicGeometry(bool several, int count, int pageIdx, int oneWidth = kPicInPicWidth,
                                  int screenWidth = 0);

// Where a window dragged to `wanted` (global coordinates) stays, given the
// available areas of the screens: where it was dragged while it lies within
// their union (it may straddle two screens side by side), pulled into their
// bounding box first; otherwise wholly on the screen it overlaps most (or,
// overlapping none, the nearest). Unchanged without screens.
QPoint keepOnScreens(const QRect& wanted, const QVector<QRect>& areas);

} // namespace kxlayout

#endif
