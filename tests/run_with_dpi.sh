#!/bin/sh
# Gives the private X server of one test a DPI of 120, then runs the test.
set -e
echo "Xft.dpi: 120" | xrdb -nocpp -merge
exec "$@"
