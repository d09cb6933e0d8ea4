#include "cliplibrary.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

// Two seconds, looped: long enough to move, short enough to encode in a
// second. A key frame every 8 frames, so a switch of layer or a resume waits
// half a second at most.
constexpr int kSeconds = 2;
constexpr int kCameraFps = 15;
constexpr int kScreenFps = 5; // screen content changes slowly; shares are sent at a low rate
constexpr int kKeyInterval = 8;
// A usual simulcast ladder (bits per second), smallest first; one layer for a screen.
const char* const kCameraRates[] = {"150k", "500k", "1500k"};
const char* const kScreenRate = "600k";
const char* const kFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"; // fonts-dejavu-core

QString hex(const QColor& c)
{
    return QStringLiteral("0x%1").arg(c.rgb() & 0xFFFFFF, 6, 16, QLatin1Char('0'));
}

QString sizeText(const QSize& s)
{
    return QStringLiteral("%1x%2").arg(s.width()).arg(s.height());
}

QString fontOption()
{
    return QFileInfo::exists(QLatin1String(kFont)) ? QStringLiteral("fontfile=%1:").arg(QLatin1String(kFont)) : QString();
}

// A camera: the participant's colour, FFmpeg's moving test pattern going to
// and fro over it, the name, and per layer its size in the corner. Made large
// and scaled down, as a sender's encoders do; converted to BT.709 limited range,
// which is what the gallery's renderer expects; light noise on the brightness,
// like a camera sensor, so the encoder has real work to do.
QString cameraGraph(const ClipRequest& r, const QString& titleFile)
{
    const QVector<QSize> sizes = layerSizes(r.shape);
    const QSize big = sizes.last();
    const int fontSize = std::min(big.width(), big.height()) / 6;
    QString g = QStringLiteral(
                    "color=c=%1:s=%2:r=%3:d=%4,format=rgb24[bg];"
                    "testsrc2=s=%5x%6:r=%3:d=%4,format=rgb24[pat];"
                    "[bg][pat]overlay=x='(W-w)*(0.5+0.42*sin(2*PI*t/%4))':y='H*0.72-h/2',"
                    "drawtext=%7textfile='%8':fontcolor=white:fontsize=%9:x=(w-tw)/2:y=h/5,"
                    "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p,noise=c0s=6:c0f=t,split=%10")
                    .arg(hex(r.colour), sizeText(big))
                    .arg(kCameraFps)
                    .arg(kSeconds)
                    .arg(big.width() / 4 & ~1)
                    .arg(big.height() / 4 & ~1)
                    .arg(fontOption(), titleFile)
                    .arg(fontSize)
                    .arg(sizes.size());
    for (int i = 0; i < sizes.size(); ++i)
        g += QStringLiteral("[s%1]").arg(i);
    for (int i = 0; i < sizes.size(); ++i)
        g += QStringLiteral(";[s%1]scale=%2:%3,drawtext=%4text=%5:fontcolor=white:fontsize=%6:x=w/40:y=h/40[l%1]")
                 .arg(i)
                 .arg(sizes.at(i).width())
                 .arg(sizes.at(i).height())
                 .arg(fontOption(), sizeText(sizes.at(i)))
                 .arg(std::max(8, std::min(sizes.at(i).width(), sizes.at(i).height()) / 16));
    return g;
}

// A shared slide: a title and a bar chart in the sharer's colour on light
// grey, and a pointer that moves.
QString screenGraph(const ClipRequest& r, const QString& titleFile)
{
    const QSize s = layerSizes(r.shape).first();
    const int w = s.width();
    const int h = s.height();
    QString g = QStringLiteral("color=c=0xEEF0F4:s=%1:r=%2:d=%3,format=rgb24")
                    .arg(sizeText(s))
                    .arg(kScreenFps)
                    .arg(kSeconds);
    for (int i = 0; i < 5; ++i) {
        const int bw = w / 12;
        const int bh = h * (2 + (i * 7) % 5) / 12;
        g += QStringLiteral(",drawbox=x=%1:y=%2:w=%3:h=%4:color=%5:t=fill")
                 .arg(w / 5 + i * bw * 3 / 2)
                 .arg(h * 4 / 5 - bh)
                 .arg(bw)
                 .arg(bh)
                 .arg(hex(r.colour.darker(100 + i * 15)));
    }
    g += QStringLiteral(",drawtext=%1textfile='%2':fontcolor=0x283040:fontsize=%3:x=(w-tw)/2:y=h/10[slide];"
                        "color=c=0x283040:s=%4x%4:r=%5:d=%6[pointer];"
                        "[slide][pointer]overlay=x='W*(0.25+0.5*t/%6)':y='H*0.3',"
                        "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p[l0]")
             .arg(fontOption(), titleFile)
             .arg(h / 8)
             .arg(h / 30)
             .arg(kScreenFps)
             .arg(kSeconds);
    return g;
}

