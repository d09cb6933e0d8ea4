#include "qmywidget.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOption>

QMyWidget::QMyWidget(QWidget* parent)
    : QWidget(parent)
{
}

void QMyWidget::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QStyleOption opt;
    opt.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &opt, &painter, this);
}
