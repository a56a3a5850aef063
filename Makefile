# The front of the build. Every target that needs packages has them installed first.
BUILD ?= build
TYPE  ?= RelWithDebInfo
JOBS  ?= $(shell nproc)
CMAKE_FLAGS ?=
LISTEN ?= 127.0.0.1:9543

.PHONY: all setup configure build demo run test bench package package-test setup-package setup-bench format \
  format-check lint sanitize sanitize-thread storm storm-sanitize clean

all: build

setup:
	@scripts/setup.sh

setup-package setup-bench: setup-%:
	@scripts/setup.sh $*

configure: setup
	@cmake -G Ninja -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(TYPE) $(CMAKE_FLAGS) >$(BUILD).log 2>&1 || \
	  { cat $(BUILD).log; rm -f $(BUILD).log; exit 1; }
	@rm -f $(BUILD).log

build: configure
	@ninja -C $(BUILD) -j $(JOBS)

demo: configure  ## a controller against the agent, played to the end
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc demo
	@$(BUILD)/cli/demo/demo $(BUILD)/agent/VelmSdkRpc

run: configure  ## the agent, until it is interrupted
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc
	@$(BUILD)/agent/VelmSdkRpc --listen $(LISTEN)

test: setup-package setup-bench build  ## everything built, every test run
	@ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

bench: setup-bench configure  ## every benchmark beside its floor; the report is bench/report.md
	@ninja -C $(BUILD) -j $(JOBS) --quiet benchmarks
	@bench/run $(BUILD)

package: setup-package configure  ## the Debian package, in $(BUILD)/package
	@ninja -C $(BUILD) -j $(JOBS) --quiet shipped
	@packaging/build $(BUILD)

package-test: configure  ## the package on a clean Debian tree: installed, used, removed
	@scripts/setup.sh package clean-debian
	@ninja -C $(BUILD) -j $(JOBS) --quiet shipped
	@VELM_PACKAGE_TEST=1 ctest --test-dir $(BUILD) -V -R package.CleanDebian

format: setup
	@scripts/sources | xargs clang-format -i

format-check: setup
	@scripts/sources | xargs clang-format --dry-run -Werror

lint: configure
	@scripts/lint $(BUILD)

sanitize:  ## the whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer
	@$(MAKE) --no-print-directory BUILD=build-sanitize TYPE=Debug \
	  CMAKE_FLAGS='-DVELM_SANITIZE=address,undefined -DVELM_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG=-O1' test

sanitize-thread:  ## the whole test suite under ThreadSanitizer
	@TSAN_OPTIONS='suppressions=$(CURDIR)/scripts/tsan.supp suppress_equal_addresses=0' \
	  $(MAKE) --no-print-directory BUILD=build-sanitize-thread TYPE=Debug \
	  CMAKE_FLAGS='-DVELM_SANITIZE=thread -DVELM_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1"' test

storm: configure  ## every method at random against an agent: CALLS=n, SECONDS=n, SEED=n
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc storm
	@$(BUILD)/tests/storm/storm $(if $(CALLS),--calls $(CALLS)) $(if $(SECONDS),--seconds $(SECONDS)) \
	  $(if $(SEED),--seed $(SEED))

storm-sanitize:  ## the same under AddressSanitizer and UndefinedBehaviorSanitizer
	@$(MAKE) --no-print-directory BUILD=build-sanitize TYPE=Debug \
	  CMAKE_FLAGS='-DVELM_SANITIZE=address,undefined -DVELM_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG=-O1' storm

clean:
	@rm -rf build build-sanitize build-sanitize-thread
