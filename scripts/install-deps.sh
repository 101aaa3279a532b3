#!/usr/bin/env bash
# Installs what the build, the tests and the interoperability checks need on a
# Debian machine. Run as root; packages already present are left alone.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  qt6-base-dev qt6-image-formats-plugins libpng-dev
  qt6-multimedia-dev gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
  fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji
  xvfb xauth libxtst6 libglib2.0-bin desktop-file-utils appstream shared-mime-info
  python3 lame python3-mutagen eyed3 ffmpeg id3v2
  gcovr
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
