/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tracepoints, and the platform's hooks that are built on them: the module attaches probes, the
 * test raises. A hook runs its probes on the calling task's CPU, in the context that it has on a
 * real machine. Any thread.
 */
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

struct bio;
struct kiocb;
struct task_struct;

/* Calls take no lock, so that they order nobody; the slots are filled and emptied one at a time. */
struct tracepoint {
	struct Probe {
		std::atomic<void *> function{nullptr};
		void *data = nullptr;
	};

	const char *const name;
	std::array<Probe, 4> probes{};
};

namespace sim {

class Kernel;

class Hooks {
public:
	explicit Hooks(Kernel &kernel) : kernel_(kernel) { clear(); }
	~Hooks() { clear(); }

	/* As the platform raises them; on_cpu() and move_to_cpu() choose where. */
	void sched_info_depart(task_struct *task, unsigned long long runtime);
	void rs_warn_set_svp_task(task_struct *task);
	void sched_info_dequeued(task_struct *task, unsigned long long delay);
	void sched_info_arrive(task_struct *task, unsigned long long delay,
			       unsigned long long ignored = 0xdeadbeef);
	void irqtime_account_hardirq(unsigned long long delta);
	void task_d_state_dura_record(task_struct *task, unsigned long long duration);
	void sched_stat_wait(task_struct *task, unsigned long long delay);
	void sched_stat_blocked(task_struct *task, unsigned long long delay);
	void vh_sched_stat_blocked(task_struct *task, unsigned long long delay);
	void blk_bio_submit_record_task(bio *bio);
	void blk_bio_clone_flag(bio *clone, bio *source);
	void blk_bio_endio_record_bi_issue(bio *bio);
	void task_rchar(kiocb *iocb, task_struct *task, long long bytes);
	void task_wchar(kiocb *iocb, task_struct *task, long long bytes);
	void usb_zem_set(void *subject, int type);

	/* The same object, after the calling task was moved to @cpu. */
	Hooks &on_cpu(unsigned int cpu);

	/* Names of the hooks that have a probe, once for each probe. */
	[[nodiscard]] std::vector<std::string> attached() const;

	/* The module's side. Return: 0 or a negative error code. */
	[[nodiscard]] int attach(tracepoint &hook, void *probe, void *data, size_t most);
	[[nodiscard]] int detach(tracepoint &hook, void *probe, void *data);

	/* What a platform does before the code of a module goes away. */
	void clear();

private:
	template <typename... Arguments>
	void raise(tracepoint &hook, Arguments... arguments);
	template <typename... Arguments>
	void raise_under_run_queue_lock(tracepoint &hook, Arguments... arguments);

	Kernel &kernel_;
};

} /* namespace sim */
