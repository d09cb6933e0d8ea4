#include "qdlgpicinpic.h"

#include "qkxscreenconfig.h"

QDlgPicInPic::QDlgPicInPic(QWidget* parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("QDlgPicInPic"));
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::WindowStaysOnTopHint);
    resize(320, 180);
    setStyleSheet(QStringLiteral("QDlgPicInPic{background-color:%1;}")
                      .arg(QKXScreenConfig::getInstance()->getScreenColor()));
    hide();
}

QDlgPicInPic::~QDlgPicInPic() = default;

void QDlgPicInPic::dropPerson(tagPersonInfo* person)
{
    if (m_pPerson == person)
        m_pPerson = nullptr;
}

void QDlgPicInPic::setPerson(tagPersonInfo* person)
{
    m_pPerson = person;
}
