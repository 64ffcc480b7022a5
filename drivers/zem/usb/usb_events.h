/* SPDX-License-Identifier: GPL-2.0 */
/* USB devices that come, fail and go, each a record of the usb channel. */
#pragma once

namespace zem {

/* May sleep. Return: 0 or a negative error code; the probe is attached for good. */
int zem_usb_init();

} /* namespace zem */
