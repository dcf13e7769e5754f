# Two commands do everything: `make run` and `make test`. Each installs what
# is missing, configures, builds, then runs.
SANITIZE ?=
BUILD_TYPE ?= RelWithDebInfo
BUILD_DIR ?= build/$(if $(SANITIZE),$(SANITIZE),default)
JOBS ?= $(shell nproc 2>/dev/null || sysctl -n hw.ncpu 2>/dev/null || echo 2)
CMAKE_FLAGS ?=
AGENT_ARGS ?=

.PHONY: all deps configure build run test bench fuzz clean

all: build

deps:
	@sh scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DSONDREL_SANITIZE=$(SANITIZE) $(if $(SANITIZE),-DSONDREL_BUILD_BENCHMARKS=OFF) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@$(BUILD_DIR)/bin/sondrel-agent $(AGENT_ARGS)

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

bench: deps
	@cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DSONDREL_BUILD_TESTS=OFF >/dev/null
	@cmake --build build/bench -j $(JOBS) --target sondrel_bench
	@build/bench/bin/sondrel_bench $(BENCH_ARGS)

FUZZ_SECONDS ?= 30
fuzz: deps
	@CC=clang-14 CXX=clang++-14 cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DSONDREL_BUILD_FUZZERS=ON -DSONDREL_BUILD_TESTS=OFF -DSONDREL_BUILD_BENCHMARKS=OFF >/dev/null
	@cmake --build build/fuzz -j $(JOBS) --target fuzzers
	@sh scripts/run-fuzzers.sh build/fuzz/bin fuzz/seeds $(FUZZ_SECONDS)

clean:
	@rm -rf build
