#ifndef KX_FUZZDRIVER_H
#define KX_FUZZDRIVER_H

// Turns bytes into a meeting: a sequence of export calls (some from a host
// thread), frame records, host functions that call back in, throw or release,
// and event pumps; the gallery's invariants are checked after every pump.
// Shared by the libFuzzer target and the test that replays saved inputs.

#include <QString>
#include <cstddef>
#include <cstdint>

namespace kxfuzz {

// Plays one input from a fresh gallery to its release. Returns an empty
// string, or what was found broken. Needs a QApplication on the calling thread.
QString runOne(const uint8_t* data, size_t size);

} // namespace kxfuzz

#endif
