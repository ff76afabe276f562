# Thin wrappers over the CMake presets and scripts/. Each command sets up what it lacks on a fresh Debian machine.
#   make COMMAND [PRESET=i686|i686-asan|armhf|host|host-asan]
#   make install [PREFIX=/usr/local] [DESTDIR=] [STRIP=1]

PRESET ?= i686
FUZZ_SECONDS ?= 60
SEED ?= 1
SOAK_SECONDS ?= 300
BUILD := build/$(PRESET)
SETUP := @scripts/setup $(PRESET)
CONFIGURE := @[ -e $(BUILD)/build.ninja ] || cmake --preset $(PRESET)
COMPILE := @cmake --build --preset $(PRESET)

.PHONY: build demo test torture bench fuzz soak coverage mutants abi dist docs packages format lint install clean

build:
	$(SETUP)
	$(CONFIGURE)
	$(COMPILE)

demo:
	$(SETUP)
	$(CONFIGURE)
	$(COMPILE) --target ssib
	@scripts/demo $(BUILD)

test:
	$(SETUP) test
	$(CONFIGURE)
	$(COMPILE)
	@ctest --preset $(PRESET)

torture:
	$(SETUP) test
	$(CONFIGURE)
	$(COMPILE) --target ssib_faulty torture_checker
	@scripts/torture $(PRESET) --seed $(SEED)

bench:
	$(SETUP) bench
	$(CONFIGURE)
	$(COMPILE) --target bench
	@scripts/bench $(BUILD)

fuzz:
	@scripts/fuzz $(PRESET) $(FUZZ_SECONDS)

soak:
	$(SETUP) test
	$(CONFIGURE)
	$(COMPILE) --target ssib soak_producer
	@scripts/soak $(BUILD) $(SOAK_SECONDS) $(SEED)

coverage:
	@scripts/coverage $(PRESET)

mutants:
	@scripts/setup host test
	@[ -e build/host/build.ninja ] || cmake --preset host
	@cmake --build --preset host --target queue_tests text_tests platform_tests platform_calls platform_check
	@scripts/mutants

abi:
	@scripts/setup i686 abi
	@scripts/setup armhf abi
	@for preset in i686 armhf; do \
	  { [ -e build/$$preset/build.ninja ] || cmake --preset $$preset; } && \
	  cmake --build --preset $$preset --target VyxSSIBBackend VyxHostPlatform || exit; \
	done
	@scripts/abi

dist:
	@scripts/setup host dist
	@scripts/dist

packages:
	@scripts/setup host test packages
	@scripts/packages

docs:
	@scripts/setup host docs
	@scripts/docs

format:
	@scripts/setup host lint
	@git ls-files '*.c' '*.cpp' '*.h' | xargs clang-format -i

lint:
	@scripts/setup host lint
	@scripts/lint

install: build
	@cmake --install $(BUILD) $(if $(PREFIX),--prefix $(PREFIX)) $(if $(STRIP),--strip)

clean:
	rm -rf build
