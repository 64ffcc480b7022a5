/* SPDX-License-Identifier: GPL-2.0 */
/* The cgroup family. Context: process; may sleep. */
#pragma once

namespace zem {

/* Uploads work without the files. Return: 0 or -ENOMEM. */
[[nodiscard]] int cgroup_metrics_init();
void cgroup_metrics_destroy();
void cgroup_upload();
void cgroup_prime();

} /* namespace zem */
