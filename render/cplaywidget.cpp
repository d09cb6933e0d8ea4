#include "cplaywidget.h"

#include "kxscreenmod2.h"
#include "kxsync.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"
#include "videoframe.h"

#include <QApplication>
#include <QDateTime>
#include <QDesktopWidget>
#include <QMouseEvent>
#include <QTimer>
#include <cstdlib>
#include <cstring>
#include <new>

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

bool isDeletedPerson(tagPersonInfo* person)
{
    return QKXScreenConfig::getInstance()->testDelPerson(person, false);
}

std::atomic<CPlayWidget::PaintObserver> g_paintObserver{nullptr};

} // namespace

CPlayWidget::CPlayWidget(QWidget* parent)
    : QOpenGLWidget(parent, Qt::WindowFlags())
    , m_textureY(QOpenGLTexture::Target2D)
    , m_textureU(QOpenGLTexture::Target2D)
    , m_textureV(QOpenGLTexture::Target2D)
{
    setGeometry(0, 0, 1, 1);
    hide();
    m_pPlayInfo = new QDlgPlayInfo(this);
    if (QWidget* win = window())
        m_iDevicePixelRatio = win->devicePixelRatio();

    // Automatic connections: emissions from the host's thread are queued to
    // the GUI thread, where the tile lives.
    connect(this, &CPlayWidget::notifyRender, this, &CPlayWidget::onRender);
    connect(this, &CPlayWidget::notifyViewCenter, this, &CPlayWidget::onViewCenter);

    m_pClickTimer = new QTimer(this);
    connect(m_pClickTimer, &QTimer::timeout, this, &CPlayWidget::mouseClick);
}

CPlayWidget::~CPlayWidget()
{
    // The base class destroys the context after this body: the handler of its
    // end must not run on a tile that is half gone.
    if (QOpenGLContext* ctx = context())
        disconnect(ctx, nullptr, this, nullptr);
    releaseGL();
}

void CPlayWidget::releaseGL()
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

// ---------------------------------------------------------------------------
// Participant
// ---------------------------------------------------------------------------

void CPlayWidget::setPersonData(void* person, bool bFlag)
{
    Q_UNUSED(bFlag);
    auto* newPerson = static_cast<tagPersonInfo*>(person);
    bool wasShare = false;
    {
        // The host thread may drop the pointer (freed record), so even the
        // first look at it is taken under the mutex.
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (!m_pPersonInfo && !newPerson)
            return;
        if (m_pPersonInfo && isDeletedPerson(m_pPersonInfo)) {
            m_pPersonInfo = nullptr;
            KXLOG << "m_pPersonInfo had delete";
        }
        wasShare = m_pPersonInfo && tagPersonInfo::showsShare(m_pPersonInfo->userID);

        // A record freed since may come back at the same address: what was
        // painted for it is not this record's picture.
        if (m_pPersonInfo != newPerson)
            m_pPaintedPerson = nullptr;
        m_pPersonInfo = newPerson;
        if (newPerson) {
            if (newPerson->iWidth != 0) {
                {
                    std::lock_guard<std::recursive_mutex> buf(newPerson->bufMutex);
                    newPerson->iAlignedWidth = newPerson->iWidth & ~7;
                }
                emit notifyViewCenter(width(), height());
            }
            KXLOG << "[ScreenMod]CPlayWidget::setPersonData this:" << this << ", name" << newPerson->userName;
            newPerson->bAttached = true;
            // Frames are sized afresh after a change of participant, unless
            // this one is already streaming.
            m_bChangeTag = true;
            if (newPerson->bPreview && newPerson->eStreamStatus == 2)
                m_bChangeTag = false;
            m_pPlayInfo->setPersonInfo(newPerson);
        }
    }

    // A shared screen may be confidential: do not leave its last picture up.
    // A tile that was never shown has no GL context and nothing to clear.
    if (!newPerson && wasShare && isValid()) {
        makeCurrent();
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        doneCurrent();
    }
}

