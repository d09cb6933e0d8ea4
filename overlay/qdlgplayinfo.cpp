#include "qdlgplayinfo.h"

#include "personinfo.h"
#include "qkxscreenconfig.h"

#include <QFontMetrics>
#include <QPainter>
#include <QtGlobal>

namespace {
const QColor kNoVideoBack(0x1F, 0x23, 0x29);
const QColor kAvatarBack(0x3A, 0x40, 0x4B);
const QColor kPlate(0, 0, 0, 140);
}

QDlgPlayInfo::QDlgPlayInfo(QWidget* parent)
    : QWidget(parent)
{
    // Drawn over the GL picture: no background of its own, no mouse input.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    if (parent)
        setGeometry(0, 0, parent->width(), parent->height());
}

void QDlgPlayInfo::setPersonInfo(tagPersonInfo* person)
{
    m_pPersonInfo = person;
    update();
}

tagPersonInfo* QDlgPlayInfo::personInfo() const
{
    return m_pPersonInfo;
}

void QDlgPlayInfo::setVideoRect(int x, int y, int w, int h)
{
    const QRect rc(x, y, w, h);
    if (rc == m_rcVideo)
        return;
    m_rcVideo = rc;
    update();
}

QRect QDlgPlayInfo::videoRect() const
{
    return m_rcVideo;
}

void QDlgPlayInfo::refreshDisplay()
{
    update();
}

void QDlgPlayInfo::setVideoState(bool bNoVideo, bool bForce)
{
    if (m_bNoVideo == bNoVideo && !bForce)
        return;
    m_bNoVideo = bNoVideo;
    update();
}

bool QDlgPlayInfo::isNoVideo() const
{
    return m_bNoVideo;
}

tagPersonInfo* QDlgPlayInfo::livePerson() const
{
    // The tile keeps handing us its last record after a detach; the record may
    // have been freed since, so ask the registry before touching it.
    if (!m_pPersonInfo || QKXScreenConfig::getInstance()->testDelPerson(m_pPersonInfo, false))
        return nullptr;
    return m_pPersonInfo;
}

QString QDlgPlayInfo::displayName() const
{
    const tagPersonInfo* person = livePerson();
    return person ? person->userName : QString();
}

QRect QDlgPlayInfo::contentRect() const
{
    // Before the first frame there is no video rectangle: use the whole tile.
    if (m_bNoVideo || m_rcVideo.width() <= 0 || m_rcVideo.height() <= 0)
        return rect();
    return m_rcVideo.intersected(rect());
}

void QDlgPlayInfo::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    const tagPersonInfo* person = livePerson();
    if (!person)
        return;

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QString name = person->userName;
    const QRect area = contentRect();
    if (area.isEmpty())
        return;

    if (m_bNoVideo) {
        painter.fillRect(rect(), kNoVideoBack);
        const QString initial = name.trimmed().left(1).toUpper();
        if (!initial.isEmpty()) {
            const int d = qMax(8, qMin(area.width(), area.height()) / 3);
            const QRect circle(area.center().x() - d / 2, area.center().y() - d / 2, d, d);
            painter.setPen(Qt::NoPen);
            painter.setBrush(kAvatarBack);
            painter.drawEllipse(circle);
            QFont font = painter.font();
            font.setPixelSize(qMax(6, d / 2));
            font.setBold(true);
            painter.setFont(font);
            painter.setPen(Qt::white);
            painter.drawText(circle, Qt::AlignCenter, initial);
        }
    }

    if (name.isEmpty())
        return;

    // Name plate: font follows the tile height within readable bounds.
    QFont font = painter.font();
    font.setBold(false);
    font.setPixelSize(qBound(10, height() / 18, 24));
    painter.setFont(font);
    const QFontMetrics fm(font);
    const int pad = qMax(3, font.pixelSize() / 3);
    const int margin = qMax(2, font.pixelSize() / 4);
    const int maxText = qMax(0, area.width() - 2 * margin - 2 * pad);
    const QString text = fm.elidedText(name, Qt::ElideRight, maxText);
    if (text.isEmpty())
        return;
    const int plateW = fm.horizontalAdvance(text) + 2 * pad;
    const int plateH = fm.height() + pad;
    const QRect plate(area.left() + margin, area.bottom() + 1 - margin - plateH, plateW, plateH);

    painter.setPen(Qt::NoPen);
    painter.setBrush(kPlate);
    painter.drawRoundedRect(plate, 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, text);
}

void QDlgPlayInfo::releaseImageCache()
{
    // Nothing is cached across overlays yet.
}
