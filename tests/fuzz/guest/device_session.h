/* SPDX-License-Identifier: GPL-2.0 */
/*
 * One session of system calls on /dev/zem_shared. It opens the device several times, maps it in
 * many ways, ignores errors, uses the mappings, also from children, and finally closes everything,
 * because the module can be unloaded only then.
 */
#pragma once

#include <cstddef>
#include <vector>

#include <sys/types.h>

#include "ledger.h"
#include "random.h"

namespace fuzz {

struct Mapping {
	char *begin;
	std::size_t size; /* whole pages */
};

class DeviceSession {
public:
	DeviceSession(Ledger &ledger, Random random) : ledger_(ledger), random_(random) {}
	~DeviceSession();
	DeviceSession(const DeviceSession &) = delete;
	DeviceSession &operator=(const DeviceSession &) = delete;

	/* Turns an access to missing memory into an error. Call once in each process. */
	static void catch_faults();

	struct Call {
		const char *name;
		long (DeviceSession::*make)();
	};
	static const Call kCalls[];

	void run();

	long open();
	long close();
	long map();
	long map_over();
	long unmap();
	long protect();
	long remap();
	long advise();
	long read_memory();
	long write_memory();
	long write_from_memory();
	long read_into_memory();
	long copy_by_process();
	long lock();
	long unlock();
	long sync();
	long in_core();
	long fork();
	long control();
	long read();
	long write();
	long poll();
	long seek();
	long truncate();
	long flags();
	long file_lock();
	long send();
	long show_maps();

private:
	static constexpr std::size_t kPage = 4096;
	static constexpr std::size_t kMost = 12;

	int file() { return files_.empty() ? -1 : files_[random_.below(files_.size())]; }
	/* Returns a mapping, or a page of inaccessible memory. */
	Mapping mapping();
	/* Returns some or all pages of a mapping. */
	Mapping part();
	long keep(void *address, std::size_t size);

	Ledger &ledger_;
	Random random_;
	std::vector<int> files_;
	std::vector<Mapping> mappings_;
	std::vector<pid_t> children_;
};

} // namespace fuzz