tagPersonInfo* CPlayWidget::personInfo() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_pPersonInfo;
}

void CPlayWidget::ClearVideo()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!m_pPersonInfo)
        return;
    tagPersonInfo* p = m_pPersonInfo;
    std::lock_guard<std::recursive_mutex> buf(p->bufMutex);
    if (p->m_pBufYuv420p && p->iBufLen > 0) {
        // The chroma offsets use iWidth (not iAlignedWidth) and so may not match
        // where the renderer reads chroma for widths that are not multiples of 8.
        const qint64 lumaSize = qint64(p->iWidth) * p->iHeight;
        std::memset(p->m_pBufYuv420p, 0, size_t(p->iBufLen));
        std::memset(p->m_pBufYuv420p + lumaSize, 128, size_t(lumaSize / 4));
        std::memset(p->m_pBufYuv420p + lumaSize * 5 / 4, 128, size_t(lumaSize / 4));
        m_bNewPicture = true;
    }
    emit notifyRender();
}

// ---------------------------------------------------------------------------
// Frame intake (host thread)
// ---------------------------------------------------------------------------

bool CPlayWidget::PlayOneFrame(const KxCloudRTCVideoFrameQT* frame, const tagPersonInfo* owner)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!m_pPersonInfo)
        return false;
    // While a layout pass rebinds tiles, a participant's tile pointer can
    // briefly name a tile that still holds (or already holds) someone else:
    // the frame is dropped rather than shown as that person's picture.
    if (owner && m_pPersonInfo != owner)
        return false;
    if (isDeletedPerson(m_pPersonInfo)) {
        m_pPersonInfo = nullptr;
        KXLOG << "m_pPersonInfo had delete";
        return false;
    }

    // A frame the copy cannot trust is refused before anything is touched, so
    // the buffer and the picture already in it stay as they are.
    const char* reason = frame ? kxvideo::frameRejectReason(frame->data, frame->width, frame->height, frame->length)
                               : "null frame";
    if (reason) {
        KXLOG << QStringLiteral("PlayOneFrame refused frame: %1, userName:%2, size:%3x%4")
                     .arg(QLatin1String(reason), m_pPersonInfo->userName,
                          QString::number(frame ? frame->width : 0),
                          QString::number(frame ? frame->height : 0));
        return false;
    }

    if (m_bDumpNextFrame) {
        m_bDumpNextFrame = false;
        QKXScreenConfig::getInstance()->dumpFrame(m_pPersonInfo, frame);
    }

    const int width = frame->width;
    const int height = frame->height;
    const int A = width & ~7;
    std::lock_guard<std::recursive_mutex> buf(m_pPersonInfo->bufMutex);

    if (width != m_pPersonInfo->iWidth || height != m_pPersonInfo->iHeight || m_bChangeTag)
        SetVideoSize(unsigned(width), unsigned(height));

    m_pPersonInfo->iAlignedWidth = A;

    if (!m_pPersonInfo->m_pBufYuv420p)
        return false;

    // Rows are cut to A bytes so that every texture row is a multiple of 8;
    // for odd heights V lands one chroma row later than the renderer reads it.
    kxvideo::copyI420Aligned(frame->data, width, height, m_pPersonInfo->m_pBufYuv420p);
    m_bNewPicture = true;
    fromAnyThread(&CPlayWidget::notifyRender);
    return true;
}

void CPlayWidget::showSharedPicture(const tagPersonInfo* owner)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!owner || m_pPersonInfo != owner)
        return;
    const QSize size(owner->iWidth, owner->iHeight);
    if (size != m_sharedSize) {
        m_sharedSize = size;
        fromAnyThread(&CPlayWidget::notifyViewCenter);
    }
    m_bNewPicture = true;
    fromAnyThread(&CPlayWidget::notifyRender);
}

