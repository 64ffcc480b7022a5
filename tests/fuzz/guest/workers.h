/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The workers. Each is a process of its own and works in sessions until the ledger says stop. What
 * a session does is decided by the seed, the worker's number and the session's.
 */
#pragma once

#include <cstdint>

#include "ledger.h"

namespace fuzz {

struct Worker {
	Ledger &ledger;
	std::uint64_t seed;
	unsigned int number;
};

/* An ordinary app's, for the workers without rights. */
inline constexpr unsigned int kAppUid = 10'007;

/* Stores to the files that the process may write. */
void work_on_stores(const Worker &worker);
/* Stores to trace_on only: the write that stops the collector takes seconds. */
void work_on_trace_switch(const Worker &worker);
/* Reads of the files that the process may read. */
void work_on_reads(const Worker &worker);
/* System calls on /dev/zem_shared. */
void work_on_device(const Worker &worker);
/* Unloads the module and loads @module_path. */
void work_on_module(const Worker &worker, const char *module_path);

/* For the verdict, when no worker runs: Return: whether it went away and came back. */
bool reload_module(Ledger &ledger, const char *module_path);

} // namespace fuzz
