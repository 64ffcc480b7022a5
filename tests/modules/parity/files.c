// SPDX-License-Identifier: GPL-2.0
/* Opens a file below /proc from inside of the kernel. */
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>

#include "parity_test.h"

static struct file *file;

int parity_open(const char *name)
{
	char path[64];

	snprintf(path, sizeof(path), "/proc/%s", name);
	file = filp_open(path, O_RDONLY, 0);
	return PTR_ERR_OR_ZERO(file);
}

s64 parity_read(char *bytes, size_t count)
{
	return IS_ERR_OR_NULL(file) ? -EBADF : kernel_read(file, bytes, count, &file->f_pos);
}

s64 parity_seek(s64 position)
{
	return IS_ERR_OR_NULL(file) ? -EBADF : vfs_llseek(file, position, SEEK_SET);
}

void parity_close(void)
{
	if (!IS_ERR_OR_NULL(file))
		filp_close(file, NULL);
	file = NULL;
}
