# SPDX-License-Identifier: GPL-2.0
# What differs between kernels, as options of the compiler. A test compiles a declaration against the kernel's
# headers, because a kernel may have a change that its version number does not show. kernel/helpers/compat.h
# and platform/common/compat.h use the results.

zem-test-flags = -nostdinc $(LINUXINCLUDE) -include $(srctree)/include/linux/compiler_types.h \
	$(KBUILD_CPPFLAGS) $(KBUILD_CFLAGS) $(KBUILD_CFLAGS_MODULE) -Werror=incompatible-pointer-types \
	-DMODULE -DKBUILD_MODNAME='"test"' -DKBUILD_BASENAME='"test"' -D__KBUILD_MODNAME=test

# $(call zem-feature,NAME,HEADER,DECLARATION): -DNAME if the declaration compiles after <linux/HEADER>.
zem-feature = $(call try-run, \
	printf '$(pound)include <linux/%s>\n%s\n' '$(2)' '$(3)' | $(CC) $(zem-test-flags) -fsyntax-only -x c -,-D$(1),)

# A bio's issue stamp has the time and the size. Later kernels have a time, which only one IO controller sets.
zem-features := $(call zem-feature,KERNEL_BIO_HAS_ISSUE,blk_types.h, \
	unsigned long f(struct bio *bio); \
	unsigned long f(struct bio *bio) { return bio->bi_issue.value; })

zem-features += $(call zem-feature,KERNEL_COMMIT_TAKES_EVENT,ring_buffer.h, \
	int f(struct trace_buffer *buffer); \
	int f(struct trace_buffer *buffer) { return ring_buffer_unlock_commit(buffer$(comma) NULL); })

zem-features += $(call zem-feature,KERNEL_ADD_DEV_TAKES_INTERFACE,device.h, \
	int add(struct device *device$(comma) struct class_interface *interface); \
	struct class_interface watch = {.add_dev = add};)

zem-features += $(call zem-feature,KERNEL_SYMBOL_IS_PUBLIC,module.h, \
	int size[sizeof(struct kernel_symbol)];)
