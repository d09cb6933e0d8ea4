#include "onesurfacegallery.h"

#include "videoframe.h"

#include <QOpenGLContext>

namespace {

QString g_rendererName;

// The tile's own shaders, so that both renderers do the same work per pixel.
const char* const kVertexShader =
    "attribute vec4 vertexIn; attribute vec2 textureIn; varying vec2 textureOut; "
    "void main(void) { gl_Position = vertexIn; textureOut = textureIn; }";
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
const GLfloat kVertices[] = {-1.0f, -1.0f, 1.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f};
const GLfloat kTexCoords[] = {0.0f, 1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 1.0f, 0.0f};

} // namespace

OneSurfaceGallery::OneSurfaceGallery(const QVector<kxbench::TilePlan>& tiles, kxbench::PaintStats* stats,
                                     QWidget* parent)
    : QOpenGLWidget(parent)
    , m_stats(stats)
{
    for (const kxbench::TilePlan& plan : tiles) {
        auto t = std::make_unique<Tile>();
        t->plan = plan;
        m_tiles.push_back(std::move(t));
    }
    // Queued: the host threads' notices reach the interface thread one per frame.
    connect(this, &OneSurfaceGallery::frameArrived, this, QOverload<>::of(&QWidget::update), Qt::QueuedConnection);
}

OneSurfaceGallery::~OneSurfaceGallery()
{
    if (!context())
        return;
    makeCurrent();
    for (auto& t : m_tiles)
        glDeleteTextures(3, t->textures);
    delete m_program;
    doneCurrent();
}

QString OneSurfaceGallery::rendererName()
{
    return g_rendererName;
}

void OneSurfaceGallery::deliver(int tile, const KxCloudRTCVideoFrameQT& frame)
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
    emit frameArrived();
}

void OneSurfaceGallery::initializeGL()
{
    initializeOpenGLFunctions();
    g_rendererName = QString::fromLatin1(reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    m_program = new QOpenGLShaderProgram;
    m_program->addShaderFromSourceCode(QOpenGLShader::Fragment, kFragmentShader);
    m_program->addShaderFromSourceCode(QOpenGLShader::Vertex, kVertexShader);
    m_program->bindAttributeLocation("vertexIn", 0);
    m_program->bindAttributeLocation("textureIn", 1);
    m_program->link();
    m_locTex[0] = m_program->uniformLocation("tex_y");
    m_locTex[1] = m_program->uniformLocation("tex_u");
    m_locTex[2] = m_program->uniformLocation("tex_v");
    for (auto& t : m_tiles) {
        glGenTextures(3, t->textures);
        for (GLuint id : t->textures) {
            glBindTexture(GL_TEXTURE_2D, id);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        }
    }
}

void OneSurfaceGallery::paintGL()
{
    const qreal dpr = devicePixelRatioF();
    const int fbH = int(height() * dpr);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    m_program->bind();
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, kVertices);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 0, kTexCoords);
    glEnableVertexAttribArray(0);
    glEnableVertexAttribArray(1);
    glUniform1i(m_locTex[0], 0);
    glUniform1i(m_locTex[1], 1);
    glUniform1i(m_locTex[2], 2);
    for (auto& tp : m_tiles) {
        Tile& t = *tp;
        QMutexLocker lock(&t.mutex);
        if (t.buffer.empty())
            continue;
        if (t.fresh) {
            // Only a new picture is uploaded; the others are drawn from their textures.
            const int yw = t.alignedWidth;
            const int yh = t.height;
            const uint8_t* planes[3] = {t.buffer.data(), t.buffer.data() + qint64(yw) * yh,
                                        t.buffer.data() + qint64(yw) * yh * 5 / 4};
            for (int i = 0; i < 3; ++i) {
                glActiveTexture(GL_TEXTURE0 + GLenum(i));
                glBindTexture(GL_TEXTURE_2D, t.textures[i]);
                glTexImage2D(GL_TEXTURE_2D, 0, GL_RED, i ? yw / 2 : yw, i ? yh / 2 : yh, 0, GL_RED, GL_UNSIGNED_BYTE,
                             planes[i]);
            }
            t.fresh = false;
            m_stats->painted(this, kxbench::readTag(t.buffer.data()));
        } else {
            for (int i = 0; i < 3; ++i) {
                glActiveTexture(GL_TEXTURE0 + GLenum(i));
                glBindTexture(GL_TEXTURE_2D, t.textures[i]);
            }
        }
        const QRect& r = t.plan.video;
        glViewport(int(r.x() * dpr), fbH - int((r.y() + r.height()) * dpr), int(r.width() * dpr),
                   int(r.height() * dpr));
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    }
}
