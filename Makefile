# The two commands of the quick start, and the benchmarks. Everything else is CMake.
BUILD ?= build
PRESET ?= default

.PHONY: all demo test docs tsan sanitize test-arm64 fuzz bench install clean prereqs configure build
FUZZ_SECONDS ?= 60

all: build

prereqs:
	@tools/prereqs

# Ninja on as many jobs as the machine has cores, not its default of two more.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

# Configured once: afterwards the build itself re-runs CMake when a CMakeLists.txt changes, so a
# repeated `make` with nothing changed rebuilds nothing.
configure: $(BUILD)/CMakeCache.txt
$(BUILD)/CMakeCache.txt:
	@tools/prereqs
	@cmake --preset $(PRESET) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

# Only the libraries, the module, its Java classes and the embedding example: no test suite
# and no benchmark is built first.
demo: configure
	@cmake --build $(BUILD) -j $(JOBS) --target run-demo

test: build
	@ctest --test-dir $(BUILD) --output-on-failure

# The concurrency test (no JVM) and the threads suite (every JDK) under ThreadSanitizer, in their
# own build (build-tsan); any report fails them.
tsan:
	@tools/prereqs --tsan
	@cmake --preset tsan >/dev/null
	@cmake --build build-tsan --target ven_concurrency_tests ven_threads_tests
	@TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$(CURDIR)/tests/threads/tsan.supp $(TSAN_OPTIONS)" \
	  ctest --test-dir build-tsan -R '^(concurrency|threads\..*)$$' --output-on-failure

# The libraries, tests and example under AddressSanitizer and UndefinedBehaviorSanitizer,
# in their own build directory (cmake/Sanitize.cmake); the whole suite runs there.
sanitize:
	@tools/prereqs --sanitize
	@cmake --preset sanitize >/dev/null
	@cmake --build build-sanitize
	@ctest --preset sanitize

# Cross-built for 64-bit ARM and run under qemu-aarch64 (build-arm64/).
test-arm64:
	@tools/test-arm64

# libFuzzer targets with the address and undefined sanitizers, FUZZ_SECONDS each.
fuzz:
	@fuzz/prereqs
	@cmake --preset fuzz >/dev/null
	@cmake --build build-fuzz --target fuzz-targets
	@fuzz/run build-fuzz $(FUZZ_SECONDS)

# The HTML reference of the public headers in $(BUILD)/docs/html; any doxygen warning (an
# exported function without its doc comment among them) fails it.
docs:
	@tools/prereqs --docs
	@mkdir -p $(BUILD)/docs
	@VEN_DOCS_OUT=$(BUILD)/docs doxygen docs/Doxyfile
	@echo "docs: $(BUILD)/docs/html/index.html"

bench: configure
	@cmake --build $(BUILD) -j $(JOBS) --target run-bench

clean:
	rm -rf $(BUILD)
