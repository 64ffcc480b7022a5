// SPDX-License-Identifier: GPL-2.0
/* Creates threads that sleep. A thread counts once the platform has a record of it. */
#include <linux/bio.h>
#include <linux/cred.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/uidgid.h>

#include "../../drivers/zem/platform/contract.h"
#include "processes.h"

#define MOST_PROCESSES 5000

struct task_struct *processes[MOST_PROCESSES];
unsigned long process_count;

static void become(unsigned int uid)
{
	struct cred *cred = prepare_creds();

	if (!cred) {
		pr_err_once("zem_bench: a process stays root's, the figures are wrong\n");
		return;
	}
	cred->uid = KUIDT_INIT(uid);
	commit_creds(cred);
}

/* @uid: 0 for root, the UID of every new kernel thread. */
static int sleep_until_stopped(void *uid)
{
	if (uid)
		become((unsigned long)uid);
	while (!kthread_should_stop()) {
		set_current_state(TASK_IDLE);
		if (!kthread_should_stop())
			schedule();
		__set_current_state(TASK_RUNNING);
	}
	return 0;
}

static bool has_load_block(struct task_struct *task)
{
	struct task_ext *record;
	bool has;

	rcu_read_lock();
	record = platform_task_ext(task);
	has = !IS_ERR_OR_NULL(record) && record->load_block;
	rcu_read_unlock();
	return has;
}

void processes_make(unsigned long count, unsigned int uids)
{
	if (WARN_ON(count > MOST_PROCESSES))
		return;
	while (process_count > count)
		kthread_stop(processes[--process_count]);
	while (process_count < count) {
		unsigned long uid = uids ? FIRST_UID + process_count % uids : 0;
		struct task_struct *task =
			kthread_run(sleep_until_stopped, (void *)uid, "zem_bench");

		if (IS_ERR(task) || !has_load_block(task)) {
			pr_err_once(
				"zem_bench: too few tasks have a record, the figures are wrong\n");
			return;
		}
		processes[process_count++] = task;
	}
}

int make_uid_known(void (*submit)(void *data, struct bio *bio), unsigned int uid)
{
	struct cred *cred = prepare_creds();
	const struct cred *callers;
	struct bio bio;

	if (!cred)
		return -ENOMEM;
	cred->uid = KUIDT_INIT(uid);
	bio_init(&bio, NULL, NULL, 0, 0);
	callers = override_creds(cred);
	submit(NULL, &bio);
	revert_creds(callers);
	put_cred(cred);
	return 0;
}
