// SPDX-License-Identifier: GPL-2.0
/*
 * The discovery: ids from 2 up to the first that is not there, compared by the groups' names. What
 * was found is logged apart from the search, as the console can't be written to under a run-queue
 * lock.
 */
#include "load/cgroup_ids.h"

#include "kernel/api/cgroup.h"
#include "kernel/api/irq_work.h"
#include "kernel/api/printk.h"
#include "kernel/api/string.h"
#include "kernel/lock.h"
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
	int offset; /* of the id in the message; the top-app's readers are used to theirs */
};

constexpr GroupName kGroupNames[kGroups] = {
	{"foreground", KERN_INFO "foreground %d\n", 0},
	{"background", KERN_INFO "background %d\n", 0},
	{"top-app", KERN_INFO "top %d\n", -1},
	{"system-background", KERN_INFO "sysbg %d\n", 0},
};

/* What one discovery has found, in its order: a name may be there twice. */
struct Discovery {
	size_t found;
	struct {
		u8 group;
		u8 id;
	} groups[kLastId - kFirstId + 1];
};

/* What is left to log, from the latest discovery of a probe. */
constinit Discovery to_log{};
constinit RawSpinLock to_log_lock;
constinit lock_class_key to_log_class{};
constinit irq_work log_work{};

void note(Discovery &discovery, const char *name, int id)
{
	for (size_t group = 0; group < kGroups; group++) {
		if (strcmp(name, kGroupNames[group].name) != 0)
			continue;
		cgroup_idx[group].store(static_cast<u32>(id));
		discovery.groups[discovery.found++] = {static_cast<u8>(group), static_cast<u8>(id)};
	}
}

Discovery discover()
{
	Discovery discovery{};
	for (int id = kFirstId; id <= kLastId; id++) {
		RcuReadGuard guard;
		const cgroup_subsys_state *css = platform_cpu_css_from_id(id);
		const char *name = css ? helper_css_name(css) : nullptr;
		if (!name)
			break;
		note(discovery, name, id);
	}
	return discovery;
}

void log(const Discovery &discovery)
{
	pr_info("root %d\n", kRootGroupId);
	for (size_t i = 0; i < discovery.found; i++) {
		const GroupName &group = kGroupNames[discovery.groups[i].group];
		_printk(group.message, discovery.groups[i].id + group.offset);
	}
}

/* Hard interrupt. */
void log_put_off(irq_work *)
{
	Discovery discovery;
	{
		IrqSaveGuard guard(to_log_lock);
		discovery = to_log;
	}
	log(discovery);
}

} /* namespace */

void cgroup_ids_init()
{
	to_log_lock.init("zem_cgroup_ids", to_log_class);
	helper_irq_work_init(&log_work, log_put_off);
}

void cgroup_ids_exit()
{
	irq_work_sync(&log_work);
}

void get_cgroup_idx()
{
	log(discover());
}

void get_cgroup_idx_from_probe()
{
	const Discovery discovery = discover();
	{
		IrqSaveGuard guard(to_log_lock);
		to_log = discovery;
	}
	irq_work_queue(&log_work);
}

} /* namespace zem */
