# Thin wrappers over the CMake presets and scripts/setup. Each command sets up what it lacks on a fresh Debian machine.
#   make COMMAND [PRESET=i686|i686-asan|armhf|host]

PRESET ?= i686
BUILD := build/$(PRESET)

.PHONY: test build setup install clean

test:
	@scripts/setup $(PRESET) test
	@$(MAKE) --no-print-directory build
	ctest --preset $(PRESET)

build: setup
	@[ -e $(BUILD)/build.ninja ] || cmake --preset $(PRESET)
	@cmake --build --preset $(PRESET)

setup:
	@scripts/setup $(PRESET)

install: build
	cmake --install $(BUILD)

clean:
	rm -rf build
