# Convenience wrapper around CMake. `make test` sets up, builds and runs every
# test; `make demo` builds the tool and runs its demo.
BUILD_DIR ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all deps configure build test test-levels test-arm64 demo asan tsan fuzz bench bench-batch clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	@ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

# The whole suite once per SIMD level: the reference kernels, then each
# level of the vector twins this CPU has (outputs must not change).
test-levels: build
	@for level in none sse4 avx2 avx512 neon sve; do \
	  if [ "$$(DP_SIMD=$$level $(BUILD_DIR)/Tools/dataprocess/dataprocess --version | sed 's/.*kernels: \(.*\))/\1/')" = "$$level" ]; then \
	    echo "== tests at SIMD level $$level"; \
	    DP_SIMD=$$level ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS) || exit 1; \
	  fi; \
	done

# The arm64 cross build under qemu-user: the whole suite at the reference,
# NEON and SVE levels, SVE at 128 to 2048 bits (scripts/test-arm64.sh).
test-arm64:
	@JOBS=$(JOBS) bash scripts/test-arm64.sh

demo: build
	@$(BUILD_DIR)/Tools/dataprocess/dataprocess demo --out out

# The sanitizer build CI runs: AddressSanitizer + UndefinedBehaviorSanitizer.
asan: deps
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDP_SANITIZE=ON -DDP_BUILD_TOOLS=ON >/dev/null
	@cmake --build build-asan -j $(JOBS)
	@ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir build-asan --output-on-failure -j $(JOBS)

# The thread sanitizer over the whole suite (the concurrency tests and the
# stage stress test among it); built without FFmpeg and libsoxr, which also
# proves the library's build that needs only the C and C++ runtimes.
tsan: deps
	@cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDP_SANITIZE_THREAD=ON -DDP_BUILD_TOOLS=OFF -DDP_BUILD_EXAMPLES=OFF -DDP_WITH_FFMPEG=OFF -DDP_WITH_SOXR=OFF >/dev/null
	@cmake --build build-tsan -j $(JOBS)
	@TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" ctest --test-dir build-tsan --output-on-failure -j $(JOBS) -E "DeathTest|InstalledPackage|ExportedSymbols"

# libFuzzer over every door for FUZZ_SECONDS seconds each (clang); new
# inputs collect in build-fuzz/corpus, the seeds stay in tests/fuzz/corpus.
# FUZZ_RUNS=N instead runs N inputs a target from a fixed seed (the same
# inputs every time: what CI uses).
FUZZ_SECONDS ?= 60
FUZZ_RUNS ?=
FUZZ_LIMIT = $(if $(FUZZ_RUNS),-runs=$(FUZZ_RUNS) -seed=1,-max_total_time=$(FUZZ_SECONDS))
FUZZ_TARGETS = Y4mReaderFuzz WavReaderFuzz Bmp2JpegFuzz WatermarkFuzz AudioStagesFuzz VideoGeometryFuzz HostFfmpegFuzz
fuzz:
	@bash scripts/install-deps.sh fuzz
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDP_FUZZ=ON -DDP_BUILD_TOOLS=OFF -DDP_BUILD_EXAMPLES=OFF >/dev/null
	@cmake --build build-fuzz -j $(JOBS) --target $(FUZZ_TARGETS)
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p build-fuzz/corpus/$$t; \
	  echo "== fuzzing $$t ($(FUZZ_LIMIT))"; \
	  (cd build-fuzz && tests/fuzz/$$t $(FUZZ_LIMIT) -rss_limit_mb=3000 -print_final_stats=1 \
	     corpus/$$t ../tests/fuzz/corpus/$$t > $$t.log 2>&1); rc=$$?; \
	  grep -E "stat::number_of_executed_units|stat::peak_rss_mb|^#[0-9]+.*(DONE|cov:)" build-fuzz/$$t.log | tail -n 3; \
	  if [ $$rc -ne 0 ]; then tail -n 40 build-fuzz/$$t.log; exit 1; fi; \
	done

# The peer benchmark: this library against libyuv, swscale, swresample and
# TurboJPEG in one process (BENCH_ARGS, e.g. "--level all" or "--filter JPEG"),
# then the job cases: the tool against the ffmpeg program (JOB_ARGS, e.g.
# "--seconds 5 --runs 1"; JOB_ARGS=skip leaves them out), and the Python
# package against PyAV.
JOB_ARGS ?=
bench:
	@bash scripts/install-deps.sh bench
	@cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DDP_BUILD_BENCHMARKS=ON -DDP_BUILD_TESTS=OFF >/dev/null
	@cmake --build build-bench -j $(JOBS) --target PeerBenchmark dataprocess _dataprocess
	@build-bench/benchmarks/PeerBenchmark $(BENCH_ARGS)
	@if [ "$(JOB_ARGS)" != skip ]; then /usr/bin/python3 benchmarks/jobs.py build-bench/Tools/dataprocess/dataprocess $(JOB_ARGS); fi
	@PYTHONPATH=build-bench/python /usr/bin/python3 benchmarks/python/pyav_bench.py --dir build-bench

# The batch layer: Dask workers against one process (8 files, one long file in segments).
bench-batch: build
	@DP_TOOL=$(BUILD_DIR)/Tools/dataprocess/dataprocess PYTHONPATH=$(BUILD_DIR)/python /usr/bin/python3 benchmarks/batch_bench.py $(BENCH_ARGS)

clean:
	@rm -rf $(BUILD_DIR) build-asan build-tsan build-fuzz build-bench build-arm64
