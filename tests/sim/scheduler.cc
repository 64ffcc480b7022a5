// SPDX-License-Identifier: GPL-2.0
/* Passes the baton to the task that runs next, and advances time. */
#include "scheduler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "clock.h"

namespace sim {

namespace {

thread_local task_struct *current_task;

/* No wait of the module is this long: it would never end. */
constexpr Ticks kLongestWait = 48UL * 3600 * kHz;

} /* namespace */

Scheduler::Scheduler(Mode mode, Clock &clock) : mode_(mode), clock_(clock)
{
	tasks_.push_back(std::make_unique<task_struct>());
	running_ = tasks_.front().get();
	running_->name = "test";
	running_->woken = true;
	current_task = running_;
}

Scheduler::~Scheduler()
{
	current_task = nullptr;
	for (auto &task : tasks_) {
		if (!task->thread.joinable())
			continue;
		/* A remaining thread cannot be ended, but its test has failed already. */
		if (task->exited)
			task->thread.join();
		else
			std::_Exit(EXIT_FAILURE);
	}
}

task_struct &Scheduler::current()
{
	if (!current_task) {
		fputs("a call of the kernel from a thread that the simulation does not know\n",
		      stderr);
		std::abort();
	}
	return *current_task;
}

task_struct *Scheduler::create(std::string name, std::function<int()> body)
{
	std::lock_guard guard(lock_);
	auto &task = tasks_.emplace_back(std::make_unique<task_struct>());
	task->name = std::move(name);
	task->body = std::move(body);
	return task.get();
}

void Scheduler::run(task_struct &task)
{
	current_task = &task;
	if (!free_running()) {
		std::unique_lock guard(lock_);
		task.baton.wait(guard, [&] { return running_ == &task; });
	}
	task.result = task.body();

	std::lock_guard guard(lock_);
	task.exited = true;
	exits_.notify_all();
	if (!free_running()) {
		running_ = &pick();
		running_->baton.notify_one();
	}
}

void Scheduler::wake(task_struct &task)
{
	std::lock_guard guard(lock_);
	if (task.woken)
		return;
	task.woken = true;
	task.thread = std::thread([this, &task] { run(task); });
}

int Scheduler::reap(task_struct &task)
{
	if (free_running()) {
		std::unique_lock guard(lock_);
		exits_.wait(guard, [&] { return task.exited; });
	} else {
		block("the end of " + task.name, [&] { return task.exited; }, {});
	}
	task.thread.join();
	const int result = task.result;
	discard(task);
	return result;
}

void Scheduler::discard(task_struct &task)
{
	std::lock_guard guard(lock_);
	tasks_.remove_if([&](const auto &other) { return other.get() == &task; });
}

bool Scheduler::can_run(const task_struct &task, bool idle) const
{
	if (!task.woken || task.exited || task.only_when_idle != idle)
		return false;
	const bool in_time = !task.deadline || clock_.ticks() < *task.deadline;
	return !in_time || !task.condition || task.condition();
}

/* Round robin, starting after the running task. */
task_struct *Scheduler::next_to_run(bool idle)
{
	auto from = std::find_if(tasks_.begin(), tasks_.end(),
				 [&](const auto &task) { return task.get() == running_; });
	if (from != tasks_.end())
		++from;
	for (size_t i = 0; i < tasks_.size(); i++) {
		if (from == tasks_.end())
			from = tasks_.begin();
		if (can_run(**from, idle))
			return from->get();
		++from;
	}
	return nullptr;
}

void Scheduler::advance_time()
{
	std::optional<Ticks> earliest;
	for (const auto &task : tasks_)
		if (task->woken && !task->exited && task->deadline)
			earliest = std::min(earliest.value_or(*task->deadline), *task->deadline);
	if (!earliest)
		die("every task waits for ever");
	if (*earliest > kLongestWait + clock_.test_ticks())
		die("a wait that does not end");
	clock_.advance_to(*earliest);
}

task_struct &Scheduler::pick()
{
	for (;;) {
		if (task_struct *task = next_to_run(false))
			return *task;
		if (task_struct *task = next_to_run(true))
			return *task;
		advance_time();
	}
}

void Scheduler::pass_baton(task_struct &from)
{
	std::unique_lock guard(lock_);
	task_struct &next = pick();
	if (&next == &from)
		return;
	running_ = &next;
	next.baton.notify_one();
	from.baton.wait(guard, [&] { return running_ == &from; });
}

bool Scheduler::block(const std::string &waits_on, std::function<bool()> condition,
		      std::optional<Ticks> deadline, bool only_when_idle)
{
	task_struct &task = current();
	if (task.thread.get_id() == std::thread::id() && &task != tasks_.front().get())
		die("what happens meanwhile on another CPU blocks on " + waits_on);
	task.waits_on = waits_on;
	task.condition = condition;
	task.deadline = deadline;
	task.only_when_idle = only_when_idle;
	pass_baton(task);
	task.waits_on.clear();
	task.condition = nullptr;
	task.deadline.reset();
	task.only_when_idle = false;
	return condition();
}

void Scheduler::meanwhile_on_cpu(unsigned int cpu, const std::function<void()> &action)
{
	task_struct other;
	other.name = "meanwhile";
	other.fields.cpu = cpu;
	task_struct *self = std::exchange(current_task, &other);
	action();
	current_task = self;
}

std::list<std::string> Scheduler::unfinished()
{
	std::lock_guard guard(lock_);
	std::list<std::string> names;
	for (const auto &task : tasks_)
		if (task != tasks_.front() && !task->exited)
			names.push_back(task->name);
	return names;
}

std::string Scheduler::dump_locked() const
{
	std::ostringstream out;
	for (const auto &task : tasks_) {
		out << "  " << task->name << " (cpu " << task->fields.cpu << "): ";
		if (task->exited)
			out << "has ended";
		else if (!task->woken)
			out << "was never woken";
		else if (task->waits_on.empty())
			out << "can run";
		else
			out << "waits on " << task->waits_on;
		if (!task->exited && task->deadline)
			out << ", for " << *task->deadline - clock_.ticks() << " jiffies more";
		out << '\n';
	}
	return out.str();
}

std::string Scheduler::dump()
{
	std::lock_guard guard(lock_);
	return dump_locked();
}

void Scheduler::die(const std::string &why)
{
	fprintf(stderr, "DEADLOCK: %s\n%s", why.c_str(), dump_locked().c_str());
	fflush(nullptr);
	std::_Exit(EXIT_FAILURE);
}

} /* namespace sim */