QStringList ffmpegArguments(const ClipRequest& r, const QString& titleFile, const QString& output)
{
    const bool screen = r.shape == CameraShape::Screen;
    QStringList a{QStringLiteral("-hide_banner"), QStringLiteral("-loglevel"), QStringLiteral("error"),
                  QStringLiteral("-y"), QStringLiteral("-filter_complex"),
                  screen ? screenGraph(r, titleFile) : cameraGraph(r, titleFile)};
    const int layers = layerSizes(r.shape).size();
    for (int i = 0; i < layers; ++i)
        a << QStringLiteral("-map") << QStringLiteral("[l%1]").arg(i);
    // Real-time settings: no B-frames, no look-ahead, key frames at fixed
    // places in every layer, so that a receiver can switch at any of them.
    a << QStringLiteral("-c:v") << QStringLiteral("libx264") << QStringLiteral("-preset") << QStringLiteral("veryfast")
      << QStringLiteral("-tune") << QStringLiteral("zerolatency") << QStringLiteral("-profile:v")
      << QStringLiteral("baseline") << QStringLiteral("-g") << QString::number(kKeyInterval)
      << QStringLiteral("-keyint_min") << QString::number(kKeyInterval) << QStringLiteral("-sc_threshold")
      << QStringLiteral("0");
    for (int i = 0; i < layers; ++i) {
        const QString rate = QLatin1String(screen ? kScreenRate : kCameraRates[i]);
        for (const char* opt : {"-b:v:%1", "-maxrate:v:%1", "-bufsize:v:%1"})
            a << QString::fromLatin1(opt).arg(i) << rate;
    }
    a << QStringLiteral("-f") << QStringLiteral("matroska") << output;
    return a;
}

QString slug(const QString& text)
{
    QString s;
    for (const QChar c : text.toLower())
        s += c.isLetterOrNumber() && c.unicode() < 128 ? c : QLatin1Char('-');
    return s;
}

// Reads every packet once: the size and rate of each layer.
bool probe(const QString& path, ClipSet* out, QString* error)
{
    AVFormatContext* fmt = nullptr;
    const QByteArray file = QFile::encodeName(path);
    if (avformat_open_input(&fmt, file.constData(), nullptr, nullptr) < 0) {
        *error = QStringLiteral("cannot open %1").arg(path);
        return false;
    }
    struct Count
    {
        qint64 bytes = 0;
        qint64 packets = 0;
        int64_t firstPts = AV_NOPTS_VALUE;
        int64_t lastPts = AV_NOPTS_VALUE;
    };
    std::vector<Count> counts(fmt->nb_streams);
    AVPacket* pkt = av_packet_alloc();
    while (av_read_frame(fmt, pkt) >= 0) {
        Count& c = counts.at(pkt->stream_index);
        c.bytes += pkt->size;
        ++c.packets;
        if (pkt->pts != AV_NOPTS_VALUE) {
            c.firstPts = c.firstPts == AV_NOPTS_VALUE ? pkt->pts : std::min(c.firstPts, pkt->pts);
            c.lastPts = c.lastPts == AV_NOPTS_VALUE ? pkt->pts : std::max(c.lastPts, pkt->pts);
        }
        av_packet_unref(pkt);
    }
    av_packet_free(&pkt);
    out->path = path;
    out->layers.clear();
    for (unsigned i = 0; i < fmt->nb_streams; ++i) {
        const AVStream* st = fmt->streams[i];
        const Count& c = counts.at(i);
        if (st->codecpar->codec_type != AVMEDIA_TYPE_VIDEO || c.packets < 2 || c.lastPts <= c.firstPts)
            continue;
        ClipLayer l;
        l.width = st->codecpar->width;
        l.height = st->codecpar->height;
        // Frames are evenly spaced: the span of the timestamps covers all but one.
        const double span = double(c.lastPts - c.firstPts) * av_q2d(st->time_base);
        l.fps = double(c.packets - 1) / span;
        l.bytesPerSecond = double(c.bytes) * l.fps / double(c.packets);
        out->layers.append(l);
    }
    avformat_close_input(&fmt);
    std::sort(out->layers.begin(), out->layers.end(),
              [](const ClipLayer& a, const ClipLayer& b) { return a.width * a.height < b.width * b.height; });
    if (out->layers.isEmpty())
        *error = QStringLiteral("no video in %1").arg(path);
    return !out->layers.isEmpty();
}

} // namespace

