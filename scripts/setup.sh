#!/usr/bin/env bash
# Installs every Debian package the build, the application and the test suite need.
# Idempotent: does nothing when all are present, so `make run` and `make test` can call it every time.
set -euo pipefail

packages=(
  build-essential cmake pkg-config ccache
  juce-modules-source librubberband-dev
  libflac-dev libvorbis-dev libmpg123-dev lame libogg-dev libasound2-dev libjack-jackd2-dev libcurl4-gnutls-dev
  libfreetype-dev libpng-dev libjpeg62-turbo-dev
  libx11-dev libxrandr-dev libxinerama-dev libxext-dev libxcursor-dev libxrender-dev libxcomposite-dev
  fonts-dejavu-core fontconfig-config
  libgtest-dev libgmock-dev libbenchmark-dev libebur128-dev sox
  clang libclang-rt-14-dev clang-format-14
  jackd2 xvfb xauth x11-utils xdotool python3 iproute2
  librsvg2-bin desktop-file-utils appstream dpkg-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
# jackd2 asks whether to enable realtime scheduling; answer it up front so the install never waits.
echo "jackd2 jackd/tweak_rt_limits boolean false" | $sudo debconf-set-selections
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
