#ifndef KX_QMYPAGECTRL_H
#define KX_QMYPAGECTRL_H

#include "qmywidget.h"

#include <QPixmap>
#include <QString>

class QMouseEvent;
class QPaintEvent;

// One of the gallery's page / strip buttons. The control is as large as its
// image; an SVG image is rasterised at twice its size and drawn scaled down so
// it stays sharp on scaled displays. Clicks are not handled here: a left press
// is reported through clickPageCtl(this) and the gallery that made the control
// decides what it means.
class QMyPageCtrl : public QMyWidget
{
    Q_OBJECT
public:
    QMyPageCtrl(const QString& qstrImg, QWidget* parent);

    // The image as loaded (gives the control its size) and the image drawn.
    const QPixmap& image() const { return m_pixmap; }
    const QPixmap& drawImage() const { return m_pixmapDraw; }

signals:
    void clickPageCtl(QWidget* ctrl);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QPixmap m_pixmap;      // as loaded from the path
    QPixmap m_pixmapDraw;  // what paintEvent draws
};

#endif
