/* SPDX-License-Identifier: GPL-2.0 */
/* The uploads of the sched and svp families, and their first baselines. Context: process. */
#pragma once

namespace zem {

void sched_upload();
void sched_prime();

void svp_upload();
void svp_prime();

} /* namespace zem */
