#include "qmypagectrl.h"

#include "focusring.h"
#include "modulelog.h"
#include "qkxscreenconfig.h"

#include <QMouseEvent>
#include <QPainter>
#include <QRegion>
#include <QSvgRenderer>

namespace {
// One renderer serves every control: it is created by the first SVG control
// and loaded again with each control's path.
QSvgRenderer* sharedSvgRenderer()
{
    static QSvgRenderer* s_pRenderer = nullptr;
    if (!s_pRenderer)
        s_pRenderer = new QSvgRenderer();
    return s_pRenderer;
}
}

QMyPageCtrl::QMyPageCtrl(const QString& qstrImg, QWidget* parent)
    : QMyWidget(parent)
{
    KXLOG << "qstrImg:" << qstrImg;
    hide();

    // Nothing but the image is drawn: the control stands over tiles, and
    // whatever the image leaves transparent must show the tile beneath.
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);

    // A control whose image is missing keeps the widget's default size.
    if (m_pixmap.load(qstrImg))
        resize(m_pixmap.size());
    // The page arrows are translucent discs placed over the tiles' edges,
    // where a tile's name and "more" button sit: shaped as a disc, the
    // control's square corners neither cover them (whatever the window system
    // does with a child's transparent pixels) nor take their clicks.
    if (!m_pixmap.isNull() && m_pixmap.width() == m_pixmap.height())
        setMask(QRegion(rect(), QRegion::Ellipse));

    if (qstrImg.endsWith(QLatin1String(".png"))) {
        m_pixmapDraw.load(qstrImg);
    } else {
        QSvgRenderer* pRenderer = sharedSvgRenderer();
        pRenderer->load(qstrImg);
        QPixmap pix(m_pixmap.width() * 2, m_pixmap.height() * 2);
        pix.fill(Qt::transparent);
        if (!pix.isNull()) {
            QPainter painter(&pix);
            pRenderer->render(&painter);
        }
        m_pixmapDraw = pix;
    }
}

void QMyPageCtrl::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(QRect(0, 0, m_pixmap.width(), m_pixmap.height()), m_pixmapDraw);
    if (hasFocus())
        kxoverlay::paintFocusRing(painter, rect(), 0, 2, qMin(width(), height()) / 2.0);
}

void QMyPageCtrl::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        emit clickPageCtl(this);
}
