// SPDX-License-Identifier: GPL-2.0
/*
 * The misc device of the shared buffer. An open file pins the module and a mapping pins the file,
 * so the buffer outlives every mapping.
 */
#include "core/shared_device.h"

#include "core/shared_buffer.h"
#include "kernel/api/miscdevice.h"
#include "kernel/errno.h"
#include "kernel/opaque.h"

namespace zem {

namespace {

constinit miscdevice shared_device{};
constinit file_operations remap_zem_fops{};

int zem_open(inode *, file *)
{
	return 0;
}

/* Always maps from the first byte; the file offset is ignored. */
int zem_mmap(file *, vm_area_struct *vma)
{
	const unsigned long size = helper_vma_size(vma);
	if (size > ZEM_SHARED_SIZE)
		return -EMSGSIZE;
	if (helper_remap_pfn_range(vma, shared_buffer_pfn(), size))
		return -EAGAIN;
	return 0;
}

} /* namespace */

int shared_device_register()
{
	helper_miscdevice_init(&shared_device, &remap_zem_fops, "zem_shared", zem_open, zem_mmap);
	return misc_register(&shared_device);
}

void shared_device_deregister()
{
	misc_deregister(&shared_device);
}

} /* namespace zem */
