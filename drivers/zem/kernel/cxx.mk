# SPDX-License-Identifier: GPL-2.0
# How Kbuild compiles C++ for the kernel. The including Kbuild lists its C++ objects in zem-cxx
# and sets zem-include.

zem-cxxc := $(if $(CONFIG_CC_IS_CLANG),$(patsubst %clang,%clang++,$(subst clang-,clang++-,$(firstword $(CC)))) \
	$(wordlist 2,99,$(CC)),$(patsubst %gcc,%g++,$(subst gcc-,g++-,$(CC))))

# The kernel's options for C that C++ compilers refuse or that mean nothing to them.
zem-c-only := -std=% -Wstrict-prototypes -Wmissing-prototypes -Wmissing-declarations \
	-Wdeclaration-after-statement -Wno-pointer-sign -Wold-style-definition \
	-Wold-style-declaration -Werror=% -Wno-override-init -Wno-initializer-overrides \
	-Wdesignated-init -Wno-gnu -Wenum-conversion -Wno-psabi -D%

zem-cxxflags = -Wp,-MMD,$(depfile) -nostdinc $(CLANG_FLAGS) \
	$(filter-out $(zem-c-only),$(KBUILD_CFLAGS)) $(KBUILD_CFLAGS_MODULE) \
	-std=c++20 -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics \
	-fno-asynchronous-unwind-tables -mno-outline-atomics -Wall -Wextra \
	-D__KERNEL__ -DMODULE -DZEM_KERNEL \
	-I$(src) -I$(obj) -I$(zem-include) -I$(src)/kernel/freestanding

quiet_cmd_cxx_o_cc = CXX [M]  $@
      cmd_cxx_o_cc = $(zem-cxxc) $(zem-cxxflags) -c -o $@ $<

$(obj)/%.o: $(src)/%.cc $(obj)/kernel/layout.gen.h FORCE
	$(call if_changed_dep,cxx_o_cc)

$(obj)/kernel/layout.s: $(src)/kernel/layout.c FORCE
	$(call if_changed_dep,cc_s_c)

$(obj)/kernel/layout.gen.h: $(obj)/kernel/layout.s FORCE
	$(call filechk,offsets,__ZEM_LAYOUT_GEN_H__)

targets += kernel/layout.s kernel/layout.gen.h $(addsuffix .o,$(zem-cxx))
