// SPDX-License-Identifier: GPL-2.0
/*
 * The discovery compares the names of the groups with css ids from 2 up to the first unused id. The
 * probes run under a run-queue lock, where the lock of names must not be taken and nothing may be
 * printed. They queue an irq_work instead, which does both.
 */
#include "load/health/cgroup_ids.h"

#include "kernel/api/cgroup.h"
#include "kernel/api/irq_work.h"
#include "kernel/api/printk.h"
#include "kernel/api/string.h"
#include "kernel/atomic.h"
#include "kernel/opaque.h"
#include "kernel/rcu.h"
#include "platform/contract.h"

namespace zem {

constinit Relaxed<u32> cgroup_idx[5]{};

namespace {

constexpr int kFirstId = 2;
constexpr int kLastId = 20;

struct GroupName {
	const char *name;
	const char *message;
	int offset; /* added to the id in the message; readers of the top-app message rely on it */
};

constexpr GroupName kGroupNames[kGroups] = {
	{"foreground", KERN_INFO "foreground %d\n", 0},
	{"background", KERN_INFO "background %d\n", 0},
	{"top-app", KERN_INFO "top %d\n", -1},
	{"system-background", KERN_INFO "sysbg %d\n", 0},
};

/* The groups that one discovery found, in the order of ids. Several may have the same name. */
struct Discovery {
	size_t found;
	struct {
		u8 group;
		u8 id;
	} groups[kLastId - kFirstId + 1];
};

/* The ids that were logged last. */
constinit u64 logged_ids = 0;

constinit irq_work discovery_work{};

void note(Discovery &discovery, const char *name, int id)
{
	for (size_t group = 0; group < kGroups; group++) {
		if (strcmp(name, kGroupNames[group].name) != 0)
			continue;
		cgroup_idx[group].store(static_cast<u32>(id));
		discovery.groups[discovery.found++] = {static_cast<u8>(group), static_cast<u8>(id)};
	}
}

/* A longer name is cut off, and cannot match. */
constexpr size_t kNameSize = 32;

Discovery discover()
{
	Discovery discovery{};
	for (int id = kFirstId; id <= kLastId; id++) {
		RcuReadGuard guard;
		char name[kNameSize];
		const cgroup_subsys_state *css = platform_cpu_css_from_id(id);
		if (!css || !helper_css_name(css, name, sizeof(name)))
			break;
		note(discovery, name, id);
	}
	return discovery;
}

/* Return: the ids of all groups in one number. */
u64 found_ids()
{
	u64 ids = 0;
	for (size_t group = 0; group < kGroups; group++)
		ids = ids << 8 | cgroup_idx[group].load();
	return ids;
}

void log(const Discovery &discovery)
{
	pr_info("root %d\n", kRootGroupId);
	for (size_t i = 0; i < discovery.found; i++) {
		const GroupName &group = kGroupNames[discovery.groups[i].group];
		_printk(group.message, discovery.groups[i].id + group.offset);
	}
}

/*
 * Logs a discovery only if it has changed the ids. A message wakes the readers of the log, and
 * their wait for a CPU is another event, so logging every discovery would never end. Context: hard
 * interrupt.
 */
void discover_for_probe(irq_work *)
{
	const Discovery discovery = discover();
	const u64 ids = found_ids();
	if (xchg_relaxed(logged_ids, ids) != ids)
		log(discovery);
}

} /* namespace */

void cgroup_ids_init()
{
	helper_irq_work_init(&discovery_work, discover_for_probe);
}

void cgroup_ids_exit()
{
	irq_work_sync(&discovery_work);
}

void get_cgroup_idx()
{
	const Discovery discovery = discover();
	write_once(logged_ids, found_ids());
	log(discovery);
}

void get_cgroup_idx_from_probe()
{
	irq_work_queue(&discovery_work);
}

} /* namespace zem */
