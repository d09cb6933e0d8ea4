#include "qdlgpopupscreen.h"

#include "kxtranslate.h"
#include "qkxscreenconfig.h"

#include <QCoreApplication>
#include <QFrame>
#include <QMetaObject>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QWidget>

void QDlgPopupScreen::Ui_QDlgPopupScreen::setupUi(QDialog* pDialog)
{
    if (pDialog->objectName().isEmpty())
        pDialog->setObjectName(QStringLiteral("QDlgPopupScreen"));
    pDialog->resize(240, 654);
    pDialog->setSizeGripEnabled(false);
    pDialog->setModal(false);

    frameBak = new QFrame(pDialog);
    frameBak->setObjectName(QStringLiteral("frameBak"));
    frameBak->setGeometry(QRect(0, 0, 240, 651));
    frameBak->setFrameShape(QFrame::StyledPanel);
    frameBak->setFrameShadow(QFrame::Raised);

    title = new QWidget(frameBak);
    title->setObjectName(QStringLiteral("title"));
    title->setGeometry(QRect(0, 0, 240, 44));
    // The form's placeholder colour; the dialog replaces it with the skin colour.
    title->setStyleSheet(QStringLiteral("background-color: rgb(0, 0, 0);"));

    // Starts 4 px above the title strip's bottom edge; the overlap belongs to the form.
    frameScreen = new QFrame(frameBak);
    frameScreen->setObjectName(QStringLiteral("frameScreen"));
    frameScreen->setGeometry(QRect(1, 40, 238, 571));
    frameScreen->setFrameShape(QFrame::StyledPanel);
    frameScreen->setFrameShadow(QFrame::Raised);

    retranslateUi(pDialog);

    QMetaObject::connectSlotsByName(pDialog);
}

void QDlgPopupScreen::Ui_QDlgPopupScreen::retranslateUi(QDialog* pDialog)
{
    pDialog->setWindowTitle(kxTranslate("QDlgPopupScreen", "dialog"));
}

QDlgPopupScreen::QDlgPopupScreen(QWidget* parent)
    : QDialog(parent, Qt::WindowFlags())
    , ui(new Ui_QDlgPopupScreen)
{
    ui->setupUi(this);
    hide();
    setWindowFlags(Qt::FramelessWindowHint);

    // The skin is read once: a later skin change does not recolour this dialog.
    const QString qstrColor = QKXScreenConfig::getInstance()->isNewSkin()
                                  ? QStringLiteral("#FFFFFF")
                                  : QStringLiteral("#2A2E36");
    ui->frameBak->setStyleSheet(QStringLiteral("QFrame#frameBak{background-color:") + qstrColor
                                + QStringLiteral(";}"));
    ui->frameScreen->setStyleSheet(QStringLiteral("QFrame#frameScreen{background-color:")
                                   + qstrColor + QStringLiteral(";}"));
    ui->title->setStyleSheet(QStringLiteral("QWidget#title{background-color:") + qstrColor
                             + QStringLiteral(";}"));
}

QDlgPopupScreen::~QDlgPopupScreen()
{
    delete ui;
}

QFrame* QDlgPopupScreen::getScreenFrame() const
{
    return ui->frameScreen;
}

void QDlgPopupScreen::mousePressEvent(QMouseEvent* event)
{
    QDialog::mousePressEvent(event);
}

void QDlgPopupScreen::resizeEvent(QResizeEvent* event)
{
    if (ui->frameBak)
        ui->frameBak->setGeometry(rect());
    QDialog::resizeEvent(event);
}
