#include "netweakloading.h"

#include "modulelog.h"

#include <QHideEvent>
#include <QPainter>
#include <QTimer>

namespace {
const int kTickMs = 60;
const int kBudgetMs = 15000;   // 250 ticks
const int kAngleStep = 15;
}

NetWeakLoading::NetWeakLoading(QWidget* parent)
    : QWidget(parent)
{
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, true);
    setGeometry(0, 0, 40, 40);
    m_pixmap.load(QStringLiteral(":/pic/NetLevel_Loading2.png"));

    m_pTimer = new QTimer(this);
    connect(m_pTimer, &QTimer::timeout, this, [this]() { onTick(); });
}

NetWeakLoading::~NetWeakLoading()
{
    if (m_pTimer) {
        m_pTimer->stop();
        m_pTimer->deleteLater();
        m_pTimer = nullptr;
    }
}

void NetWeakLoading::startLoading()
{
    m_pTimer->stop();
    m_pTimer->start(kTickMs);
}

void NetWeakLoading::stopLoading()
{
    m_iElapsed = 0;
    m_pTimer->stop();
}

bool NetWeakLoading::isLoading() const
{
    return m_pTimer && m_pTimer->isActive();
}

void NetWeakLoading::onTick()
{
    m_iElapsed += kTickMs;
    if (m_iElapsed >= kBudgetMs) {
        stopLoading();
        emit sigTimerOutLoading();
        hide();
    }

    // The wrap test is "> 360", so the upright position is shown at 360 and
    // again at 0: a one-tick hitch per turn that nobody has minded.
    m_iAngle += kAngleStep;
    if (m_iAngle > 360)
        m_iAngle = 0;

    update();
}

void NetWeakLoading::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter painter(this);
    painter.translate(width() / 2, height() / 2);
    painter.rotate(m_iAngle);
    painter.translate(-width() / 2, -height() / 2);
    painter.drawPixmap(rect(), m_pixmap);
}

void NetWeakLoading::hideEvent(QHideEvent* event)
{
    KXLOG << "[APP]NetWeakLoading::hideEvent";
    // Only the budget restarts; the timer keeps running while hidden. The
    // overlay tolerates the late sigTimerOutLoading() this can produce because
    // it acts only while the participant's network level is still unknown.
    m_iElapsed = 0;
    QWidget::hideEvent(event);
}
