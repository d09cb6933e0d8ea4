#include "overlayicons.h"

#include <QCoreApplication>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QtGlobal>

namespace kxoverlay {

namespace {

// GUI thread only: every overlay paints there.
QHash<QString, QPixmap>& iconCache()
{
    static QHash<QString, QPixmap> cache;
    static bool cleanupAdded = false;
    if (!cleanupAdded) {
        // Pixmaps must not outlive the application object that made them.
        qAddPostRoutine(releaseIcons);
        cleanupAdded = true;
    }
    return cache;
}

// Bright enough to tell apart, dark enough for a white initial on top.
const QRgb kDiscPalette[] = {
    0xFF3F7CF4, // blue
    0xFF2BA471, // green
    0xFFE37318, // orange
    0xFFD54941, // red
    0xFF8B5CF6, // violet
    0xFF0594FA, // sky
    0xFFC93F8D, // pink
    0xFF00A5A8, // teal
};

} // namespace

QPixmap icon(const QString& name, int px, qreal dpr)
{
    if (name.isEmpty() || px <= 0)
        return QPixmap();
    if (dpr <= 0)
        dpr = 1.0;
    const QString key = QStringLiteral("%1@%2x%3").arg(name).arg(px).arg(dpr);
    QHash<QString, QPixmap>& cache = iconCache();
    auto it = cache.constFind(key);
    if (it != cache.constEnd())
        return it.value();

    QSvgRenderer renderer(QStringLiteral(":/svg/") + name + QStringLiteral(".svg"));
    if (!renderer.isValid())
        return QPixmap();
    const int side = qMax(1, qRound(px * dpr));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        renderer.render(&painter, QRectF(0, 0, side, side));
    }
    QPixmap pixmap = QPixmap::fromImage(image);
    pixmap.setDevicePixelRatio(dpr);
    cache.insert(key, pixmap);
    return pixmap;
}

void releaseIcons()
{
    iconCache().clear();
}

int cachedIconCount()
{
    return iconCache().size();
}

QColor discColor(const QString& userID)
{
    QString id = userID;
    for (const QLatin1String prefix : {QLatin1String("sharescreen_"), QLatin1String("unjoined_")}) {
        if (id.startsWith(prefix)) {
            id = id.mid(prefix.size());
            break;
        }
    }
    // FNV-1a over the UTF-16 units: qHash is seeded per process, this is not.
    quint32 h = 2166136261u;
    for (const QChar c : id) {
        h ^= c.unicode();
        h *= 16777619u;
    }
    const int count = int(sizeof(kDiscPalette) / sizeof(kDiscPalette[0]));
    return QColor::fromRgb(kDiscPalette[h % quint32(count)]);
}

QString initialOf(const QString& name)
{
    const QString t = name.trimmed();
    if (t.isEmpty())
        return QString();
    if (t.at(0).isHighSurrogate() && t.size() > 1)
        return t.left(2);
    return t.left(1).toUpper();
}

} // namespace kxoverlay
