# SPDX-License-Identifier: GPL-2.0
# Kbuild rules for C++ in the kernel. The including Kbuild sets zem-cxx to its C++ objects, zem-root to the
# module's folder, where layout.gen.h is built, and zem-include to the repository's include/.

include $(zem-root)/kernel/features.mk

# The C++ compiler of the same version as the kernel's C compiler: clang++-16 for clang-16, g++-12 for gcc-12.
zem-cxxc := $(if $(findstring clang,$(CC)),$(subst clang,clang++,$(CC)),$(subst gcc,g++,$(CC)))

# The kernel's C options that C++ compilers reject or ignore.
zem-c-only := -std=% -Wstrict-prototypes -Wmissing-prototypes -Wmissing-declarations \
	-Wdeclaration-after-statement -Wno-pointer-sign -Wold-style-definition \
	-Wold-style-declaration -Wno-override-init -Wno-initializer-overrides \
	-Wdesignated-init -Wno-gnu -Wenum-conversion -Wno-psabi -D% \
	-Werror=implicit-function-declaration -Werror=implicit-int -Werror=strict-prototypes \
	-Werror=incompatible-pointer-types -Werror=designated-init

# Report undefined behaviour that the compiler can detect as an error.
zem-errors := -Werror=return-type -Werror=return-local-addr -Werror=format

# Options of the sanitizers in the kernel's configuration. Kbuild adds them only to C objects
# (scripts/Makefile.lib). Its switches, such as KASAN_SANITIZE_foo.o := n, apply to C++ too.
# $(call zem-sanitizer,CONFIG,SWITCH,DEFAULT)
zem-sanitizer = $(if $(CONFIG_$(1)),$(if $(patsubst n%,, \
	$($(2)_$(or $(target-stem),$(basetarget)).o)$($(2))$(3)),$(CFLAGS_$(1))))

zem-sanitizers = $(call zem-sanitizer,KASAN,KASAN_SANITIZE,y) \
	$(call zem-sanitizer,UBSAN,UBSAN_SANITIZE,y) \
	$(call zem-sanitizer,KCSAN,KCSAN_SANITIZE,y) \
	$(call zem-sanitizer,KCOV,KCOV_INSTRUMENT,$(CONFIG_KCOV_INSTRUMENT_ALL)) \
	$(if $(CONFIG_KCSAN),-include $(zem-root)/kernel/checked_memory.h)

zem-cxxflags = -Wp,-MMD,$(depfile) -nostdinc $(CLANG_FLAGS) \
	$(filter-out $(zem-c-only),$(KBUILD_CFLAGS)) $(KBUILD_CFLAGS_MODULE) \
	-std=c++20 -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics \
	-mno-outline-atomics -Wall -Wextra $(zem-errors) $(zem-sanitizers) \
	-D__KERNEL__ -DMODULE -DZEM_KERNEL $(zem-features) \
	-I$(zem-root) -I$(zem-include) -I$(zem-root)/kernel/freestanding

quiet_cmd_cxx_o_cc = CXX [M]  $@
      cmd_cxx_o_cc = $(zem-cxxc) $(zem-cxxflags) -c -o $@ $<

$(obj)/%.o: $(src)/%.cc $(zem-root)/kernel/layout.gen.h FORCE
	$(call if_changed_dep,cxx_o_cc)

targets += $(addsuffix .o,$(zem-cxx))

# Inline functions are in groups of sections. Without this, the linker keeps a section of each group apart
# from others of the same name.
ldflags-y += $(call ld-option,--force-group-allocation)
