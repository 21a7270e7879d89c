# Thin wrapper over CMake and CTest.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

SANITIZE_DIR ?= build-sanitize
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
COVERAGE_DIR ?= build-coverage

.PHONY: all deps configure build run test test-quick test-sanitize fuzz coverage bench format clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DCLIPCAT_WERROR=ON > /dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

run: build
	@$(BUILD_DIR)/clipcat tour

# Every test, the long runs (label "long") included.
test: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

# Every test but the long runs: a developer's quick round.
test-quick: build
	@cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS) -LE long

# The whole suite once more under AddressSanitizer and UndefinedBehaviorSanitizer.
test-sanitize: deps
	@cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DCLIPCAT_WERROR=ON -DCLIPCAT_SANITIZE=ON > /dev/null
	@cmake --build $(SANITIZE_DIR) -j $(JOBS)
	@cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS) -LE long

# Every libFuzzer target (clang, ASan+UBSan) for FUZZ_SECONDS each from its seed corpus.
fuzz: deps
	@cmake -S . -B $(FUZZ_DIR) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCLIPCAT_WERROR=ON -DCLIPCAT_FUZZ=ON > /dev/null
	@cmake --build $(FUZZ_DIR) --target clipcat_fuzzers -j $(JOBS)
	@scripts/run-fuzzers $(FUZZ_DIR) $(FUZZ_SECONDS)

# Branch coverage of the store, the services and the library layer (clang, in COVERAGE_DIR).
coverage: deps
	@scripts/coverage $(COVERAGE_DIR) $(JOBS)

bench: build
	@cmake --build $(BUILD_DIR) --target clipcat_bench -j $(JOBS)
	@$(BUILD_DIR)/bench/clipcat_bench

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(FUZZ_DIR) $(COVERAGE_DIR)
