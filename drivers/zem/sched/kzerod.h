/* SPDX-License-Identifier: GPL-2.0 */
/* The counters of the zero-page daemon, as a record of each trigger. Context: process. */
#pragma once

namespace zem {

/* Return: 0. */
[[nodiscard]] int kzerod_init();

/* Uploads the counters, and clears their copy. */
void kzerod_upload();

} /* namespace zem */
