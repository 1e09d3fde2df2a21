# The two commands of the quick start, and the benchmarks. Everything else is CMake.
BUILD ?= build
PRESET ?= default

.PHONY: all demo test bench install clean prereqs configure build
.PHONY: fuzz
FUZZ_SECONDS ?= 60

all: build

prereqs:
	@tools/prereqs

configure: prereqs
	@cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build $(BUILD)

demo: build
	@cmake --build $(BUILD) --target run-demo

test: build
	@ctest --test-dir $(BUILD) --output-on-failure

# libFuzzer targets with the address and undefined sanitizers, FUZZ_SECONDS each.
fuzz:
	@fuzz/prereqs
	@cmake --preset fuzz >/dev/null
	@cmake --build build-fuzz --target fuzz-targets
	@fuzz/run build-fuzz $(FUZZ_SECONDS)

bench: build
	@cmake --build $(BUILD) --target run-bench

clean:
	rm -rf $(BUILD)
