/* SPDX-License-Identifier: GPL-2.0 */
/* The sched and svp families. Context: process; may sleep. */
#pragma once

namespace zem {

/* The hooks are attached in either case, except restricted hooks. Return: 0 or -ENOMEM. */
[[nodiscard]] int sched_metrics_init();
void sched_metrics_destroy();
void sched_upload();
void sched_prime();

/* Return: 0 or -ENOMEM. */
[[nodiscard]] int svp_metrics_init();
void svp_metrics_destroy();
void svp_upload();
void svp_prime();

} /* namespace zem */
