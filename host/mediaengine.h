// The host's media engine: one thread per participant with video. It receives
// the layer of the participant's video the gallery asked for, decodes it and
// hands each picture to KXScreen_PlayFrame; with --synthetic it paints the
// pictures instead.
#ifndef KXHOST_MEDIAENGINE_H
#define KXHOST_MEDIAENGINE_H

#include "kxapi.h"

#include <map>
#include <memory>

class ClipLibrary;
struct Participant;

class MediaEngine
{
public:
    // Without a clip library the pictures are synthetic.
    MediaEngine(const KxApi& api, const ClipLibrary* clips);
    ~MediaEngine();

    // Starts the participant's thread; it delivers to the gallery `screen`.
    void start(void* screen, Participant* p);
    // Returns once the participant's thread has ended: no frame of it reaches
    // the module after this, so its play handle may be deleted.
    void stop(Participant* p);
    void stopAll();
    bool isRunning(Participant* p) const { return m_workers.count(p) != 0; }

private:
    struct Worker;
    void run(Worker* w, Participant* p, void* screen, void* hPlay) const;

    const KxApi& m_api;
    const ClipLibrary* m_clips;
    std::map<Participant*, std::unique_ptr<Worker>> m_workers;
};

#endif
