# The one door for people; CMakePresets.json says how the trees under build/ are configured.
.DEFAULT_GOAL := help
.DELETE_ON_ERROR:
# Packages come before builds, and builds before runs; Ninja and CTest use the processors.
.NOTPARALLEL:
SHELL := /bin/bash

# What is built and tested: make TARGET=i686 ... does it for one of them.
ALL_TARGETS := i686 powerpc
TARGETS := $(or $(TARGET),$(ALL_TARGETS))
RUN_TARGET := $(or $(TARGET),i686)
# Further options for cmake, such as -DZATOSW_TOOLCHAIN_PREFIX=/opt/firmware/bin/powerpc-linux-gnu-
CMAKE_ARGS ?=
# Further options for ctest, such as -R Mutex
CTEST_ARGS ?=
# Arguments of the example program
ARGS ?=
JOBS ?= $(shell nproc)
# How long the soak runs
MINUTES ?= 5
# How long each fuzzer runs
FUZZ_SECONDS ?= 60

SETUP := cmake/setup.sh

.PHONY: help
help: ## Show this list
	@awk -F ':.*## ' '/^[a-z0-9-]+:.*## / { printf "  make %-16s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)
	@echo "  One target only: TARGET=i686 or TARGET=powerpc"

SETUP_GROUPS := abi lint sanitize valgrind fuzz coverage bench doc
.PHONY: setup setup-all $(SETUP_GROUPS:%=setup-%)
setup: ## Install what building, running and testing need
	@$(SETUP) base
$(SETUP_GROUPS:%=setup-%): setup-%:
	@$(SETUP) base $*
setup-all: ## Install what any of these commands needs
	@$(SETUP) base $(SETUP_GROUPS)

# Configures where nothing is configured yet, after a change of the presets, or with new options;
# CMake itself notices all else. Two makes in one tree take turns.
configure = if [ ! -e build/$(1)/build.ninja ] || [ CMakePresets.json -nt build/$(1)/build.ninja ] \
	|| [ CMakeUserPresets.json -nt build/$(1)/build.ninja ] || [ -n "$(strip $(CMAKE_ARGS))" ]; then cmake --preset $(1) $(CMAKE_ARGS); fi
build_tree = mkdir -p build/$(1) && exec 9>build/$(1)/.lock && flock 9 \
	&& { $(call configure,$(1)); } 9>&- && cmake --build build/$(1) -j $(JOBS) $(2) 9>&-
sources = find core_src tests examples bench fuzz tools \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print0
run_suite = ctest --preset $(1) -j $(JOBS) $(CTEST_ARGS)

.PHONY: build
build: ## Build the library, tools, tests and examples for both targets
	@set -e; for target in $(TARGETS); do ( $(call build_tree,$$target) ); done

.PHONY: run
run: setup ## Run the example program `watch` (ARGS="..." are its arguments)
	@$(call build_tree,$(RUN_TARGET),--target watch)
	@build/$(RUN_TARGET)/run-on-target build/$(RUN_TARGET)/examples/watch $(ARGS)

.PHONY: test
test: setup build ## Run the whole test suite on both targets
	@failed=; \
	for target in $(TARGETS); do \
	    echo "== tests on $$target"; \
	    $(call run_suite,$$target) || failed="$$failed $$target"; \
	done; \
	if [ -n "$$failed" ]; then echo "Tests failed on:$$failed"; exit 1; fi

.PHONY: package
package: setup ## Make Debian packages, and build programs against what is in them
	@set -e; for target in $(TARGETS); do \
	    ( $(call build_tree,debian-$$target) ); \
	    cpack --config build/debian-$$target/CPackConfig.cmake -B build/debian-$$target >/dev/null; \
	    tests/package/debian.sh build/debian-$$target; \
	done

# Each check stands alone; together, all of them run before the failed ones are named.
CHECKS := check-format check-abi check-tidy check-asan check-memcheck check-drd check-fuzz check-coverage

.PHONY: check $(CHECKS)
check: ## Run the suite under the checkers, and look at the sources
	@failed=; \
	for check in $(CHECKS); do \
	    echo "== $$check"; \
	    $(MAKE) --no-print-directory $$check || failed="$$failed $$check"; \
	done; \
	if [ -n "$$failed" ]; then echo "Failed:$$failed"; exit 1; fi; \
	echo "All checks passed"
check-asan: setup-sanitize ## The suite under AddressSanitizer and UBSan
	@$(call build_tree,asan)
	@$(call run_suite,asan)
check-memcheck: setup-valgrind ## The suite under valgrind's memory checker
	@$(call build_tree,i686)
	@$(call run_suite,memcheck)
check-drd: setup-valgrind ## The suite under valgrind's data race checker
	@$(call build_tree,i686)
	@$(call run_suite,drd)
check-fuzz: setup-fuzz ## A minute of lines that nobody would type (FUZZ_SECONDS=n)
	@$(call build_tree,fuzz)
	@fuzz/run.sh build/fuzz/fuzz $(FUZZ_SECONDS)
# Processes that tests kill leave no counts behind: what only those run counts as not run.
check-coverage: setup-coverage ## Which lines and branches of the library the suite runs, by file
	@$(call build_tree,coverage)
	@find build/coverage -name '*.gcda' -delete
	@$(call run_suite,coverage)
	@cmake/coverage.sh build/coverage
check-abi: setup-abi ## Whether the binary interface is the one that is written down in abi/
	@set -e; for target in $(TARGETS); do \
	    ( $(call build_tree,$$target,--target zatosw zatosw_static) ); \
	    cmake/abi.sh check build/$$target abi/$$target.abi; \
	done
check-tidy: setup-lint ## The sources under clang-tidy
	@$(call build_tree,i686)
	@cmake/tidy.sh build/i686 $(JOBS)
check-format: setup-lint ## Whether the sources are formatted
	@$(sources) | xargs -0 clang-format --dry-run -Werror && echo "All sources are formatted"

.PHONY: soak
soak: setup ## A load on two processes, one of which is killed again and again (MINUTES=n)
	@$(call build_tree,$(RUN_TARGET),--target soak)
	@tests/support/isolate.sh $(if $(filter powerpc,$(RUN_TARGET)),build/powerpc/run-on-target) -- \
	    build/$(RUN_TARGET)/tests/soak $$(($(MINUTES) * 60))

.PHONY: abi
abi: setup-abi ## Write the binary interface down in abi/, after it became larger
	@set -e; for target in $(TARGETS); do \
	    ( $(call build_tree,$$target,--target zatosw zatosw_static) ); \
	    cmake/abi.sh record build/$$target abi/$$target.abi; \
	done

.PHONY: format
format: setup-lint ## Format the sources
	@$(sources) | xargs -0 clang-format -i

.PHONY: bench
bench: setup-bench ## Measure (ARGS="--benchmark_filter=..." and the like)
	@$(call build_tree,bench)
	@set -e; found=; \
	for source in bench/*.cpp; do \
	    [ -e "$$source" ] || break; \
	    found=1; name=$$(basename "$$source" .cpp); \
	    echo "== $$name"; \
	    tests/support/isolate.sh -- build/bench/bench/$$name $(ARGS); \
	done; \
	if [ -z "$$found" ]; then echo "bench/ has no benchmarks"; exit 1; fi

.PHONY: doc
doc: setup-doc ## Write and check the documentation: build/doc/html, build/doc/man3
	@docs/reference/make.sh build/doc

.PHONY: clean
clean: ## Remove everything that was built
	rm -rf build
