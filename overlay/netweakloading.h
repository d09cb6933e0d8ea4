#ifndef KX_NETWEAKLOADING_H
#define KX_NETWEAKLOADING_H

#include <QPixmap>
#include <QWidget>

class QTimer;
class QPaintEvent;
class QHideEvent;

// Spinner shown in a remote tile while no network quality figure has arrived
// for the participant. It spins for at most 15 s, then stops, hides itself and
// reports sigTimerOutLoading() so the overlay can give up waiting.
class NetWeakLoading : public QWidget
{
    Q_OBJECT
public:
    explicit NetWeakLoading(QWidget* parent);
    ~NetWeakLoading() override;

    // (Re)starts the 60 ms tick. The spun time is not reset here: hiding the
    // widget or stopLoading() does that.
    void startLoading();
    // Resets the spun time and stops the tick.
    void stopLoading();

    // One animation step; the timer calls it every 60 ms.
    void onTick();

    int elapsed() const { return m_iElapsed; }
    int angle() const { return m_iAngle; }
    bool isLoading() const;

signals:
    void sigTimerOutLoading();

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QPixmap m_pixmap;
    QTimer* m_pTimer = nullptr;
    int m_iElapsed = 0;
    int m_iAngle = 0;
};

#endif
