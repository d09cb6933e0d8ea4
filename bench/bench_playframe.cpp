// Cost of the frame path.
//
// 1. Host-thread cost of one frame through CPlayWidget::PlayOneFrame (frame
//    lock, tile mutex, aligned copy, queued render notice) against a plain
//    memcpy of the same bytes into the same buffer, measured side by side in
//    one run. Target: at most 1.2x at 720p and 1080p.
// 2. With a display, the paint path: for each scenario the module's gallery
//    (through the exports, with its overlays and icons) drawing with OpenGL
//    and then on the CPU, a one-surface OpenGL baseline and a libyuv +
//    QPainter reference are fed the same frames from the same host threads
//    at 30 fps, one after the other in this run. Reported per renderer:
//    frames offered and painted, interface-thread and process CPU, window
//    compositions per second and the delay from the hand-over of a frame to
//    the presentation of the composition that shows it. The targets are
//    printed beside the figures.
//
// Options: --seconds S (per run, default 8), --scenario N (1-3), --renderer
// gl|raster|surface|painter (the module still runs a second to place the
// tiles), --paint-only.
#include "cplaywidget.h"
#include "kxscreenmod2.h"
#include "moduleapp.h"
#include "onesurfacegallery.h"
#include "paintbench.h"
#include "paintergallery.h"
#include "personinfo.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"
#include "tilerenderer.h"

#include <QApplication>
#include <QEventLoop>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Picture {
    int w = 0;
    int h = 0;
    std::vector<uint8_t> bytes;

    Picture(int width, int height, int seed)
        : w(width), h(height), bytes(size_t(width) * height + 2 * size_t((width + 1) / 2) * ((height + 1) / 2))
    {
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = uint8_t((i * 31 + size_t(seed) * 17) >> 3);
    }

    KxCloudRTCVideoFrameQT record() const
    {
        KxCloudRTCVideoFrameQT f;
        std::memset(&f, 0, sizeof f);
        f.data = bytes.data();
        f.length = uint32_t(bytes.size());
        f.width = w;
        f.height = h;
        return f;
    }
};

