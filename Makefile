# Thin wrapper over CMake and CTest.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

.PHONY: all deps configure build run test bench format clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DCLIPCAT_WERROR=ON > /dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@$(BUILD_DIR)/clipcat tour

test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

bench: build
	@cmake --build $(BUILD_DIR) --target clipcat_bench -j $(JOBS)
	@$(BUILD_DIR)/bench/clipcat_bench

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR)
