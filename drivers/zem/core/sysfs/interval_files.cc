// SPDX-License-Identifier: GPL-2.0
/* The eight interval files, as rows of a table. A new value applies from the next cycle on. */
#include "core/sysfs/attributes.h"
#include "core/settings.h"
#include "kernel/api/parse.h"
#include "kernel/api/string.h"
#include "kernel/errno.h"

namespace zem {

namespace {

constexpr u32 kLongestInterval = 10000;

using Parser = bool (*)(const char *text, int *value);

/* Text after the number is ignored. */
bool parse_leading_number(const char *text, int *value)
{
	return sscanf(text, "%d", value) == 1;
}

/* The whole text must be the number, with at most one trailing newline. */
bool parse_whole_number(const char *text, int *value)
{
	return kstrtoint(text, 10, value) == 0;
}

struct IntervalFile {
	const char *name;
	Relaxed<int> &setting;
	Parser parse;
};

/* User space relies on which files accept trailing text. */
constexpr IntervalFile kIntervalFiles[] = {
	{"kmemind_interval", kmemind_interval, parse_leading_number},
	{"kioind_interval", kioind_interval, parse_leading_number},
	{"sched_interval", sched_interval, parse_leading_number},
	{"svp_interval", svp_interval, parse_whole_number},
	{"load_interval", load_interval, parse_whole_number},
	{"cgroup_interval", cgroup_interval, parse_whole_number},
	{"display_interval", display_interval, parse_leading_number},
	{"kgsl_interval", kgsl_interval, parse_leading_number},
};

/* Every file that uses the functions below has a row. */
const IntervalFile &row_of(const kobj_attribute *file)
{
	const IntervalFile *row = kIntervalFiles;
	while (strcmp(row->name, helper_attribute_name(file)) != 0)
		row++;
	return *row;
}

} /* namespace */

ssize_t interval_show(kobject *, kobj_attribute *file, char *page)
{
	return sysfs_emit(page, "%d\n", row_of(file).setting.load());
}

ssize_t interval_store(kobject *, kobj_attribute *file, const char *text, size_t count)
{
	const IntervalFile &row = row_of(file);
	int value;
	if (!row.parse(text, &value) || static_cast<u32>(value) > kLongestInterval)
		return -EINVAL;
	row.setting.store(value);
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
