#include "cplaywidget.h"

#include "kxscreenmod2.h"
#include "kxsync.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"
#include "tileglsurface.h"
#include "tilerenderer.h"
#include "videoframe.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>
#include <QWheelEvent>
#include <QtMath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

bool isDeletedPerson(tagPersonInfo* person)
{
    return QKXScreenConfig::getInstance()->testDelPerson(person, false);
}

std::atomic<CPlayWidget::PaintObserver> g_paintObserver{nullptr};

} // namespace

CPlayWidget::CPlayWidget(QWidget* parent)
    : QWidget(parent, Qt::WindowFlags())
{
    if (kxtilerender::current() == kxrender::Renderer::Gl)
        m_pSurface = new TileGLSurface(this);
    else
        setAttribute(Qt::WA_OpaquePaintEvent); // every pixel is painted: the picture and black bars
    setGeometry(0, 0, 1, 1);
    // A click gives a tile the keyboard for a share's zoom keys; every other
    // key goes on to the gallery.
    setFocusPolicy(Qt::ClickFocus);
    hide();
    setFocusPolicy(Qt::TabFocus);
    // Made after the surface, so that it lies above it.
    m_pPlayInfo = new QDlgPlayInfo(this);
    // Over a tile that paints on the CPU, every new picture repaints what
    // lies above it.
    m_pPlayInfo->setCacheContent(isRaster());

    // Automatic connections: emissions from the host's thread are queued to
    // the GUI thread, where the tile lives.
    connect(this, &CPlayWidget::notifyRender, this, &CPlayWidget::onRender);
    connect(this, &CPlayWidget::notifyViewCenter, this, &CPlayWidget::onViewCenter);

    m_pClickTimer = new QTimer(this);
    connect(m_pClickTimer, &QTimer::timeout, this, &CPlayWidget::mouseClick);
}

CPlayWidget::~CPlayWidget()
{
    // Before the members it paints from go.
    delete m_pSurface;
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
        if (m_pPersonInfo != newPerson) {
            m_pPaintedPerson = nullptr;
            // Another participant starts fitted.
            m_iZoom = 0;
            m_bPanning = false;
        }
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
    if (!newPerson && wasShare) {
        if (m_pSurface) {
            m_pSurface->clearToBlack();
        } else {
            m_image = QImage();
            update();
        }
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
            KXWARN << "m_pBufYuv420p alloc failed! Maybe no frames shown in the widget，alloc_size=" << need;
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
        requestPaint();
}

bool CPlayWidget::isPictureOutOfDate() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_pPaintedPerson != m_pPersonInfo || m_bNewPicture;
}

void CPlayWidget::hide()
{
    QWidget::hide();
}

void CPlayWidget::setGeometry(int x, int y, int w, int h)
{
    QWidget::setGeometry(x, y, w, h);
}

void CPlayWidget::setGeometry(const QRect& rect)
{
    QWidget::setGeometry(rect);
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
    requestPaint();
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
    return kxsync::handle(e) || QWidget::event(e);
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
        // A zoomed share is panned by dragging it.
        m_bPanning = m_iZoom > 0;
        m_ptPan = event->pos();
    }
    QWidget::mousePressEvent(event);
}

void CPlayWidget::mouseReleaseEvent(QMouseEvent* event)
{
    m_bPanning = false;
    QWidget::mouseReleaseEvent(event);
}

// ---------------------------------------------------------------------------
// Actual size for shares
// ---------------------------------------------------------------------------

QSize CPlayWidget::sharePictureSize() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    tagPersonInfo* p = m_pPersonInfo;
    if (!p || isDeletedPerson(p) || !p->isShareScreen())
        return QSize();
    std::lock_guard<std::recursive_mutex> buf(p->bufMutex);
    return p->m_pBufYuv420p ? QSize(p->iAlignedWidth, p->iHeight) : QSize();
}

bool CPlayWidget::zoomBy(int steps, const QPointF& anchor)
{
    const QSize pic = sharePictureSize();
    if (pic.isEmpty())
        return false;
    const QSize tile = size() * devicePixelRatioF();
    const double fit = qMin(double(tile.width()) / pic.width(), double(tile.height()) / pic.height());
    setZoom(kxvideo::zoomStep(m_iZoom, fit, steps), anchor.isNull() ? QPointF(width() / 2.0, height() / 2.0) : anchor);
    return true;
}

void CPlayWidget::zoomToFit()
{
    setZoom(0, QPointF());
}

