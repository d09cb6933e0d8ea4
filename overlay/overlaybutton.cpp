#include "overlaybutton.h"

#include "focusring.h"
#include "overlayicons.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

// The capsule of mic_on.svg in its 24-unit box: the level fills it from below.
const QRectF kMicCapsule(8.75, 2.75, 6.5, 11.5);
const qreal kMicCapsuleRadius = 3.25;
const QColor kLevelColor(0x3D, 0xD6, 0x8C);

QColor mix(const QColor& a, const QColor& b, qreal t)
{
    return QColor::fromRgbF(a.redF() + (b.redF() - a.redF()) * t, a.greenF() + (b.greenF() - a.greenF()) * t,
                            a.blueF() + (b.blueF() - a.blueF()) * t, a.alphaF() + (b.alphaF() - a.alphaF()) * t);
}

} // namespace

OverlayButton::OverlayButton(QWidget* parent)
    : QAbstractButton(parent)
{
    // Clicking a tile control must not take the keyboard from the gallery,
    // which pages with the arrow keys; Tab reaches it after its tile.
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover, true);
    setAttribute(Qt::WA_NoSystemBackground, true);
}

void OverlayButton::setIconName(const QString& name)
{
    if (name == m_iconName)
        return;
    m_iconName = name;
    update();
}

void OverlayButton::setIconPx(int px)
{
    if (px == m_iconPx)
        return;
    m_iconPx = px;
    update();
}

void OverlayButton::setTextPx(int px)
{
    if (px == m_iTextPx)
        return;
    m_iTextPx = px;
    update();
}

void OverlayButton::setFill(const QColor& color)
{
    if (color == m_fill)
        return;
    m_fill = color;
    update();
}

void OverlayButton::setLevel(int level)
{
    level = qBound(0, level, 100);
    if (level == m_iLevel)
        return;
    m_iLevel = level;
    update();
}

QPoint OverlayButton::lastClickGlobal() const
{
    return m_bClicked ? m_ptLastClick : mapToGlobal(rect().center());
}

QSize OverlayButton::sizeHint() const
{
    return QSize(m_iconPx + 8, m_iconPx + 8);
}

void OverlayButton::mousePressEvent(QMouseEvent* event)
{
    m_ptLastClick = event->globalPos();
    m_bClicked = true;
    QAbstractButton::mousePressEvent(event);
}

void OverlayButton::mouseReleaseEvent(QMouseEvent* event)
{
    // The release is what clicks: keep its position for the handler of clicked().
    m_ptLastClick = event->globalPos();
    m_bClicked = true;
    QAbstractButton::mouseReleaseEvent(event);
}

void OverlayButton::keyPressEvent(QKeyEvent* event)
{
    // Space clicks (the base class); Return too, as on any button, rather
    // than reaching the tile, where it would mean a double click. The arrows
    // are the gallery's (tiles, pages), not a walk through the buttons.
    const int key = event->key();
    if (event->modifiers() == Qt::NoModifier && (key == Qt::Key_Return || key == Qt::Key_Enter))
        click();
    else if (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down)
        event->ignore();
    else
        QAbstractButton::keyPressEvent(event);
}

void OverlayButton::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);

    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal radius = qMin(box.width(), box.height()) / 2.0;
    QColor backing = m_fill;
    if (backing.alpha() > 0) {
        if (isDown())
            backing = mix(backing, QColor(0, 0, 0, backing.alpha()), 0.25);
        else if (underMouse())
            backing = mix(backing, QColor(255, 255, 255, backing.alpha()), 0.15);
    } else if (isDown()) {
        backing = QColor(255, 255, 255, 72);
    } else if (underMouse()) {
        backing = QColor(255, 255, 255, 44);
    }
    if (backing.alpha() > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(backing);
        painter.drawRoundedRect(box, radius, radius);
    }

    QFont font = this->font();
    font.setPixelSize(m_iTextPx);
    font.setWeight(QFont::DemiBold);
    const QFontMetrics fm(font);
    const QString label = text();
    const int gap = label.isEmpty() ? 0 : qMax(4, m_iconPx / 3);
    const int textW = label.isEmpty() ? 0 : fm.horizontalAdvance(label);
    const int iconW = m_iconName.isEmpty() ? 0 : m_iconPx;
    const int contentW = iconW + gap + textW;
    const int x0 = (width() - contentW) / 2;
    const QRect iconRect(x0, (height() - m_iconPx) / 2, iconW, m_iconPx);

    if (iconW > 0) {
        const QPixmap pm = kxoverlay::icon(m_iconName, m_iconPx, devicePixelRatioF());
        painter.drawPixmap(iconRect, pm);
        if (m_iLevel > 0) {
            const qreal s = m_iconPx / 24.0;
            const QRectF capsule(iconRect.left() + kMicCapsule.left() * s, iconRect.top() + kMicCapsule.top() * s,
                                 kMicCapsule.width() * s, kMicCapsule.height() * s);
            QPainterPath clip;
            clip.addRoundedRect(capsule, kMicCapsuleRadius * s, kMicCapsuleRadius * s);
            const qreal h = capsule.height() * m_iLevel / 100.0;
            painter.save();
            painter.setClipPath(clip);
            painter.fillRect(QRectF(capsule.left(), capsule.bottom() - h, capsule.width(), h), kLevelColor);
            painter.restore();
        }
    }
    if (textW > 0) {
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRect(x0 + iconW + gap, 0, textW + 1, height()), Qt::AlignLeft | Qt::AlignVCenter, label);
    }
    if (hasFocus())
        kxoverlay::paintFocusRing(painter, rect(), 0, 2, radius);
}
