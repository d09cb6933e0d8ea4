#!/usr/bin/env bash
# Builds everything and runs every test, then the whole suite once more in an
# AddressSanitizer + UndefinedBehaviorSanitizer build. Tests that draw need a
# display: without one they run under Xvfb, where Mesa gives real OpenGL.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
run_display() {
  if [ -n "${DISPLAY:-}" ]; then "$@"; else xvfb-run -a -s "-screen 0 1920x1080x24" "$@"; fi
}
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
run_display ctest --test-dir build --output-on-failure -j1
if [ "${KX_SKIP_SANITIZE:-0}" != "1" ]; then
  cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKX_SANITIZE=ON -DKX_BUILD_BENCH=OFF -DKX_BUILD_HOST=OFF >/dev/null
  cmake --build build-asan -j"$jobs"
  ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    run_display ctest --test-dir build-asan --output-on-failure -j1
fi
