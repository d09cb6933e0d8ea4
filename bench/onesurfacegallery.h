// The baseline: the simplest renderer a developer would write for a gallery.
// One QOpenGLWidget for the whole gallery; host threads copy each picture
// into the tile's buffer and post one queued notice per frame; a paint
// uploads every tile whose picture is new (glTexImage2D of the whole picture,
// as the module's tile does) and draws all tiles with the same shader.
#ifndef KX_BENCH_ONESURFACEGALLERY_H
#define KX_BENCH_ONESURFACEGALLERY_H

#include "paintbench.h"

#include <QMutex>
#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLWidget>

#include <memory>
#include <vector>

class OneSurfaceGallery : public QOpenGLWidget, protected QOpenGLFunctions
{
    Q_OBJECT
public:
    OneSurfaceGallery(const QVector<kxbench::TilePlan>& tiles, kxbench::PaintStats* stats, QWidget* parent);
    ~OneSurfaceGallery() override;

    // Host thread.
    void deliver(int tile, const KxCloudRTCVideoFrameQT& frame);
    static QString rendererName();

signals:
    void frameArrived();

protected:
    void initializeGL() override;
    void paintGL() override;

private:
    struct Tile {
        kxbench::TilePlan plan;
        QMutex mutex;
        std::vector<uint8_t> buffer;
        int alignedWidth = 0;
        int height = 0;
        bool fresh = false;
        GLuint textures[3] = {0, 0, 0};
    };
    std::vector<std::unique_ptr<Tile>> m_tiles;
    kxbench::PaintStats* m_stats;
    QOpenGLShaderProgram* m_program = nullptr;
    int m_locTex[3] = {0, 0, 0};
};

#endif
