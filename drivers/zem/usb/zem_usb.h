/* SPDX-License-Identifier: GPL-2.0 */
/* USB devices that are connected, fail and are disconnected: records of the usb channel. */
#pragma once

namespace zem {

/* The probe stays attached. Return: 0 or a negative error code. Context: may sleep. */
int zem_usb_init();

} /* namespace zem */
