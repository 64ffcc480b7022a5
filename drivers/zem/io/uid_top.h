/* SPDX-License-Identifier: GPL-2.0 */
/* The lists of the UIDs with the most IO. */
#pragma once

#include "uapi/linux/zem.h"

namespace zem {

/*
 * Charges all UIDs, and writes both lists for the time since the last call.
 * Context: process; may sleep.
 */
void kio_uid_io(zem_kio &kioind);

} /* namespace zem */
