/* SPDX-License-Identifier: GPL-2.0 */
/* The load family. Context: process; may sleep. */
#pragma once

namespace zem {

/* Accounting works without the files. Return: 0 or -ENOMEM. */
[[nodiscard]] int load_metrics_init();
void load_metrics_destroy();
void load_upload();
void load_prime();

} /* namespace zem */
