#!/bin/sh
# Runs one test program with Qt's accessibility bridge on, as under a screen
# reader: a session bus of its own with the accessibility bus started on it
# (Qt only connects to one that is running), and the bridge told to stay on.
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
exec dbus-run-session -- sh -c \
  'dbus-send --session --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null && exec "$@"' sh "$@"
