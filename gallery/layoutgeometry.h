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

} // namespace kxlayout

#endif
