// SPDX-License-Identifier: GPL-2.0
/* printk: splits the level from the text and keeps both. */
#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "kernel/api/printk.h"
#include "kernel.h"

namespace sim {

std::ostream &operator<<(std::ostream &out, const LogLine &line)
{
	return out << '<' << line.level << "> \"" << line.text << '"';
}

void Log::add(LogLine line)
{
	std::lock_guard guard(lock_);
	lines_.push_back(std::move(line));
}

std::vector<LogLine> Log::take()
{
	std::lock_guard guard(lock_);
	const auto begin = lines_.begin() + static_cast<std::ptrdiff_t>(taken_);
	taken_ = lines_.size();
	return {begin, lines_.end()};
}

bool Log::take_first(const std::vector<LogLine> &lines)
{
	std::lock_guard guard(lock_);
	if (lines_.size() - taken_ < lines.size() ||
	    !std::equal(lines.begin(), lines.end(),
			lines_.begin() + static_cast<std::ptrdiff_t>(taken_)))
		return false;
	taken_ += lines.size();
	return true;
}

bool Log::drop_last(const LogLine &line)
{
	std::lock_guard guard(lock_);
	if (lines_.size() == taken_ || lines_.back() != line)
		return false;
	lines_.pop_back();
	return true;
}

size_t Log::count(const std::string &text)
{
	std::lock_guard guard(lock_);
	size_t found = 0;
	for (const LogLine &line : lines_)
		found += line.text == text;
	return found;
}

} /* namespace sim */

int _printk(const char *fmt, ...)
{
	constexpr char kStartOfHeader = '\001';
	constexpr int kDefaultLevel = 4;

	va_list arguments;
	va_start(arguments, fmt);
	char text[1024];
	const int length = vsnprintf(text, sizeof(text), fmt, arguments);
	va_end(arguments);

	sim::Kernel &kernel = sim::Kernel::get();
	/* The console may wake a task, which takes the run-queue lock. */
	if (sim::Scheduler::current().run_queue_locked)
		kernel.problems.add("printk under a run-queue lock");
	if (text[0] == kStartOfHeader && text[1] != '\0')
		kernel.log.add({text[1] - '0', text + 2});
	else
		kernel.log.add({kDefaultLevel, text});
	return length;
}
