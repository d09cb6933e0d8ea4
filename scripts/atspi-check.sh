#!/usr/bin/env bash
# Reads the reference host's gallery over AT-SPI, as a screen reader does, and
# prints each tile's name and description while scripts/atspi-tree.py drives
# the host through a few steps. Starts Xvfb and a D-Bus session of its own.
#
# Qt connects to the accessibility bus at once only when the X root window
# names it (AT_SPI_BUS, as a desktop session sets it); asked over D-Bus, it
# registers before the connection is made and is never listed. The X server
# therefore runs with -noreset, or it would drop the property as soon as
# xprop disconnects.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" != "--inside" ]; then
  cmake -S . -B build -G Ninja >/dev/null
  cmake --build build --target kxhost KXScreenMod2 >/dev/null
  exec xvfb-run -a -s "-screen 0 1920x1080x24 -noreset" dbus-run-session -- "$0" --inside "$@"
fi
shift
addr=$(dbus-send --session --print-reply=literal --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress | tr -d ' ')
xprop -root -f AT_SPI_BUS 8s -set AT_SPI_BUS "$addr"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_LOGGING_RULES="${QT_LOGGING_RULES:-kxscreen.debug=false}"
# Debian's python3-pyatspi is for the system's interpreter, not one on PATH.
exec /usr/bin/python3 scripts/atspi-tree.py build/host/kxhost --mode 1 "$@"
