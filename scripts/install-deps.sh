#!/usr/bin/env bash
# Installs what building, running and testing the module needs on Debian 12.
set -euo pipefail
# The reference host decodes its participants' video with FFmpeg's libraries
# and makes the clips with the ffmpeg program; the module itself needs neither.
# libyuv converts video for tiles that draw without OpenGL. The Wayland smoke
# stage runs under Weston with Qt's Wayland platform.
pkgs=(cmake ninja-build g++ clang libclang-rt-14-dev
      qtbase5-dev libqt5svg5-dev qttools5-dev qttools5-dev-tools libqt5opengl5-dev libyuv-dev
      libgl1-mesa-dri libglx-mesa0 mesa-utils xvfb xauth x11-xserver-utils fonts-dejavu-core
      pkg-config libavformat-dev libavcodec-dev libavutil-dev ffmpeg
      weston qtwayland5 x11-utils dbus-daemon dbus-bin at-spi2-core python3-pyatspi)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
