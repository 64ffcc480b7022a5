# SPDX-License-Identifier: GPL-2.0
#
# `make help` lists the targets. Every target first sets the machine up, which takes a while the first
# time.

SHELL := /bin/bash
.SHELLFLAGS := -euo pipefail -c
.DELETE_ON_ERROR:
MAKEFLAGS += --no-print-directory

jobs := $(shell nproc)
say = @printf '\n\033[1m== %s\033[0m\n'

.DEFAULT_GOAL := help

.PHONY: help
help: ## list the targets
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-12s %s\n", $$1, $$2 }' Makefile
	@printf '\n  make module KDIR=DIR [LLVM=1]   build against the kernel tree DIR\n'
	@printf '  make run SECONDS=N [HEADLESS=1] show live telemetry for N seconds (without colours)\n'

.PHONY: setup
setup: ## install missing packages and fetch the arm64 kernel
	@scripts/setup

# --- Building ---------------------------------------------------------------------------

modules := platform drivers/zem bench/module bench/flood
modules += $(addprefix tests/modules/, seam parity platform_test exports mistakes)
# Last: the glue exports what zem_platform.ko exports too.
modules += device/glue device/producer

# Build for the kernel tree $(1) in folder $(2), with more arguments $(3) for make. zem.ko is built with the glue's
# symbols first, because the versions of the symbols depend on the module that exports them.
build-modules = scripts/build-module $(1) $(2) device/glue drivers/zem -- -j$(jobs) $(3) && \
	aarch64-linux-gnu-strip -g -o $(2)/zem_with_glue.ko $(2)/drivers/zem/zem.ko && \
	scripts/build-module $(1) $(2) $(modules) -- -j$(jobs) $(3)

# Check the objects in folder $(1) and their imports against the stock kernel's tree $(2), and copy the modules to
# the folder's top without debug information.
define finish-modules
@scripts/check-objects $(1)/drivers/zem $(2)
@scripts/kernel-symbols $(1)/drivers/zem/zem.ko $(2)
@for module in $(modules); do \
	for built in $(1)/$$module/*.ko; do \
		aarch64-linux-gnu-strip -g -o $(1)/$${built##*/} $$built; \
	done; \
