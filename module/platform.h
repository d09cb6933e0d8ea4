#ifndef KX_PLATFORM_H
#define KX_PLATFORM_H

#include <QByteArray>
#include <cstddef>
#include <thread>

// The one place where the module touches the operating system directly:
// display scale factors and pointer readability.
namespace kxplatform {

// Scale factors of the primary and the other monitor (1.0 when unknown).
void queryScaleFactors(float& primary, float& other);
// The text put into QT_SCREEN_SCALE_FACTORS: "1.25;1".
QByteArray scaleFactorsText(float primary, float other);
// X resources: the value of "Xft.dpi" in a resource-manager string, or 96.
int parseXftDpi(const char* resources);

// Readability of a pointer the host hands back. On Windows this asks the
// system; elsewhere only objects registered as live are readable, so a stale
// or foreign pointer is rejected without being touched.
// An object is registered with its size; a query for another size (a record
// handed in where a play handle belongs) is not readable either.
bool isReadable(const void* p, std::size_t size);
void registerLive(const void* p, std::size_t size);
void unregisterLive(const void* p);

// Reads the participant record of a play handle atomically with its liveness
// check. Returns false (and leaves *record alone) when the handle is not live.
bool readPlayData(const void* hPlay, void** record);

// Ends a thread of the module's own as the module goes away: waited for, so
// that it is done before the library's code is unloaded. Under the Windows
// loader lock, where the library unloads, a thread cannot finish: there it is
// left to run out by itself.
void retireThread(std::thread& t);

} // namespace kxplatform

#endif
