/* SPDX-License-Identifier: GPL-2.0 */
/* The upload of the load family, and its first baseline. Context: process. */
#pragma once

namespace zem {

void load_upload();
void load_prime();

} /* namespace zem */
