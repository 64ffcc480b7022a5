// SPDX-License-Identifier: GPL-2.0
#include "sched/kzerod.h"

#include "core/common/setter.h"
#include "kernel/api/types.h"
#include "kernel/atomic.h"
#include "kernel/lock.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace zem {

namespace {

constinit zem_kzerod kzerod_data{};

/* Serialises uploads: the copy must be pushed, and cleared, before it is filled again. */
constinit Mutex kzerod_lock;

/* Concurrent callers race; every value that they write is current. */
void copy_counter(__s64 &field, const int &counter)
{
	write_once(field, smp_load_acquire(counter));
}

} /* namespace */

int kzerod_init()
{
	kzerod_lock.init("zem_kzerod");
	return 0;
}

void kzerod_upload()
{
	LockGuard guard(kzerod_lock);
	zem_kzerod *totals = get_kzerod_info();
	upload(kzerod_zem_set, *totals);
	__builtin_memset(totals, 0, sizeof(*totals));
}

} /* namespace zem */

zem_kzerod *get_kzerod_info(void)
{
	using namespace zem;

	copy_counter(kzerod_data.zero_page_alloc_failed, kzerod_zero_page_alloc_failed);
	copy_counter(kzerod_data.zero_page_alloc_prezero, kzerod_zero_page_alloc_prezero);
	copy_counter(kzerod_data.zero_page_list_alloc_total, kzerod_zero_page_list_alloc_total);
	copy_counter(kzerod_data.zero_page_list_breakdown_total,
		     kzerod_zero_page_list_breakdown_total);
	copy_counter(kzerod_data.zero_page_list_drain_total, kzerod_zero_page_list_drain_total);
	return &kzerod_data;
}
