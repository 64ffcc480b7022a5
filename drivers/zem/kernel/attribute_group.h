/* SPDX-License-Identifier: GPL-2.0 */
/* The files of a sysfs directory, created from a table of rows. Context: may sleep. */
#pragma once

#include "api/sysfs.h"
#include "opaque.h"

namespace zem {

template <size_t Count>
class AttributeGroup {
public:
	constexpr AttributeGroup() = default;
	AttributeGroup(const AttributeGroup &) = delete;
	AttributeGroup &operator=(const AttributeGroup &) = delete;

	/* Return: 0, or a negative error code with no file left. */
	[[nodiscard]] int create(kobject *directory, const attribute_row (&rows)[Count])
	{
		helper_attribute_group_init(&group_, list_, attributes_, rows, Count);
		return sysfs_create_group(directory, &group_);
	}

	/* Returns when no reader or writer is left in a file's function. */
	void remove(kobject *directory) { sysfs_remove_group(directory, &group_); }

private:
	attribute_group group_{};
	kobj_attribute attributes_[Count]{};
	attribute *list_[Count + 1]{};
};

} /* namespace zem */
