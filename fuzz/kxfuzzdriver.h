#ifndef KX_FUZZDRIVER_H
#define KX_FUZZDRIVER_H

// Turns bytes into a meeting: a sequence of export calls (some from host
// threads), frame records, host functions that call back in, throw or release,
// and event pumps; what the module answers is checked where it is certain, and
// the gallery's invariants after every pump. The bytes come from a fuzz input
// (the libFuzzer target, and the test that replays saved inputs) or from a
// seeded generator (the chaos test). Needs a QApplication on the calling thread.

#include <QString>
#include <cstddef>
#include <cstdint>

namespace kxfuzz {

// Plays one input from a fresh gallery to its release. Returns an empty
// string, or what was found broken.
QString runOne(const uint8_t* data, size_t size);

// Chaos: host threads each make ops calls decoded from bytes the seed gives,
// in rounds, while the calling thread pumps, checks and makes interface calls
// from the same decoder; after each round the roster must hold exactly the
// participants added and not removed. Empty, or what was found broken.
QString runChaos(quint64 seed, int ops, int hostThreads);

} // namespace kxfuzz

#endif
