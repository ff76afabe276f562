# Thin wrappers over the CMake presets and scripts/setup. Each command sets up what it lacks on a fresh Debian machine.
#   make COMMAND [PRESET=i686|i686-asan|armhf|host]

PRESET ?= i686
FUZZ_SECONDS ?= 60
BUILD := build/$(PRESET)

.PHONY: demo test build setup bench fuzz coverage format lint install clean

demo: build
	@scripts/demo $(BUILD)

test:
	@scripts/setup $(PRESET) test
	@$(MAKE) --no-print-directory build
	ctest --preset $(PRESET)

build: setup
	@[ -e $(BUILD)/build.ninja ] || cmake --preset $(PRESET)
	@cmake --build --preset $(PRESET)

setup:
	@scripts/setup $(PRESET)

bench:
	@scripts/setup $(PRESET) bench
	@$(MAKE) --no-print-directory build
	@cmake --build --preset $(PRESET) --target bench
	@scripts/bench $(BUILD)

fuzz:
	@scripts/setup i686 fuzz
	@scripts/fuzz $(FUZZ_SECONDS)

coverage:
	@scripts/setup host coverage
	@scripts/coverage

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