void CPlayWidget::SetVideoSize(unsigned int width, unsigned int height)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (width == 0 || height == 0 || !m_pPersonInfo)
        return;

    tagPersonInfo* p = m_pPersonInfo;
    std::lock_guard<std::recursive_mutex> buf(p->bufMutex);
    const qint64 bufSize = kxvideo::bufferSizeFor(width, height);
    if (bufSize < 0) {
        KXLOG << QStringLiteral("SetVideoSize refused size: %1x%2, userName:%3")
                     .arg(QString::number(width), QString::number(height), p->userName);
        return;
    }
    int need = int(width) * int(height) * 2;
    KXLOG << "SetVideoSize m_pPersonInfo->iWidth:" << p->iWidth << ", m_pPersonInfo->iHeight:" << p->iHeight
          << ", m_pPersonInfo->iBufLen:" << p->iBufLen << ", iTmpLen:" << need;

    p->iWidth = int(width);
    p->iHeight = int(height);

    if (need > p->iBufLen && p->m_pBufYuv420p) {
        KXLOG << "xxxxx setVideoSize,iWidth,iHeight:" << width << height;
        delete[] p->m_pBufYuv420p;
        p->m_pBufYuv420p = nullptr;
    }

    if (!p->m_pBufYuv420p) {
        need += 20480;
        p->iBufLen = need;
        // Not cleared: the next copy overwrites what the renderer reads.
        p->m_pBufYuv420p = new (std::nothrow) unsigned char[size_t(need)];
        if (!p->m_pBufYuv420p) {
            KXLOG << "m_pBufYuv420p alloc failed! Maybe no frames shown in the widget，alloc_size=" << need;
            p->iBufLen = 0;
        }
    }

    KXLOG << "2SetVideoSize m_pPersonInfo->iWidth:" << p->iWidth << ", m_pPersonInfo->iHeight:" << p->iHeight
          << ", m_pPersonInfo->iBufLen:" << p->iBufLen << ", iTmpLen:" << need;

    fromAnyThread(&CPlayWidget::notifyViewCenter);
}

void CPlayWidget::fromAnyThread(void (CPlayWidget::*signal)())
{
    // On the interface thread the notice is handled at once; from a host
    // thread it is queued to the interface thread, where the tile lives.
    // One notice waiting is enough: it draws the newest picture when it runs.
    // A host that hands over frames faster than the interface thread turns
    // would otherwise grow the queue without bound.
    if (kxsync::onInterfaceThread()) {
        (this->*signal)();
    } else if (!m_bNoticeQueued.exchange(true)) {
        kxsync::post(this, [this, signal]() {
            m_bNoticeQueued = false;
            (this->*signal)();
        });
    }
}

void CPlayWidget::fromAnyThread(void (CPlayWidget::*signal)(int, int))
{
    // The size is the tile's own when the notice is handled: onViewCenter
    // reads width() and height() itself.
    if (kxsync::onInterfaceThread()) {
        (this->*signal)(width(), height());
    } else if (!m_bSizeNoticeQueued.exchange(true)) {
        kxsync::post(this, [this, signal]() {
            m_bSizeNoticeQueued = false;
            (this->*signal)(width(), height());
        });
    }
}

// ---------------------------------------------------------------------------
// Showing
// ---------------------------------------------------------------------------

void CPlayWidget::showTile()
{
    repaintIfKeptOutOfDate();
    ++m_iShowCount;
    show();
    if (isChangeTag())
        QTimer::singleShot(30, this, &CPlayWidget::delayResetChangeTag);
    m_pPlayInfo->refreshDisplay();
}

void CPlayWidget::showTileNormal()
{
    repaintIfKeptOutOfDate();
    ++m_iShowCount;
    showNormal();
    if (isChangeTag()) {
        QTimer::singleShot(100, this, &CPlayWidget::delayResetChangeTag);
        m_pPlayInfo->setVideoState(true, true);
    }
}

void CPlayWidget::repaintIfKeptOutOfDate()
{
    // Showing a hidden tile repaints it. A tile the gallery keeps on screen
    // across a relayout is not hidden first any more; it is repainted only
    // when that repaint would draw something else than it shows now, so the
    // picture on screen is the one a hide and show would have drawn, without
    // a paint that uploads nothing new and a composition of the window.
    if (isVisible() && isPictureOutOfDate())
        update();
}

