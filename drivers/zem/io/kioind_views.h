/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /sys/kioind. Context: may sleep. */
#pragma once

struct kobject;

namespace zem {

/* Return: 0 or a negative error code. */
[[nodiscard]] int kioind_views_create(kobject *directory);
void kioind_views_remove(kobject *directory);

} /* namespace zem */
