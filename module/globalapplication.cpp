#include "globalapplication.h"

#include "modulelog.h"
#include "pagingrules.h"

#include <QKeyEvent>
#include <QWheelEvent>

GlobalApplication::GlobalApplication(int& argc, char** argv)
    : QApplication(argc, argv)
{
}

bool GlobalApplication::notify(QObject* receiver, QEvent* event)
{
    return QApplication::notify(receiver, event);
}

void GlobalApplication::onWheel(QEvent* event)
{
    KXLOG << "onWheel";
    auto* wheel = static_cast<QWheelEvent*>(event);
    const QPoint degrees = kxpaging::wheelDegrees(wheel->angleDelta());
    if (degrees.isNull())
        return;
    emit notifyWheel(kxpaging::appWheelSteps(wheel->angleDelta()));
}

void GlobalApplication::onKey(QEvent* event)
{
    KXLOG << "onKey";
    emit notifyKey(static_cast<QKeyEvent*>(event)->key());
}
