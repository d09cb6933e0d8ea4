#!/usr/bin/env bash
# Checks the weight of the tests against the product (scripts/test-weight.sh),
# builds everything and runs every test, then the whole suite once more in an
# AddressSanitizer + UndefinedBehaviorSanitizer build (with leak detection),
# then the tests that drive frames and exports from host threads in a
# ThreadSanitizer build, then fuzzes the exports for a fixed short time. Tests that draw need a
# display: without one they run under Xvfb, where Mesa gives real OpenGL.
#
#   KX_CHAOS_OPS=100000 scripts/test.sh   the long chaos run (release build)
#   KX_SKIP_SANITIZE=1                    no AddressSanitizer build
#   KX_SKIP_TSAN=1                        no ThreadSanitizer build
#   KX_SKIP_WAYLAND=1                     no Wayland smoke stage
#   KX_SKIP_FUZZ=1                        no fuzzing
#   KX_FUZZ_SECONDS=60                    fuzzing time with the window hidden
#                                         (a third of it again with it shown)
set -euo pipefail
cd "$(dirname "$0")/.."
# Cheap, so first: a change that makes the tests too heavy fails at once.
scripts/test-weight.sh
jobs=$(nproc)
run_display() {
  if [ -n "${DISPLAY:-}" ]; then "$@"; else xvfb-run -a -s "-screen 0 1920x1080x24" "$@"; fi
}
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
run_display ctest --test-dir build --output-on-failure -j1
# What a screen reader reads of the reference host's gallery, over AT-SPI.
[ "${KX_SKIP_ATSPI:-0}" = "1" ] || scripts/atspi-check.sh
if [ "${KX_SKIP_WAYLAND:-0}" != "1" ]; then
  # The module on Wayland (qtwayland5): Weston's headless compositor, the
  # reference host's headless runs and the floating window's scenarios of
  # the gallery test. There a client cannot place or move its top-level
  # windows, nor learn where they are.
  wl_dir=$(mktemp -d "${TMPDIR:-/tmp}/kx-wayland.XXXXXX")
  chmod 700 "$wl_dir"
  XDG_RUNTIME_DIR="$wl_dir" weston --backend=headless-backend.so --no-config --socket=kx-wayland --width=1920 --height=1080 \
    --idle-time=0 >"$wl_dir/weston.log" 2>&1 &
  weston_pid=$!
  trap 'kill "$weston_pid" 2>/dev/null || true; rm -rf "$wl_dir"' EXIT
  for _ in $(seq 100); do
    [ -S "$wl_dir/kx-wayland" ] && break
    kill -0 "$weston_pid" 2>/dev/null || break
    sleep 0.1
  done
  [ -S "$wl_dir/kx-wayland" ] || { cat "$wl_dir/weston.log" >&2; echo "weston did not start" >&2; exit 1; }
  wl_run() { env -u DISPLAY XDG_RUNTIME_DIR="$wl_dir" WAYLAND_DISPLAY=kx-wayland QT_QPA_PLATFORM=wayland \
    KX_TEST_ARTIFACTS="$PWD/build/test-artifacts/wayland" QT_LOGGING_RULES=kxscreen.debug=false "$@"; }
  wl_run build/tests/tst_gallery floatingWindow shareTakesTheStage zoomAndPanAShare
  wl_run build/tests/tst_host defaultMeeting scenario
  kill "$weston_pid" 2>/dev/null || true
  wait "$weston_pid" 2>/dev/null || true
  trap - EXIT
  rm -rf "$wl_dir"
