/* SPDX-License-Identifier: GPL-2.0 */
/* The hooks and files of the IO indicators. Context: process; may sleep. */
#pragma once

namespace zem {

/* Return: 0, or -1 if /sys/kioind cannot be created. The hooks stay attached in either case. */
[[nodiscard]] int kioind_init();
/*
 * Removes /sys/kioind and forgets all UIDs; also for a failed start-up. The hooks and the files
 * below /proc stay.
 */
void kioind_destroy();

} /* namespace zem */
