/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The workers. Each is a process that works in sessions until the ledger stops it. The seed, the
 * worker's number and the session's number determine the calls of a session.
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

/* The UID of an ordinary app, for the workers without privileges. */
inline constexpr unsigned int kAppUid = 10'007;

/* Stores to the files that the process may write. */
void work_on_stores(const Worker &worker);
/* Stores only to trace_on: the write that stops the collector takes seconds. */
void work_on_trace_switch(const Worker &worker);
/* Reads of the files that the process may read. */
void work_on_reads(const Worker &worker);
/* System calls on /dev/zem_shared. */
void work_on_device(const Worker &worker);
/* Unloads the module and loads @module_path. */
void work_on_module(const Worker &worker, const char *module_path);

/* For the final check, when no worker runs. Return: whether the module was unloaded and loaded. */
bool reload_module(Ledger &ledger, const char *module_path);

} // namespace fuzz
