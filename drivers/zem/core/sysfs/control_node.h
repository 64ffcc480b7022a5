/* SPDX-License-Identifier: GPL-2.0 */
/* The directory /sys/zem. Context: process; may sleep. */
#pragma once

struct kobject;

namespace zem {

/* Return: the directory, for notifications of pollers; null while it does not exist. */
[[nodiscard]] kobject *control_node();

/* Return: whether the directory was created. */
[[nodiscard]] bool control_node_create();
void control_node_drop();

/*
 * Everything that the files access must be initialised before.
 * Return: 0 or a negative error code.
 */
[[nodiscard]] int control_node_publish();

/* Returns when no reader or writer of the files is left in the module. */
void control_node_withdraw();

} /* namespace zem */
