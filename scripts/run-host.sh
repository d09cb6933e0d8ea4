#!/usr/bin/env bash
# Builds the module and the reference host, then runs a simulated meeting in
# which every participant sends real encoded video (the first run encodes the
# clips into build/host/clips, a few seconds). With a display the meeting
# opens in a window (the status line lists the keys). Without one it runs
# under Xvfb for eight seconds, saves the window to kxhost.png and prints a
# summary, with what the gallery's choice of streams saves. Arguments go to
# the host:
#   scripts/run-host.sh --scenario --mode 8        (build/host/kxhost --help lists them all)
#   scripts/run-host.sh --synthetic                painted pictures, no codec
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target kxhost KXScreenMod2
export QT_LOGGING_RULES="${QT_LOGGING_RULES:-kxscreen.debug=false}"
if [ -n "${DISPLAY:-}" ]; then
  exec build/host/kxhost "$@"
fi
exec xvfb-run -a -s "-screen 0 1920x1080x24" build/host/kxhost --screenshot kxhost.png --after 8 "$@"
