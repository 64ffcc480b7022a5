// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl unload: takes the module out of the kernel. Its consumer thread, for which the kernel
 * waits without end, looks for the wish to stop only behind a record. So one thread makes the
 * system call, and this one makes records until the call is over.
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
constexpr auto kPatience = std::chrono::seconds(10);

/* The module's own shut-down leaves these below /proc. */
constexpr std::array<std::string_view, 6> kProcLeftovers = {
	"svp_metrics",	  "sched_metrics", "load_metrics", "load_metrics/load_metrics_report",
	"cgroup_metrics", "zem_procstat",
};

/* Half-way there is no way back, and without our records no end: an interrupt has to wait. */
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

/* With trace off there are no records. Its collector is stopped by the shut-down itself. */
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

/* A module that cannot go now stays "live", and gets no records for nothing. */
bool has_begun_to_go(const Paths &paths)
{
	try {
		return read_whole_file(paths.module + "/initstate") != "live\n";
	} catch (const Failure &) {
		return true;
	}
}

/*
 * The record, and room for it: a consumer whose buffer is full would wait for a reader first. The
 * files may go at any moment.
 */
void make_record(const ControlNode &node)
{
	try {
		node.write("test", "unload");
		read_whole_file(node.path("test"));
	} catch (const Failure &) {
	}
}

[[noreturn]] void fail(int error)
{
	switch (error) {
	case EAGAIN:
	case EBUSY:
		throw Failure(
			"unload: the module is in use, by a mapping of the shared buffer or by "
			"another module: nothing changed");
	case ENOENT:
		throw Failure("unload: the zem module is not loaded");
	case EPERM:
		throw Failure(
			"unload: not permitted: only root may, where the kernel lets modules go "
			"at all");
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
	bool told = false;
	while (outcome.wait_for(kRecordInterval) != std::future_status::ready) {
		if (has_begun_to_go(paths))
			make_record(node);
		if (!told && std::chrono::steady_clock::now() - begin > kPatience) {
			fmt::print(stderr,
				   "zemctl: unload: the module's threads take their time, see "
				   "the kernel's log\n");
			told = true;
		}
	}
	if (const int error = outcome.get(); error != 0) {
		trace.restore();
		fail(error);
	}

	Output output(STDOUT_FILENO, "standard output");
	output.append("unloaded\n");
	if (const std::string left = leftovers(paths); !left.empty())
		output.append("left behind, by the module's design:\n" + left);
	output.flush();
	return kStatusSuccess;
}

void add_unload(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"unload", "Take the module out of the kernel, with the record that it waits for");
	runs(*command, line, [](const Paths &paths) { return run_unload(paths); });
}

} // namespace zemctl
