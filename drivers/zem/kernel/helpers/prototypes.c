// SPDX-License-Identifier: GPL-2.0
/*
 * No helpers: compares the headers of ../api that declare only exported functions with the kernel's
 * headers. A prototype that differs stops the build here.
 */
#include <linux/delay.h>
#include <linux/jiffies.h>
#include <linux/jump_label.h>
#include <linux/kernel.h>
#include <linux/kstrtox.h>
#include <linux/ktime.h>
#include <linux/printk.h>
#include <linux/rcupdate.h>
#include <linux/string.h>

#include "../api/jump_label.h"
#include "../api/parse.h"
#include "../api/printk.h"
#include "../api/rcu.h"
#include "../api/string.h"
#include "../api/time.h"