fi
if [ "${KX_SKIP_SANITIZE:-0}" != "1" ]; then
  cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKX_SANITIZE=ON -DKX_BUILD_BENCH=OFF -DKX_BUILD_HOST=OFF >/dev/null
  cmake --build build-asan -j"$jobs"
  # Leaks are checked. Mesa unloads its driver before the check runs, which
  # would leave what the driver still holds without a name; kept loaded (and
  # software rendering forced so that it is that driver) its allocations match
  # the third-party suppressions.
  preload=""
  swrast=$(ls /usr/lib/*/dri/swrast_dri.so 2>/dev/null | head -n 1 || true)
  [ -n "$swrast" ] && preload="$swrast"
  # The long chaos run is for the release build; here the short one runs.
  run_display env -u KX_CHAOS_OPS LIBGL_ALWAYS_SOFTWARE=1 LD_PRELOAD="$preload" \
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:verify_asan_link_order=0 \
    LSAN_OPTIONS=suppressions="$PWD/tests/lsan.supp":print_suppressions=0 \
    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan --output-on-failure -j1
fi
if [ "${KX_SKIP_TSAN:-0}" != "1" ]; then
  # Races between host threads and the interface thread: the frame path, the
  # lifecycle, re-entrancy and two-gallery tests, the chaos run, the external
  # screen, the captions and the bad-input sweep (which calls every export,
  # the interface-only ones too, from a host thread). Every report fails the
  # run. Qt and Mesa are not built with the sanitizer: their locks are
  # invisible to it, so the libc calls they make on their own structures are
  # not judged (ignore_noninstrumented_modules); everything the module's and
  # the tests' code touches is, and the module states its hand-offs to the
  # interface thread (module/kxsync.h). tests/tsan.supp holds nothing else.
  cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKX_TSAN=ON -DKX_BUILD_BENCH=OFF -DKX_BUILD_HOST=OFF >/dev/null
  tsan_tests="tst_framepath tst_lifecycle tst_chaos tst_extscreen tst_subtitles tst_badinput"
  # shellcheck disable=SC2086
  cmake --build build-tsan -j"$jobs" --target $tsan_tests
  run_display env -u KX_CHAOS_OPS LIBGL_ALWAYS_SOFTWARE=1 KX_LIFECYCLE_CYCLES=20 \
    TSAN_OPTIONS="ignore_noninstrumented_modules=1:suppressions=$PWD/tests/tsan.supp:second_deadlock_stack=1:history_size=4" \
    ctest --test-dir build-tsan -R "^(${tsan_tests// /|})\$" --output-on-failure -j1
fi
if [ "${KX_SKIP_FUZZ:-0}" != "1" ]; then
  # The fuzz target needs clang's libFuzzer: a build of its own, of that target only.
  cmake -S . -B build-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug -DKX_FUZZ=ON \
    -DKX_SANITIZE=ON -DKX_BUILD_TESTS=OFF -DKX_BUILD_BENCH=OFF -DKX_BUILD_HOST=OFF >/dev/null
  cmake --build build-fuzz -j"$jobs" --target kxfuzz_exports
  mkdir -p build-fuzz/corpus build-fuzz/artifacts
  secs=${KX_FUZZ_SECONDS:-60}
  fuzz() { # hidden(0/1) libFuzzer-arguments...
    local hidden=$1
    shift
    run_display env KX_FUZZ_HIDDEN="$hidden" ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 \
      UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
      build-fuzz/fuzz/kxfuzz_exports -timeout=30 -rss_limit_mb=4096 -print_final_stats=1 \
      -artifact_prefix=build-fuzz/artifacts/ "$@"
  }
  # Every input that once broke the module, then new ones: fast with the
  # window hidden, then with the tiles drawing.
  fuzz 0 -runs=0 fuzz/regressions fuzz/corpus \
    && fuzz 1 -max_total_time="$secs" build-fuzz/corpus fuzz/corpus fuzz/regressions \
    && fuzz 0 -max_total_time=$((secs / 3)) build-fuzz/corpus fuzz/corpus fuzz/regressions \
    || { echo "fuzzing found an input that breaks the module: build-fuzz/artifacts/;" \
              "fix it and keep the input in fuzz/regressions/" >&2; exit 1; }
fi
