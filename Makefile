# Brevant: two commands do all set-up on a fresh Debian machine.
#   make demo   installs what is missing, builds, walks through the brevant command
#               and the example programs on the virtual bench (no hardware needed)
#   make test   installs, builds, runs every test, then all of them again under
#               AddressSanitizer + UndefinedBehaviorSanitizer
# Also: make bench (benchmarks), make fuzz (libFuzzer, clang), make format,
#       make windows (Brevant.dll cross-built for 64- and 32-bit Windows, tested
#       under Wine),
#       make deb (Debian packages), make install-check (installs them and builds
#       against them).

PACKAGES := cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev libftdi1-dev libusb-1.0-0-dev umockdev libumockdev-dev \
  qt6-base-dev libxcb1-dev fonts-dejavu-core python3-pytest python3-setuptools python3-wheel \
  python3-venv help2man bash-completion flashrom openocd sigrok-cli
BUILD := build
ASAN_BUILD := build-asan
JOBS := $(shell nproc 2>/dev/null || echo 2)

.PHONY: demo test bench fuzz packages build asan format windows windows-packages windows-test \
  deb install-check

packages:
	@tools/setup/install-packages $(PACKAGES)

$(BUILD)/build.ninja: | packages
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBREVANT_WERROR=ON

$(ASAN_BUILD)/build.ninja: | packages
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DBREVANT_SANITIZE=ON -DBREVANT_WERROR=ON \
	  -DBREVANT_BENCHMARKS=OFF

build: packages $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

asan: packages $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# The walk-through: each step prints its command line, then runs it on the
# default bench as read from its bench file.
CLI := $(BUILD)/brevant --bench benches/default.json
define step
	@printf '\n== %s\n   $$ brevant %s\n' $(1) '$(2)'
	@$(CLI) $(2)
endef

demo: build
	$(call step,"The devices of the virtual bench and the modules they form",list)
	$(call step,"Pins by name; GPIOH1 follows GPIOH0 through a wire loop",gpio -d 2 GPIOH0=0 GPIOL0=1 --read)
	$(call step,"The SPI flash on device 0",spi -d 0 jedec)
	$(call step,"Writing a file into it: erase where needed then program and verify",spi -d 0 write 0x1000 README.md)
	@mkdir -p $(BUILD)/demo-state
	$(call step,"With --state the board keeps its flash between runs",--state $(BUILD)/demo-state spi -d 0 write 0x1000 README.md)
	$(call step,"so a later run finds what an earlier one wrote",--state $(BUILD)/demo-state spi -d 0 verify 0x1000 README.md)
	@printf '\n== %s\n   $$ brevant %s\n' "A 32 MiB flash: 4-byte addresses above 16 MiB" \
	  '--bench benches/large-flash.json spi -d 0 jedec'
	@$(BUILD)/brevant --bench benches/large-flash.json spi -d 0 jedec
	$(call step,"The JTAG chain on device 1 (TAP 0 is nearest TDO)",jtag -d 1)
	$(call step,"The I2C bus on device 4: who answers",i2c -d 4 scan)
	$(call step,"Its temperature sensor's register 0: 0x1780 is 23.5 degrees",i2c -d 4 -f 400e3 read 0x48 0 2)
	$(call step,"Every driver call of a command with --trace",--trace gpio -d 2 --read)
	$(call step,"A failure: device 5 is no MPSSE channel (exit status 1)",spi -d 5 jedec || true)
	@for e in $(BUILD)/example-*; do [ -x "$$e" ] || continue; \
	  printf '\n== The example program %s (examples/%s.cpp)\n' "$${e##*/}" "$${e##*/example-}"; BREVANT_DRIVER=virtual "$$e"; done

test: build asan
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure --no-tests=error
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 BREVANT_SWEEP_STRIDE=7 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
	  ctest --test-dir $(ASAN_BUILD) -j $(JOBS) --output-on-failure --no-tests=error
	@if command -v $(MINGW_CXX) >/dev/null && command -v $(MINGW32_CXX) >/dev/null && [ -x $(WINE) ]; then \
	  $(MAKE) --no-print-directory windows-test; \
	  else echo "Windows tests skipped: 'make windows' installs the cross compilers and Wine"; fi

