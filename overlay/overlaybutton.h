#ifndef KX_OVERLAYBUTTON_H
#define KX_OVERLAYBUTTON_H

#include <QAbstractButton>
#include <QColor>
#include <QPoint>

// One control on a tile overlay (microphone, "more", recall): an icon from the
// shared icon cache, an optional text, on an optional rounded backing.
//
// It is a widget of its own so that the overlay around it can leave every
// other click to the tile underneath: a press on the button is taken here,
// a press beside it is ignored by the overlay and reaches the tile.
class OverlayButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit OverlayButton(QWidget* parent);

    // ":/svg/<name>.svg"; empty draws no icon.
    void setIconName(const QString& name);
    QString iconName() const { return m_iconName; }
    void setIconPx(int px);
    int iconPx() const { return m_iconPx; }
    // Text size in pixels (the text itself is QAbstractButton::text()).
    void setTextPx(int px);
    // Backing colour; fully transparent draws a backing only under the mouse.
    void setFill(const QColor& color);
    // Speaking level 0..100, drawn as a rising fill inside the capsule of the
    // microphone icon; 0 draws nothing.
    void setLevel(int level);
    int level() const { return m_iLevel; }

    // Where (global) the last press or release on the button happened; the
    // button's own centre when it was never clicked with the mouse.
    QPoint lastClickGlobal() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QString m_iconName;
    int m_iconPx = 16;
    int m_iTextPx = 12;
    QColor m_fill = Qt::transparent;
    int m_iLevel = 0;
    QPoint m_ptLastClick;
    bool m_bClicked = false;
};

#endif
