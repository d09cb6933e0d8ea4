#ifndef KX_CPLAYWIDGET_H
#define KX_CPLAYWIDGET_H

#include "yuvimageconverter.h"

#include <QImage>
#include <QSize>
#include <QPoint>
#include <QWidget>
#include <mutex>
#include <QRect>
#include <atomic>
#include <functional>

class QDlgPlayInfo;
class QTimer;
class TileGLSurface;
struct tagPersonInfo;
struct KxCloudRTCVideoFrameQT;

// One picture as a paint draws it: the planes where the record holds them
// (luma `width` x `height`, chroma half of each, truncated) and the video
// rectangle in the device pixels of what is drawn on, rows from the top.
struct TilePicture
{
    const unsigned char* y = nullptr;
    const unsigned char* u = nullptr;
    const unsigned char* v = nullptr;
    int width = 0;
    int height = 0;
    QRect source; // the part of the picture drawn: all of it unless a share is zoomed
    QRect target;
    QSize surface;
};

// One video tile: shows the I420 picture held in a participant record,
// converted to RGB and letterboxed inside the tile. How it draws is the
// process's choice (kxtilerender), taken when the tile is made: with OpenGL
// (a TileGLSurface child converts in a shader) or, where OpenGL is a software
// rasteriser, on the CPU (YuvImageConverter, once per new picture, painted
// unscaled), so that no OpenGL widget puts the window through GL composition.
// Frames are written into the record from the host's thread (PlayOneFrame),
// under the frame lock and then m_mutex; painting happens on the GUI thread
// under m_mutex only.
//
// The tile takes the keyboard by Tab only (a click leaves it where it was):
// with it, Return or Space does what a double click does and the menu key or
// Shift+F10 opens "more"; every other key goes on to the window it is in.
// The overlay names it for screen readers and draws the focus ring.
class CPlayWidget : public QWidget
{
    Q_OBJECT
public:
    explicit CPlayWidget(QWidget* parent);
    ~CPlayWidget() override;

    // Attaches a participant record (null detaches). The flag is accepted for
    // the callers' sake and has no effect on the tile.
    void setPersonData(void* person, bool bFlag);

    // Host thread, frame lock held: copies one picture into the attached
    // record's buffer. False when nothing was copied (no record, refused
    // frame, no buffer, or the tile holds another record than `owner`, the
    // participant whose frame it is, when one is given).
    bool PlayOneFrame(const KxCloudRTCVideoFrameQT* frame, const tagPersonInfo* owner = nullptr);
    // Host thread, frame lock held: another tile has just copied a picture
    // into the record this tile shows too. The record holds the only copy of
    // the picture, so this tile draws it from there; a second copy per frame
    // would cost as much as the first.
    void showSharedPicture(const tagPersonInfo* owner);
    // Sizes the attached record's buffer for a width x height picture.
    void SetVideoSize(unsigned int width, unsigned int height);

    // Paints the attached record's buffer black.
    void ClearVideo();

    // Show the tile. A tile that is already on screen is repainted only when
    // its picture is out of date (see isPictureOutOfDate).
    void showTile();
    void showTileNormal();
    // How often showTile or showTileNormal ran: a layout pass tells by it
    // which tiles it placed.
    int showCount() const { return m_iShowCount; }
    // True when the last paint did not draw the attached record's current
    // picture: another record is attached since, or a frame arrived that no
    // paint has drawn (render notices are ignored while the tile is fresh).
    bool isPictureOutOfDate() const;

    void hide();
    void setGeometry(int x, int y, int w, int h);
    void setGeometry(const QRect& rect);

    // The overlay and its "no video" flag (false when there is no overlay).
    QDlgPlayInfo* playInfo() const;
    bool isNoVideo() const;

    // The attached record, or null.
    tagPersonInfo* personInfo() const;

    // Video rectangle inside the tile, in logical pixels.
    QRect videoRect() const;
    // Adds the video rectangle to rc: left/top move by the rectangle's offset,
    // right/bottom become left/top + the rectangle's size.
    void addVideoRect(QRect& rc) const;

    // The gallery's ninth tile, kept for the focused participant.
    void setFocusTile(bool bFocus);
    bool isFocusTile() const;

    // True from attaching a record until the show timer has run out.
    bool isChangeTag() const;

    // Number of paints that actually drew a picture.
    int paintedFrames() const;

    // Called on the interface thread after every paint that drew a picture,
    // with the tile's lock held and the picture that paint uploaded, so that
    // a benchmark can tell which frame reached the screen and when. Unset in
    // the product: the paint then pays one atomic load.
    typedef void (*PaintObserver)(CPlayWidget* tile, const unsigned char* picture);
    static void setPaintObserver(PaintObserver observer);

