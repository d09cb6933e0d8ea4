// The receiving end of one participant's simulcast video: demuxes the
// participant's clip, takes the packets of the one layer it subscribes to,
// decodes them and packs each picture as the gallery's frame record wants it.
#ifndef KXHOST_CLIPDECODER_H
#define KXHOST_CLIPDECODER_H

#include <QString>
#include <cstdint>
#include <deque>
#include <vector>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

// A decoded picture in packed I420: Y, then U, then V, rows back to back.
struct PackedPicture
{
    std::vector<uint8_t> data;
    int width = 0;
    int height = 0;
};

class ClipDecoder
{
public:
    ClipDecoder() = default;
    ~ClipDecoder();
    ClipDecoder(const ClipDecoder&) = delete;
    ClipDecoder& operator=(const ClipDecoder&) = delete;

    bool open(const QString& path, QString* error);
    int layerCount() const { return int(m_streamOf.size()); }
    // The layer being received, or -1 while waiting for a key frame to start at.
    int layer() const { return m_layer; }

    // One frame time. The layers advance in step, like the encoders of a
    // sender; only the packets of the layer received count and are decoded.
    // A change to `wanted` (or a start after pause()) waits for a key frame of
    // that layer, as a subscription can only begin at one; until then the
    // current layer goes on. Returns the encoded bytes received this frame
    // time; *decoded tells whether `out` holds a new picture.
    int64_t next(int wanted, PackedPicture* out, bool* decoded);
    // Stops receiving: the decoder is dropped and the next start waits for a key frame.
    void pause();

private:
    bool fill();
    void rewind();
    bool startDecoder(int layer);
    void pack(const AVFrame* frame, PackedPicture* out) const;

    AVFormatContext* m_fmt = nullptr;
    AVCodecContext* m_dec = nullptr;
    AVPacket* m_pkt = nullptr;
    AVFrame* m_frame = nullptr;
    std::vector<int> m_streamOf;               // layer -> stream index, smallest layer first
    std::vector<int> m_layerOf;                // stream index -> layer, -1 for other streams
    std::vector<std::deque<AVPacket*>> m_queue; // read ahead, per layer
    int m_layer = -1;
};

#endif
