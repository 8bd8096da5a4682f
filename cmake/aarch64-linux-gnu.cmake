# Cross build for 64-bit Arm Linux with Debian's cross compiler and the arm64
# packages of Debian's multiarch (scripts/install-deps.sh arm64):
#
#   cmake -S . -B build-arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake -DDP_WITH_FFMPEG=OFF
#
# The programs and tests run under qemu-user (ctest and test discovery call
# them through the emulator); QEMU_CPU picks the emulated CPU, e.g.
# QEMU_CPU=max,sve=off (NEON only) or QEMU_CPU=max,sve-default-vector-length=32.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Headers are shared between the architectures in /usr/include; libraries,
# CMake package files and pkg-config files live in the multiarch directory.
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

find_program(DP_QEMU_AARCH64 NAMES qemu-aarch64-static qemu-aarch64)
if(DP_QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${DP_QEMU_AARCH64})
endif()
