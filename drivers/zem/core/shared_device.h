/* SPDX-License-Identifier: GPL-2.0 */
/* /dev/zem_shared: maps the shared buffer into user space. Context: may sleep. */
#pragma once

namespace zem {

/* Call after shared_buffer_alloc(). Return: 0 or a negative error code. */
[[nodiscard]] int shared_device_register();
void shared_device_deregister();

} /* namespace zem */
