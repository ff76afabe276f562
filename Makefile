# Thin wrappers over the CMake presets and scripts/. Each command sets up what it lacks on a fresh Debian machine.
#   make COMMAND [PRESET=i686|i686-asan|armhf|host|host-asan]

PRESET ?= i686
FUZZ_SECONDS ?= 60
SEED ?= 1
BUILD := build/$(PRESET)
SETUP := @scripts/setup $(PRESET)
CONFIGURE := @[ -e $(BUILD)/build.ninja ] || cmake --preset $(PRESET)
COMPILE := @cmake --build --preset $(PRESET)

.PHONY: build demo test torture bench fuzz coverage format lint install clean

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

coverage:
	@scripts/coverage $(PRESET)

format:
	@scripts/setup host lint
	@git ls-files '*.c' '*.cpp' '*.h' | xargs clang-format -i

lint:
	@scripts/setup host lint
	@scripts/lint

install: build
	cmake --install $(BUILD)

clean:
	rm -rf build
