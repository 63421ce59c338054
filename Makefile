# What people type; `make` alone lists it. Each goal sets up what it needs, and
# builds in the folder build/<preset>, with a preset of CMakePresets.json.

JOBS ?= $(shell nproc)
SECONDS ?= 60

help: ## list what can be made
	@sed -n 's/^\([a-z-]*\):.*## /\1\t/p' Makefile | expand -t 16

demo: setup ## show what a leaf switch would publish, and a day of its life
	$(call build,release,--target mcastvpn-agent)
	build/release/agent/mcastvpn-agent run --verify examples/leaf-pair.jsonc
	build/release/agent/mcastvpn-agent replay --verify \
	   --state examples/minimal.jsonc examples/story.jsonl

test: setup ## run every test
	$(call build,release)
	ctest --preset release -j $(JOBS)

asan: setup-checks ## the same under AddressSanitizer and UndefinedBehaviorSanitizer
	$(call build,asan)
	ctest --preset asan -j $(JOBS)

tsan: setup ## the same under ThreadSanitizer
	$(call build,tsan)
	ctest --preset tsan -j $(JOBS)

threads: setup ## the tests with several threads, under ThreadSanitizer
	$(call build,tsan,--target $(THREADED))
	ctest --preset tsan -j $(JOBS) -L '$(subst $(space),|,$(THREADED))'

memcheck: setup-checks ## a few tests and the examples under valgrind
	$(call build,release)
	scripts/memcheck.sh build/release

clang: setup-checks ## the same built with Clang
	cmake --preset clang -D MCAST_BUILD_TESTS=ON
	cmake --build --preset clang -j $(JOBS)
	ctest --preset clang -j $(JOBS)

tidy: setup-checks ## look for faults with clang-tidy
	cmake --preset tidy
	$$(scripts/clang.sh run-clang-tidy) -quiet -j $(JOBS) -p build/tidy \
	   -clang-tidy-binary $$(scripts/clang.sh clang-tidy) \
	   -checks=-bugprone-suspicious-include '$(LINTED)'

coverage: setup-checks ## tell what of the libraries the tests execute
	$(call build,coverage)
	find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS) -E '$(UNCOUNTED)'
	tools/coverage.py build/coverage

cppcheck: setup-checks ## look for faults with cppcheck, which takes its time
	cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability \
	   -D__x86_64__ '-D__VA_OPT__(...)=' -I. -Iruntime --suppressions-list=.cppcheck \
	   --error-exitcode=1 --quiet -j $(JOBS) runtime McastVpnLib agent

headers: setup ## compile every header alone
	$(call build,release,--target every_header)

report-test: setup-browser ## look at the agent's reports with a browser
	$(call build,release,--target browser_tests)
	ctest --preset release -L browser_tests

fuzz: setup-checks ## look for inputs that break something, SECONDS with each target
	$(call build,asan,--target fuzz_targets)
	scripts/fuzz.sh build/asan $(SECONDS)

soak: setup ## play random events for SECONDS, and look for what grows
	$(call build,release,--target soak)
	build/release/tests/soak/soak --seconds $(SECONDS)

proof: ## try all this at length, SECONDS each, for the figures of docs/Testing.md
	scripts/proof.sh $(SECONDS)

bench: setup-bench ## measure, beside what others offer
	$(call build,bench)
	for program in build/bench/benchmarks/*_bench; do \
	   $$program --benchmark_repetitions=9 --benchmark_report_aggregates_only=true \
	      || exit; \
	done

bench-recording: setup ## measure what --record costs an agent
	$(call build,release,--target mcastvpn-agent)
	benchmarks/recording.py build/release/agent/mcastvpn-agent

mutation: setup-mutation ## break the sources one at a time: do the tests notice?
	/usr/bin/python3 tools/mutation $(MUTATION)

packages: setup-packages ## make Debian packages, in build/packages
	$(call build,packages)
	scripts/packages.sh build/packages

packages-test: packages ## install them into a bare Debian, and use them there
	ctest --preset packages

abi: setup-packages ## tell whether the libraries still fit what the last release fitted
	$(call build,packages,--target McastVpnLib)
	scripts/abi.sh compare build/packages

abi-keep: setup-packages ## keep what they offer, as that of a release, in packaging/abi
	$(call build,packages,--target McastVpnLib)
	scripts/abi.sh keep build/packages

docs: setup-docs ## make the site of the interface and of docs/, in build/docs
	scripts/docs.sh build/docs

format: setup-checks ## format the sources
	git ls-files '*.h' '*.cpp' | xargs $$(scripts/clang.sh clang-format) -i

format-check: setup-checks ## tell whether the sources are formatted
	git ls-files '*.h' '*.cpp' | xargs $$(scripts/clang.sh clang-format) -n -Werror

clean: ## remove what was built, but not what was set up
	cmake -E rm -rf $(filter-out build/deps,$(wildcard build/*))

setup:
	@scripts/setup.sh
setup-checks:
	@scripts/setup.sh --checks
setup-bench:
	@scripts/setup.sh --bench
setup-packages:
	@scripts/setup.sh --packages
setup-docs:
	@scripts/setup.sh --docs
setup-browser:
	@scripts/setup.sh --browser
setup-mutation:
	@scripts/setup.sh --mutation

define build
	cmake --preset $(1)
	cmake --build --preset $(1) -j $(JOBS) $(2)
endef

# Tests that are not counted: some end processes while they write their counts, which
# then are lost, those of hundreds of megabytes would take minutes, a process of another
# user cannot write its counts, and says so where nobody reads, and who follows slowly is
# cut off where everything is slower still.
UNCOUNTED = ^(Failure|HugeInput)[.]|ATerminalThatNobodyReads|WhoFollowsTooSlowly

# A build of several units at once has files of its own that include them.
LINTED = $(CURDIR)/(build/tidy/)?(runtime|McastVpnLib|agent)/(?!.*_headers).*

# The programs whose tests have threads of their own.
THREADED = file_writer_tests pelk_tests values_tests
space := $(subst ,, )

.PHONY: help demo test asan tsan threads memcheck clang tidy coverage cppcheck fuzz
.PHONY: soak mutation proof bench packages packages-test abi abi-keep docs
.PHONY: format format-check clean
.PHONY: report-test bench-recording headers
.PHONY: setup setup-checks setup-bench setup-packages setup-docs setup-mutation
.PHONY: setup-browser