bench: build
	@for b in $(BUILD)/bench/*_bench; do $$b --benchmark_min_time=0.2; done

# libFuzzer targets in a clang build of their own; each runs for FUZZ_TIME seconds.
FUZZ_BUILD := build-fuzz
FUZZ_TIME := 20
fuzz: packages
	@tools/setup/install-packages clang libclang-rt-14-dev
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DBREVANT_FUZZ=ON -DBREVANT_WERROR=ON -DBREVANT_TESTS=OFF -DBREVANT_BENCHMARKS=OFF -DBREVANT_QT=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target benchfile_fuzz invoke_fuzz mpsse_engine_fuzz
	@for f in $(FUZZ_BUILD)/fuzz/*_fuzz; do echo "== $$f"; \
	  $$f -max_total_time=$(FUZZ_TIME) -max_len=256 -print_final_stats=1 \
	    -artifact_prefix=$(FUZZ_BUILD)/ > $$f.log 2>&1 || \
	    { tail -40 $$f.log; exit 1; }; \
	  grep -E 'stat::(number_of_executed_units|average_exec_per_sec)' $$f.log; done

# The Windows build: Brevant.dll (a COM in-process server) and a virtual
# FTD2XX.DLL, cross-built with mingw-w64 and tested under Wine with VBScript
# and compiled clients. Optional: `make test` runs it when the tools are there.
# A 32-bit Brevant.dll is built beside it (only the DLL: a 32-bit Wine cannot
# be installed beside wine64 on Debian); the 64-bit build's Win32* tests check
# it without running it, and its own Wine tests run where a 32-bit Wine is.
WINDOWS_BUILD := build-windows
WINDOWS32_BUILD := build-windows-i686
WINDOWS_PACKAGES := g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools \
  wine64-tools wine64 xvfb
MINGW_CXX := x86_64-w64-mingw32-g++-posix
MINGW32_CXX := i686-w64-mingw32-g++-posix
WINE := /usr/lib/wine/wine64
WINE32 := /usr/lib/wine/wine

windows-packages:
	@tools/setup/install-packages $(WINDOWS_PACKAGES)

$(WINDOWS_BUILD)/build.ninja:
	cmake -S . -B $(WINDOWS_BUILD) -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake \
	  -DCMAKE_BUILD_TYPE=Release -DBREVANT_WERROR=ON \
	  -DBREVANT_WIN32_DLL=$(CURDIR)/$(WINDOWS32_BUILD)/Brevant.dll

$(WINDOWS32_BUILD)/build.ninja:
	cmake -S . -B $(WINDOWS32_BUILD) -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-i686.cmake \
	  -DCMAKE_BUILD_TYPE=Release -DBREVANT_WERROR=ON

windows-test: $(WINDOWS_BUILD)/build.ninja $(WINDOWS32_BUILD)/build.ninja
	cmake --build $(WINDOWS32_BUILD) -j $(JOBS) --target Brevant
	cmake --build $(WINDOWS_BUILD) -j $(JOBS)
	ctest --test-dir $(WINDOWS_BUILD) -j $(JOBS) --output-on-failure --no-tests=error
	@if [ -x $(WINE32) ]; then \
	  cmake --build $(WINDOWS32_BUILD) -j $(JOBS) && \
	  ctest --test-dir $(WINDOWS32_BUILD) -j $(JOBS) --output-on-failure --no-tests=error; \
	else echo "32-bit Windows tests skipped: no 32-bit Wine ($(WINE32)); the Win32* tests above checked $(WINDOWS32_BUILD)/Brevant.dll without running it"; fi

windows: packages windows-packages
	@$(MAKE) --no-print-directory windows-test

# The Debian packages, built with CPack in a build of their own under /usr:
# a Release build (-O3), with Debian's hardening flags, and no warning allowed.
DEB_BUILD := build-deb
DEB_PACKAGES := dpkg-dev file lintian
deb: packages
	@tools/setup/install-packages $(DEB_PACKAGES)
	@export SOURCE_DATE_EPOCH=$${SOURCE_DATE_EPOCH:-$$(git log -1 --format=%ct 2>/dev/null || date +%s)} \
	  CXXFLAGS="$$(dpkg-buildflags --get CXXFLAGS) $$(dpkg-buildflags --get CPPFLAGS)" \
	  CFLAGS="$$(dpkg-buildflags --get CFLAGS) $$(dpkg-buildflags --get CPPFLAGS)" \
	  LDFLAGS="$$(dpkg-buildflags --get LDFLAGS)" && \
	cmake -S . -B $(DEB_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Release -DBREVANT_WERROR=ON \
	  -DCMAKE_INSTALL_PREFIX=/usr -DBREVANT_TESTS=OFF \
	  -DBREVANT_BENCHMARKS=OFF -DBREVANT_DEBIAN_DOCS=ON -DBREVANT_UDEV_RULES_DIR=/lib/udev/rules.d && \
	cmake --build $(DEB_BUILD) -j $(JOBS)
	rm -f $(DEB_BUILD)/*.deb
	cd $(DEB_BUILD) && cpack

# Installs the packages and builds the README's first program against them, and
# against a `cmake --install` of the normal build; lintian on each package.
install-check: build
	@tools/setup/install-packages udev
	tests/install/check.sh

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')
