#include "tileglsurface.h"

#include "cplaywidget.h"

#include <algorithm>
#include <iterator>

namespace {

const char* const kVertexShader =
    "attribute vec4 vertexIn; attribute vec2 textureIn; varying vec2 textureOut; "
    "void main(void) { gl_Position = vertexIn; textureOut = textureIn; }";

// BT.709 limited range; the row vector (Y, U, V, 1) times the matrix gives RGB,
// with the offsets folded into the fourth column.
const char* const kFragmentShader =
    "#ifdef GL_ES\n"
    " precision mediump float; \n"
    " #endif\n"
    " varying vec2 textureOut; uniform sampler2D tex_y; uniform sampler2D tex_u; "
    "uniform sampler2D tex_v; const mat4 YUV2RGB = mat4( 1.1643835616, 0, 1.7927410714, "
    "-0.9729450750, 1.1643835616, -0.2132486143, -0.5329093286, 0.3014826655, "
    "1.1643835616, 2.1124017857, 0, -1.1334022179, 0, 0, 0, 1); void main(void) { "
    "vec3 yuv; yuv.x = texture2D(tex_y, textureOut).r; yuv.y = texture2D(tex_u, "
    "textureOut).r; yuv.z = texture2D(tex_v, textureOut).r; gl_FragColor = vec4(yuv, "
    "1.0) * YUV2RGB; }";

// Client-side arrays: they must outlive every draw, hence static storage.
const GLfloat kVertices[] = {
    -1.0f, -1.0f,
     1.0f, -1.0f,
    -1.0f,  1.0f,
     1.0f,  1.0f,
};
// Flipped vertically, so that row 0 of the buffer is the top of the picture.
const GLfloat kTexCoords[] = {
    0.0f, 1.0f,
    1.0f, 1.0f,
    0.0f, 0.0f,
    1.0f, 0.0f,
};

} // namespace

TileGLSurface::TileGLSurface(CPlayWidget* tile)
    : QOpenGLWidget(tile, Qt::WindowFlags())
    , m_tile(tile)
    , m_textureY(QOpenGLTexture::Target2D)
    , m_textureU(QOpenGLTexture::Target2D)
    , m_textureV(QOpenGLTexture::Target2D)
{
    // Clicks go to the tile, which makes clicks and double clicks of them.
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

TileGLSurface::~TileGLSurface()
{
    // The base class destroys the context after this body: the handler of its
    // end must not run on a surface that is half gone.
    if (QOpenGLContext* ctx = context())
        disconnect(ctx, nullptr, this, nullptr);
    releaseGL();
}

void TileGLSurface::releaseGL()
{
    if (!context())
        return;
    makeCurrent();
    m_textureY.destroy();
    m_textureU.destroy();
    m_textureV.destroy();
    delete m_program;
    m_program = nullptr;
    doneCurrent();
}

void TileGLSurface::clearToBlack()
{
    // A surface that was never shown has no context and nothing to clear.
    if (!isValid())
        return;
    makeCurrent();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    doneCurrent();
}

void TileGLSurface::initializeGL()
{
    // Called for every new context: the first one, and the one the tile gets
    // when the gallery moves to another window (the old context goes, and the
    // GL objects made in it go first).
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this]() { releaseGL(); });
    initializeOpenGLFunctions();
    glEnable(GL_DEPTH_TEST);

    delete m_program;
    m_program = new QOpenGLShaderProgram;
    m_program->addShaderFromSourceCode(QOpenGLShader::Fragment, kFragmentShader);
    m_program->addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader);
    m_program->bindAttributeLocation("vertexIn", 0);
    m_program->bindAttributeLocation("textureIn", 1);
    m_program->link();
    m_program->bind();

    m_locTexY = m_program->uniformLocation("tex_y");
    m_locTexU = m_program->uniformLocation("tex_u");
    m_locTexV = m_program->uniformLocation("tex_v");

    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, kVertices);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, kTexCoords);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);

    m_textureY.create();
    m_textureU.create();
    m_textureV.create();

    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

void TileGLSurface::paintGL()
{
    // The surface's own pixel ratio: the one its framebuffer has on the
    // screen the window is on now.
    m_tile->drawPicture(devicePixelRatioF(), [this](const TilePicture& picture) { return draw(picture); });
}

bool TileGLSurface::draw(const TilePicture& pic)
{
    if (!m_program)
        return false;
    // GL counts viewport rows from the bottom of the framebuffer.
    const QRect& r = pic.target;
    glViewport(r.x(), pic.surface.height() - r.y() - r.height(), r.width(), r.height());
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    m_program->bind();

    struct Plane {
        GLenum unit;
        QOpenGLTexture* texture;
        int w;
        int h;
        const unsigned char* data;
    };
    const Plane planes[] = {
        {GL_TEXTURE0, &m_textureY, pic.width, pic.height, pic.y},
        {GL_TEXTURE1, &m_textureU, pic.width / 2, pic.height / 2, pic.u},
        {GL_TEXTURE2, &m_textureV, pic.width / 2, pic.height / 2, pic.v},
    };
    for (const Plane& plane : planes) {
        glActiveTexture(plane.unit);
        glBindTexture(GL_TEXTURE_2D, plane.texture->textureId());
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RED, plane.w, plane.h, 0, GL_RED, GL_UNSIGNED_BYTE, plane.data);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    }

    // The part of the picture drawn (all of it, or the view of a zoomed
    // share), bottom corners first as the vertices are.
    const double u0 = double(pic.source.left()) / pic.width;
    const double u1 = double(pic.source.left() + pic.source.width()) / pic.width;
    const double v0 = double(pic.source.top()) / pic.height;
    const double v1 = double(pic.source.top() + pic.source.height()) / pic.height;
    const GLfloat corners[8] = {GLfloat(u0), GLfloat(v1), GLfloat(u1), GLfloat(v1),
                                GLfloat(u0), GLfloat(v0), GLfloat(u1), GLfloat(v0)};
    std::copy(std::begin(corners), std::end(corners), m_texCoords);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, m_texCoords);
    glUniform1i(m_locTexY, 0);
    glUniform1i(m_locTexU, 1);
    glUniform1i(m_locTexV, 2);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    return true;
}
