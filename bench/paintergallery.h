// The reference without OpenGL: one plain widget for the whole gallery; libyuv
// scales each new picture to its tile and converts it to RGB (BT.709), and
// QPainter draws the result unscaled, only the tiles whose picture changed.
#ifndef KX_BENCH_PAINTERGALLERY_H
#define KX_BENCH_PAINTERGALLERY_H

#include "paintbench.h"

#include <QImage>
#include <QMutex>
#include <QWidget>

#include <memory>
#include <vector>

class PainterGallery : public QWidget
{
    Q_OBJECT
public:
    PainterGallery(const QVector<kxbench::TilePlan>& tiles, kxbench::PaintStats* stats, QWidget* parent);

    // Host thread.
    void deliver(int tile, const KxCloudRTCVideoFrameQT& frame);

signals:
    void frameArrived(int tile);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void onFrameArrived(int tile);

    struct Tile {
        kxbench::TilePlan plan;
        QMutex mutex;
        std::vector<uint8_t> buffer;
        int alignedWidth = 0;
        int height = 0;
        bool fresh = false;
        std::vector<uint8_t> scaled;
        QImage rgb;
    };
    std::vector<std::unique_ptr<Tile>> m_tiles;
    kxbench::PaintStats* m_stats;
};

#endif