QVector<QSize> layerSizes(CameraShape shape)
{
    switch (shape) {
    case CameraShape::Portrait: return {QSize(180, 320), QSize(360, 640), QSize(720, 1280)};
    case CameraShape::OddSize: return {QSize(318, 178), QSize(638, 358), QSize(1278, 718)};
    case CameraShape::Screen: return {QSize(1280, 720)};
    case CameraShape::Landscape: break;
    }
    return {QSize(320, 180), QSize(640, 360), QSize(1280, 720)};
}

ClipLibrary::ClipLibrary(const QString& dir)
    : m_dir(dir)
{
}

// The name carries a digest of the whole ffmpeg command: a change of look,
// size or rate makes a new file instead of reusing a stale one.
QString ClipLibrary::pathFor(const ClipRequest& request) const
{
    const QStringList args = ffmpegArguments(request, QStringLiteral("TITLE"), QStringLiteral("OUT"));
    const QByteArray digest =
        QCryptographicHash::hash((args.join(QLatin1Char('\n')) + request.title).toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(12);
    return QDir(m_dir).filePath(QStringLiteral("%1-%2.mkv").arg(slug(request.title), QLatin1String(digest)));
}

bool ClipLibrary::make(const ClipRequest& request, const QString& path, QString* error) const
{
    const QString ffmpeg = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    if (ffmpeg.isEmpty()) {
        *error = QStringLiteral("the ffmpeg program is not installed (scripts/install-deps.sh installs it; "
                                "--synthetic runs without it)");
        return false;
    }
    // The title goes through a file: names may hold anything the filter
    // syntax would otherwise need escaped.
    QTemporaryFile title(QDir(m_dir).filePath(QStringLiteral("title-XXXXXX.txt")));
    if (!title.open() || title.write(request.title.toUtf8()) < 0 || !title.flush()) {
        *error = QStringLiteral("cannot write in %1").arg(m_dir);
        return false;
    }
    const QString part = path + QStringLiteral(".part");
    QProcess proc;
    proc.setProcessChannelMode(QProcess::MergedChannels);
    proc.start(ffmpeg, ffmpegArguments(request, title.fileName(), part));
    const bool ran = proc.waitForFinished(120000) && proc.exitStatus() == QProcess::NormalExit &&
                     proc.exitCode() == 0;
    if (!ran || !QFile::rename(part, path)) {
        *error = QStringLiteral("ffmpeg failed for %1: %2").arg(request.title, QString::fromLocal8Bit(proc.readAll()));
        QFile::remove(part);
        return false;
    }
    return true;
}

bool ClipLibrary::clips(const ClipRequest& request, ClipSet* out, QString* error) const
{
    const QString path = pathFor(request);
    if (!QFileInfo::exists(path)) {
        if (!QDir().mkpath(m_dir)) {
            *error = QStringLiteral("cannot create %1").arg(m_dir);
            return false;
        }
        // Whoever holds the lock makes the clip; the others wait and use it.
        QLockFile lock(path + QStringLiteral(".lock"));
        lock.setStaleLockTime(5 * 60 * 1000);
        if (!lock.lock()) {
            *error = QStringLiteral("cannot lock %1").arg(path);
            return false;
        }
        if (!QFileInfo::exists(path) && !make(request, path, error))
            return false;
    }
    return probe(path, out, error);
}

bool ClipLibrary::prepare(const QVector<ClipRequest>& requests, QString* error) const
{
    int missing = 0;
    for (const ClipRequest& r : requests)
        missing += QFileInfo::exists(pathFor(r)) ? 0 : 1;
    if (missing == 0)
        return true;
    std::fprintf(stderr, "kxhost: encoding the video of %d participants into %s (once)\n", missing,
                 qPrintable(QDir::toNativeSeparators(m_dir)));
    std::atomic<int> next{0};
    std::mutex failLock;
    QString failure;
    auto work = [&]() {
        for (int i = next++; i < requests.size(); i = next++) {
            ClipSet set;
            QString why;
            if (!clips(requests.at(i), &set, &why)) {
                std::lock_guard<std::mutex> guard(failLock);
                failure = why;
            }
        }
    };
    std::thread helper(work);
    work();
    helper.join();
    *error = failure;
    return failure.isEmpty();
}
