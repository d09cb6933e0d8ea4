#ifndef KX_VIDEOFRAME_H
#define KX_VIDEOFRAME_H

#include <QPointF>
#include <QRect>
#include <QSize>
#include <QtGlobal>
#include <cstdint>

// Frame arithmetic of the video tile, free of widgets and GL.
namespace kxvideo {

// Letterbox fit of a videoW x videoH picture in a W x H tile (never crops).
// The derived side is biased up by "+ 1" in its numerator, and a side within 2
// pixels of the tile snaps to it. Returns (x, y, w, h) in tile pixels.
QRect fitVideo(int W, int H, int videoW, int videoH);

// The video rectangle in device pixels, rows counted from the top, for a tile
// of `tile` logical pixels drawn at `dpr` device pixels per logical pixel.
// Offsets and sides are truncated as the GL viewport takes them (x·dpr, the
// bottom edge y·dpr rows above the tile's, w·dpr, h·dpr), the tile's height
// being height·dpr rounded: both renderers put the picture on the same pixels.
QRect deviceVideoRect(const QRect& video, const QSize& tile, qreal dpr);

// Buffer bytes kept for a width x height picture: 2*w*h + 20480, or -1 when
// either side is not positive or the size does not fit a signed 32-bit int.
qint64 bufferSizeFor(qint64 width, qint64 height);

// Largest picture side taken: beyond it a frame is refused rather than given
// gigabytes of buffer per participant.
constexpr qint64 kMaxFrameSide = 16384;
// Largest picture area taken, that of 7680 x 4320 (8K UHD): a long thin
// picture within the side limit is still refused when it would need more
// buffer than the largest picture a camera or a screen sends.
constexpr qint64 kMaxFrameArea = qint64(7680) * 4320;
// Actual size for shares. A zoom is a scale in device pixels per picture
// pixel, in percent (100: each picture pixel on one device pixel); 0 is the
// picture fitted in the tile.
//
// One step up or down from percent through the stops 25, 33, 50, 67, 75,
// 100, 125, 150 and 200 that lie more than 5 % above the fitted scale
// fitScale (up to 200; steps < 0 go down), 0 when that is at fit or below.
int zoomStep(int percent, double fitScale, int steps);
// What a tile shows of a picture at a zoom: the part of the picture (source,
// picture pixels, starting on even ones, where a chroma sample starts) and
// where it goes (target, the tile's device pixels, rows from the top). Along
// a side where the scaled picture is smaller than the tile, all of it,
// centred; along a larger one, the tile's length of it about centre (picture
// pixels), which is kept so that the picture covers the tile (the centre
// returned). percent 0 fits the picture, without the letterbox's bias.
struct ZoomView {
    QRect source;
    QRect target;
    QPointF centre;
};
ZoomView zoomView(const QSize& tile, const QSize& picture, int percent, const QPointF& centre);
// The centre that keeps the picture point under anchor (the tile's device
// pixels) in place when the view `from` changes to percent.
QPointF zoomAnchor(const ZoomView& from, const QSize& tile, int percent, const QPointF& anchor);

// Bytes of a tightly packed I420 picture: width x height luma and two chroma
// planes of ceil(width/2) x ceil(height/2).
qint64 i420Size(qint64 width, qint64 height);

// Why a frame cannot be copied safely, or nullptr when it can. length is the
// byte count the host declares for the picture: the copy reads i420Size bytes,
// so a smaller length is refused (reading on would leave the host's buffer).
const char* frameRejectReason(const void* data, qint64 width, qint64 height, qint64 length);

// Copies an I420 picture into dst, rows cut to A = width & ~7 bytes:
// Y (height rows of A), then U and V (ch = (height+1)/2 rows of (A+1)/2 each).
// Returns the bytes written.
qint64 copyI420Aligned(const uint8_t* src, int width, int height, uint8_t* dst);

} // namespace kxvideo

#endif
