/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /proc/zem_procstat. Context: may sleep. */
#pragma once

namespace zem {

/* Return: 0, or -ENOMEM without the files. */
[[nodiscard]] int uid_control_init();

} /* namespace zem */
