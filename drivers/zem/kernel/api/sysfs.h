/* SPDX-License-Identifier: GPL-2.0 */
/* Kobjects and attributes: <linux/kobject.h>, <linux/sysfs.h>. Context: may sleep. */
#ifndef _ZEM_KERNEL_API_SYSFS_H
#define _ZEM_KERNEL_API_SYSFS_H

#include "types.h"

ZEM_API_BEGIN

struct kobject;
struct kobj_attribute;
struct attribute;
struct attribute_group;

/* One file of a group. If @show or @store is NULL, reading or writing fails with EIO. */
struct attribute_row {
	const char *name;
	umode_t mode;
	ssize_t (*show)(struct kobject *kobj, struct kobj_attribute *attr, char *page);
	ssize_t (*store)(struct kobject *kobj, struct kobj_attribute *attr, const char *text,
			 size_t count);
};

/* A NULL @parent stands for the top of sysfs. Return: NULL without memory. */
struct kobject *kobject_create_and_add(const char *name, struct kobject *parent);
void kobject_put(struct kobject *kobj);

/*
 * Initialises @group as an unnamed group of @count attributes. The caller provides the storage,
 * which must live as long as the group: @attributes has room for @count kobj_attributes, and @list
 * for
 * @count + 1 pointers.
 */
void helper_attribute_group_init(struct attribute_group *group, struct attribute **list,
				 struct kobj_attribute *attributes,
				 const struct attribute_row *rows, size_t count);

int sysfs_create_group(struct kobject *kobj, const struct attribute_group *group);
/* Returns when no show or store of the group's files is running. */
void sysfs_remove_group(struct kobject *kobj, const struct attribute_group *group);
/* Notifies pollers of the file. */
void sysfs_notify(struct kobject *kobj, const char *dir, const char *attr);

/* Formats into the page of a show function. Return: bytes written. */
int sysfs_emit(char *page, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/* Formats after the first @at bytes of the page. Text beyond the page is cut off. */
int sysfs_emit_at(char *page, int at, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

ZEM_API_END

#endif /* _ZEM_KERNEL_API_SYSFS_H */
