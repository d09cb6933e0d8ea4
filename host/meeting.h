// The simulated meeting: who is in it, and what the host tells the gallery
// when someone joins, leaves, mutes, turns video on or off, speaks or shares.
#ifndef KXHOST_MEETING_H
#define KXHOST_MEETING_H

#include "cliplibrary.h"
#include "kxapi.h"

#include <QByteArray>
#include <QColor>
#include <QSize>
#include <QString>
#include <QVector>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

class MediaEngine;

struct Participant
{
    // Who it is; fixed once added.
    QByteArray userId;  // "sharescreen_..." for a screen share, "unjoined_..." for an invited participant
    QString name;
    QColor colour;      // background of the participant's pictures
    int role = 0;       // 1 host, 2 co-host
    bool self = false;  // the local user
    bool unjoined = false;
    bool share = false;
    CameraShape camera = CameraShape::Landscape;
    qint64 joinTime = 0;

    // What the host knows; interface thread only.
    bool video = false;
    bool hasMic = true;
    bool muted = false;
    bool weak = false;
    void* hPlay = nullptr;   // play handle; null while the gallery does not know the participant
    bool left = false;       // removed from the meeting; kept so that late messages still map to it
    int streamType = 0;      // last stream type the gallery asked for (2, 3 or 4), 0 before any
    int videoCloses = 0;     // messages 17 received
    int videoOpens = 0;      // messages 18 received
    qint64 lastCloseMs = -1; // host clock of the last 17 and 18
    qint64 lastOpenMs = -1;

    // Shared with the participant's media thread.
    std::atomic<int> wantedLayer{1};   // 0 small, 1 ordinary, 2 large: the stream type asked for
    std::atomic<bool> pulled{true};    // false between a message 17 and the next 18
    std::atomic<int> layer{-1};        // the layer being received; -1 while none
    std::atomic<int> width{0};         // the last picture a tile took
    std::atomic<int> height{0};
    std::atomic<quint64> delivered{0}; // frames a tile took
    std::atomic<quint64> refused{0};   // frames the gallery had no tile for
    std::atomic<quint64> decoded{0};   // pictures decoded (or painted, with --synthetic)
    std::atomic<quint64> bytesReceived{0}; // encoded bytes of the layer received
    // Over the last two seconds (one loop of the clip). The local user's own
    // picture stands for a camera: it is not received and not counted.
    std::atomic<double> bytesPerSecond{0};
    std::atomic<double> pixelsPerSecond{0};

    // The layers of the participant's video, once its media thread has opened them.
    void setLayers(const QVector<ClipLayer>& l)
    {
        std::lock_guard<std::mutex> guard(m_layersLock);
        m_layers = l;
    }
    QVector<ClipLayer> layers() const
    {
        std::lock_guard<std::mutex> guard(m_layersLock);
        return m_layers;
    }

private:
    mutable std::mutex m_layersLock;
    QVector<ClipLayer> m_layers;
};

class Meeting
{
public:
    Meeting(const KxApi& api, MediaEngine& media);

    // The people of a meeting of `count`: the local user, a host, a co-host,
    // several with video, some without, and (from six on) one invited who has
    // not joined. With allVideo everyone has joined with video.
    void populate(int count, bool allVideo);

    // Hands everyone present to the gallery `screen` and starts their video.
    void enterGallery(void* screen);
    // Stops every media thread and forgets the play handles: the gallery is
    // about to be released.
    void leaveGallery();

    Participant* addGuest(bool video);
    void remove(Participant* p);
    void setVideo(Participant* p, bool on);
    void setMuted(Participant* p, bool muted);
    void setWeak(Participant* p, bool weak);
    void speak(Participant* p, int level);
    void startShare(Participant* sharer);
    void stopShare();
    void recall(Participant* p);

    // The participant a notification's user data names, or null for anything
    // else (including participants that have left).
    Participant* fromUserData(uint64_t userData) const;
    // By name (case-insensitive) or "#k", the k-th participant present.
    Participant* find(const QString& key) const;
    QVector<Participant*> present() const;
    Participant* shareStream() const;

private:
    Participant* create(const QString& name, bool video);
    void enter(Participant* p);

    const KxApi& m_api;
    MediaEngine& m_media;
    void* m_screen = nullptr;
    std::vector<std::unique_ptr<Participant>> m_all; // never shrinks: addresses stay valid
    int m_nextGuest = 0;
};

// A round picture with the participant's initial, shown while video is off.
QImage avatarImage(const QString& name, const QColor& colour);
// What the participant's video looks like: title, colour, shape.
ClipRequest clipRequest(const Participant& p);

#endif
