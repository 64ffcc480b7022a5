// SPDX-License-Identifier: GPL-2.0
/* The five counters of the zero-page daemon. Called by the trigger's cycle. */

#include "kernel/api/types.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace {

constinit zem_kzerod kzerod_data{};

/* Callers at once write over each other with values that are as new. */
void take(__s64 &field, const int &counter)
{
	__atomic_store_n(&field, __s64{__atomic_load_n(&counter, __ATOMIC_ACQUIRE)},
			 __ATOMIC_RELAXED);
}

} /* namespace */

zem_kzerod *get_kzerod_info(void)
{
	take(kzerod_data.zero_page_alloc_failed, kzerod_zero_page_alloc_failed);
	take(kzerod_data.zero_page_alloc_prezero, kzerod_zero_page_alloc_prezero);
	take(kzerod_data.zero_page_list_alloc_total, kzerod_zero_page_list_alloc_total);
	take(kzerod_data.zero_page_list_breakdown_total, kzerod_zero_page_list_breakdown_total);
	take(kzerod_data.zero_page_list_drain_total, kzerod_zero_page_list_drain_total);
	return &kzerod_data;
}
