#include "videoframe.h"

#include <cstring>
#include <limits>

namespace kxvideo {

QRect fitVideo(int W, int H, int videoW, int videoH)
{
    if (videoW <= 0 || videoH <= 0)
        return QRect();

    int w = 0;
    int h = 0;
    // The "+ 1" in each numerator is on purpose: the derived side comes out a
    // fraction of a pixel larger, which the snap below then turns into a full
    // tile edge for pictures that very nearly fit.
    if (videoH <= videoW) {
        w = W;
        h = int(double(W) * (videoH + 1) / videoW);
        if (h > H) {
            h = H;
            w = int(double(H) * (videoW + 1) / videoH);
        }
    } else {
        h = H;
        w = int(double(H) * (videoW + 1) / videoH);
        if (w > W) {
            w = W;
            h = int(double(W) * (videoH + 1) / videoW);
        }
    }

    // A side within 2 pixels of the tile takes the whole tile. This also pulls
    // back a side that the bias pushed past the tile edge.
    if (H - h < 2)
        h = H;
    if (W - w < 2)
        w = W;

    const int x = (W - w) / 2;
    const int y = (H - h) / 2;
    return QRect(x, y, w, h);
}

QRect deviceVideoRect(const QRect& video, const QSize& tile, qreal dpr)
{
    const int tileH = qRound(tile.height() * dpr);
    const int w = int(video.width() * dpr);
    const int h = int(video.height() * dpr);
    return QRect(int(video.x() * dpr), tileH - int(video.y() * dpr) - h, w, h);
}

qint64 bufferSizeFor(qint64 width, qint64 height)
{
    if (width <= 0 || height <= 0)
        return -1;
    constexpr qint64 kMax = std::numeric_limits<qint32>::max();
    // Check before multiplying so that absurd sides cannot overflow 64 bits.
    if (width > kMax || height > kMax)
        return -1;
    const qint64 need = 2 * width * height + 20480;
    if (need > kMax)
        return -1;
    return need;
}

qint64 i420Size(qint64 width, qint64 height)
{
    return width * height + 2 * ((width + 1) / 2) * ((height + 1) / 2);
}

const char* frameRejectReason(const void* data, qint64 width, qint64 height, qint64 length)
{
    if (!data)
        return "null data";
    if (width <= 0)
        return "width not positive";
    if (height <= 0)
        return "height not positive";
    if (width > kMaxFrameSide || height > kMaxFrameSide)
        return "side above 16384 pixels";
    if (width * height > kMaxFrameArea)
        return "area above 7680x4320 pixels";
    if (bufferSizeFor(width, height) < 0)
        return "size overflows the buffer";
    if (length < i420Size(width, height))
        return "length smaller than the picture";
    return nullptr;
}

qint64 copyI420Aligned(const uint8_t* src, int width, int height, uint8_t* dst)
{
    if (!src || !dst || width <= 0 || height <= 0)
        return 0;

    const qint64 A = width & ~7;          // copied row length
    const qint64 cw = (width + 1) / 2;    // source chroma row length
    const qint64 ch = (height + 1) / 2;   // chroma rows
    const qint64 ca = (A + 1) / 2;        // copied chroma row length
    const qint64 ySize = A * height;
    const qint64 cSize = ca * ch;

    const uint8_t* srcU = src + qint64(width) * height;
    const uint8_t* srcV = srcU + cw * ch;

    if (A == width) {
        // Rows need no cutting (and then cw == ca): source and destination have
        // the same layout, so the whole picture is one block.
        std::memcpy(dst, src, size_t(ySize + 2 * cSize));
        return ySize + 2 * cSize;
    }

    uint8_t* out = dst;
    for (int r = 0; r < height; ++r) {
        std::memcpy(out, src + qint64(r) * width, size_t(A));
        out += A;
    }
    for (qint64 r = 0; r < ch; ++r) {
        std::memcpy(out, srcU + r * cw, size_t(ca));
        out += ca;
    }
    for (qint64 r = 0; r < ch; ++r) {
        std::memcpy(out, srcV + r * cw, size_t(ca));
        out += ca;
    }
    return out - dst;
}

} // namespace kxvideo
