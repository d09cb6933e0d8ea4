#include "videoframe.h"

#include <algorithm>
#include <cstring>
#include <iterator>
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

int zoomStep(int percent, double fitScale, int steps)
{
    static const int kStops[] = {25, 33, 50, 67, 75, 100, 125, 150, 200};
    // A stop less than 5 % above the fitted scale would be no visible change.
    const double fit = fitScale * 100;
    const double least = fit * 1.05;
    double at = percent > 0 ? percent : fit;
    for (; steps > 0; --steps) {
        const int* next =
            std::find_if(std::begin(kStops), std::end(kStops), [&](int s) { return s > at && s > least; });
        if (next != std::end(kStops))
            at = *next;
    }
    for (; steps < 0; ++steps) {
        double below = fit;
        for (int s : kStops) {
            if (s < at && s > least)
                below = s;
        }
        at = below;
    }
    return at > least ? int(at) : 0;
}

namespace {

// One side of a zoom view: from the picture's [start, start + len) to the
// tile's [at, at + size).
struct ZoomSpan {
    int start, len, at, size;
    double centre;
};

ZoomSpan zoomSpan(int tile, int picture, double scale, double centre)
{
    const double scaled = picture * scale;
    if (scaled <= tile) {
        const int size = qMax(1, qRound(scaled));
        return {0, picture, (tile - size) / 2, size, picture / 2.0};
    }
    const int len = qBound(1, qRound(tile / scale), picture);
    const double c = qBound(len / 2.0, centre, picture - len / 2.0);
    const int start = qBound(0, qRound(c - len / 2.0), picture - len) & ~1;
    return {start, len, 0, tile, c};
}

} // namespace

ZoomView zoomView(const QSize& tile, const QSize& picture, int percent, const QPointF& centre)
{
    ZoomView z;
    if (tile.isEmpty() || picture.isEmpty())
        return z;
    const double fit = qMin(double(tile.width()) / picture.width(), double(tile.height()) / picture.height());
    const double scale = percent > 0 ? percent / 100.0 : fit;
    const ZoomSpan x = zoomSpan(tile.width(), picture.width(), scale, centre.x());
    const ZoomSpan y = zoomSpan(tile.height(), picture.height(), scale, centre.y());
    z.source = QRect(x.start, y.start, x.len, y.len);
    z.target = QRect(x.at, y.at, x.size, y.size);
    z.centre = QPointF(x.centre, y.centre);
    return z;
}

QPointF zoomAnchor(const ZoomView& from, const QSize& tile, int percent, const QPointF& anchor)
{
    if (from.target.isEmpty() || percent <= 0)
        return from.centre;
    const double scale = percent / 100.0;
    const QPointF under(from.source.x() + (anchor.x() - from.target.x()) * from.source.width() / from.target.width(),
                        from.source.y() + (anchor.y() - from.target.y()) * from.source.height() / from.target.height());
    return under + (QPointF(tile.width(), tile.height()) / 2 - anchor) / scale;
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