done
@printf 'built %s\n' $(1)/*.ko
endef

.PHONY: module
ifdef KDIR
# Each kernel tree of the caller's has a folder of objects of its own. Nothing is installed or downloaded. With
# KBUILD_EXTRA_SYMBOLS the platform is the caller's, and zem.ko is built without zem_platform.ko.
kernel-build := build/module-$(notdir $(abspath $(KDIR)))
kernel-modules := $(if $(KBUILD_EXTRA_SYMBOLS),,platform) drivers/zem
module: override export KBUILD_EXTRA_SYMBOLS := $(abspath $(KBUILD_EXTRA_SYMBOLS))
# The kernel's rule for LLVM: 1, a suffix of the version, or a folder.
ifdef LLVM
llvm-tool = $(if $(filter %/,$(LLVM)),$(LLVM))llvm-$(1)$(if $(filter -%,$(LLVM)),$(LLVM))
module: export NM := $(call llvm-tool,nm)
module: export OBJDUMP := $(call llvm-tool,objdump)
else
CROSS_COMPILE ?= aarch64-linux-gnu-
module: export NM := $(CROSS_COMPILE)nm
module: export OBJDUMP := $(CROSS_COMPILE)objdump
endif
module:
	@scripts/build-module $(abspath $(KDIR)) $(kernel-build) $(kernel-modules) -- -j$(jobs) ARCH=arm64 \
		$(if $(LLVM),LLVM=$(LLVM),CROSS_COMPILE=$(CROSS_COMPILE))
	@scripts/check-objects $(kernel-build)/drivers/zem $(abspath $(KDIR))
	@rm -f $(kernel-build)/*.ko
	@cp $(foreach module,$(kernel-modules),$(kernel-build)/$(module)/*.ko) $(kernel-build)
	@scripts/kernel-symbols $(kernel-build)/zem.ko >$(kernel-build)/kernel-symbols
	@printf 'built %s\n' $(kernel-build)/*.ko
else
module: setup ## build zem.ko and zem_platform.ko
	$(say) "kernel modules"
	@. build/kernel/env; $(call build-modules,"$$KDIR",build/module)
	$(call finish-modules,build/module,$$(sed -n 's/^KDIR=//p' build/kernel/env))
	@tests/device/contract-test build/module "$$(sed -n 's/^KDIR=//p' build/kernel/env)"
endif

.PHONY: tools guest-tools native-tool
tools: guest-tools native-tool ## build zemctl for arm64 (static) and for this machine

native-tool: setup
	@cmake -S tools/zemctl -B build/tools/native -DCMAKE_BUILD_TYPE=Release \
		-DZEMCTL_TESTS=OFF >build/tools-native.log || { cat build/tools-native.log; exit 1; }
	@cmake --build build/tools/native -j$(jobs)
	@scripts/man-pages build/tools/native/zemctl build/man

guest-tools: setup
	$(say) "zemctl"
	@cmake -S tools/zemctl -B build/tools/arm64 -DCMAKE_BUILD_TYPE=Release -DZEMCTL_TESTS=OFF \
		-DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/tools/zemctl/toolchain-arm64.cmake \
		>build/tools-arm64.log || { cat build/tools-arm64.log; exit 1; }
	@cmake --build build/tools/arm64 -j$(jobs)

# --- Demonstration and tests ---------------------------------------------------------------

# SECONDS from make's command line or environment: a shell has a variable of that name.
demo-seconds := $(if $(filter command line environment,$(origin SECONDS)),$(SECONDS),30)

.PHONY: run
run: module tools ## boot a guest and show live telemetry
	$(say) "live telemetry from an arm64 guest"
	@scripts/demo $(demo-seconds)

.PHONY: test
test: check-quick module guest-tools ## run every test
	@scripts/beside "host tests and zemctl's tests" build/tests/beside-guest.log \
		$(MAKE) test-host test-tools -- $(MAKE) test-guest
	$(say) "all tests passed"

.PHONY: test-host
test-host: setup ## the module's logic on the simulated kernel, under sanitizers
	$(say) "host tests, address and undefined-behaviour sanitizers"
	@scripts/cmake-test tests build/tests/address -DZEM_SANITIZER=address
	$(say) "host tests, thread sanitizer"
	@scripts/cmake-test tests build/tests/thread -DZEM_SANITIZER=thread
	$(say) "hot paths on real CPUs: nothing is lost"
	@scripts/cmake-test bench/scale build/tests/scale

.PHONY: test-tools
test-tools: setup ## zemctl's own tests
	$(say) "zemctl's tests"
	@scripts/cmake-test tools/zemctl build/tests/zemctl -DZEMCTL_TESTS=ON
	$(say) "zemctl top in a terminal"
	@tests/top/run build/tests/zemctl/tests/zemctl_checked

.PHONY: test-report
test-report: tools ## the page of zemctl report in a headless browser
	@scripts/setup --browser
	$(say) "zemctl report in a browser"
	@tests/report/run build/tools/native/zemctl

# A build and a test of packages need more of Debian's packages than everything else.
.PHONY: deb
deb: native-tool ## build and check Debian packages of zemctl and, for DKMS, of the modules; see build/deb
	@scripts/setup --packages
	$(say) "Debian packages"
	@scripts/deb

.PHONY: test-deb
test-deb: deb ## install, use and remove the Debian packages in a clean system
	$(say) "Debian packages in a clean system"
	@tests/deb/run

.PHONY: test-prometheus
test-prometheus: native-tool ## the metrics of zemctl serve in Debian's Prometheus
	@scripts/setup-prometheus
	$(say) "metrics in Prometheus"
	@tests/prometheus/run build/tools/native/zemctl

# A guest has eight CPUs. On fewer than four host CPUs, guest CPUs that contend for a lock stall for minutes.
guests := $(shell cores=$$(nproc); echo $$((cores < 8 ? 1 : cores / 4)))

.PHONY: test-guest
test-guest: module guest-tools ## the real module on a real kernel
	$(say) "guest tests"
	@tests/vm/run --jobs $(guests)

# Kernels built from Debian's sources: one configured like a device's, two with debugging options. Each
# build takes a quarter of an hour or more, once. Each tree of the caller's sources has a kernel of its own.
kernel-device := device$(if $(SOURCE),-$(notdir $(abspath $(SOURCE))))
kernel-debug := debug
kernel-race := race
compiler-device := LLVM=-16
compiler-debug := CROSS_COMPILE=aarch64-linux-gnu-
compiler-race := $(compiler-debug)

.PHONY: device-kernel debug-kernel race-kernel
device-kernel: module ## build a kernel with a device's options, from Debian's sources or your own (SOURCE=DIR)
debug-kernel: setup ## build a kernel with KASAN, lockdep, kmemleak and fault injection
race-kernel: setup ## build a kernel with KCSAN
device-kernel debug-kernel race-kernel: %-kernel:
	@scripts/build-kernel $* $(if $(filter device,$*),$(SOURCE))

# A kernel like a device's runs on CPUs that sign return addresses too. Their signatures cost the emulator less if
# they are not those of the architecture.
cpus-device := neoverse-n1 cortex-a710,pauth-impdef=on
cpus-debug := neoverse-n1
cpus-race := neoverse-n1

.PHONY: test-device test-debug test-race
test-device: device-kernel guest-tools ## the guest tests on the kernel with a device's options, on two CPUs (SOURCE=DIR)
test-debug: debug-kernel guest-tools ## the guest tests with KASAN, lockdep, kmemleak and fault injection
test-race: race-kernel guest-tools ## the guest tests with KCSAN
test-device test-debug test-race: test-%:
	$(say) "kernel modules for the $* kernel"
	@$(call build-modules,build/kernels/$(kernel-$*),build/module-$(kernel-$*),ARCH=arm64 $(compiler-$*))
	$(call finish-modules,build/module-$(kernel-$*),build/kernels/$(kernel-$*))
	@for cpu in $(cpus-$*); do \
		printf '\n\033[1m== guest tests on the $* kernel, CPU %s\033[0m\n' $$cpu; \
		tests/vm/run --kernel build/kernels/$(kernel-$*) --module-dir build/module-$(kernel-$*) \
			--work build/vm-tests-$(kernel-$*) --timeout 7200 --cpu $$cpu; \
	done

# The guest tests on other kernels of Debian: the oldest that zem supports, that of the other tests, and the
# newest there is.
KERNELS ?= 6.1 6.12 newest

.PHONY: test-kernels
test-kernels: setup guest-tools ## the guest tests on Debian's oldest, usual and newest kernel (KERNELS="6.1 newest")
	@scripts/test-kernels $(KERNELS)

# What scripts/test-kernels does for each kernel. A warning of the compiler is a failure too.
test-kernel-%: setup guest-tools
	$(say) "kernel modules for Linux $*"
	@scripts/setup --kernel $*
	@. build/kernel/$*.env; \
		{ $(call build-modules,"$$KDIR",build/module-$*,CROSS_COMPILE="$$CROSS_COMPILE"); } 2>&1 | \
		tee build/module-$*.log
	@! grep -i 'warning: ' build/module-$*.log || { echo 'the build has warnings'; exit 1; }
	$(call finish-modules,build/module-$*,$$(sed -n 's/^KDIR=//p' build/kernel/$*.env))
	$(say) "guest tests on Linux $*"
	@. build/kernel/$*.env; tests/vm/run --kernel "$$KERNEL_ROOT" --module-dir build/module-$* \
		--work build/vm-tests-$* --timeout 7200

.PHONY: soak
soak: module guest-tools ## storms and collection for ten minutes each, with progress (NAMES="...", MINUTES=N)
	$(say) "storms and collection"
	@tests/soak/run $(if $(MINUTES),--minutes $(MINUTES)) $(NAMES)

.PHONY: fuzz
fuzz: debug-kernel ## random stores to all files of zem, damaged input for zemctl (STORES=N, SEED=N, FUZZ_SECONDS=N)
	$(say) "kernel modules for the debug kernel"
	@$(call build-modules,build/kernels/debug,build/module-debug,ARCH=arm64 $(compiler-debug))
	$(call finish-modules,build/module-debug,build/kernels/debug)
	$(say) "damaged input for zemctl"
	@tests/fuzz/zemctl/run $(if $(FUZZ_SECONDS),--seconds $(FUZZ_SECONDS))
	$(say) "random stores to the files of zem, on the debug kernel"
	@tests/fuzz/run --kernel build/kernels/debug --module-dir build/module-debug \
		$(if $(STORES),--stores $(STORES)) $(if $(SEED),--seed $(SEED))
	$(say) "the fuzzers found nothing"

.PHONY: bench
bench: module ## count instructions; writes build/bench.json
	$(say) "costs in instructions"
	@bench/run

.PHONY: bench-peers
bench-peers: bench ## count instructions of BPF programs and others beside zem's; writes build/peers.txt
	$(say) "costs beside BPF programs, relay and ftrace"
	@bench/peers/run

.PHONY: bench-throughput
bench-throughput: module guest-tools ## find the rate at which readers lose records; writes build/throughput.txt
	$(say) "records a second to a file"
	@bench/throughput/run

.PHONY: bench-scale
bench-scale: setup ## measure hot paths on 1, 2, ... CPUs of this machine; writes build/bench-scale.json
	$(say) "throughput on real CPUs"
	@bench/scale/run

.PHONY: cost
cost: module ## count instructions of a whole system for fixed work; writes build/cost.txt
	$(say) "cost of the whole system"
	@bench/cost

.PHONY: check
check: setup ## formatting, style, the English of a change, static analysis (BASE=REV, default main)
	$(say) "checks"
	@scripts/check --all $(if $(BASE),--base $(BASE))

# A test run leaves out the analysis of the tools, which takes minutes.
.PHONY: check-quick
check-quick: setup
	$(say) "checks"
	@scripts/check $(if $(BASE),--base $(BASE))

.PHONY: clean
clean: ## remove build results; keep the kernel and the guest
	@rm -rf build/module build/module-* build/tools build/tests build/vm build/vm-tests* \
		build/test-kernels build/share build/fuzz build/deb build/test-deb build/bench build/bench.json \
		build/cost build/peers build/throughput build/cost.txt build/peers.txt \
		build/throughput.txt build/*.log