std::unique_ptr<tagPersonInfo> streamingPerson(const QString& id)
{
    auto p = std::make_unique<tagPersonInfo>();
    p->userID = id;
    p->userName = id;
    p->bPreview = true;
    // Already streaming: attaching does not mark the tile fresh, so frames of
    // one size are not re-sized (as after showTile's timer in the gallery).
    p->eStreamStatus = 2;
    return p;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Runs fn on a separate (host) thread and returns the wall time of the batch.
template <typename F>
double timeOnHostThread(int iterations, F fn)
{
    double seconds = 0;
    std::thread host([&] {
        const auto t0 = Clock::now();
        for (int i = 0; i < iterations; ++i)
            fn();
        seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    });
    host.join();
    return seconds;
}

struct CopyResult {
    double playUs = 0;
    double memcpyUs = 0;
};

CopyResult measureCopy(int w, int h)
{
    auto person = streamingPerson(QStringLiteral("bench_%1x%2").arg(w).arg(h));
    CPlayWidget tile(nullptr); // never shown: only the host-thread path is measured
    tile.setPersonData(person.get(), false);

    const Picture pic(w, h, w ^ h);
    const KxCloudRTCVideoFrameQT frame = pic.record();
    std::recursive_mutex& frameLock = QKXScreenConfig::getInstance()->frameLock();

    auto play = [&] {
        std::lock_guard<std::recursive_mutex> lock(frameLock);
        tile.PlayOneFrame(&frame);
    };
    // First frame sizes the buffer; it is not part of the steady state.
    play();
    QCoreApplication::processEvents();
    uint8_t* const dst = person->m_pBufYuv420p;
    const size_t bytes = pic.bytes.size();
    auto plain = [&] { std::memcpy(dst, pic.bytes.data(), bytes); };

    // Batches of about 15 ms, alternating, so that both see the same machine state.
    const double est = std::max(1e-7, timeOnHostThread(20, plain) / 20);
    const int perBatch = std::max(5, int(0.015 / est));
    const int rounds = 15;
    std::vector<double> playPer, plainPer;
    for (int r = 0; r < rounds; ++r) {
        plainPer.push_back(timeOnHostThread(perBatch, plain) / perBatch);
        playPer.push_back(timeOnHostThread(perBatch, play) / perBatch);
        // The render notices were queued to this (interface) thread: drain them
        // outside the timed part, as the interface thread would between frames.
        QCoreApplication::processEvents();
    }
    tile.setPersonData(nullptr, false);
    QCoreApplication::processEvents();
    return {median(playPer) * 1e6, median(plainPer) * 1e6};
}

bool hasDisplay()
{
    const QString platform = QGuiApplication::platformName();
    return platform != QLatin1String("offscreen") && platform != QLatin1String("minimal");
}

// ---------------------------------------------------------------------------
// Paint path: the module's gallery against a one-surface baseline and a
// QPainter reference, the same frames from the same host threads, in one run.
// ---------------------------------------------------------------------------

const int kWindowW = 1920;
const int kWindowH = 1080;
const int kFps = 30;

void spin(double seconds)
{
    QEventLoop loop;
    QTimer::singleShot(int(seconds * 1000), &loop, &QEventLoop::quit);
    loop.exec();
}

struct Scenario {
    const char* name;
    int mode;          // gallery layout
    int participants;
    // Picture size a host sends for the stream type the gallery asked for (0: none yet).
    QSize (*sizeFor)(int streamType);
};

QSize all360(int)
{
    return QSize(640, 360);
}

// What the reference host sends for each stream request.
QSize byRequest(int streamType)
{
    switch (streamType) {
    case KXSCREEN_STREAM_LARGE: return QSize(1280, 720);
    case KXSCREEN_STREAM_NORMAL: return QSize(640, 360);
    default: return QSize(320, 180);
    }
}

QSize full1080(int)
{
    return QSize(1920, 1080);
}

const Scenario kScenarios[] = {
    {"8 x 640x360, eight-cut", KXSCREEN_LAYOUT_EIGHT_CUT, 8, &all360},
    {"1 x 1280x720 + 7 x 320x180, eight-cut", KXSCREEN_LAYOUT_EIGHT_CUT, 8, &byRequest},
    {"1 x 1920x1080, full window", KXSCREEN_LAYOUT_EQUAL_CUT, 1, &full1080},
};

struct Row {
    QString renderer;
    long offered = 0;
    long painted = 0;
    long stale = 0;          // paints that drew a frame already drawn
    long compositions = 0;
    double wall = 0;
    double uiCpu = 0;
    double procCpu = 0;
    double machineCores = 0; // busy cores of the whole machine (the X server included)
    double delayMed = 0;
    double delayP99 = 0;
    long overlayPaints = -1;   // module only: overlay paints that drew its content
    long overlayComposes = -1; // module only: overlay paints that laid kept content over a new picture
    long glPaints = -1;        // module only: paints that drew, counted by the tiles

    double ratio() const { return offered ? double(painted) / offered : 0; }
    double uiMsPerFrame() const { return painted ? 1000.0 * uiCpu / painted : 0; }
    double procMsPerFrame() const { return painted ? 1000.0 * procCpu / painted : 0; }
};

// Runs the feeders for a warm-up, then measures a window of `seconds`.
// `sample` is called at the start (true) and end (false) of the window.
Row measure(kxbench::Feeder& feeder, kxbench::PaintStats& stats, double warmup, double seconds,
            const std::function<void(bool)>& sample = {})
{
    Row r;
    feeder.start();
    spin(warmup);
    const qint64 start = kxbench::nowNs();
    const qint64 end = start + qint64(seconds * 1e9);
    stats.begin(start, end);
    feeder.countFrom(start, end);
    if (sample)
        sample(true);
    quint64 busy0 = 0, total0 = 0, busy1 = 0, total1 = 0;
    kxbench::machineJiffies(busy0, total0);
    const double ui0 = kxbench::threadCpuSeconds();
    const double proc0 = kxbench::processCpuSeconds();
    spin(seconds);
    r.uiCpu = kxbench::threadCpuSeconds() - ui0;
    r.procCpu = kxbench::processCpuSeconds() - proc0;
    kxbench::machineJiffies(busy1, total1);
    r.wall = double(kxbench::nowNs() - start) / 1e9;
    if (sample)
        sample(false);
    if (total1 > total0)
        r.machineCores = double(busy1 - busy0) / double(total1 - total0) * kxbench::cpuCount();
    // Frames sent near the end are still counted once they reach the screen.
    spin(0.3);
    feeder.stop();
    QCoreApplication::processEvents();
    r.offered = feeder.offered();
    r.painted = stats.paintedFrames();
    r.stale = stats.stalePaints();
    r.compositions = stats.compositions();
    r.delayMed = stats.delayMedianMs();
    r.delayP99 = stats.delayP99Ms();
    return r;
}

// --- the module -------------------------------------------------------------

kxbench::PaintStats* g_stats = nullptr;
kxbench::Feeder* g_feeder = nullptr;
const Scenario* g_scenario = nullptr;
QHash<int, CPlayWidget*> g_tileOf; // participant -> tile that last drew it

int onHostMessage(unsigned int msg, uint64_t, uint64_t lParam)
{
    // The host follows the gallery's stream requests, as the reference host does.
    if (msg >= KXSCREEN_STREAM_SMALL && msg <= KXSCREEN_STREAM_LARGE && g_feeder && g_scenario && lParam) {
        const int participant = int(lParam) - 1;
        g_feeder->setSize(participant, g_scenario->sizeFor(int(msg)));
    }
    return 0;
}

void onTilePainted(CPlayWidget* tile, const unsigned char* picture)
{
    const kxbench::FrameTag tag = kxbench::readTag(picture);
    if (g_stats) {
        g_stats->painted(tile, tag);
        // A tile that paints on the CPU paints into the window's backing
        // store, which is flushed to the screen right after this paint (as
        // the reference's is).
        if (tile->isRaster())
            g_stats->shown(tile);
    }
    g_tileOf.insert(tag.participant, tile);
}

// Counts the window's compositions when nothing OpenGL signals them: each
// update request paints and flushes the backing store once.
class FlushCounter : public QObject
{
public:
    explicit FlushCounter(kxbench::PaintStats* stats) : m_stats(stats) {}
    bool eventFilter(QObject* o, QEvent* e) override
    {
        if (e->type() == QEvent::UpdateRequest)
            m_stats->composed();
        return QObject::eventFilter(o, e);
    }

private:
    kxbench::PaintStats* m_stats;
};

Row runModule(const Scenario& sc, kxrender::Renderer renderer, double seconds, QVector<kxbench::TilePlan>* plans)
{
    kxtilerender::setForTests(renderer);
    QWidget host;
    host.setWindowTitle(QStringLiteral("bench_playframe: module"));
    host.setGeometry(0, 0, kWindowW, kWindowH);
    host.show();
    spin(0.3);

    kxbench::PaintStats stats;
    void* h = KXScreen_Init(&host, "", &onHostMessage);
    KXScreen_MoveWindow(h, QRect(0, 0, kWindowW, kWindowH), KXSCREEN_MOVE_SHOW);
    std::vector<void*> plays;
    std::vector<QByteArray> ids;
    for (int i = 0; i < sc.participants; ++i) {
        ids.push_back("bench_user" + QByteArray::number(i));
        QByteArray name = "Participant " + QByteArray::number(i + 1);
        plays.push_back(KXScreen_AddPerson(h, ids.back().data(), ids.back().data(), name.data(), 1000 + i, 0,
                                           reinterpret_cast<void*>(quintptr(i + 1)), 1));
        // What a host reports at once: a microphone, a network level.
        KXScreen_SetHasMic(h, plays.back(), true);
        KXScreen_SetMute(h, plays.back(), 0);
        KXScreen_UpdateNetWeak(h, ids.back().constData(), false, 6);
    }
    KXScreen_SetCurMode(h, sc.mode);
    KXScreen_JoinMeetingFinish(h);
    spin(0.3);

    kxbench::Feeder feed(sc.participants, kFps, [&](int i, const KxCloudRTCVideoFrameQT& f) {
        KXScreen_PlayFrame(h, plays[size_t(i)], const_cast<KxCloudRTCVideoFrameQT*>(&f));
    });
    for (int i = 0; i < sc.participants; ++i)
        feed.setSize(i, sc.sizeFor(0));
    g_feeder = &feed;
    g_scenario = &sc;
    g_stats = &stats;
    g_tileOf.clear();
    CPlayWidget::setPaintObserver(&onTilePainted);

    const QList<CPlayWidget*> tiles = host.findChildren<CPlayWidget*>();
    CPlayWidget* composedBy = nullptr;
    for (CPlayWidget* t : tiles) {
        if (auto* surface = t->findChild<QOpenGLWidget*>()) {
            QObject::connect(surface, &QOpenGLWidget::frameSwapped, t, [&stats, t, &composedBy]() {
                stats.shown(t);
                // Every shown tile hears each composition of the window: one counts them.
                if (t == composedBy)
                    stats.composed();
            });
        }
    }
    FlushCounter flushes(&stats);
    if (renderer == kxrender::Renderer::Raster)
        host.installEventFilter(&flushes);

    long overlay0 = 0, composes0 = 0, gl0 = 0, overlayPaints = 0, overlayComposes = 0, glPaints = 0;
    auto sample = [&](bool atStart) {
        long overlay = 0, composes = 0, gl = 0;
        for (QDlgPlayInfo* info : host.findChildren<QDlgPlayInfo*>()) {
            overlay += info->paintCount();
            composes += info->composeCount();
        }
        for (CPlayWidget* t : tiles)
            gl += t->paintedFrames();
        if (atStart) {
            overlay0 = overlay;
            composes0 = composes;
            gl0 = gl;
            for (CPlayWidget* t : tiles) {
                if (t->isVisible()) {
                    composedBy = t;
                    break;
                }
            }
        } else {
            overlayPaints = overlay - overlay0;
            overlayComposes = composes - composes0;
            glPaints = gl - gl0;
        }
    };
    // Two seconds of warm-up: the first frames reorder the gallery and settle the stream types.
    Row r = measure(feed, stats, 2.0, seconds, sample);
    host.removeEventFilter(&flushes);
    r.overlayPaints = overlayPaints;
    r.overlayComposes = overlayComposes;
    r.glPaints = glPaints;
    r.renderer = QStringLiteral("module ") + QLatin1String(kxrender::rendererName(renderer));

    CPlayWidget::setPaintObserver(nullptr);
    g_stats = nullptr;
    g_feeder = nullptr;
    g_scenario = nullptr;
    if (plans) {
        plans->clear();
        for (int i = 0; i < sc.participants; ++i) {
            kxbench::TilePlan plan;
            plan.frame = feed.size(i);
            if (CPlayWidget* t = g_tileOf.value(i); t && tiles.contains(t))
                plan.video = t->videoRect().translated(t->mapTo(&host, QPoint(0, 0)));
            plans->append(plan);
        }
    }
    KXScreen_Release(h);
    QCoreApplication::processEvents();
    return r;
}

// --- the baseline and the reference -----------------------------------------

template <typename Gallery>
Row runOneWidget(const QString& name, const QVector<kxbench::TilePlan>& plans, double seconds)
{
    kxbench::PaintStats stats;
    QWidget window;
    window.setWindowTitle(QStringLiteral("bench_playframe: ") + name);
    window.setGeometry(0, 0, kWindowW, kWindowH);
    auto* gallery = new Gallery(plans, &stats, &window);
    gallery->setGeometry(window.rect());
    window.show();
    spin(0.3);
    if constexpr (std::is_base_of<QOpenGLWidget, Gallery>::value) {
        QObject::connect(gallery, &QOpenGLWidget::frameSwapped, gallery, [&stats, gallery]() {
            stats.composed();
            stats.shown(gallery);
        });
    }
    kxbench::Feeder feed(plans.size(), kFps,
                         [gallery](int i, const KxCloudRTCVideoFrameQT& f) { gallery->deliver(i, f); });
    for (int i = 0; i < plans.size(); ++i)
        feed.setSize(i, plans.at(i).frame);
    Row r = measure(feed, stats, 1.0, seconds);
    r.renderer = name;
    return r;
}

void printRow(const Row& r)
{
    std::printf("  %-15s %7ld %7ld %6.3f %8.2f %8.2f %6.0f%% %6.0f%% %7.1f %7.1f %7.1f\n", qPrintable(r.renderer),
                r.offered, r.painted, r.ratio(), r.uiMsPerFrame(), r.procMsPerFrame(), 100.0 * r.procCpu / r.wall,
                100.0 * r.machineCores, r.compositions / r.wall, r.delayMed, r.delayP99);
}

void printModuleCounts(const Row& m)
{
    std::printf("  %s: %ld tile paints (%ld drew a frame already drawn), %ld overlay paints that drew, "
                "%ld that laid kept pixels over a new picture\n",
                qPrintable(m.renderer), m.glPaints, m.stale, m.overlayPaints, m.overlayComposes);
}

const char* verdict(bool ok)
{
    return ok ? "met" : "MISSED";
}

double procShare(const Row& r)
{
    return r.wall > 0 ? r.procCpu / r.wall : 0;
}

void runPaintPath(double seconds, int onlyScenario, const QString& onlyRenderer)
{
    std::printf("\nPaint path: %dx%d window, %d fps per stream, %.0f s per run; %s, %d cores, Qt %s, platform %s\n",
                kWindowW, kWindowH, kFps, seconds, qPrintable(kxbench::cpuModel()), kxbench::cpuCount(), qVersion(),
                qPrintable(QGuiApplication::platformName()));
    std::printf("  module gl: the gallery through the exports, one OpenGL tile per participant, overlays, "
                "page controls\n");
    std::printf("  module raster: the same gallery drawing on the CPU (libyuv, no OpenGL widget in the window)\n");
    std::printf("  one surface: one QOpenGLWidget uploads each new picture and draws all tiles in one paint\n");
    std::printf("  libyuv+QPainter: one widget; libyuv scales each new picture to its tile and converts it, "
                "QPainter draws it unscaled\n");
    std::printf("  %-15s %7s %7s %6s %8s %8s %7s %7s %7s %7s %7s\n", "renderer", "offered", "painted", "ratio",
                "UI ms/f", "proc ms/f", "proc", "machine", "comp/s", "med ms", "p99 ms");

    const bool all = onlyRenderer.isEmpty();
    auto wanted = [&](const char* name) { return all || onlyRenderer == QLatin1String(name); };
    int index = 0;
    for (const Scenario& sc : kScenarios) {
        ++index;
        if (onlyScenario && onlyScenario != index)
            continue;
        std::printf("%d. %s\n", index, sc.name);
        std::fflush(stdout);
        QVector<kxbench::TilePlan> plans;
        Row gl, raster, surface, painter;
        gl = runModule(sc, kxrender::Renderer::Gl, wanted("gl") ? seconds : 1.0, &plans);
        if (wanted("gl"))
            printRow(gl);
        std::fflush(stdout);
        if (wanted("raster")) {
            raster = runModule(sc, kxrender::Renderer::Raster, seconds, &plans);
            printRow(raster);
            std::fflush(stdout);
        }
        if (wanted("surface")) {
            surface = runOneWidget<OneSurfaceGallery>(QStringLiteral("one surface"), plans, seconds);
            printRow(surface);
        }
        if (wanted("painter")) {
            painter = runOneWidget<PainterGallery>(QStringLiteral("libyuv+QPainter"), plans, seconds);
            printRow(painter);
        }
        if (wanted("gl"))
            printModuleCounts(gl);
        if (wanted("raster"))
            printModuleCounts(raster);
        if (!all) {
            std::fflush(stdout);
            continue;
        }
        const double frameMs = 1000.0 / kFps;
        const double glVsSurface = surface.procMsPerFrame() > 0 ? gl.procMsPerFrame() / surface.procMsPerFrame() : 0;
        std::printf("  gl targets: painted/offered >= 0.95 %s; CPU per painted frame <= one surface (%.2fx) %s; "
                    "delay median < %.0f ms and p99 < %.0f ms %s\n",
                    verdict(gl.ratio() >= 0.95), glVsSurface, verdict(glVsSurface > 0 && glVsSurface <= 1.0),
                    2 * frameMs, 4 * frameMs, verdict(gl.delayMed < 2 * frameMs && gl.delayP99 < 4 * frameMs));
        const double cpu = procShare(painter) > 0 ? procShare(raster) / procShare(painter) : 0;
        const double perFrame = painter.procMsPerFrame() > 0 ? raster.procMsPerFrame() / painter.procMsPerFrame() : 0;
        std::printf("  raster against libyuv+QPainter: process CPU %.2fx, CPU per painted frame %.2fx; targets: ",
                    cpu, perFrame);
        if (index == 1)
            std::printf("painted/offered >= 0.99 %s, CPU <= 1.3x %s, delay median <= 5 ms %s, p99 <= 20 ms %s\n",
                        verdict(raster.ratio() >= 0.99), verdict(cpu > 0 && cpu <= 1.3), verdict(raster.delayMed <= 5),
                        verdict(raster.delayP99 <= 20));
        else if (index == 3)
            std::printf("CPU <= 1.3x %s\n", verdict(cpu > 0 && cpu <= 1.3));
        else
            std::printf("none set\n");
        std::fflush(stdout);
    }
    std::printf("  (GL renderer: %s. proc: CPU of this process per second of wall time, llvmpipe's threads "
                "included; machine: all processes, the X server too)\n",
                qPrintable(OneSurfaceGallery::rendererName()));
}

} // namespace

