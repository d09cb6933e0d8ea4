#include "clipdecoder.h"

#include <QFile>
#include <algorithm>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

ClipDecoder::~ClipDecoder()
{
    for (auto& q : m_queue)
        for (AVPacket* p : q)
            av_packet_free(&p);
    avcodec_free_context(&m_dec);
    avformat_close_input(&m_fmt);
    av_packet_free(&m_pkt);
    av_frame_free(&m_frame);
}

bool ClipDecoder::open(const QString& path, QString* error)
{
    const QByteArray file = QFile::encodeName(path);
    if (avformat_open_input(&m_fmt, file.constData(), nullptr, nullptr) < 0) {
        *error = QStringLiteral("cannot open %1").arg(path);
        return false;
    }
    m_layerOf.assign(m_fmt->nb_streams, -1);
    for (unsigned i = 0; i < m_fmt->nb_streams; ++i)
        if (m_fmt->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
            m_streamOf.push_back(int(i));
    auto area = [this](int s) { return m_fmt->streams[s]->codecpar->width * m_fmt->streams[s]->codecpar->height; };
    std::sort(m_streamOf.begin(), m_streamOf.end(), [&](int a, int b) { return area(a) < area(b); });
    for (size_t l = 0; l < m_streamOf.size(); ++l)
        m_layerOf[size_t(m_streamOf[l])] = int(l);
    m_queue.resize(m_streamOf.size());
    m_pkt = av_packet_alloc();
    m_frame = av_frame_alloc();
    if (m_streamOf.empty())
        *error = QStringLiteral("no video in %1").arg(path);
    return !m_streamOf.empty();
}

// Back to the start of the clip, every layer at its first packet (a key frame).
void ClipDecoder::rewind()
{
    for (auto& q : m_queue) {
        for (AVPacket* p : q)
            av_packet_free(&p);
        q.clear();
    }
    av_seek_frame(m_fmt, -1, 0, AVSEEK_FLAG_BACKWARD);
}

// Reads until every layer has its packet for the coming frame time.
bool ClipDecoder::fill()
{
    bool rewound = false;
    for (;;) {
        if (std::all_of(m_queue.begin(), m_queue.end(), [](const auto& q) { return !q.empty(); }))
            return true;
        const int r = av_read_frame(m_fmt, m_pkt);
        if (r == AVERROR_EOF && !rewound) { // the clip loops
            rewind();
            rewound = true;
            continue;
        }
        if (r < 0)
            return false;
        const int layer = m_layerOf.at(size_t(m_pkt->stream_index));
        if (layer >= 0) {
            m_queue[size_t(layer)].push_back(av_packet_clone(m_pkt));
            rewound = false;
        }
        av_packet_unref(m_pkt);
    }
}

bool ClipDecoder::startDecoder(int layer)
{
    avcodec_free_context(&m_dec);
    const AVCodecParameters* par = m_fmt->streams[m_streamOf.at(size_t(layer))]->codecpar;
    const AVCodec* codec = avcodec_find_decoder(par->codec_id);
    m_dec = codec ? avcodec_alloc_context3(codec) : nullptr;
    if (!m_dec)
        return false;
    // One thread per participant already; frame threading would also hold
    // pictures back by a frame per thread.
    m_dec->thread_count = 1;
    if (avcodec_parameters_to_context(m_dec, par) < 0 || avcodec_open2(m_dec, codec, nullptr) < 0) {
        avcodec_free_context(&m_dec);
        return false;
    }
    return true;
}

int64_t ClipDecoder::next(int wanted, PackedPicture* out, bool* decoded)
{
    *decoded = false;
    if (!fill())
        return 0;
    std::vector<AVPacket*> now;
    for (auto& q : m_queue) {
        now.push_back(q.front());
        q.pop_front();
    }
    wanted = std::clamp(wanted, 0, layerCount() - 1);
    if (wanted != m_layer && (now[size_t(wanted)]->flags & AV_PKT_FLAG_KEY))
        m_layer = startDecoder(wanted) ? wanted : -1;
    int64_t bytes = 0;
    if (m_layer >= 0) {
        AVPacket* pkt = now[size_t(m_layer)];
        bytes = pkt->size;
        if (avcodec_send_packet(m_dec, pkt) >= 0) {
            while (avcodec_receive_frame(m_dec, m_frame) >= 0) {
                pack(m_frame, out);
                *decoded = !out->data.empty();
                av_frame_unref(m_frame);
            }
        }
    }
    for (AVPacket* p : now)
        av_packet_free(&p);
    return bytes;
}

void ClipDecoder::pause()
{
    avcodec_free_context(&m_dec);
    m_layer = -1;
}

// Decoders hand out planes with padded rows (and some sizes that are not a
// multiple of 16): the gallery takes rows back to back, so they are packed.
void ClipDecoder::pack(const AVFrame* frame, PackedPicture* out) const
{
    out->data.clear();
    if (frame->format != AV_PIX_FMT_YUV420P && frame->format != AV_PIX_FMT_YUVJ420P)
        return;
    const int w = frame->width;
    const int h = frame->height;
    const int cw = (w + 1) / 2;
    const int ch = (h + 1) / 2;
    out->width = w;
    out->height = h;
    out->data.resize(size_t(w) * h + 2 * size_t(cw) * ch);
    uint8_t* to = out->data.data();
    auto plane = [&](int i, int pw, int ph) {
        for (int y = 0; y < ph; ++y, to += pw)
            std::memcpy(to, frame->data[i] + ptrdiff_t(y) * frame->linesize[i], size_t(pw));
    };
    plane(0, w, h);
    plane(1, cw, ch);
    plane(2, cw, ch);
}
