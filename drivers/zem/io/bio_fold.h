/* SPDX-License-Identifier: GPL-2.0 */
/* Folds the counts of bios into the IO snapshot. Context: process. */
#pragma once

#include "uapi/linux/zem.h"

namespace zem {

/* Moves the counts since the last call into the snapshot, which the caller has locked. */
void gather_bio_cnt(zem_kio &kioind);

} /* namespace zem */
