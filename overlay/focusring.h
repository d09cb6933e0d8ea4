#ifndef KX_FOCUSRING_H
#define KX_FOCUSRING_H

#include <QRect>
#include <QRegion>

class QPainter;

// Where the keyboard is: a rounded band in the skin's accent colour between
// two thin lines of the skin's text colour (white in the dark skin, near
// black in the light one), drawn inside a widget.
//
// The accent ties it to the skin; the lines keep it visible over any picture
// and over the light skin's white tiles. It stays apart from the speaking
// border, which is the same accent but square, flush with the tile's edge and
// without lines: the ring sits inside that border with a gap, rounded, so that
// a participant who speaks and has the keyboard shows both at once.
namespace kxoverlay {

// Paints the ring with its outer edge `inset` pixels inside `area`; the
// accent band is `accent` pixels wide and each line one pixel.
void paintFocusRing(QPainter& painter, const QRect& area, int inset, int accent, qreal radius);
// The pixels paintFocusRing covers, with a pixel more for antialiasing.
QRegion focusRingRegion(const QRect& area, int inset, int accent);

} // namespace kxoverlay

#endif
