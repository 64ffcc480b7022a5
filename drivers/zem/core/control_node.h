/* SPDX-License-Identifier: GPL-2.0 */
/* The directory /sys/zem. Process context; may sleep. */
#pragma once

struct kobject;

namespace zem {

/* The directory, for those who notify its pollers; null while it does not exist. */
extern kobject *k_zem;

/* Return: whether the directory could be made. */
[[nodiscard]] bool control_node_create();
void control_node_drop();

/* The files need all that they reach to be initialised. Return: 0 or a negative error code. */
[[nodiscard]] int control_node_publish();

/* Returns after the last reader and writer of the files is out of the module. */
void control_node_withdraw();

} /* namespace zem */
