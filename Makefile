# The front of the build. Every target that needs packages has them installed first.
BUILD ?= build
TYPE  ?= RelWithDebInfo
JOBS  ?= $(shell nproc)
CMAKE_FLAGS ?=
LISTEN ?= 127.0.0.1:9543

.PHONY: all setup setup-package setup-bench setup-coverage setup-fuzz setup-linux-tests setup-demo-linux configure build \
  demo demo-linux run test \
  bench package package-test format format-check lint sanitize sanitize-thread storm chaos storm-sanitize \
  storm-sanitize-thread soak coverage fuzz clean

all: build

setup:
	@scripts/setup.sh

setup-package setup-bench setup-coverage setup-fuzz setup-linux-tests setup-demo-linux: setup-%:
	@scripts/setup.sh $*

configure: setup
	@cmake -G Ninja -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(TYPE) $(CMAKE_FLAGS) >$(BUILD).log 2>&1 || \
	  { cat $(BUILD).log; rm -f $(BUILD).log; exit 1; }
	@rm -f $(BUILD).log

build: configure
	@ninja -C $(BUILD) -j $(JOBS)

demo: configure  ## a controller against the agent, played to the end
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc demo
	@$(BUILD)/clients/demo/demo $(BUILD)/agent/VelmSdkRpc

demo-linux: setup-demo-linux configure  ## packets through the switch in a lab of network namespaces; needs root
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc velmctl
	@clients/demo/linux.py $(BUILD)/agent/VelmSdkRpc $(BUILD)/clients/velmctl/velmctl

run: configure  ## the agent, until it is interrupted
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc
	@$(BUILD)/agent/VelmSdkRpc --listen $(LISTEN)

test: setup-package setup-bench setup-linux-tests build  ## everything built, every test run
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

lint:  ## in a build folder of its own, for clang cannot read the headers that gcc has precompiled
	@$(MAKE) --no-print-directory BUILD=build-lint CMAKE_FLAGS=-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON configure
	@scripts/lint build-lint

# Makes a goal in a build folder of its own, with sanitizers: $(call sanitized,GOAL), $(call thread_sanitized,GOAL)
sanitized = $(MAKE) --no-print-directory BUILD=build-sanitize TYPE=Debug \
  CMAKE_FLAGS='-DVELM_SANITIZE=address,undefined -DVELM_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG=-O1' $(1)
thread_sanitized = TSAN_OPTIONS='suppressions=$(CURDIR)/scripts/tsan.supp suppress_equal_addresses=0' \
  $(MAKE) --no-print-directory BUILD=build-sanitize-thread TYPE=Debug \
  CMAKE_FLAGS='-DVELM_SANITIZE=thread -DVELM_BENCH=OFF -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1"' $(1)

sanitize:  ## the whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer
	@$(call sanitized,test)

sanitize-thread:  ## the whole test suite under ThreadSanitizer
	@$(call thread_sanitized,test)

storm: configure  ## every method at random against an agent: CALLS=n, SECONDS=n, SEED=n
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc storm
	@$(BUILD)/trials/storm/storm $(if $(CALLS),--calls $(CALLS)) $(if $(SECONDS),--seconds $(SECONDS)) \
	  $(if $(SEED),--seed $(SEED))

chaos: configure  ## kills, faults, vanishing clients and storms around an agent: ROUNDS=n, SEED=n
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc chaos
	@CHAOS_ROUNDS=$(or $(ROUNDS),100) CHAOS_SEED=$(SEED) $(BUILD)/trials/chaos/chaos --gtest_brief=1

storm-sanitize:  ## the same under AddressSanitizer and UndefinedBehaviorSanitizer
	@$(call sanitized,storm)

storm-sanitize-thread:  ## the same under ThreadSanitizer
	@$(call thread_sanitized,storm)

soak: configure  ## an agent under a steady load: HOURS=n; leaves soak.json in $(BUILD)/soak
	@ninja -C $(BUILD) -j $(JOBS) --quiet VelmSdkRpc soak
	@$(BUILD)/trials/soak/soak --hours $(or $(HOURS),1) --out $(BUILD)/soak

coverage: setup-package setup-coverage setup-linux-tests  ## what the tests reach; build-coverage/coverage has the pages
	@$(MAKE) --no-print-directory BUILD=build-coverage TYPE=Debug \
	  CMAKE_FLAGS='-DVELM_BENCH=OFF -DVELM_COVERAGE=ON -DCMAKE_CXX_FLAGS_DEBUG=-O0' build
	@scripts/coverage build-coverage $(JOBS)

fuzz: setup-fuzz  ## every harness of trials/fuzz for SECONDS=n each; what is found stays in build-fuzz/crashes
	@$(MAKE) --no-print-directory BUILD=build-fuzz TYPE=Debug CMAKE_FLAGS='-DVELM_FUZZ=ON -DVELM_BENCH=OFF \
	  -DVELM_SANITIZE=address,undefined -DCMAKE_CXX_COMPILER=clang++-16 -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON \
	  -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1"' configure
	@ninja -C build-fuzz -j $(JOBS) --quiet fuzzers
	@trials/fuzz/run build-fuzz --seconds $(or $(SECONDS),60)

clean:
	@rm -rf build build-coverage build-fuzz build-lint build-sanitize build-sanitize-thread
