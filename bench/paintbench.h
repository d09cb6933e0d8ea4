// Shared parts of the paint-path benchmark: the host threads that send
// frames, the tag that lets a paint tell which frame it drew, and the counts
// and delays of one run.
#ifndef KX_BENCH_PAINTBENCH_H
#define KX_BENCH_PAINTBENCH_H

#include "kxscreenmod2.h"

#include <QHash>
#include <QRect>
#include <QSize>
#include <QVector>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace kxbench {

// Monotonic nanoseconds, comparable across threads.
qint64 nowNs();
double threadCpuSeconds();
double processCpuSeconds();
// Busy and total jiffies of the whole machine (all processes, the X server too).
void machineJiffies(quint64& busy, quint64& total);
int cpuCount();
QString cpuModel();

// The first 16 bytes of every picture a host thread sends: when it was handed
// over (nowNs just before the export is called) and whose it is. A paint reads
// them back from the picture it uploads. The rows the module copies are cut to
// a multiple of 8 bytes; every width used here is one already.
struct FrameTag {
    qint64 sentNs = 0;
    int participant = -1;
};
void writeTag(uint8_t* picture, const FrameTag& tag);
FrameTag readTag(const uint8_t* picture);

// Counts of one run. Interface thread only. Frames count when they were sent
// inside the measured window, compositions when they happen inside it.
class PaintStats
{
public:
    void begin(qint64 startNs, qint64 endNs);
    // A paint on `surface` uploaded the picture tagged `tag`.
    void painted(const void* surface, const FrameTag& tag);
    // `surface` reached the screen (its window was composed and presented).
    void shown(const void* surface);
    void composed();

    long paintedFrames() const { return m_painted; }
    long stalePaints() const { return m_stale; }
    long compositions() const { return m_compositions; }
    double delayMedianMs() const;
    double delayP99Ms() const;

private:
    bool inWindow(qint64 t) const { return t >= m_start && t < m_end; }

    qint64 m_start = 0;
    qint64 m_end = 0;
    long m_painted = 0;
    long m_stale = 0;
    long m_compositions = 0;
    QHash<int, qint64> m_lastPainted;                 // participant -> last tag painted
    QHash<const void*, QVector<qint64>> m_pending;    // painted, not yet on screen
    std::vector<double> m_delaysMs;
};

// One host thread per participant, each sending its participant's frames at a
// fixed rate, as decoders do. The picture size is read before every frame, so
// that a host that follows the gallery's stream requests can change it.
class Feeder
{
public:
    using Deliver = std::function<void(int participant, const KxCloudRTCVideoFrameQT& frame)>;

    Feeder(int participants, int fps, Deliver deliver);
    ~Feeder();

    void setSize(int participant, QSize size);
    QSize size(int participant) const;
    void start();
    void stop();
    // Frames handed over with a send time in [startNs, endNs).
    void countFrom(qint64 startNs, qint64 endNs);
    long offered() const { return m_offered.load(); }

private:
    void run(int participant);

    struct Slot {
        std::atomic<int> w{0};
        std::atomic<int> h{0};
    };
    int m_fps;
    Deliver m_deliver;
    std::unique_ptr<Slot[]> m_sizes;
    int m_count;
    std::vector<std::thread> m_threads;
    std::atomic<bool> m_stop{false};
    std::atomic<qint64> m_countStart{0};
    std::atomic<qint64> m_countEnd{0};
    std::atomic<long> m_offered{0};
};

// Where a participant's picture lies in the window, and its frame size.
struct TilePlan {
    QRect video;  // letterboxed picture, window coordinates
    QSize frame;
};

} // namespace kxbench

#endif
