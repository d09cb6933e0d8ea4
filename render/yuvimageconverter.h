#ifndef KX_YUVIMAGECONVERTER_H
#define KX_YUVIMAGECONVERTER_H

#include <QImage>
#include <QRect>
#include <QSize>
#include <cstdint>
#include <vector>

// The software way of drawing a tile's picture: scaled to the size it takes
// on screen in device pixels and converted to RGB (BT.709, limited range, the
// OpenGL path's shader), with libyuv, once per new picture; the tile then
// paints the image unscaled.
class YuvImageConverter
{
public:
    // planes: the picture as a tile holds it and the OpenGL path reads it:
    // `width` x `height` luma bytes (width a multiple of 8), the chroma
    // planes at width·height and width·height·5/4 with rows of width/2 bytes.
    // Writes `size` pixels into image (Format_RGB32, allocated anew only when
    // the size changes) from the part `source` of the picture (a zoomed
    // share; left and top even; null: all of it). False when there is
    // nothing to convert or no memory for it.
    bool convert(const uint8_t* planes, int width, int height, const QSize& size, QImage& image,
                 const QRect& source = QRect());

private:
    std::vector<uint8_t> m_scaled; // the scaled I420 picture
};

#endif
