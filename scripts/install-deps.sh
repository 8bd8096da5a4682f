#!/usr/bin/env bash
# Installs the Debian packages the build needs, but only those that are
# missing. Quiet; safe to run again.
#
#   scripts/install-deps.sh            build, tests, tool and demo
#   scripts/install-deps.sh bench      + the peer libraries (and the sox program) the benchmark compares with
#   scripts/install-deps.sh fuzz       + clang and libFuzzer for the fuzz targets
#   scripts/install-deps.sh probe      + the ffmpeg and ffprobe programs and numpy: the media battery
#                                        (tests/Battery) makes its clips and measures the outputs with them
#   scripts/install-deps.sh arm64      + the arm64 cross compiler, arm64 Highway/GoogleTest/libjpeg
#                                        (Debian multiarch) and qemu-user to run the result
#
# The library itself needs only the C and C++ runtimes; Highway (SIMD
# kernels) and libsoxr (the audio stages' high-quality resampler) are
# optional and used when found. FFmpeg's libraries serve the
# host-side decoders and encoders of the tool, never the library.
set -euo pipefail

packages=(cmake make g++ pkg-config libgtest-dev libgmock-dev libcli11-dev libjpeg62-turbo-dev libturbojpeg0-dev
          python3-dev python3-numpy python3-pytest python3-setuptools pybind11-dev
          libhwy-dev libsoxr-dev libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libswresample-dev)
# The batch layer (python3 -m dataprocess.batch): Dask, and the ffmpeg program that joins segments.
packages+=(python3-dask python3-distributed ffmpeg)
for group in "$@"; do
  case "$group" in
    bench) packages+=(libbenchmark-dev libyuv-dev libswscale-dev libswresample-dev libturbojpeg0-dev sox ffmpeg python3-av) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    probe) packages+=(ffmpeg python3-numpy) ;;
    arm64) packages+=(g++-aarch64-linux-gnu qemu-user-static libhwy-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64
                      libjpeg62-turbo-dev:arm64)
           need_arm64=1 ;;
    *) echo "install-deps.sh: unknown group '$group' (bench, fuzz, probe, arm64)" >&2; exit 2 ;;
  esac
done

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
if [ -n "${need_arm64:-}" ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  echo "Adding the arm64 architecture to dpkg (multiarch)" >&2
  $SUDO dpkg --add-architecture arm64
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "Installing: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq >/dev/null || echo "warning: apt-get update failed; trying the install anyway" >&2
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
