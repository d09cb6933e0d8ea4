#ifndef KX_GLOBALAPPLICATION_H
#define KX_GLOBALAPPLICATION_H

#include <QApplication>

// An application object that turns wheel and key events into signals. The
// module starts a plain QApplication, so these signals stay silent unless a
// host builds its application from this class.
class GlobalApplication : public QApplication
{
    Q_OBJECT
public:
    GlobalApplication(int& argc, char** argv);
    bool notify(QObject* receiver, QEvent* event) override;

    void onWheel(QEvent* event);
    void onKey(QEvent* event);

signals:
    void notifyWheel(int iStep);
    void notifyKey(int iKey);
};

#endif
