#include "qdlgmain.h"

#include "modulelog.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QCloseEvent>

QDlgMain::QDlgMain(QWidget* parent)
    : QDialog(parent)
{
    setWindowFlags(Qt::CustomizeWindowHint | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setGeometry(0, 0, 200, 200);
    m_pDlgScreen = new QDlgScreen(this);
    if (QKXScreenConfig::getInstance()->isNewSkin())
        setStyleSheet(QStringLiteral("QDlgMain{background: #F7F7F7;}"));
    else
        setStyleSheet(QStringLiteral("QDlgMain{background: rgb(12,16,23);}"));
}

QDlgMain::~QDlgMain()
{
    QDlgScreen* screen = m_pDlgScreen;
    m_pDlgScreen = nullptr;
    if (screen && m_onLost) {
        // Our children are deleted after this body: the gallery leaves first.
        screen->hide();
        screen->setParent(nullptr);
        const std::function<void(QDlgScreen*)> onLost = std::move(m_onLost);
        onLost(screen);
        return;
    }
    delete screen;
}

void QDlgMain::closeEvent(QCloseEvent* event)
{
    KXLOG << "[APP]closeEvent ignore";
    event->ignore();
}

void QDlgMain::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
}

void QDlgMain::resizeEvent(QResizeEvent* event)
{
    if (m_pDlgScreen)
        m_pDlgScreen->setGeometry(0, 0, width(), height());
    QDialog::resizeEvent(event);
}
