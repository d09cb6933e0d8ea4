#ifndef KX_TILERENDERER_H
#define KX_TILERENDERER_H

#include "rendererrule.h"

#include <QString>
#include <functional>

// The process's one choice of how video tiles draw (kxrender::chooseRenderer),
// made on the interface thread before the first tile: by the first
// KXScreen_Init, which passes the settings file's key, or else by the first
// tile from the environment alone. A tile keeps the way it was made with.
namespace kxtilerender {

// Makes the choice, unless it is made, with the settings value setting()
// reads (called only then). Logs it once.
void choose(const std::function<QString()>& setting);
// The choice; made now from the environment when nothing has made it yet
// (interface thread).
kxrender::Renderer current();
// "gl" or "raster", from any thread. Before the choice is made a call from
// another thread cannot look at OpenGL: it answers what KX_RENDERER forces,
// else "gl".
const char* currentName();
// Tests and benchmarks: tiles made from now on draw this way.
void setForTests(kxrender::Renderer renderer);

} // namespace kxtilerender

#endif
