/* SPDX-License-Identifier: GPL-2.0 */
/* USB devices that are connected, fail and are disconnected: records of the usb channel. */
#pragma once

namespace zem {

/*
 * The probe stays attached. Without it only USB records are missing.
 * Return: 0. Context: may sleep.
 */
[[nodiscard]] int zem_usb_init();

} /* namespace zem */