    // Actual size for a share: the zoom in percent of the picture's own
    // pixels (device pixels per picture pixel), 0 when fitted. Ctrl+wheel
    // and Ctrl+'+', '-' and '0' on the tile zoom it; above fit a drag pans.
    int zoomPercent() const { return m_iZoom; }
    bool isZoomed() const { return m_iZoom > 0; }
    // Zooms one stop in (steps > 0) or out about anchor, a point of the tile
    // in logical pixels (null: its centre); false when the tile shows no
    // share picture to zoom.
    bool zoomBy(int steps, const QPointF& anchor = QPointF());
    void zoomToFit();

    // True when this tile draws on the CPU, without OpenGL.
    bool isRaster() const { return m_pSurface == nullptr; }
    // The video as the tile draws it, bars included and the overlay left
    // out, in device pixels. Draws the current picture first, as a paint would.
    QImage grabFramebuffer();

signals:
    void mouseLClick(CPlayWidget* widget);
    void mouseLDClick(CPlayWidget* widget);
    void notifyPlayStatusChange(CPlayWidget* widget);
    void notifyRender();
    void notifyViewCenter(int iWidth, int iHeight);
    // The share's zoom went from fit to a zoom or back (the stream it needs).
    void zoomChanged(CPlayWidget* widget);

public slots:
    void onRender();
    void mouseClick();
    void onViewCenter(int iWidth, int iHeight);
    void delayResetChangeTag();

protected:
    bool event(QEvent* e) override;
    void timerEvent(QTimerEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    friend class TileGLSurface;
    // What every paint that may draw a picture does, for either way of
    // drawing: under m_mutex and the record's buffer lock, decide whether
    // there is a picture to draw (logging why not), hand it to draw at
    // devicePixelRatio, and when draw drew it note what was drawn.
    void drawPicture(qreal devicePixelRatio, const std::function<bool(const TilePicture&)>& draw);
    // Software drawing: converts the picture into m_image when it, or where
    // it goes on screen, changed since the last conversion.
    void convertIfOutOfDate();
    // Asks for a paint of what changed: the GL surface, or the tile's own
    // picture rectangle when drawing on the CPU.
    void requestPaint();
    // Emits a notice of this tile on the interface thread: at once there,
    // queued from a host thread.
    void fromAnyThread(void (CPlayWidget::*signal)());
    void fromAnyThread(void (CPlayWidget::*signal)(int, int));
    void repaintIfKeptOutOfDate();
    // The picture's size as drawn (rows cut to a multiple of 8), empty when
    // the tile shows no share picture.
    QSize sharePictureSize() const;
    void setZoom(int percent, const QPointF& anchor);

    TileGLSurface* m_pSurface = nullptr; // null: drawn on the CPU
    int m_iDspX = 0;
    int m_iDspY = 0;
    int m_iDspWidth = 0;
    int m_iDspHeight = 0;
    bool m_bCanRender = true;
    bool m_bChangeTag = false;
    QDlgPlayInfo* m_pPlayInfo = nullptr;
    tagPersonInfo* m_pPersonInfo = nullptr;
    QTimer* m_pClickTimer = nullptr;
    QPoint m_ptPress;
    mutable std::recursive_mutex m_mutex;
    bool m_bDumpNextFrame = false;

    bool m_bFocusTile = false;
    std::atomic<int> m_iPaintedFrames{0};
    int m_iShowCount = 0;
    // What the last drawing paint showed; both under m_mutex.
    const tagPersonInfo* m_pPaintedPerson = nullptr;
    bool m_bNewPicture = false;
    QSize m_sharedSize; // picture size last centred for by showSharedPicture
    // A notice from a host thread is waiting in the queue (fromAnyThread).
    std::atomic<bool> m_bNoticeQueued{false};
    std::atomic<bool> m_bSizeNoticeQueued{false};

    // Software drawing, interface thread: the last picture converted and
    // where it lies in the tile's device pixels.
    YuvImageConverter m_converter;
    QImage m_image;
    QRect m_imageRect;

    // The zoom of a share (interface thread): percent (0 fitted), the
    // picture point in the middle of the tile, the last drag point while
    // panning, wheel turns not yet a whole notch.
    int m_iZoom = 0;
    QPointF m_zoomCentre;
    QPoint m_ptPan;
    bool m_bPanning = false;
    int m_iWheelRest = 0;
    bool m_bViewChanged = false; // zoomed or panned since the last conversion
};

#endif
