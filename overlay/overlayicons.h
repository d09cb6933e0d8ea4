#ifndef KX_OVERLAYICONS_H
#define KX_OVERLAYICONS_H

#include <QColor>
#include <QPixmap>
#include <QString>

// Images and colours shared by every tile overlay.
namespace kxoverlay {

// The compiled-in icon ":/svg/<name>.svg" rendered at px x px logical pixels for
// the device pixel ratio dpr. Every overlay of the gallery draws the same few
// icons at the same few sizes, so each (name, size, ratio) is rendered once and
// kept until releaseIcons(). A null pixmap when the icon does not exist.
QPixmap icon(const QString& name, int px, qreal dpr);

// Drops every rendered icon (the gallery calls this when the last participant
// has left; the next paint renders afresh).
void releaseIcons();

// Number of rendered icons held now.
int cachedIconCount();

// The colour of a participant's initial disc. Derived from the user ID (the
// "sharescreen_" and "unjoined_" prefixes are ignored, so a share shows the
// sharer's colour) with a hash of our own, so a participant keeps the same
// colour from run to run and on every machine.
QColor discColor(const QString& userID);

// The first character of the trimmed name in upper case (a surrogate pair is
// kept whole); empty for an empty name.
QString initialOf(const QString& name);

} // namespace kxoverlay

#endif
