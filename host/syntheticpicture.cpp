#include "syntheticpicture.h"

#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <algorithm>
#include <cstring>

SyntheticPicture::SyntheticPicture(const QString& title, const QColor& colour, bool screen)
    : m_title(title), m_colour(colour), m_screen(screen)
{
}

const std::vector<uint8_t>& SyntheticPicture::frame(int w, int h, quint64 n)
{
    if (w != m_w || h != m_h) {
        paintStill(w, h);
        m_buf = m_still;
        m_block = QRect();
    }
    copyBlock(m_block, m_still.data());   // wipe the block at its old place
    m_block = blockAt(n);
    fillBlock(m_block, 235, 128, 128); // and draw it, white, at the new one
    return m_buf;
}

// Back and forth along the lower part of the picture, once every 3 seconds.
QRect SyntheticPicture::blockAt(quint64 n) const
{
    const int side = std::max(2, (m_h / 6) & ~1);
    const int span = std::max(1, m_w - side - m_w / 8);
    const int period = 90;
    const int phase = int(n % period);
    const int tri = phase < period / 2 ? phase : period - phase;
    const int x = ((m_w / 16) + span * tri / (period / 2)) & ~1;
    const int y = (m_h - side - m_h / 10) & ~1;
    return QRect(x, y, side, side).intersected(QRect(0, 0, m_w, m_h));
}

void SyntheticPicture::copyBlock(const QRect& r, const uint8_t* from)
{
    if (r.isEmpty())
        return;
    uint8_t* to = m_buf.data();
    for (int y = r.top(); y <= r.bottom(); ++y)
        std::memcpy(to + y * m_w + r.left(), from + y * m_w + r.left(), size_t(r.width()));
    const int cw = chromaW();
    const size_t ySize = size_t(m_w) * m_h;
    const size_t cSize = size_t(cw) * chromaH();
    for (size_t plane : {ySize, ySize + cSize})
        for (int y = r.top() / 2; y <= r.bottom() / 2; ++y)
            std::memcpy(to + plane + y * cw + r.left() / 2, from + plane + y * cw + r.left() / 2,
                        size_t((r.width() + 1) / 2));
}

void SyntheticPicture::fillBlock(const QRect& r, uint8_t Y, uint8_t U, uint8_t V)
{
    if (r.isEmpty())
        return;
    uint8_t* to = m_buf.data();
    for (int y = r.top(); y <= r.bottom(); ++y)
        std::memset(to + y * m_w + r.left(), Y, size_t(r.width()));
    const int cw = chromaW();
    const size_t ySize = size_t(m_w) * m_h;
    const size_t cSize = size_t(cw) * chromaH();
    for (int y = r.top() / 2; y <= r.bottom() / 2; ++y) {
        std::memset(to + ySize + y * cw + r.left() / 2, U, size_t((r.width() + 1) / 2));
        std::memset(to + ySize + cSize + y * cw + r.left() / 2, V, size_t((r.width() + 1) / 2));
    }
}

void SyntheticPicture::paintStill(int w, int h)
{
    m_w = w;
    m_h = h;
    QImage img(w, h, QImage::Format_RGB32);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    QLinearGradient bg(0, 0, 0, h);
    const QColor top = m_screen ? QColor(238, 240, 244) : m_colour.lighter(120);
    const QColor bottom = m_screen ? QColor(214, 220, 230) : m_colour.darker(140);
    bg.setColorAt(0, top);
    bg.setColorAt(1, bottom);
    p.fillRect(img.rect(), bg);
    const QColor ink = m_screen ? QColor(40, 48, 64) : QColor(Qt::white);
    if (m_screen) {
        // A slide: a title and a bar chart in the participant's colour.
        for (int i = 0; i < 5; ++i) {
            const int bw = w / 12;
            const int bh = h * (2 + (i * 7) % 5) / 12;
            p.fillRect(QRect(w / 5 + i * bw * 3 / 2, h * 4 / 5 - bh, bw, bh), m_colour.darker(100 + i * 15));
        }
    }
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(true);
    font.setPixelSize(std::max(8, std::min(w, h) / 6)); // a portrait picture is narrow
    p.setFont(font);
    p.setPen(ink);
    p.drawText(QRect(0, m_screen ? h / 12 : h / 5, w, h / 3), Qt::AlignCenter, m_title);
    font.setBold(false);
    font.setPixelSize(std::max(7, std::min(w, h) / 16));
    p.setFont(font);
    p.drawText(QRect(w / 40, h / 40, w, h / 10), Qt::AlignLeft | Qt::AlignTop,
               QStringLiteral("%1\u00d7%2").arg(w).arg(h));
    p.end();
    toI420(img);
}

// BT.709, limited range; chroma from the mean of each 2x2 block.
void SyntheticPicture::toI420(const QImage& img)
{
    const int cw = chromaW();
    const int ch = chromaH();
    m_still.assign(size_t(m_w) * m_h + 2 * size_t(cw) * ch, 0);
    uint8_t* Y = m_still.data();
    uint8_t* U = Y + size_t(m_w) * m_h;
    uint8_t* V = U + size_t(cw) * ch;
    for (int y = 0; y < m_h; ++y) {
        const QRgb* row = reinterpret_cast<const QRgb*>(img.constScanLine(y));
        for (int x = 0; x < m_w; ++x) {
            const QRgb c = row[x];
            Y[y * m_w + x] = uint8_t(16.5 + 0.1826 * qRed(c) + 0.6142 * qGreen(c) + 0.0620 * qBlue(c));
        }
    }
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            double r = 0, g = 0, b = 0;
            int n = 0;
            for (int dy = 0; dy < 2; ++dy)
                for (int dx = 0; dx < 2; ++dx) {
                    const int sx = std::min(2 * x + dx, m_w - 1);
                    const int sy = std::min(2 * y + dy, m_h - 1);
                    const QRgb c = img.pixel(sx, sy);
                    r += qRed(c);
                    g += qGreen(c);
                    b += qBlue(c);
                    ++n;
                }
            r /= n;
            g /= n;
            b /= n;
            U[y * cw + x] = uint8_t(128.5 - 0.1006 * r - 0.3386 * g + 0.4392 * b);
            V[y * cw + x] = uint8_t(128.5 + 0.4392 * r - 0.3989 * g - 0.0403 * b);
        }
    }
}
