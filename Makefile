# The two commands of the quick start, and the benchmarks. Everything else is CMake.
BUILD ?= build
PRESET ?= default

.PHONY: all demo test bench install clean prereqs configure build
.PHONY: test-arm64

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

# Cross-built for 64-bit ARM and run under qemu-aarch64 (build-arm64/).
test-arm64:
	@tools/test-arm64

bench: build
	@cmake --build $(BUILD) --target run-bench

clean:
	rm -rf $(BUILD)
