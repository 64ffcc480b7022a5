// SPDX-License-Identifier: GPL-2.0
/* The hooks, the registration of probes, and calls of them. */
#include "tracepoint.h"

#include <cerrno>
#include <string_view>

#include "kernel.h"
#include "kernel/api/tracepoint.h"
#include "platform/contract.h"

namespace {

/* The tests name a vendor hook without the prefix that all of them have. */
constexpr const char *short_name(std::string_view name)
{
	constexpr std::string_view kPrefix = "android_";
	return name.data() + (name.starts_with(kPrefix) ? kPrefix.size() : 0);
}

} /* namespace */

#define DEFINE_HOOK(name, ...) struct tracepoint __tracepoint_##name = {short_name(#name), {}};
PLATFORM_HOOKS(DEFINE_HOOK)
#undef DEFINE_HOOK

namespace sim {

namespace {

#define HOOK_ADDRESS(name, ...) &__tracepoint_##name,
tracepoint *const kHooks[] = {PLATFORM_HOOKS(HOOK_ADDRESS)};
#undef HOOK_ADDRESS

} /* namespace */

template <typename... Arguments>
void Hooks::raise(tracepoint &hook, Arguments... arguments)
{
	task_struct &task = Scheduler::current();
	kernel_.rcu.read_lock();
	task.preempt_count++;
	const int preempt_count = task.preempt_count;
	const int nesting = task.rcu_nesting;
	const int irqs_off = task.irqs_off;
	for (const tracepoint::Probe &probe : hook.probes) {
		void *function = probe.function.load(std::memory_order_acquire);
		if (!function)
			continue;
		reinterpret_cast<void (*)(void *, Arguments...)>(function)(probe.data,
									   arguments...);
		if (task.rcu_nesting != nesting || task.preempt_count != preempt_count ||
		    task.irqs_off != irqs_off)
			kernel_.problems.add(std::string("a probe of ") + hook.name +
					     " left something locked");
	}
	task.preempt_count--;
	kernel_.rcu.read_unlock();
}

template <typename... Arguments>
void Hooks::raise_under_run_queue_lock(tracepoint &hook, Arguments... arguments)
{
	kernel_.under_run_queue_lock([&] { raise(hook, arguments...); });
}

void Hooks::sched_info_depart(task_struct *task, unsigned long long runtime)
{
	raise_under_run_queue_lock(__tracepoint_android_vh_sched_info_depart, task, runtime);
}

void Hooks::rs_warn_set_svp_task(task_struct *task)
{
	raise(__tracepoint_android_vh_rs_warn_set_svp_task, task);
}

void Hooks::sched_info_dequeued(task_struct *task, unsigned long long delay)
{
	raise_under_run_queue_lock(__tracepoint_android_rvh_sched_info_dequeued, task, delay);
}

void Hooks::sched_info_arrive(task_struct *task, unsigned long long delay,
			      unsigned long long ignored)
{
	raise_under_run_queue_lock(__tracepoint_android_rvh_sched_info_arrive, task, ignored,
				   delay);
}

void Hooks::irqtime_account_hardirq(unsigned long long delta)
{
	kernel_.interrupt([&] { raise(__tracepoint_android_rvh_irqtime_account_hardirq, delta); });
}

void Hooks::task_d_state_dura_record(task_struct *task, unsigned long long duration)
{
	raise_under_run_queue_lock(__tracepoint_android_vh_task_d_state_dura_record, task,
				   duration);
}

void Hooks::sched_stat_wait(task_struct *task, unsigned long long delay)
{
	raise_under_run_queue_lock(__tracepoint_sched_stat_wait, task, delay);
}

void Hooks::sched_stat_blocked(task_struct *task, unsigned long long delay)
{
	raise_under_run_queue_lock(__tracepoint_sched_stat_blocked, task, delay);
}

void Hooks::vh_sched_stat_blocked(task_struct *task, unsigned long long delay)
{
	raise_under_run_queue_lock(__tracepoint_android_vh_sched_stat_blocked, task, delay);
}

void Hooks::blk_bio_submit_record_task(bio *bio)
{
	raise(__tracepoint_android_vh_blk_bio_submit_record_task, bio);
}

void Hooks::blk_bio_clone_flag(bio *clone, bio *source)
{
	raise(__tracepoint_android_vh_blk_bio_clone_flag, clone, source);
}

void Hooks::blk_bio_endio_record_bi_issue(bio *bio)
{
	kernel_.interrupt(
		[&] { raise(__tracepoint_android_vh_blk_bio_endio_record_bi_issue, bio); });
}

void Hooks::task_rchar(kiocb *iocb, task_struct *task, long long bytes)
{
	raise(__tracepoint_android_vh_task_rchar, iocb, task, bytes);
}

void Hooks::task_wchar(kiocb *iocb, task_struct *task, long long bytes)
{
	raise(__tracepoint_android_vh_task_wchar, iocb, task, bytes);
}

void Hooks::usb_zem_set(void *subject, int type)
{
	raise(__tracepoint_android_vh_usb_zem_set, subject, type);
}

Hooks &Hooks::on_cpu(unsigned int cpu)
{
	kernel_.move_to_cpu(cpu);
	return *this;
}

std::vector<std::string> Hooks::attached() const
{
	std::vector<std::string> names;
	for (const tracepoint *hook : kHooks)
		for (const tracepoint::Probe &probe : hook->probes)
			if (probe.function.load())
				names.emplace_back(hook->name);
	return names;
}

int Hooks::attach(tracepoint &hook, void *function, void *data, size_t most)
{
	tracepoint::Probe *free_slot = nullptr;
	size_t taken = 0;
	for (tracepoint::Probe &probe : hook.probes) {
		void *other = probe.function.load(std::memory_order_relaxed);
		taken += other != nullptr;
		if (!other && !free_slot)
			free_slot = &probe;
		if (other != function || probe.data != data)
			continue;
		kernel_.problems.add(std::string("the same probe twice on ") + hook.name);
		return -EEXIST;
	}
	if (taken >= most || !free_slot)
		return -EBUSY;
	free_slot->data = data;
	free_slot->function.store(function, std::memory_order_release);
	return 0;
}

int Hooks::detach(tracepoint &hook, void *function, void *data)
{
	for (tracepoint::Probe &probe : hook.probes) {
		if (probe.function.load(std::memory_order_relaxed) != function ||
		    probe.data != data)
			continue;
		probe.function.store(nullptr, std::memory_order_release);
		return 0;
	}
	kernel_.problems.add(std::string("no such probe on ") + hook.name);
	return -ENOENT;
}

void Hooks::clear()
{
	for (tracepoint *hook : kHooks)
		for (tracepoint::Probe &probe : hook->probes)
			probe.function.store(nullptr, std::memory_order_release);
}

} /* namespace sim */

using sim::Kernel;

int tracepoint_probe_register(struct tracepoint *tp, void *probe, void *data)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("tracepoint_probe_register");
	if (kernel.faults.strikes("tracepoint_probe_register"))
		return -ENOMEM;
	return kernel.hooks.attach(*tp, probe, data, tp->probes.size());
}

int tracepoint_probe_unregister(struct tracepoint *tp, void *probe, void *data)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("tracepoint_probe_unregister");
	kernel.faults.strikes("tracepoint_probe_unregister");
	return kernel.hooks.detach(*tp, probe, data);
}

void helper_tracepoint_synchronize_unregister(void)
{
	Kernel &kernel = Kernel::get();
	kernel.faults.strikes("tracepoint_synchronize_unregister");
	kernel.rcu.synchronize();
}

int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("android_rvh_probe_register");
	if (kernel.faults.strikes("android_rvh_probe_register"))
		return -ENOMEM;
	return kernel.hooks.attach(*hook, probe, data, 1);
}
