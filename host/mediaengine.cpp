#include "mediaengine.h"

#include "clipdecoder.h"
#include "cliplibrary.h"
#include "meeting.h"
#include "syntheticpicture.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr int kSyntheticFps = 30;
constexpr double kRateSeconds = 2; // one loop of a clip: a steady layer shows its exact average rate

// Bytes and pixels of the last frame times, summed.
class RateWindow
{
public:
    explicit RateWindow(int frames) : m_slots(size_t(std::max(1, frames))) {}
    void add(int64_t bytes, int64_t pixels)
    {
        Slot& s = m_slots[m_at];
        m_bytes += bytes - s.bytes;
        m_pixels += pixels - s.pixels;
        s = {bytes, pixels};
        m_at = (m_at + 1) % m_slots.size();
    }
    int64_t bytes() const { return m_bytes; }
    int64_t pixels() const { return m_pixels; }

private:
    struct Slot
    {
        int64_t bytes = 0;
        int64_t pixels = 0;
    };
    std::vector<Slot> m_slots;
    size_t m_at = 0;
    int64_t m_bytes = 0;
    int64_t m_pixels = 0;
};

} // namespace

struct MediaEngine::Worker
{
    std::thread thread;
    std::mutex lock;
    std::condition_variable wake;
    bool stop = false;
};

MediaEngine::MediaEngine(const KxApi& api, const ClipLibrary* clips)
    : m_api(api)
    , m_clips(clips)
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
    w->thread = std::thread([this, w, p, screen, hPlay]() { run(w, p, screen, hPlay); });
    m_workers[p] = std::move(worker);
}

// The participant's media thread: one picture per frame time of its video.
void MediaEngine::run(Worker* w, Participant* p, void* screen, void* hPlay) const
{
    const ClipRequest request = clipRequest(*p);
    ClipDecoder clip;
    std::unique_ptr<SyntheticPicture> synthetic;
    QVector<ClipLayer> layers;
    if (m_clips) {
        ClipSet set;
        QString error;
        if (!m_clips->clips(request, &set, &error) || !clip.open(set.path, &error)) {
            std::fprintf(stderr, "kxhost: no video for %s: %s\n", qPrintable(request.title), qPrintable(error));
            return;
        }
        layers = set.layers;
    } else {
        synthetic = std::make_unique<SyntheticPicture>(request.title, request.colour, p->share);
        for (const QSize& s : layerSizes(request.shape))
            layers.append({s.width(), s.height(), double(kSyntheticFps), 0});
    }
    p->setLayers(layers);
    const double fps = layers.last().fps;
    const auto interval = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(1.0 / fps));
    RateWindow window(int(fps * kRateSeconds + 0.5));
    PackedPicture picture;
    auto next = std::chrono::steady_clock::now();
    for (quint64 n = 0;; ++n) {
        {
            std::unique_lock<std::mutex> guard(w->lock);
            if (w->wake.wait_until(guard, next, [w] { return w->stop; }))
                return;
        }
        next += interval;
        const auto now = std::chrono::steady_clock::now();
        if (next < now) // fell behind (a busy machine): skip, do not burst
            next = now + interval;
        int64_t bytes = 0;
        bool decoded = false;
        const std::vector<uint8_t>* data = &picture.data;
        if (!p->pulled) { // the gallery asked us to stop pulling this video (message 17)
            clip.pause();
            p->layer = -1;
        } else if (synthetic) {
            const int l = std::clamp(int(p->wantedLayer), 0, layers.size() - 1);
            picture.width = layers.at(l).width;
            picture.height = layers.at(l).height;
            data = &synthetic->frame(picture.width, picture.height, n);
            decoded = true;
            p->layer = l;
        } else {
            bytes = clip.next(p->wantedLayer, &picture, &decoded);
            p->layer = clip.layer();
        }
        if (!p->self) { // the local user's picture stands for a camera: nothing is received
            window.add(bytes, decoded ? int64_t(picture.width) * picture.height : 0);
            p->bytesReceived += quint64(bytes);
            p->bytesPerSecond = double(window.bytes()) / kRateSeconds;
            p->pixelsPerSecond = double(window.pixels()) / kRateSeconds;
        }
        if (!decoded)
            continue;
        ++p->decoded;
        KxCloudRTCVideoFrameQT frame{};
        frame.data = data->data();
        frame.length = uint32_t(data->size());
        frame.width = picture.width;
        frame.height = picture.height;
        if (m_api.PlayFrame(screen, hPlay, &frame)) {
            ++p->delivered;
            p->width = picture.width;
            p->height = picture.height;
        } else {
            ++p->refused;
        }
    }
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
    p->layer = -1;
    p->bytesPerSecond = 0;
    p->pixelsPerSecond = 0;
}

void MediaEngine::stopAll()
{
    // Tell them all first, then wait: they wind down in parallel.
    for (auto& entry : m_workers) {
        std::lock_guard<std::mutex> guard(entry.second->lock);
        entry.second->stop = true;
        entry.second->wake.notify_all();
    }
    for (auto& entry : m_workers) {
        entry.second->thread.join();
        entry.first->layer = -1;
        entry.first->bytesPerSecond = 0;
        entry.first->pixelsPerSecond = 0;
    }
    m_workers.clear();
}
