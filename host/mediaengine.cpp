#include "mediaengine.h"

#include "meeting.h"

#include <QFont>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr auto kFrameInterval = std::chrono::microseconds(1000000 / 30);

// A participant's moving picture in I420. The still part (background, name,
// size caption) is painted and converted once per size; each frame only moves
// a small block over it, so a dozen of these at 30 fps cost little.
class Picture
{
public:
    Picture(const QString& title, const QColor& colour, bool screen)
        : m_title(title), m_colour(colour), m_screen(screen)
    {
    }

    const std::vector<uint8_t>& frame(int w, int h, quint64 n)
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

private:
    int chromaW() const { return (m_w + 1) / 2; }
    int chromaH() const { return (m_h + 1) / 2; }

    // Back and forth along the lower part of the picture, once every 3 seconds.
    QRect blockAt(quint64 n) const
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

    void copyBlock(const QRect& r, const uint8_t* from)
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

    void fillBlock(const QRect& r, uint8_t Y, uint8_t U, uint8_t V)
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

    void paintStill(int w, int h)
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
        font.setPixelSize(std::max(8, h / 6));
        p.setFont(font);
        p.setPen(ink);
        p.drawText(QRect(0, m_screen ? h / 12 : h / 5, w, h / 3), Qt::AlignCenter, m_title);
        font.setBold(false);
        font.setPixelSize(std::max(7, h / 16));
        p.setFont(font);
        p.drawText(QRect(w / 40, h / 40, w, h / 10), Qt::AlignLeft | Qt::AlignTop,
                   QStringLiteral("%1\u00d7%2").arg(w).arg(h));
        p.end();
        toI420(img);
    }

    // BT.709, limited range; chroma from the mean of each 2x2 block.
    void toI420(const QImage& img)
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

    QString m_title;
    QColor m_colour;
    bool m_screen;
    int m_w = 0;
    int m_h = 0;
    std::vector<uint8_t> m_still; // the picture without the block
    std::vector<uint8_t> m_buf;   // what is handed to the module
    QRect m_block;
};

} // namespace

struct MediaEngine::Worker
{
    std::thread thread;
    std::mutex lock;
    std::condition_variable wake;
    bool stop = false;
};

MediaEngine::MediaEngine(const KxApi& api)
    : m_api(api)
{
}

MediaEngine::~MediaEngine()
{
    stopAll();
}

void MediaEngine::start(void* screen, Participant* p)
{
    if (isRunning(p) || !p->hPlay)
        return;
    auto worker = std::make_unique<Worker>();
    Worker* w = worker.get();
    void* hPlay = p->hPlay;
    // A share sends the sharer's screen at a fixed size; the gallery never asks
    // for another stream type for it.
    if (p->share)
        p->setFrameSize(QSize(1280, 720));
    Picture picture(p->share ? QStringLiteral("%1's screen").arg(p->name) : p->name, p->colour, p->share);
    const KxApi& api = m_api;
    w->thread = std::thread([w, p, screen, hPlay, &api, picture]() mutable {
        auto next = std::chrono::steady_clock::now();
        for (quint64 n = 0;; ++n) {
            {
                std::unique_lock<std::mutex> guard(w->lock);
                if (w->wake.wait_until(guard, next, [w] { return w->stop; }))
                    return;
            }
            next += kFrameInterval;
            const auto now = std::chrono::steady_clock::now();
            if (next < now) // fell behind (a busy machine): skip, do not burst
                next = now + kFrameInterval;
            if (!p->pulled) // the gallery asked us to stop pulling this video (message 17)
                continue;
            const int width = p->width;
            const int height = p->height;
            const std::vector<uint8_t>& pic = picture.frame(width, height, n);
            KxCloudRTCVideoFrameQT frame{};
            frame.data = pic.data();
            frame.length = uint32_t(pic.size());
            frame.width = width;
            frame.height = height;
            if (api.PlayFrame(screen, hPlay, &frame))
                ++p->delivered;
            else
                ++p->refused;
        }
    });
    m_workers[p] = std::move(worker);
}

void MediaEngine::stop(Participant* p)
{
    auto it = m_workers.find(p);
    if (it == m_workers.end())
        return;
    Worker* w = it->second.get();
    {
        std::lock_guard<std::mutex> guard(w->lock);
        w->stop = true;
    }
    w->wake.notify_all();
    w->thread.join();
    m_workers.erase(it);
}

void MediaEngine::stopAll()
{
    // Tell them all first, then wait: they wind down in parallel.
    for (auto& entry : m_workers) {
        std::lock_guard<std::mutex> guard(entry.second->lock);
        entry.second->stop = true;
        entry.second->wake.notify_all();
    }
    for (auto& entry : m_workers)
        entry.second->thread.join();
    m_workers.clear();
}
