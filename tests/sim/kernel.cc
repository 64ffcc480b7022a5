// SPDX-License-Identifier: GPL-2.0
/* The simulated kernel: its single instance, time and threads for tests, leftovers. */
#include "kernel.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace sim {

namespace {

Kernel *the_kernel;

} /* namespace */

std::string symbol_name(const void *address)
{
	std::ostringstream out;
	Dl_info info{};
	if (dladdr(address, &info) && info.dli_sname && info.dli_saddr == address) {
		int status = 0;
		char *demangled = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status);
		out << (demangled ? demangled : info.dli_sname);
		free(demangled);
	} else {
		out << address;
	}
	return out.str();
}

Kernel::Kernel(const Options &options_)
	: options(options_), clock(options), scheduler(options.mode, clock), cpus(options),
	  irq_works(*this), ring_buffers(*this), sysfs(*this), misc(*this), proc(*this),
	  cgroups(*this), blocks(*this), load(*this), hooks(*this), platform(*this)
{
	if (the_kernel)
		std::abort();
	the_kernel = this;
	cpus.on_hotplug([this](unsigned int cpu) { ring_buffers.add_cpu(cpu); });
}

Kernel::~Kernel()
{
	the_kernel = nullptr;
}

Kernel &Kernel::get()
{
	return *the_kernel;
}

void Kernel::run_for(Ticks jiffies)
{
	clock.mark_test();
	scheduler.block("time to pass", [] { return false; }, clock.ticks() + jiffies, true);
}

void Kernel::run_until_idle()
{
	clock.mark_test();
	scheduler.block("the others to be idle", [] { return true; }, {}, true);
}

void Kernel::advance(Ticks jiffies)
{
	clock.advance_to(clock.ticks() + jiffies);
}

Thread Kernel::spawn(std::string name, std::function<void()> body, unsigned int cpu)
{
	task_struct *task = scheduler.create(std::move(name), nullptr);
	task->fields.cpu = cpu;
	task->body = [this, task, body = std::move(body)] {
		body();
		if (task->preempt_count != 0)
			problems.add(task->name + " ended with preemption off");
		if (task->rcu_nesting != 0)
			problems.add(task->name + " ended in an RCU read section");
		if (task->irqs_off != 0)
			problems.add(task->name + " ended with interrupts off");
		return 0;
	};
	scheduler.wake(*task);
	return Thread(task);
}

void Kernel::interrupt(const std::function<void()> &handler)
{
	task_struct &task = Scheduler::current();
	const Context interrupted = std::exchange(task.context, Context::kInterrupt);
	handler();
	task.context = interrupted;
	irq_works.interrupts_on();
}

void Kernel::move_to_cpu(unsigned int cpu)
{
	Scheduler::current().fields.cpu = cpu;
}

void Kernel::might_sleep(const char *call)
{
	const task_struct &task = Scheduler::current();
	if (task.preempt_count != 0 || task.rcu_nesting != 0 || Scheduler::interrupts_off(task))
		problems.add(std::string(call) + " in atomic context by " + task.name);
}

void Kernel::check_leftovers()
{
	for (const std::string &path : sysfs.directories())
		problems.add("/sys/" + path + " is left");
	for (const std::string &name : misc.names())
		problems.add("/dev/" + name + " is left");
	for (const std::string &name : scheduler.unfinished())
		problems.add("the thread " + name + " is left");
	platform.end_tasks();
	if (slab.allocations() != 0)
		problems.add("kernel memory is left");
	if (ring_buffers.count() != 0)
		problems.add("a ring buffer is left");
	if (blocks.references() != 0)
		problems.add("a block device is left in use");
	if (Scheduler::current().preempt_count != 0)
		problems.add("preemption is left off");
	if (Scheduler::current().rcu_nesting != 0)
		problems.add("an RCU read section is left open");
	if (Scheduler::current().irqs_off != 0)
		problems.add("interrupts are left off");
}

Thread::~Thread()
{
	if (task_)
		join();
}

void Thread::join()
{
	Kernel::get().scheduler.reap(*std::exchange(task_, nullptr));
}

bool Thread::ended() const
{
	return task_->exited;
}

} /* namespace sim */

#if defined(__SANITIZE_THREAD__)
/*
 * Volatile accesses (jiffies) race on purpose, in the kernel and here. The compiler calls separate
 * functions for them, which do nothing.
 */
extern "C" {
void __tsan_volatile_read8(void *)
{
}
void __tsan_volatile_write8(void *)
{
}
}
#endif
