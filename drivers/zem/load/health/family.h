/* SPDX-License-Identifier: GPL-2.0 */
/* The upload of the cgroup family, and its first baseline. Context: process. */
#pragma once

namespace zem {

void cgroup_upload();
void cgroup_prime();

} /* namespace zem */
