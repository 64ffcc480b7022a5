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

namespace {

int print(const char *fmt, va_list arguments)
{
	constexpr char kStartOfHeader = '\001';
	constexpr int kDefaultLevel = 4;

	char text[1024];
	const int length = vsnprintf(text, sizeof(text), fmt, arguments);
	sim::Kernel &kernel = sim::Kernel::get();
	if (text[0] == kStartOfHeader && text[1] != '\0')
		kernel.log.add({text[1] - '0', text + 2});
	else
		kernel.log.add({kDefaultLevel, text});
	return length;
}

} /* namespace */

int _printk(const char *fmt, ...)
{
	/* The console may wake a task, which takes the run-queue lock. */
	if (sim::Scheduler::current().run_queue_locked)
		sim::Kernel::get().problems.add("printk under a run-queue lock");
	va_list arguments;
	va_start(arguments, fmt);
	const int length = print(fmt, arguments);
	va_end(arguments);
	return length;
}

int helper_printk_deferred(const char *fmt, ...)
{
	va_list arguments;
	va_start(arguments, fmt);
	const int length = print(fmt, arguments);
	va_end(arguments);
	return length;
}
