#include "paintbench.h"

#include <QFile>
#include <QString>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <time.h>
#include <unistd.h>

namespace kxbench {

namespace {

double clockSeconds(clockid_t clock)
{
    timespec ts{};
    clock_gettime(clock, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

} // namespace

qint64 nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double threadCpuSeconds()
{
    return clockSeconds(CLOCK_THREAD_CPUTIME_ID);
}

double processCpuSeconds()
{
    return clockSeconds(CLOCK_PROCESS_CPUTIME_ID);
}

void machineJiffies(quint64& busy, quint64& total)
{
    busy = total = 0;
    QFile f(QStringLiteral("/proc/stat"));
    if (!f.open(QIODevice::ReadOnly))
        return;
    const QList<QByteArray> parts = f.readLine().simplified().split(' ');
    // cpu user nice system idle iowait irq softirq steal ...
    for (int i = 1; i < parts.size() && i <= 8; ++i) {
        const quint64 v = parts.at(i).toULongLong();
        total += v;
        if (i != 4 && i != 5)
            busy += v;
    }
}

int cpuCount()
{
    return int(sysconf(_SC_NPROCESSORS_ONLN));
}

QString cpuModel()
{
    QFile f(QStringLiteral("/proc/cpuinfo"));
    if (f.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : f.readAll().split('\n')) {
            if (line.startsWith("model name"))
                return QString::fromLatin1(line.mid(line.indexOf(':') + 1).trimmed());
        }
    }
    return QStringLiteral("unknown CPU");
}

void writeTag(uint8_t* picture, const FrameTag& tag)
{
    std::memcpy(picture, &tag.sentNs, 8);
    const qint64 who = tag.participant;
    std::memcpy(picture + 8, &who, 8);
}

FrameTag readTag(const uint8_t* picture)
{
    FrameTag tag;
    qint64 who = 0;
    std::memcpy(&tag.sentNs, picture, 8);
    std::memcpy(&who, picture + 8, 8);
    tag.participant = int(who);
    return tag;
}

// ---------------------------------------------------------------------------

void PaintStats::begin(qint64 startNs, qint64 endNs)
{
    *this = PaintStats();
    m_start = startNs;
    m_end = endNs;
}

void PaintStats::painted(const void* surface, const FrameTag& tag)
{
    if (tag.participant < 0)
        return;
    auto last = m_lastPainted.find(tag.participant);
    const bool same = last != m_lastPainted.end() && last.value() == tag.sentNs;
    if (same) {
        if (inWindow(nowNs()))
            ++m_stale;
        return;
    }
    m_lastPainted.insert(tag.participant, tag.sentNs);
    if (inWindow(tag.sentNs)) {
        ++m_painted;
        m_pending[surface].append(tag.sentNs);
    }
}

void PaintStats::shown(const void* surface)
{
    auto it = m_pending.find(surface);
    if (it == m_pending.end() || it.value().isEmpty())
        return;
    const qint64 now = nowNs();
    for (qint64 sent : qAsConst(it.value()))
        m_delaysMs.push_back(double(now - sent) / 1e6);
    it.value().clear();
}

void PaintStats::composed()
{
    if (inWindow(nowNs()))
        ++m_compositions;
}

double PaintStats::delayMedianMs() const
{
    if (m_delaysMs.empty())
        return 0;
    std::vector<double> v = m_delaysMs;
    std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
    return v[v.size() / 2];
}

double PaintStats::delayP99Ms() const
{
    if (m_delaysMs.empty())
        return 0;
    std::vector<double> v = m_delaysMs;
    const size_t k = std::min(v.size() - 1, size_t(double(v.size()) * 0.99));
    std::nth_element(v.begin(), v.begin() + long(k), v.end());
    return v[k];
}

// ---------------------------------------------------------------------------

Feeder::Feeder(int participants, int fps, Deliver deliver)
    : m_fps(fps)
    , m_deliver(std::move(deliver))
    , m_sizes(new Slot[size_t(participants)])
    , m_count(participants)
{
}

Feeder::~Feeder()
{
    stop();
}

void Feeder::setSize(int participant, QSize size)
{
    m_sizes[size_t(participant)].w.store(size.width());
    m_sizes[size_t(participant)].h.store(size.height());
}

QSize Feeder::size(int participant) const
{
    return QSize(m_sizes[size_t(participant)].w.load(), m_sizes[size_t(participant)].h.load());
}

void Feeder::start()
{
    m_stop.store(false);
    for (int i = 0; i < m_count; ++i)
        m_threads.emplace_back([this, i] { run(i); });
}

void Feeder::stop()
{
    m_stop.store(true);
    for (std::thread& t : m_threads)
        t.join();
    m_threads.clear();
}

void Feeder::countFrom(qint64 startNs, qint64 endNs)
{
    m_offered.store(0);
    m_countEnd.store(endNs);
    m_countStart.store(startNs);
}

void Feeder::run(int participant)
{
    std::vector<uint8_t> picture;
    int w = 0;
    int h = 0;
    const auto period = std::chrono::nanoseconds(1000000000LL / m_fps);
    // Streams start at different moments, as real ones do.
    auto next = std::chrono::steady_clock::now() + period * participant / m_count;
    std::this_thread::sleep_until(next);
    while (!m_stop.load()) {
        const QSize want = size(participant);
        if (want.width() != w || want.height() != h) {
            w = want.width();
            h = want.height();
            picture.assign(size_t(w) * h + 2 * size_t((w + 1) / 2) * ((h + 1) / 2), 0);
            // A picture with some structure: gradients in luma, flat chroma per participant.
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    picture[size_t(y) * w + x] = uint8_t(16 + ((x + y + participant * 29) % 220));
            std::memset(picture.data() + size_t(w) * h, 64 + participant * 16, picture.size() - size_t(w) * h);
        }
        if (w > 0 && h > 0) {
            KxCloudRTCVideoFrameQT frame;
            std::memset(&frame, 0, sizeof frame);
            frame.data = picture.data();
            frame.length = uint32_t(picture.size());
            frame.width = w;
            frame.height = h;
            FrameTag tag;
            tag.sentNs = nowNs();
            tag.participant = participant;
            writeTag(picture.data(), tag);
            m_deliver(participant, frame);
            const qint64 s = m_countStart.load();
            if (s && tag.sentNs >= s && tag.sentNs < m_countEnd.load())
                ++m_offered;
        }
        next += period;
        std::this_thread::sleep_until(next);
    }
}

} // namespace kxbench