void CPlayWidget::setZoom(int percent, const QPointF& anchor)
{
    if (percent == m_iZoom)
        return;
    const QSize pic = sharePictureSize();
    if (percent > 0 && pic.isEmpty())
        return;
    if (percent > 0) {
        // The picture point under the anchor stays where it is.
        const qreal dpr = devicePixelRatioF();
        const QSize tile = size() * dpr;
        const kxvideo::ZoomView from = kxvideo::zoomView(tile, pic, m_iZoom, m_zoomCentre);
        m_zoomCentre = kxvideo::zoomAnchor(from, tile, percent, anchor * dpr);
    }
    const bool bWasZoomed = m_iZoom > 0;
    m_iZoom = percent;
    m_bViewChanged = true;
    if (percent > 0)
        setCursor(Qt::OpenHandCursor);
    else
        unsetCursor();
    KXLOG << "[ScreenMod]share zoom:" << percent << ", this:" << this;
    requestPaint();
    if (bWasZoomed != (percent > 0))
        emit zoomChanged(this);
}

void CPlayWidget::wheelEvent(QWheelEvent* event)
{
    // Ctrl+wheel zooms a share, a notch a stop; any other wheel pages the gallery.
    if (!(event->modifiers() & Qt::ControlModifier) || sharePictureSize().isEmpty()) {
        event->ignore();
        return;
    }
    m_iWheelRest += event->angleDelta().y();
    const int steps = m_iWheelRest / 120;
    m_iWheelRest -= steps * 120;
    if (steps)
        zoomBy(steps, event->position());
    event->accept();
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
    if (m_bPanning && m_iZoom > 0 && (event->buttons() & Qt::LeftButton)) {
        // The picture follows the pointer; the paint keeps it over the tile.
        const QPoint d = event->pos() - m_ptPan;
        m_ptPan = event->pos();
        m_zoomCentre -= QPointF(d) * devicePixelRatioF() * 100.0 / m_iZoom;
        m_bViewChanged = true;
        requestPaint();
    }
    const QPoint pos = event->globalPos();
    const int dx = std::abs(pos.x() - m_ptPress.x());
    const int dy = std::abs(pos.y() - m_ptPress.y());
    if (dx > 5 || dy > 5)
        m_pClickTimer->stop();
    QWidget::mouseMoveEvent(event);
}

void CPlayWidget::keyPressEvent(QKeyEvent* event)
{
    if ((event->modifiers() & Qt::ControlModifier) && !sharePictureSize().isEmpty()) {
        switch (event->key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal: // '+' without Shift on most layouts
            zoomBy(1);
            return;
        case Qt::Key_Minus:
            zoomBy(-1);
            return;
        case Qt::Key_0:
            zoomToFit();
            return;
        default:
            break;
        }
    }
    const int key = event->key();
    const bool menu = key == Qt::Key_Menu || (key == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
    if (event->modifiers() == Qt::NoModifier
        && (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space)) {
        // The keyboard's double click: whoever handles the mouse's handles it.
        m_pClickTimer->stop();
        emit mouseLDClick(this);
    } else if (!menu || !m_pPlayInfo->openMore()) {
        event->ignore(); // arrows, pages and the rest are the gallery's
    }
}

void CPlayWidget::contextMenuEvent(QContextMenuEvent* event)
{
    // The menu key arrives as a key press (handled above) and, on some
    // platforms, once more as a context menu request: that one is taken here,
    // so that no window behind opens a menu of its own.
    if (event->reason() == QContextMenuEvent::Keyboard)
        event->accept();
    else
        event->ignore();
}

// The ring is the overlay's; the picture under it is not painted again (the
// base handlers would repaint the whole tile).
void CPlayWidget::focusInEvent(QFocusEvent* event)
{
    Q_UNUSED(event);
    m_pPlayInfo->setFocusRing(true);
}

void CPlayWidget::focusOutEvent(QFocusEvent* event)
{
    Q_UNUSED(event);
    m_pPlayInfo->setFocusRing(false);
}

// ---------------------------------------------------------------------------
// Drawing
// ---------------------------------------------------------------------------

void CPlayWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_pSurface)
        m_pSurface->setGeometry(rect());
    m_bViewChanged = m_bViewChanged || m_iZoom > 0;
    m_pPlayInfo->move(0, 0);
    m_pPlayInfo->setFixedSize(size());
    emit notifyViewCenter(width(), height());
}

