// SPDX-License-Identifier: GPL-2.0
/* zemtest: runs a command. Called by the test cases in the guest. */
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace {

struct Command {
	const char *name;
	int least; /* number of arguments */
	int (*run)(Arguments arguments);
	const char *usage;
};

constexpr Command kCommands[] = {
	{"store", 2, run_store,
	 "FILE TEXT...: one write for each, the outcome, what FILE then has"},
	{"read", 1, run_read, "FILE: one read from it"},
	{"fault", 1, run_fault, "FILE: a write from an address where nothing is"},
	{"unload", 1, run_unload, "MODULE: the outcome of delete_module"},
	{"keep-open", 1, run_keep_open,
	 "FILE...: opens the files and reads a byte, stops, does so again: the outcome"},
	{"now", 0, run_now, ": wall-clock time in ns"},
	{"shift-clock", 1, run_shift_clock, "SECONDS: sets the wall clock forward or back"},
	{"log", 1, run_log, "[--times] AFTER: level and text of the kernel's own messages"},
	{"log-end", 0, run_log_end, ": number of the last message"},
	{"map", 1, run_map, "SIZE [OFFSET]: maps the shared buffer; its first 32 bytes"},
	{"mappings", 0, run_mappings, ": what can be done to mappings of the shared buffer"},
	{"scribble", 1, run_scribble,
	 "FROM: writes to the shared buffer from that byte to its end"},
	{"hold", 0, run_hold,
	 "[second-page|child]: keeps the shared buffer mapped until killed, or only that page; a "
	 "child does it"},
	{"refusals", 0, run_refusals, ": what the device does not do"},
	{"notified", 2, run_notified, "MS COMMAND: does COMMAND raise a notification in time?"},
	{"peek", 0, run_peek, ": the records in the shared buffer, which is left as it is"},
	{"take", 1, run_take, "COUNT [MS]: waits for so many records, then hands back"},
	{"flush", 0, run_flush, ": hands back until nothing more comes"},
	{"drain", 1, run_drain, "FILE: appends all records to FILE until SIGTERM"},
	{"verify", 1, run_verify, "FILE [NAME=VALUE...]: checks a capture of stamped records"},
	{"count", 1, run_count, "FILE: the number of records in a capture"},
	{"spin", 2, run_spin, "CPU MS [BUSY REST]: stops, uses that CPU for so long, stops"},
	{"direct-reads", 2, run_direct_reads, "FILE COUNT: stops, reads from the device, stops"},
	{"wait-for-exec", 2, run_wait_for_exec,
	 "COUNT MS: stops, waits for children to exec, stops"},
	{"sleepers", 1, run_sleepers, "COUNT [UID]: process ids of children named sleeper-0, ..."},
	{"second-thread", 0, run_second_thread, ": ids of a process and of its second thread"},
	{"zombie", 0, run_zombie,
	 "[UID FILE]: process id of a child that has read FILE, has exited and stays"},
	{"transfers", 2, run_transfers,
	 "FILE BYTES [dsync|sync|rwf-dsync|rwf-sync]: stops, writes and reads in five ways, stops"},
	{"load-failing", 2, run_load_failing,
	 "FILE N: loads a module while its Nth allocation fails"},
	{"load-without-threads", 1, run_load_without_threads,
	 "FILE: loads a module while the kernel refuses new threads"},
	{"pieces", 4, run_pieces,
	 "FILE read|write BYTES COUNT [direct|dsync|direct-dsync|threads|fsync|cut]: stops, "
	 "transfers pieces, stops"},
	{"as", 2, run_as,
	 "REAL[:EFFECTIVE] PROGRAM [ARGUMENT...]: runs it as that user, who has no rights"},
	{"kio-sums", 1, run_kio_sums, "FILE: what all IO snapshots of a capture add up to"},
	{"returns", 2, run_returns, "FILE MODULE: how its functions protect return addresses"},
	{"storm", 2, run_storm, "SECONDS WORKERS: makes tasks that fork, exec, switch and exit"},
};

int usage()
{
	for (const Command &command : kCommands)
		std::fprintf(stderr, "zemtest %s %s\n", command.name, command.usage);
	return 2;
}

} // namespace

int main(int argc, char **argv)
{
	/* Line-buffered: the reader of a pipe sees each line immediately. */
	std::setvbuf(stdout, nullptr, _IOLBF, 0);
	if (argc < 2)
		return usage();
	for (const Command &command : kCommands)
		if (std::strcmp(argv[1], command.name) == 0 && argc - 2 >= command.least)
			return command.run(Arguments(argv + 2, static_cast<std::size_t>(argc - 2)));
	return usage();
}
