// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl unload: unloads the module. The kernel waits for the module's consumer thread without a
 * timeout, and that thread checks whether it should stop only after a record. So one thread makes
 * the system call, while this one creates records until the call returns.
 */
#include "commands/unload.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <string_view>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/options.h"
#include "kernel/control_node.h"
#include "kernel/files.h"
#include "text/output.h"

namespace zemctl {

namespace {

constexpr auto kRecordInterval = std::chrono::milliseconds(20);
constexpr auto kReportAfter = std::chrono::seconds(10);

/* The module leaves these entries below /proc when it is unloaded. */
constexpr std::array<std::string_view, 6> kProcLeftovers = {
	"svp_metrics",	  "sched_metrics", "load_metrics", "load_metrics/load_metrics_report",
	"cgroup_metrics", "zem_procstat",
};

/* An unload that has begun cannot be cancelled, and ends only with the records: ignores signals. */
class SignalsIgnored {
public:
	SignalsIgnored()
		: interrupt_(std::signal(SIGINT, SIG_IGN)),
		  terminate_(std::signal(SIGTERM, SIG_IGN))
	{
	}
	SignalsIgnored(const SignalsIgnored &) = delete;
	SignalsIgnored &operator=(const SignalsIgnored &) = delete;
	~SignalsIgnored()
	{
		std::signal(SIGINT, interrupt_);
		std::signal(SIGTERM, terminate_);
	}

private:
	using Handler = void (*)(int);
	Handler interrupt_;
	Handler terminate_;
};

/* Switches trace on: with trace off there are no records. The unload stops the collector. */
class TraceOn {
public:
	explicit TraceOn(const ControlNode &node)
		: node_(node), was_off_(node.read_number("trace_on") == 0)
	{
		if (was_off_)
			node_.write_number("trace_on", 1);
	}

	void restore() const
	{
		if (was_off_)
			node_.write_number("trace_on", 0);
	}

private:
	const ControlNode &node_;
	bool was_off_;
};

/* Returns whether the unload has begun. A module that is in use stays "live" and needs no records.
 */
bool has_begun_to_go(const Paths &paths)
{
	try {
		return read_whole_file(paths.module + "/initstate") != "live\n";
	} catch (const Failure &) {
		return true;
	}
}

/*
 * Creates a record, and hands the shared buffer back: with a full buffer the consumer would wait
 * for a reader first.
 */
void make_record(const ControlNode &node)
{
	try {
		node.write("test", "unload");
		read_whole_file(node.path("test"));
	} catch (const Failure &) {
		/* The module removed its files meanwhile, so it needs no more records. */
		return;
	}
}

[[noreturn]] void fail(int error)
{
	switch (error) {
	case EAGAIN:
	case EBUSY:
		throw Failure(
			"unload: the module is in use, by a mapping of the shared buffer, by "
			"another module or, on a kernel with vendor hooks, by its own probes: "
			"nothing changed");
	case ENOENT:
		throw Failure("unload: the zem module is not loaded");
	case EPERM:
		throw Failure(
			"unload: not permitted: only root may unload a module, and only if the "
			"kernel allows it");
	default:
		throw system_failure("unload", error);
	}
}

std::string leftovers(const Paths &paths)
{
	std::string text;
	const auto add = [&text](const std::string &path) {
		if (::access(path.c_str(), F_OK) == 0)
			text += fmt::format("  {}\n", path);
	};
	for (const std::string_view name : kProcLeftovers)
		add(fmt::format("{}/{}", paths.proc, name));
	add(paths.kioind);
	return text;
}

} // namespace

int delete_zem_module()
{
	return ::syscall(SYS_delete_module, "zem", O_NONBLOCK) == 0 ? 0 : errno;
}

int run_unload(const Paths &paths, const DeleteModule &delete_module)
{
	const ControlNode node(paths.sysfs);
	const SignalsIgnored ignored;
	const TraceOn trace(node);
	const auto begin = std::chrono::steady_clock::now();
	auto outcome = std::async(std::launch::async, delete_module);
	bool reported = false;
	while (outcome.wait_for(kRecordInterval) != std::future_status::ready) {
		if (has_begun_to_go(paths))
			make_record(node);
		if (!reported && std::chrono::steady_clock::now() - begin > kReportAfter) {
			fmt::print(stderr,
				   "zemctl: unload: still waiting for the module's threads, see "
				   "the kernel's log\n");
			reported = true;
		}
	}
	if (const int error = outcome.get(); error != 0) {
		trace.restore();
		fail(error);
	}

	std::string text = "unloaded\n";
	if (const std::string left = leftovers(paths); !left.empty())
		text += "left behind, by the module's design:\n" + left;
	write_to_stdout(text);
	return kStatusSuccess;
}

void add_unload(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"unload", "Unload the module, with the record that its consumer thread waits for");
	runs(*command, line, [](const Paths &paths) { return run_unload(paths); });
}

} // namespace zemctl