void CPlayWidget::drawPicture(qreal devicePixelRatio, const std::function<bool(const TilePicture&)>& draw)
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
    if (!m_bCanRender)
        return;

    TilePicture pic;
    pic.width = p->iAlignedWidth;
    pic.height = p->iHeight;
    pic.y = p->m_pBufYuv420p;
    pic.u = pic.y + qint64(pic.width) * pic.height;
    pic.v = pic.y + qint64(pic.width) * pic.height * 5 / 4;
    pic.surface = size() * devicePixelRatio;
    pic.target = kxvideo::deviceVideoRect(QRect(m_iDspX, m_iDspY, m_iDspWidth, m_iDspHeight), size(), devicePixelRatio);
    pic.source = QRect(0, 0, pic.width, pic.height);
    if (m_iZoom > 0 && p->isShareScreen()) {
        const kxvideo::ZoomView z = kxvideo::zoomView(pic.surface, pic.source.size(), m_iZoom, m_zoomCentre);
        m_zoomCentre = z.centre;
        pic.source = z.source;
        pic.target = z.target;
    }
    if (!draw(pic))
        return;
    m_pPaintedPerson = p;
    m_bNewPicture = false;
    m_bViewChanged = false;
    ++m_iPaintedFrames;
    if (PaintObserver observer = g_paintObserver.load(std::memory_order_relaxed))
        observer(this, pic.y);
}

void CPlayWidget::convertIfOutOfDate()
{
    const qreal dpr = devicePixelRatioF();
    QRect target;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        target = kxvideo::deviceVideoRect(QRect(m_iDspX, m_iDspY, m_iDspWidth, m_iDspHeight), size(), dpr);
        // A zoomed picture goes elsewhere than the fitted one: m_bViewChanged says when it moved.
        const bool moved = !m_image.isNull() && target != m_imageRect && m_iZoom == 0;
        if (!moved && !m_bNewPicture && !m_bViewChanged && m_pPaintedPerson == m_pPersonInfo)
            return;
    }
    bool drawn = false;
    drawPicture(dpr, [&](const TilePicture& pic) {
        if (!m_converter.convert(pic.y, pic.width, pic.height, pic.target.size(), m_image, pic.source))
            return false;
        m_image.setDevicePixelRatio(dpr);
        m_imageRect = pic.target;
        drawn = true;
        return true;
    });
    // A picture that cannot be drawn again where it now goes is not left
    // where it was: the tile shows black, as a resized GL surface does.
    if (!drawn && m_imageRect != target && m_iZoom == 0)
        m_image = QImage();
}

void CPlayWidget::requestPaint()
{
    if (m_pSurface) {
        m_pSurface->update();
        return;
    }
    const qreal dpr = devicePixelRatioF();
    const QRect target = kxvideo::deviceVideoRect(videoRect(), size(), dpr);
    if (m_image.isNull() || target != m_imageRect || m_iZoom > 0) {
        update();
        return;
    }
    // Only the picture changed: only its rectangle is painted and flushed.
    update(QRectF(target.x() / dpr, target.y() / dpr, target.width() / dpr, target.height() / dpr).toAlignedRect());
}

void CPlayWidget::paintEvent(QPaintEvent* event)
{
    if (m_pSurface)
        return;
    convertIfOutOfDate();
    QPainter painter(this);
    QRegion bars = event->region();
    if (!m_image.isNull()) {
        const qreal dpr = m_image.devicePixelRatio();
        const QRectF at(m_imageRect.x() / dpr, m_imageRect.y() / dpr, m_imageRect.width() / dpr,
                        m_imageRect.height() / dpr);
        // Bars are painted up to the whole pixels the picture covers; the
        // picture is drawn over the pixels it shares with them.
        bars -= QRect(QPoint(qCeil(at.left()), qCeil(at.top())),
                      QPoint(qFloor(at.right()) - 1, qFloor(at.bottom()) - 1));
        for (const QRect& r : bars)
            painter.fillRect(r, Qt::black);
        painter.drawImage(at.topLeft(), m_image);
    } else {
        for (const QRect& r : bars)
            painter.fillRect(r, Qt::black);
    }
}

QImage CPlayWidget::grabFramebuffer()
{
    if (m_pSurface)
        return m_pSurface->grabFramebuffer();
    convertIfOutOfDate();
    const qreal dpr = devicePixelRatioF();
    QImage out(size() * dpr, QImage::Format_RGB32);
    out.fill(Qt::black);
    if (!m_image.isNull()) {
        QPainter painter(&out);
        painter.drawImage(QRectF(m_imageRect), m_image, QRectF(m_image.rect()));
    }
    out.setDevicePixelRatio(dpr);
    return out;
}
