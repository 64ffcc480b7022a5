// SPDX-License-Identifier: GPL-2.0
/* Commands that read text, level and time of the kernel's messages, unchanged. */
#include "commands.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "system.h"

namespace {

struct Message {
	unsigned int priority; /* facility * 8 + level */
	unsigned long long number;
	unsigned long long microseconds;
	std::string caller; /* task or CPU, if the kernel prints it */
	std::string text;
};

/* Complaints about an emulated machine that is short of CPU time. */
bool is_machine_noise(const std::string &text)
{
	static constexpr const char *kNoise[] = {
		"hrtimer: interrupt took",
		"sched: DL replenish lagged",
		"sched: RT throttling activated",
		"clocksource: ",
	};
	return std::ranges::any_of(kNoise,
				   [&](const char *noise) { return text.starts_with(noise); });
}

/* Calls @each for all messages in the kernel's log. */
template <typename Each>
void for_each_message(Each each)
{
	const File log("/dev/kmsg", O_RDONLY | O_NONBLOCK);
	if (log.fd() < 0)
		give_up("/dev/kmsg");
	char record[8192];
	for (;;) {
		const ssize_t got = ::read(log.fd(), record, sizeof(record) - 1);
		if (got < 0 && errno == EPIPE) /* overwritten meanwhile: the next read continues */
			continue;
		if (got <= 0)
			return;
		record[got] = '\0';
		Message message;
		const char *text = std::strchr(record, ';');
		if (!text || std::sscanf(record, "%u,%llu,%llu", &message.priority, &message.number,
					 &message.microseconds) != 3)
			continue;
		if (const char *caller = std::strstr(record, "caller="); caller && caller < text)
			message.caller.assign(caller, std::strcspn(caller, ",;"));
		text++;
		message.text.assign(text, std::strcspn(text, "\n"));
		each(message);
	}
}

/*
 * Passes on messages, except reports of data races without a function of the modules. A report
 * consists of the messages of one caller between two lines of equals signs. Messages of others
 * meanwhile are passed on before it.
 */
template <typename Print>
class RaceReports {
public:
	explicit RaceReports(Print print) : print_(print) {}

	void pass(const Message &message)
	{
		const bool is_bar = message.text == std::string(66, '=');
		if (report_.empty() ? !is_bar : message.caller != report_[0].caller) {
			print_(message);
			return;
		}
		const bool is_end = is_bar && !report_.empty();
		report_.push_back(message);
		if (is_end)
			finish();
	}

	void finish()
	{
		const bool is_race = has("BUG: KCSAN: ");
		if (!is_race || has("[zem]") || has("[zem_"))
			std::ranges::for_each(report_, print_);
		report_.clear();
	}

private:
	bool has(const char *part) const
	{
		return std::ranges::any_of(report_, [&](const Message &message) {
			return message.text.find(part) != std::string::npos;
		});
	}

	Print print_;
	std::vector<Message> report_;
};

} // namespace

/* Leaves out messages of user space, noise, and data races of the kernel itself. */
int run_log(Arguments arguments)
{
	const bool with_times = std::strcmp(arguments[0], "--times") == 0;
	const auto after = static_cast<unsigned long long>(number(arguments[with_times ? 1 : 0]));
	const auto print = [&](const Message &message) {
		if (message.number <= after || message.priority >= 8 ||
		    is_machine_noise(message.text))
			return;
		if (with_times)
			std::printf("%llu ", message.microseconds);
		std::printf("%u %s\n", message.priority, message.text.c_str());
	};
	RaceReports reports(print);

	for_each_message([&](const Message &message) { reports.pass(message); });
	reports.finish();
	return 0;
}

int run_log_end(Arguments)
{
	unsigned long long last = 0;
	for_each_message([&](const Message &message) { last = message.number; });
	std::printf("%llu\n", last);
	return 0;
}
