# The two commands of the quick start, and the benchmarks. Everything else is CMake.
BUILD ?= build
PRESET ?= default

.PHONY: all demo test bench install clean prereqs configure build

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

# The no-JVM concurrency test under ThreadSanitizer (its own build in build-tsan); any report fails it.
.PHONY: tsan
tsan:
	@tools/prereqs tsan
	@cmake --preset tsan >/dev/null
	@cmake --build build-tsan --target ven_concurrency_tests
	@TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 $(TSAN_OPTIONS)" ctest --test-dir build-tsan -R '^concurrency$$' --output-on-failure

bench: build
	@cmake --build $(BUILD) --target run-bench

clean:
	rm -rf $(BUILD)
