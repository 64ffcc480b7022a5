// SPDX-License-Identifier: GPL-2.0
#include "providers/kmem.h"

#include "core/common/setter.h"
#include "kernel/atomic.h"
#include "kernel/lock.h"
#include "linux/zem.h"

/* A provider sets this without a lock. Each use reads the pointer once. */
void *(*get_all_kmemind_func)(void) = nullptr;

namespace zem {

namespace {

/* Serialises calls of the provider, which reuses its block. */
constinit Mutex kmem_lock;

} /* namespace */

int kmem_init()
{
	kmem_lock.init("zem_kmem");
	return 0;
}

void kmem_upload()
{
	auto *get = read_once(get_all_kmemind_func);
	LockGuard guard(kmem_lock);
	auto *block = static_cast<zem_kmem *>(get ? get() : nullptr);
	if (!block)
		return;
	upload(kmem_zem_set, *block);
	__builtin_memset(block, 0, sizeof(*block));
}

void kmem_prime()
{
	auto *get = read_once(get_all_kmemind_func);
	LockGuard guard(kmem_lock);
	if (get)
		get();
}

} /* namespace zem */
