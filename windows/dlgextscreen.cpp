#include "dlgextscreen.h"

#include "cplaywidget.h"
#include "layoutgeometry.h"
#include "modulelog.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"
#include "subtitleband.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

QDlgExtScreen::QDlgExtScreen(QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("QDlgExtScreen"));
    // A window of its own on another display: no frame, no task-bar entry.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::Tool);
    setStyleSheet(QStringLiteral("QDlgExtScreen{background-color:%1;}")
                      .arg(QKXScreenConfig::getInstance()->getScreenColor()));
    m_pTile = new CPlayWidget(this);
    connect(m_pTile, &CPlayWidget::mouseLClick, this, [this](CPlayWidget* t) {
        if (tagPersonInfo* p = t->personInfo())
            emit notifyClickExtPlayWidget(p);
    });
    m_pBand = new SubtitleBand(this);
    connect(qApp, &QGuiApplication::screenRemoved, this, [this](QScreen* s) {
        if (s != m_screen)
            return;
        KXLOG << "external screen removed, closing its window";
        closeWindow();
        emit closedByScreen();
    });
    hide();
}

QDlgExtScreen::~QDlgExtScreen() = default;

void QDlgExtScreen::openOn(QScreen* screen)
{
    if (!screen)
        return;
    if (m_screen != screen) {
        if (m_screen)
            disconnect(m_screen, nullptr, this, nullptr);
        // A native window cannot change X screens (nor, elsewhere, keep its
        // scale) while shown: hidden, moved, shown again.
        hide();
        m_screen = screen;
        connect(screen, &QScreen::geometryChanged, this, &QDlgExtScreen::fitToScreen);
        connect(screen, &QScreen::logicalDotsPerInchChanged, this, &QDlgExtScreen::fitToScreen);
    }
    winId(); // the native window, to put on the screen before it is shown
    if (windowHandle())
        windowHandle()->setScreen(screen);
    m_bOpen = true;
    fitToScreen();
    show();
    raise();
}

void QDlgExtScreen::closeWindow()
{
    m_bOpen = false;
    hide();
}

void QDlgExtScreen::fitToScreen()
{
    if (!m_screen || !m_bOpen)
        return;
    setGeometry(m_screen->geometry());
    placeTile();
}

void QDlgExtScreen::setPerson(tagPersonInfo* person)
{
    if (m_pTile->personInfo() == person)
        return;
    m_pTile->setPersonData(person, false);
    if (person)
        m_pTile->showTile();
    else
        m_pTile->hide();
}

tagPersonInfo* QDlgExtScreen::person() const
{
    return m_pTile->personInfo();
}

void QDlgExtScreen::resizeEvent(QResizeEvent* e)
{
    QDialog::resizeEvent(e);
    placeTile();
}

void QDlgExtScreen::placeTile()
{
    m_pTile->setGeometry(kxlayout::shareStageRect(width(), height()));
    // As over a tile shown full screen in the gallery: the band at the
    // bottom of the video.
    m_pBand->setArea(m_bCaptions ? m_pTile->geometry() : QRect());
}

void QDlgExtScreen::setCaptionsShown(bool bShown)
{
    m_bCaptions = bShown;
    placeTile();
}
