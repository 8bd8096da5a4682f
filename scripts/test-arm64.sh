#!/usr/bin/env bash
# The arm64 build, proven under emulation (make test-arm64): cross-compiles
# the library, the tool and every test with Debian's aarch64 cross compiler
# (cmake/aarch64-linux-gnu.cmake, FFmpeg off) and runs the whole suite,
# kernel checkers included, under qemu-user once per run of the matrix
# below: a SIMD level (DP_SIMD) on an emulated CPU (QEMU_CPU).
#
#   scripts/test-arm64.sh              the whole matrix
#   ARM64_RUNS="sve/max" scripts/...   chosen runs only ("level/cpu ...";
#                                      ARM64_CHECKER_RUNS likewise)
#
# A CPU without SVE must report neon as its best level, one with SVE sve
# (checked by SimdLevelTests); SVE runs at 128, 256, 512 and 2048 bits, so
# code that assumes one vector length shows, and the kernel checkers alone
# run once more at 384 bits (a length that is no power of two). The
# checkers compare every level the emulated CPU has with the reference in
# each run.
set -euo pipefail
cd "$(dirname "$0")/.."

BUILD_DIR=${ARM64_BUILD_DIR:-build-arm64}
JOBS=${JOBS:-$(nproc 2>/dev/null || echo 2)}
# level/cpu: the CPU without SVE at the reference and NEON levels, then SVE
# at four vector lengths (sve-default-vector-length is in bytes).
RUNS=${ARM64_RUNS-"none/max,sve=off neon/max,sve=off sve/max,sve128=on sve/max,sve-default-vector-length=32
                    sve/max sve/max,sve-default-vector-length=256"}
CHECKER_RUNS=${ARM64_CHECKER_RUNS-"sve/max,sve-default-vector-length=48"}

bash scripts/install-deps.sh arm64
start=$(date +%s)
cmake -S . -B "$BUILD_DIR" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake" -DCMAKE_BUILD_TYPE=Release \
      -DDP_WITH_FFMPEG=OFF >/dev/null
cmake --build "$BUILD_DIR" -j "$JOBS"
echo "== arm64 build: $(( $(date +%s) - start )) s"

vector_bits() # the SVE vector length the QEMU_CPU string asks for
{
  case "$1" in
    *sve=off*) echo "no SVE" ;;
    *sve128=on*) echo "SVE 128-bit" ;;
    *sve-default-vector-length=*) echo "SVE $(( ${1##*sve-default-vector-length=} * 8 ))-bit" ;;
    max) echo "SVE 512-bit" ;;
    *) echo "$1" ;;
  esac
}

summary=()
failed=0
for run in $RUNS ${CHECKER_RUNS:+$(printf 'checkers:%s ' $CHECKER_RUNS)}; do
  filter=()
  what=suite
  case "$run" in checkers:*) run=${run#checkers:}; filter=(-R "KernelsCheck|SimdLevelTest"); what=checkers ;; esac
  level=${run%%/*}
  cpu=${run#*/}
  case "$cpu" in *sve=off*|cortex-*|neoverse-*) best=neon ;; *) best=sve ;; esac
  echo "== arm64 $what at DP_SIMD=$level, QEMU_CPU=$cpu ($(vector_bits "$cpu"))"
  t0=$(date +%s)
  rc=0
  out=$(QEMU_CPU=$cpu DP_SIMD=$level DP_EXPECT_SIMD_BEST=$best \
        ctest --test-dir "$BUILD_DIR" --output-on-failure -j "$JOBS" "${filter[@]}" 2>&1) || rc=$?
  secs=$(( $(date +%s) - t0 ))
  result=$(grep -E "tests passed" <<<"$out" || echo "no result")
  if [ $rc -ne 0 ]; then
    echo "$out" | tail -n 60
    failed=1
  fi
  summary+=("$(printf '%-8s %-5s %-38s %-13s %4d s  %s' "$what" "$level" "$cpu" "$(vector_bits "$cpu")" "$secs" "$result")")
done

echo "== arm64 summary (tests, level, emulated CPU, vector length, time, result)"
printf '%s\n' "${summary[@]}"
echo "== arm64 total: $(( $(date +%s) - start )) s"
exit $failed
