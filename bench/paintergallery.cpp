#include "paintergallery.h"

#include "videoframe.h"

#include <QPaintEvent>
#include <QPainter>

PainterGallery::PainterGallery(const QVector<kxbench::TilePlan>& tiles, kxbench::PaintStats* stats, QWidget* parent)
    : QWidget(parent)
    , m_stats(stats)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    for (const kxbench::TilePlan& plan : tiles) {
        auto t = std::make_unique<Tile>();
        t->plan = plan;
        m_tiles.push_back(std::move(t));
    }
    connect(this, &PainterGallery::frameArrived, this, &PainterGallery::onFrameArrived, Qt::QueuedConnection);
}

void PainterGallery::deliver(int tile, const KxCloudRTCVideoFrameQT& frame)
{
    Tile& t = *m_tiles[size_t(tile)];
    {
        QMutexLocker lock(&t.mutex);
        t.buffer.resize(size_t(kxvideo::bufferSizeFor(frame.width, frame.height)));
        kxvideo::copyI420Aligned(frame.data, frame.width, frame.height, t.buffer.data());
        t.alignedWidth = frame.width & ~7;
        t.height = frame.height;
        t.fresh = true;
    }
    emit frameArrived(tile);
}

void PainterGallery::onFrameArrived(int tile)
{
    // Only the tile's own rectangle is repainted and flushed.
    update(m_tiles[size_t(tile)]->plan.video);
}

void PainterGallery::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), Qt::black);
    QVector<kxbench::FrameTag> drawn;
    for (auto& tp : m_tiles) {
        Tile& t = *tp;
        if (!event->region().intersects(t.plan.video))
            continue;
        {
            QMutexLocker lock(&t.mutex);
            if (t.fresh) {
                if (t.rgb.width() != t.alignedWidth || t.rgb.height() != t.height)
                    t.rgb = QImage(t.alignedWidth, t.height, QImage::Format_RGB32);
                kxbench::i420ToRgb32(t.buffer.data(), t.alignedWidth, t.alignedWidth, t.height, t.rgb.bits(),
                                     t.rgb.bytesPerLine());
                t.fresh = false;
                drawn.append(kxbench::readTag(t.buffer.data()));
            }
        }
        if (!t.rgb.isNull())
            painter.drawImage(t.plan.video, t.rgb);
    }
    painter.end();
    // The backing store is flushed to the screen right after this paint.
    for (const kxbench::FrameTag& tag : qAsConst(drawn))
        m_stats->painted(this, tag);
    m_stats->composed();
    m_stats->shown(this);
}
