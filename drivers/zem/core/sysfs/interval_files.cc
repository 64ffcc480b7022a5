// SPDX-License-Identifier: GPL-2.0
/* Parses what is written to an interval file. A new value applies from the next cycle on. */
#include "core/sysfs/interval_files.h"

#include "kernel/api/parse.h"
#include "kernel/errno.h"

namespace zem {

namespace {

bool parse(NumberText form, const char *text, int &value)
{
	if (form == NumberText::kWhole)
		return kstrtoint(text, 10, &value) == 0;
	return sscanf(text, "%d", &value) == 1;
}

} /* namespace */

ssize_t store_interval(Interval setting, NumberText form, const char *text, size_t count)
{
	int value;
	if (!parse(form, text, value) || value < 0 || value > kLongestInterval)
		return -EINVAL;
	set_interval(setting, value);
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
