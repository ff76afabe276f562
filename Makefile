# Thin wrappers over the CMake presets and scripts/. Each command sets up what it lacks on a fresh Debian machine.
#   make COMMAND [PRESET=i686|i686-asan|armhf|host|host-asan]

PRESET ?= i686
FUZZ_SECONDS ?= 60
BUILD := build/$(PRESET)
SETUP := @scripts/setup $(PRESET)
CONFIGURE := @[ -e $(BUILD)/build.ninja ] || cmake --preset $(PRESET)
COMPILE := @cmake --build --preset $(PRESET)

.PHONY: build demo test bench fuzz coverage docs format lint install clean

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

bench:
	$(SETUP) bench
	$(CONFIGURE)
	$(COMPILE) --target bench
	@scripts/bench $(BUILD)

fuzz:
	@scripts/fuzz $(PRESET) $(FUZZ_SECONDS)

coverage:
	@scripts/coverage $(PRESET)

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
	cmake --install $(BUILD)

clean:
	rm -rf build
