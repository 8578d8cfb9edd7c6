# Brevant: two commands do all set-up on a fresh Debian machine.
#   make demo   installs what is missing, builds, runs the demonstration on the
#               built-in virtual bench (no hardware needed)
#   make test   installs, builds, runs every test, then all of them again under
#               AddressSanitizer + UndefinedBehaviorSanitizer
# Also: make bench (benchmarks), make format.

PACKAGES := cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev python3-pytest python3-setuptools
BUILD := build
ASAN_BUILD := build-asan
JOBS := $(shell nproc 2>/dev/null || echo 2)

.PHONY: demo test bench packages build asan format

packages:
	@tools/setup/install-packages $(PACKAGES)

$(BUILD)/build.ninja: | packages
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(ASAN_BUILD)/build.ninja: | packages
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBREVANT_SANITIZE=ON \
	  -DBREVANT_BENCHMARKS=OFF

build: packages $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

asan: packages $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)

demo: build
	@$(BUILD)/brevant-demo
	@echo "== brevant list (the default bench, read from benches/default.json)"
	@$(BUILD)/brevant --driver virtual:benches/default.json list
	@for e in $(BUILD)/example-*; do [ -x "$$e" ] || continue; echo "== $${e##*/}"; "$$e"; done

test: build asan
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure --no-tests=error
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --test-dir $(ASAN_BUILD) -j $(JOBS) --output-on-failure --no-tests=error

bench: build
	@for b in $(BUILD)/bench/*_bench; do $$b --benchmark_min_time=0.2; done

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')
