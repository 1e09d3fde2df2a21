# The two commands of the quick start, and the benchmarks. Everything else is CMake.
BUILD ?= build
PRESET ?= default

.PHONY: all demo test sanitize bench install clean prereqs configure build

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

# The libraries, tests and example under AddressSanitizer and UndefinedBehaviorSanitizer,
# in their own build directory (cmake/Sanitize.cmake); the whole suite runs there.
sanitize:
	@tools/prereqs --sanitize
	@cmake --preset sanitize >/dev/null
	@cmake --build build-sanitize
	@ctest --preset sanitize

bench: build
	@cmake --build $(BUILD) --target run-bench

clean:
	rm -rf $(BUILD)
