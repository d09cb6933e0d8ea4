#include "yuvimageconverter.h"

#include <libyuv/convert_argb.h>
#include <libyuv/row.h>
#include <libyuv/scale.h>
#include <cstring>
#include <new>

namespace {

// libyuv's BT.709 limited-range table keeps the U-to-blue factor at 2.0
// (128/64) where the matrix has 2.112 (135/64): saturated blues come out up
// to 15 levels darker than the OpenGL path draws them. On x86 the table is
// the one the library ships with that factor put right, which brings every
// colour within one level of the shader's; its SSSE3, AVX2, AVX-512 and
// plain C rows all take it without saturating.
const libyuv::YuvConstants* bt709()
{
#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64) || defined(_M_IX86)
    alignas(64) static const libyuv::YuvConstants table = []() {
        libyuv::YuvConstants t;
        std::memcpy(&t, &libyuv::kYuvH709Constants, sizeof t);
        for (size_t i = 0; i < sizeof t.kUVToB; i += 2)
            t.kUVToB[i] = 135; // round(2.1124017857 * 64); the V byte beside it stays 0
        return t;
    }();
    return &table;
#else
    return &libyuv::kYuvH709Constants;
#endif
}

} // namespace

bool YuvImageConverter::convert(const uint8_t* planes, int width, int height, const QSize& size, QImage& image,
                                const QRect& source)
{
    if (!planes || width < 2 || height < 2 || size.width() < 1 || size.height() < 1)
        return false;
    QRect part = source.isNull() ? QRect(0, 0, width, height) : source & QRect(0, 0, width, height);
    part.moveTopLeft(QPoint(part.left() & ~1, part.top() & ~1));
    if (part.width() < 2 || part.height() < 2)
        return false;
    if (image.size() != size || image.format() != QImage::Format_RGB32) {
        QImage fresh(size, QImage::Format_RGB32);
        if (fresh.isNull())
            return false;
        image = fresh;
    }

    const qint64 lumaBytes = qint64(width) * height;
    const qint64 chromaAt = qint64(part.top() / 2) * (width / 2) + part.left() / 2;
    const uint8_t* y = planes + qint64(part.top()) * width + part.left();
    const uint8_t* u = planes + lumaBytes + chromaAt;
    const uint8_t* v = planes + lumaBytes * 5 / 4 + chromaAt;
    int yStride = width;
    int cStride = width / 2;
    if (size != part.size()) {
        // Scaling the planes first converts only the pixels shown, and moves
        // 1.5 bytes a pixel through the scaler instead of 4.
        const int w = size.width();
        const int h = size.height();
        const int cw = (w + 1) / 2;
        const size_t bytes = size_t(w) * size_t(h) + 2 * size_t(cw) * size_t((h + 1) / 2);
        try {
            m_scaled.resize(bytes);
        } catch (const std::bad_alloc&) {
            return false;
        }
        uint8_t* sy = m_scaled.data();
        uint8_t* su = sy + size_t(w) * size_t(h);
        uint8_t* sv = su + size_t(cw) * size_t((h + 1) / 2);
        libyuv::I420Scale(y, yStride, u, cStride, v, cStride, part.width(), part.height(), sy, w, su, cw, sv, cw, w,
                          h, libyuv::kFilterBilinear);
        y = sy;
        u = su;
        v = sv;
        yStride = w;
        cStride = cw;
    }
    // libyuv's ARGB is B, G, R, A in memory: QImage's RGB32 on a little-endian
    // machine, alpha 255 as that format wants.
    // image is not shared here: bits() writes in place.
    libyuv::I420ToARGBMatrix(y, yStride, u, cStride, v, cStride, image.bits(), int(image.bytesPerLine()),
                             bt709(), size.width(), size.height());
    return true;
}
