// SPDX-License-Identifier: GPL-2.0
/*
 * The table of the files in /sys/zem. A show function returns the number of bytes in the page. A
 * store function returns the number of bytes used or a negative error code; a refused write changes
 * nothing.
 */
#include "core/sysfs/control_node.h"

#include "core/sysfs/channel_files.h"
#include "core/sysfs/interval_files.h"
#include "core/sysfs/ring_size.h"
#include "core/sysfs/trace_switch.h"
#include "core/sysfs/trigger.h"
#include "kernel/attribute_group.h"
#include "uapi/linux/zem.h"

namespace zem {

namespace {

constinit kobject *k_zem = nullptr;

#define ZEM_CHANNEL_FILE(symbol, name) {#name, 0644, zem_show, zem_store<ZEM_CHANNEL_##symbol>},
#define ZEM_INTERVAL_FILE(name, after_load, form)    \
	{#name, 0664, interval_show<Interval::name>, \
	 interval_store<Interval::name, NumberText::form>},

/* 21 channels, in the order of their ids, and 11 controls. */
/* clang-format off */
constexpr attribute_row kFiles[] = {
	ZEM_CHANNELS(ZEM_CHANNEL_FILE)
	{"trace_on", 0664, trace_on_show, trace_on_store},
	ZEM_INTERVALS(ZEM_INTERVAL_FILE)
	{"rb_size", 0664, rb_size_show, rb_size_store},
	{"trigger", 0664, nullptr, trigger_store},
};
/* clang-format on */

constexpr size_t kFileCount = sizeof(kFiles) / sizeof(kFiles[0]);
static_assert(kFileCount == 32);

constinit AttributeGroup<kFileCount> files;

} /* namespace */

kobject *control_node()
{
	return k_zem;
}

bool control_node_create()
{
	k_zem = kobject_create_and_add("zem", nullptr);
	return k_zem;
}

void control_node_drop()
{
	kobject_put(k_zem);
	k_zem = nullptr;
}

int control_node_publish()
{
	return files.create(k_zem, kFiles);
}

void control_node_withdraw()
{
	files.remove(k_zem);
}

} /* namespace zem */
