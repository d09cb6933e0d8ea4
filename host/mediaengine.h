// The host's media engine: one thread per participant with video, producing
// 30 I420 pictures a second at the size the gallery asked for and handing
// them to KXScreen_PlayFrame.
#ifndef KXHOST_MEDIAENGINE_H
#define KXHOST_MEDIAENGINE_H

#include "kxapi.h"

#include <map>
#include <memory>

struct Participant;

class MediaEngine
{
public:
    explicit MediaEngine(const KxApi& api);
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
    const KxApi& m_api;
    std::map<Participant*, std::unique_ptr<Worker>> m_workers;
};

#endif
