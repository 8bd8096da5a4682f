# Convenience wrapper around CMake. `make test` sets up, builds and runs every
# test; `make demo` builds the tool and runs its demo.
BUILD_DIR ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all deps configure build test test-levels demo asan bench clean

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

demo: build
	@$(BUILD_DIR)/Tools/dataprocess/dataprocess demo --out out

# The sanitizer build CI runs: AddressSanitizer + UndefinedBehaviorSanitizer.
asan: deps
	@cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DDP_SANITIZE=ON -DDP_BUILD_TOOLS=ON >/dev/null
	@cmake --build build-asan -j $(JOBS)
	@ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest --test-dir build-asan --output-on-failure -j $(JOBS)

# The peer benchmark: this library against libyuv, swscale, swresample and
# TurboJPEG in one process (BENCH_ARGS, e.g. "--level all" or "--filter JPEG").
bench:
	@bash scripts/install-deps.sh bench
	@cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DDP_BUILD_BENCHMARKS=ON -DDP_BUILD_TESTS=OFF >/dev/null
	@cmake --build build-bench -j $(JOBS) --target PeerBenchmark
	@build-bench/benchmarks/PeerBenchmark $(BENCH_ARGS)

clean:
	@rm -rf $(BUILD_DIR) build-asan build-bench
