// SPDX-License-Identifier: GPL-2.0
/* Fields of the types of <linux/kobject.h> and <linux/sysfs.h>. */
#include <linux/kobject.h>
#include <linux/sysfs.h>

#include "../api/sysfs.h"

void helper_attribute_group_init(struct attribute_group *group, struct attribute **list,
				 struct kobj_attribute *attributes,
				 const struct attribute_row *rows, size_t count)
{
	for (size_t i = 0; i < count; i++) {
		sysfs_attr_init(&attributes[i].attr);
		attributes[i].attr.name = rows[i].name;
		attributes[i].attr.mode = rows[i].mode;
		attributes[i].show = rows[i].show;
		attributes[i].store = rows[i].store;
		list[i] = &attributes[i].attr;
	}
	list[count] = NULL;
	group->attrs = list;
}
