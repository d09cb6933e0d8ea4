#include "paintergallery.h"

#include "videoframe.h"

#include <QPaintEvent>
#include <QPainter>
#include <libyuv/convert_argb.h>
#include <libyuv/scale.h>

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
                const int w = t.plan.video.width(), h = t.plan.video.height(), cw = (w + 1) / 2;
                if (t.rgb.size() != t.plan.video.size())
                    t.rgb = QImage(w, h, QImage::Format_RGB32);
                t.scaled.resize(size_t(w) * h + 2 * size_t(cw) * ((h + 1) / 2));
                const uint8_t* y = t.buffer.data();
                const uint8_t* u = y + qint64(t.alignedWidth) * t.height;
                const uint8_t* v = y + qint64(t.alignedWidth) * t.height * 5 / 4;
                uint8_t* sy = t.scaled.data();
                uint8_t* su = sy + size_t(w) * h;
                uint8_t* sv = su + size_t(cw) * ((h + 1) / 2);
                libyuv::I420Scale(y, t.alignedWidth, u, t.alignedWidth / 2, v, t.alignedWidth / 2, t.alignedWidth,
                                  t.height, sy, w, su, cw, sv, cw, w, h, libyuv::kFilterBilinear);
                libyuv::I420ToARGBMatrix(sy, w, su, cw, sv, cw, t.rgb.bits(), int(t.rgb.bytesPerLine()),
                                         &libyuv::kYuvH709Constants, w, h);
                t.fresh = false;
                drawn.append(kxbench::readTag(t.buffer.data()));
            }
        }
        if (!t.rgb.isNull())
            painter.drawImage(t.plan.video.topLeft(), t.rgb);
    }
    painter.end();
    // The backing store is flushed to the screen right after this paint.
    for (const kxbench::FrameTag& tag : qAsConst(drawn))
        m_stats->painted(this, tag);
    m_stats->composed();
    m_stats->shown(this);
}
