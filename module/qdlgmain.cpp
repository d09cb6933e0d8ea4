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
    delete m_pDlgScreen;
    m_pDlgScreen = nullptr;
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
