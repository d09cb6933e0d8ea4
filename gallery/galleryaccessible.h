#ifndef KX_GALLERYACCESSIBLE_H
#define KX_GALLERYACCESSIBLE_H

#include <QVector>

class QWidget;

// How the gallery and its windows appear to screen readers. Qt asks a
// factory for each widget's accessible interface; this one answers for the
// module's own classes:
//
//   QDlgScreen                  a list: its tiles as a person reads them (rows
//                               from the top, left to right), then its other
//                               visible controls (page and strip controls,
//                               captions)
//   QDlgPicInPic, QDlgExtScreen their windows: their tiles the same way
//   CPlayWidget                 a list item, named and described by its
//                               overlay (QDlgPlayInfo) from what it shows; its
//                               children are the overlay's controls; actions:
//                               press (a double click), show menu ("more")
//   OverlayButton, QMyPageCtrl  buttons, named for their action; press clicks
//
// Only what is on screen is listed: hidden tiles and controls are no one's
// children.
namespace kxaccessible {

// Installs the factory (once; it is removed when the library is unloaded
// or the process ends).
void install();

// The container's visible child widgets in the order above: tiles first,
// each group in reading order.
QVector<QWidget*> readingChildren(const QWidget* container);

} // namespace kxaccessible

#endif