int main(int argc, char** argv)
{
    const bool haveDisplay = qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY")
        || qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
    if (!haveDisplay)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // The module's lines would only measure the terminal.
    QLoggingCategory::setFilterRules(QStringLiteral("kxscreen.debug=false"));
    // What the library's load hook does in a host: the module's images,
    // icons and translation, so that the tiles draw what they draw there.
    kxmodule::processAttach();

    double seconds = 8;
    int onlyScenario = 0;
    QString onlyRenderer;
    bool paintOnly = false;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args.at(i);
        const QString next = i + 1 < args.size() ? args.at(i + 1) : QString();
        if (a == QLatin1String("--seconds")) {
            seconds = qMax(1.0, next.toDouble());
            ++i;
        } else if (a == QLatin1String("--scenario")) {
            onlyScenario = next.toInt();
            ++i;
        } else if (a == QLatin1String("--renderer")) {
            onlyRenderer = next;
            ++i;
        } else if (a == QLatin1String("--paint-only")) {
            paintOnly = true;
        }
    }

    if (!paintOnly) {
        std::printf("PlayOneFrame host-thread cost against memcpy of the same bytes (median of 15 batches)\n");
        std::printf("  %-10s %10s %12s %12s %8s %s\n", "size", "bytes", "memcpy us", "Play us", "ratio", "");
        const int sizes[][2] = {{320, 180}, {640, 360}, {1280, 720}, {1920, 1080}};
        bool targetMet = true;
        for (const auto& s : sizes) {
            const CopyResult r = measureCopy(s[0], s[1]);
            const double ratio = r.playUs / r.memcpyUs;
            const bool gated = s[1] >= 720;
            const bool ok = ratio <= 1.2;
            if (gated && !ok)
                targetMet = false;
            const size_t bytes = size_t(s[0]) * s[1] * 3 / 2;
            std::printf("  %4dx%-5d %10zu %12.1f %12.1f %7.2fx %s\n", s[0], s[1], bytes, r.memcpyUs, r.playUs,
                        ratio, gated ? (ok ? "target <= 1.2x met" : "target <= 1.2x MISSED") : "");
        }
        std::printf("  720p/1080p target: %s\n", targetMet ? "met" : "missed");
    }

    if (hasDisplay())
        runPaintPath(seconds, onlyScenario, onlyRenderer);
    else
        std::printf("\nNo display: the paint-path section is skipped.\n");
    return 0;
}
