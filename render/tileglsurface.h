#ifndef KX_TILEGLSURFACE_H
#define KX_TILEGLSURFACE_H

#include <QOpenGLFunctions>
#include <QOpenGLShaderProgram>
#include <QOpenGLTexture>
#include <QOpenGLWidget>

class CPlayWidget;
struct TilePicture;

// The OpenGL way of drawing a tile: a GL surface over the whole tile, under
// its overlay. Each paint uploads the tile's picture as three plane textures
// and converts it to RGB in a fragment shader (BT.709, limited range) inside
// the video rectangle. The tile decides what is drawn (CPlayWidget::
// drawPicture); this class only draws it.
class TileGLSurface : public QOpenGLWidget, protected QOpenGLFunctions
{
    Q_OBJECT
public:
    explicit TileGLSurface(CPlayWidget* tile);
    ~TileGLSurface() override;

    // Clears what the surface shows to black, at once, when it has a context.
    void clearToBlack();

protected:
    void initializeGL() override;
    void paintGL() override;

private:
    bool draw(const TilePicture& picture);
    // Releases the GL objects while their context is current; they are made
    // afresh by initializeGL in the next context.
    void releaseGL();

    CPlayWidget* m_tile;
    int m_locTexY = 0;
    int m_locTexU = 0;
    int m_locTexV = 0;
    QOpenGLTexture m_textureY;
    QOpenGLTexture m_textureU;
    QOpenGLTexture m_textureV;
    QOpenGLShaderProgram* m_program = nullptr; // one per GL context, made by initializeGL
    // The part of the picture drawn, as texture coordinates of the four
    // corners; read by the draw call, so kept here.
    GLfloat m_texCoords[8] = {};
};

#endif