bool CPlayWidget::isPictureOutOfDate() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_pPaintedPerson != m_pPersonInfo || m_bNewPicture;
}

void CPlayWidget::hide()
{
    QOpenGLWidget::hide();
}

void CPlayWidget::setGeometry(int x, int y, int w, int h)
{
    QOpenGLWidget::setGeometry(x, y, w, h);
}

void CPlayWidget::setGeometry(const QRect& rect)
{
    QOpenGLWidget::setGeometry(rect);
}

QDlgPlayInfo* CPlayWidget::playInfo() const
{
    return m_pPlayInfo;
}

bool CPlayWidget::isNoVideo() const
{
    return m_pPlayInfo ? m_pPlayInfo->isNoVideo() : false;
}

QRect CPlayWidget::videoRect() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return QRect(m_iDspX, m_iDspY, m_iDspWidth, m_iDspHeight);
}

void CPlayWidget::addVideoRect(QRect& rc) const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    rc.setLeft(rc.left() + m_iDspX);
    rc.setTop(rc.top() + m_iDspY);
    rc.setRight(rc.left() + m_iDspWidth);
    rc.setBottom(rc.top() + m_iDspHeight);
}

void CPlayWidget::setFocusTile(bool bFocus)
{
    m_bFocusTile = bFocus;
}

bool CPlayWidget::isFocusTile() const
{
    return m_bFocusTile;
}

bool CPlayWidget::isChangeTag() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_bChangeTag;
}

int CPlayWidget::paintedFrames() const
{
    return m_iPaintedFrames.load();
}

void CPlayWidget::setPaintObserver(PaintObserver observer)
{
    g_paintObserver.store(observer);
}

// ---------------------------------------------------------------------------
// Slots
// ---------------------------------------------------------------------------

void CPlayWidget::onRender()
{
    if (isChangeTag())
        return;
    m_bCanRender = true;
    update();
    m_pPlayInfo->setVideoState(false, false);
}

void CPlayWidget::mouseClick()
{
    m_pClickTimer->stop();
    emit mouseLClick(this);
}

void CPlayWidget::onViewCenter(int iWidth, int iHeight)
{
    // The arguments may be stale by the time a queued call arrives: the tile's
    // current size is used instead.
    Q_UNUSED(iWidth);
    Q_UNUSED(iHeight);
    QRect rc;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (!m_pPersonInfo || m_pPersonInfo->iWidth == 0 || m_pPersonInfo->iHeight == 0)
            return;
        rc = kxvideo::fitVideo(width(), height(), m_pPersonInfo->iWidth, m_pPersonInfo->iHeight);
        m_iDspX = rc.x();
        m_iDspY = rc.y();
        m_iDspWidth = rc.width();
        m_iDspHeight = rc.height();
    }
    m_pPlayInfo->setVideoRect(rc.x(), rc.y(), rc.width(), rc.height());
}

void CPlayWidget::delayResetChangeTag()
{
    bool bPending = false;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_bChangeTag = false;
        bPending = m_bNewPicture;
    }
    if (isVisible()) {
        m_pPlayInfo->refreshDisplay();
        // A picture that arrived while the tile was fresh had its render
        // notice ignored; without this a still picture (a paused share, a
        // camera that sent one frame) would wait for the next frame.
        if (bPending)
            onRender();
    }
}

// ---------------------------------------------------------------------------
// Events
// ---------------------------------------------------------------------------

bool CPlayWidget::event(QEvent* e)
{
    // Notices posted from the host's threads (fromAnyThread) run here.
    return kxsync::handle(e) || QOpenGLWidget::event(e);
}

void CPlayWidget::timerEvent(QTimerEvent* event)
{
    Q_UNUSED(event);
}

void CPlayWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        // A single click is reported only when no second click or drag
        // follows within the timer's run.
        m_pClickTimer->start(300);
        m_ptPress = event->globalPos();
    }
    QOpenGLWidget::mousePressEvent(event);
}

void CPlayWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    // The base handler is not called: it would treat the event as a press and
    // start the click timer again.
    m_pClickTimer->stop();
    if (event->button() == Qt::RightButton) {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        m_bDumpNextFrame = true;
    } else {
        emit mouseLDClick(this);
    }
}

void CPlayWidget::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pos = event->globalPos();
    const int dx = std::abs(pos.x() - m_ptPress.x());
    const int dy = std::abs(pos.y() - m_ptPress.y());
    if (dx > 5 || dy > 5)
        m_pClickTimer->stop();
    QOpenGLWidget::mouseMoveEvent(event);
}

// ---------------------------------------------------------------------------
// OpenGL
// ---------------------------------------------------------------------------

void CPlayWidget::initializeGL()
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

void CPlayWidget::resizeGL(int w, int h)
{
    m_pPlayInfo->move(0, 0);
    m_pPlayInfo->setFixedSize(w, h);
    emit notifyViewCenter(w, h);
}

void CPlayWidget::paintGL()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    tagPersonInfo* p = m_pPersonInfo;
    if (!p) {
        KXLOG << "painGL this:" << this << ", m_pPersonInfo:" << static_cast<void*>(p);
        m_pPaintedPerson = nullptr;
        return;
    }
    if (isDeletedPerson(p)) {
        // Only logged here: the pointer is dropped by the next frame or attach.
        KXLOG << "m_pPersonInfo had delete";
        return;
    }
    // Records are freed on this thread only, so once it is known to be live it
    // stays so for this paint; its buffer is guarded against the host thread.
    std::lock_guard<std::recursive_mutex> buf(p->bufMutex);
    if (!p->m_pBufYuv420p) {
        KXLOG << "nullptr == YUVBuf, userName:" << p->userName << ", bPreview:" << p->bPreview
              << ", eStreamStatus:" << p->eStreamStatus;
        // Nothing to draw, and nothing else to draw until a frame arrives.
        m_pPaintedPerson = p;
        m_bNewPicture = false;
        return;
    }
    if (m_iDspWidth == 0 || m_iDspHeight == 0) {
        KXLOG << "m_iDspWidth == 0, userName:" << p->userName << ", bPreview:" << p->bPreview
              << ", eStreamStatus:" << p->eStreamStatus;
        emit notifyViewCenter(width(), height());
        return;
    }
    if (!m_bCanRender || !m_program)
        return;

    QKXScreenConfig* config = QKXScreenConfig::getInstance();
    const double s = QApplication::desktop()->screenNumber(this) == 0 ? config->dpi1() : config->dpi2();
    glViewport(int(m_iDspX * s), int(m_iDspY * s), int(m_iDspWidth * s), int(m_iDspHeight * s));
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    m_program->bind();

    const int yw = p->iAlignedWidth;
    const int yh = p->iHeight;
    const int cw = p->iAlignedWidth / 2;
    const int ch = p->iHeight / 2;
    const unsigned char* planeY = p->m_pBufYuv420p;
    const unsigned char* planeU = planeY + qint64(yw) * yh;
    const unsigned char* planeV = planeY + qint64(yw) * yh * 5 / 4;

    struct Plane {
        GLenum unit;
        QOpenGLTexture* texture;
        int w;
        int h;
        const unsigned char* data;
    };
    const Plane planes[] = {
        {GL_TEXTURE0, &m_textureY, yw, yh, planeY},
        {GL_TEXTURE1, &m_textureU, cw, ch, planeU},
        {GL_TEXTURE2, &m_textureV, cw, ch, planeV},
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

    glUniform1i(m_locTexY, 0);
    glUniform1i(m_locTexU, 1);
    glUniform1i(m_locTexV, 2);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    m_pPaintedPerson = p;
    m_bNewPicture = false;
    ++m_iPaintedFrames;
    if (PaintObserver observer = g_paintObserver.load(std::memory_order_relaxed))
        observer(this, planeY);
}
