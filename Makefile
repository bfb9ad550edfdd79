# make run        build and open the editor
# make demo       synthesize the default document to out/default.wav
# make test       build and run every test
# make test-asan  the same under AddressSanitizer + UndefinedBehaviorSanitizer
# make package    build the Debian package build/vandrel_<version>_<arch>.deb
# make bench      build and run the benchmarks
# make bless      re-bless the golden synthesis outputs under tests/data/golden
# make fuzz       run each fuzz target FUZZ_SECONDS (60) under libFuzzer + ASan + UBSan

BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_SECONDS ?= 60
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
# A compiler cache, when the machine has one, makes rebuilds of other checkouts cheap.
LAUNCHER   := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: all deps build run demo test test-asan package bench bless clean format fuzz

all: build

deps:
	@scripts/install-deps

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo $(LAUNCHER) $(CMAKE_ARGS)

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

run: build
	$(BUILD)/src/ui/vandrel

demo: build
	@mkdir -p out
	$(BUILD)/src/cli/vandrel-cli synth --default -o out/default.wav

test: build
	scripts/run-tests $(BUILD)

$(ASAN_BUILD)/build.ninja: | deps
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVANDREL_SANITIZE=ON \
	  -DVANDREL_BUILD_BENCH=OFF $(LAUNCHER) $(CMAKE_ARGS)

package: build
	cmake --build $(BUILD) --target package

test-asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	scripts/run-tests $(ASAN_BUILD)

bench: build
	@for b in $(BUILD)/bench/*_bench; do echo "== $$b"; $$b --benchmark_min_time=0.5; done

bless: build
	VANDREL_BLESS=1 $(BUILD)/tests/core_golden_test

fuzz: deps
	scripts/run-fuzz $(FUZZ_SECONDS)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-fuzz out
