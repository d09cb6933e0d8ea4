#include "focusring.h"

#include "qkxscreenconfig.h"

#include <QColor>
#include <QPainter>
#include <QPen>

namespace kxoverlay {

void paintFocusRing(QPainter& painter, const QRect& area, int inset, int accent, qreal radius)
{
    const QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    // The band's middle line: the outer line, then half the accent.
    const qreal mid = inset + 1 + accent / 2.0;
    const QRectF path = QRectF(area).adjusted(mid, mid, -mid, -mid);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(cfg->getTextColor()), accent + 2));
    painter.drawRoundedRect(path, radius, radius);
    painter.setPen(QPen(QColor(cfg->getAccentColor()), accent));
    painter.drawRoundedRect(path, radius, radius);
    painter.restore();
}

QRegion focusRingRegion(const QRect& area, int inset, int accent)
{
    const int outer = inset - 1;
    const int inner = inset + accent + 3;
    return QRegion(area.adjusted(outer, outer, -outer, -outer)) - area.adjusted(inner, inner, -inner, -inner);
}

} // namespace kxoverlay
