/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tracepoints and the platform's hooks. The module attaches probes, and the test raises hooks. A
 * hook calls its probes on the calling task's CPU, in the context of a real machine. Any thread.
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

/* Calls take no lock, so they do not order threads. Slots are changed one at a time. */
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

	/* Raises a hook like the platform. on_cpu() and move_to_cpu() select the CPU. */
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

	/* Moves the calling task to @cpu, and returns this object. */
	Hooks &on_cpu(unsigned int cpu);

	/* Names of the hooks with a probe, once for each probe. */
	[[nodiscard]] std::vector<std::string> attached() const;

	/* For the module's calls. Return: 0 or a negative error code. */
	[[nodiscard]] int attach(tracepoint &hook, void *probe, void *data, size_t most);
	[[nodiscard]] int detach(tracepoint &hook, void *probe, void *data);

	/* Detaches all probes, as a platform does before the module's code is freed. */
	void clear();

private:
	template <typename... Arguments>
	void raise(tracepoint &hook, Arguments... arguments);
	template <typename... Arguments>
	void raise_under_run_queue_lock(tracepoint &hook, Arguments... arguments);

	Kernel &kernel_;
};

} /* namespace sim */
