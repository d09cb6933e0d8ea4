#ifndef KX_QMYWIDGET_H
#define KX_QMYWIDGET_H

#include <QWidget>

// A plain widget that honours style sheets. A QWidget subclass only paints a
// style sheet background when it draws the PE_Widget primitive itself, so the
// paint handler does exactly that and nothing more.
class QMyWidget : public QWidget
{
    Q_OBJECT
public:
    explicit QMyWidget(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

#endif
