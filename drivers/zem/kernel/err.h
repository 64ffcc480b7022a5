/* SPDX-License-Identifier: GPL-2.0 */
/* Error codes in pointers. Context: any. */
#pragma once

namespace zem {

/* Return: whether @pointer is an error code, that is in the last page of addresses. */
[[nodiscard]] inline bool is_err(const void *pointer)
{
	return reinterpret_cast<unsigned long>(pointer) >= -4095ul;
}

[[nodiscard]] inline bool is_err_or_null(const void *pointer)
{
	return !pointer || is_err(pointer);
}

} /* namespace zem */
