/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The CPU of the calling thread, and the CPUs that the process may use. A thread that enters a CPU
 * is its only task: nothing else uses the CPU's per-CPU variables.
 */
#pragma once

#include <cstddef>
#include <vector>

struct task_struct;

namespace host {

/* All of them are possible, and online. */
inline constexpr unsigned int kCpus = 64;

struct Cpu {
	unsigned int id;
	int preempt_count;
	std::ptrdiff_t percpu_offset; /* from a per-CPU variable to this CPU's instance */
	task_struct *current;
};

inline thread_local constinit Cpu this_cpu{};

/* Creates the instances of the per-CPU variables, with their initial values. Call it first. */
void create_percpu();

/*
 * Makes @task the current task of @cpu for the calling thread, and pins the thread to the real CPU
 * of that index in real_cpus(). With fewer real CPUs, several share one. Return: false if the
 * thread could not be pinned.
 */
bool enter_cpu(unsigned int cpu, task_struct *task);

/* Return: the CPUs that the process may use, one of each core first. Fixed at the first call. */
const std::vector<int> &real_cpus();

/* Return: the number of cores that the CPUs belong to. */
std::size_t real_cores();

} /* namespace host */
