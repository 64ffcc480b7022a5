// SPDX-License-Identifier: GPL-2.0
/* The table of the metric families. */
#include "core/families.h"
#include "io/family.h"
#include "io/kioind.h"
#include "io/snapshot.h"
#include "load/family.h"
#include "load/health/family.h"
#include "providers/display.h"
#include "providers/kmem.h"
#include "sched/family.h"
#include "sched/kzerod.h"
#include "sched/sched_metrics.h"
#include "usb/zem_usb.h"

namespace zem {

constinit const Family families[kFamilies] = {
	{
		.interval = Interval::kmemind_interval,
		.trigger = Trigger::kAlways,
		.init = kmem_init,
		.prime = kmem_prime,
		.upload = kmem_upload,
	},
	/* After a failure no file may lead into the module, and the next load needs the name. */
	{
		.interval = Interval::kioind_interval,
		.failure = "kioind_init fail \n",
		.init = kioind_init,
		.abandon = kioind_destroy,
		.destroy = kioind_destroy,
		.prime = kioind_prime,
		.upload = kio_upload,
		.at_trigger = kioind_save_dev,
	},
	{
		.interval = Interval::sched_interval,
		.failure = "sched_metrics_init fail\n",
		.init = sched_metrics_init,
		.attach_restricted = sched_metrics_attach_restricted,
		.destroy = sched_metrics_destroy,
		.prime = sched_prime,
		.upload = sched_upload,
	},
	{
		.interval = Interval::svp_interval,
		.failure = "svp_metrics_init fail\n",
		.init = svp_metrics_init,
		.destroy = svp_metrics_destroy,
		.prime = svp_prime,
		.upload = svp_upload,
	},
	{
		.interval = Interval::load_interval,
		.failure = "load_metrics_init fail\n",
		.init = load_metrics_init,
		.destroy = load_metrics_destroy,
		.prime = load_prime,
		.upload = load_upload,
	},
	{
		.init = zem_usb_init,
	},
	{
		.interval = Interval::cgroup_interval,
		.failure = "cgroup_metrics_init fail\n",
		.init = cgroup_metrics_init,
		.destroy = cgroup_metrics_destroy,
		.prime = cgroup_prime,
		.upload = cgroup_upload,
	},
	{
		.interval = Interval::display_interval,
		.unit = IntervalUnit::kSeconds,
		.upload = display_upload,
	},
	{
		.trigger = Trigger::kAlways,
		.init = kzerod_init,
		.upload = kzerod_upload,
	},
};

} /* namespace zem */
