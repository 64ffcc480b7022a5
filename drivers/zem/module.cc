// SPDX-License-Identifier: GPL-2.0
/*
 * Start-up and shut-down in order. Files and the device exist only while everything they access
 * exists: locks and completions are initialised before /sys/zem has files, and the files are
 * removed before the buffers are freed.
 */
#include "module.h"

#include "core/collector.h"
#include "core/consumer.h"
#include "core/families.h"
#include "core/records.h"
#include "core/shared_buffer.h"
#include "core/shared_device.h"
#include "core/sysfs/control_node.h"
#include "core/sysfs/counter_files.h"
#include "core/sysfs/trace_switch.h"
#include "kernel/api/kthread.h"
#include "kernel/api/module.h"
#include "kernel/api/printk.h"
#include "kernel/api/tracepoint.h"
#include "kernel/errno.h"
#include "kernel/scope_guard.h"
#include "kernel/switch_file.h"

namespace zem {

namespace {

constinit task_struct *consumer = nullptr;

void init_locks_and_completions()
{
	collector_init();
	trace_switch_init();
	shared_buffer_init();
	data_ready.init();
	switch_file::init();
}

bool ring_buffer_create()
{
	buffer.publish(helper_ring_buffer_alloc_overwrite(kRingBufferSize));
	return buffer.load();
}

/*
 * Only the USB probe, which stays attached, may still push records. Later events find no buffer,
 * and the grace period waits for earlier ones.
 */
void ring_buffer_destroy()
{
	trace_buffer *ring = buffer.load();
	buffer.store(nullptr);
	helper_tracepoint_synchronize_unregister();
	data_ready.silence();
	ring_buffer_free(ring);
}

/* Removes the files of /sys/zem, and stops the collector that a writer may have started. */
void withdraw_files()
{
	control_node_withdraw();
	trace_switch_stop_collector();
}

/* Removes the files before the guards of start_hub() free what the files access. */
int withdraw_and_fail(const char *reason)
{
	pr_err("%s", reason);
	withdraw_files();
	return -ENOMEM;
}

/* Creates everything behind the files of /sys/zem. Return: 0, or -ENOMEM with the files removed. */
int start_hub()
{
	if (!ring_buffer_create())
		return withdraw_and_fail("failed to alloc ringbuffer\n");
	ScopeGuard free_ring(ring_buffer_destroy);

	if (shared_buffer_alloc())
		return withdraw_and_fail("failed to alloc zem_buffer_sum\n");
	ScopeGuard free_shared(shared_buffer_free);

	consumer = consumer_create(control_node());
	if (!consumer) {
		withdraw_files();
		return -ENOMEM;
	}
	ScopeGuard stop_consumer([] { consumer_stop(consumer); });

	/* Must be last: a mapping that user space has created cannot be revoked. */
	if (shared_device_register())
		return withdraw_and_fail("failed to create zem share device\n");
	wake_up_process(consumer);

	stop_consumer.dismiss();
	free_shared.dismiss();
	free_ring.dismiss();
	return 0;
}

} /* namespace */

} /* namespace zem */

int zem_init(void)
{
	using namespace zem;

	init_locks_and_completions();

	ScopeGuard abandon_families(families_abandon);
	if (const char *failure = families_init()) {
		pr_crit("%s: %s", __func__, failure);
		return -ENOMEM;
	}

	if (!control_node_create()) {
		pr_crit("%s:zem sys node create error \n", __func__);
		pr_crit("%s: zem sys node create error \n", __func__);
		return -ENOMEM;
	}
	ScopeGuard drop_node(control_node_drop);

	if (control_node_publish()) {
		trace_switch_stop_collector();
		pr_crit("%s:sysfs_create_group failed\n", __func__);
		return -ENOMEM;
	}
	if (const int error = start_hub())
		return error;
	drop_node.dismiss();
	abandon_families.dismiss();

	/* Nothing fails from here on: a restricted probe that outlived the code would crash. */
	families_attach_restricted();
	if (helper_vendor_hooks_stay_attached())
		helper_module_pin();

	counter_files_create();
	families_prime();
	train_number.store(1);
	return 0;
}

/*
 * The consumer ends after one more record or signal, which needs the files. The collector is
 * stopped when it cannot be started again.
 */
void zem_exit(void)
{
	using namespace zem;

	consumer_stop(consumer);
	counter_files_remove();
	withdraw_files();
	shared_device_deregister();
	shared_buffer_free();
	ring_buffer_destroy();
	control_node_drop();
	families_destroy();
}
