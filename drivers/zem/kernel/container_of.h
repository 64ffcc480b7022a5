/* SPDX-License-Identifier: GPL-2.0 */
/* From a member to the object that it is part of, under the kernel's name. */
#pragma once

#include "api/types.h"

namespace zem {

template <typename Outer, typename Member>
[[nodiscard, gnu::always_inline]] inline Outer *container_at(Member *member, size_t offset)
{
	return reinterpret_cast<Outer *>(reinterpret_cast<char *>(member) - offset);
}

template <typename Outer, typename Member>
[[nodiscard, gnu::always_inline]] inline const Outer *container_at(const Member *member,
								   size_t offset)
{
	return reinterpret_cast<const Outer *>(reinterpret_cast<const char *>(member) - offset);
}

} /* namespace zem */

/* Return: the @type whose @member @pointer points to, const if that is. */
#define container_of(pointer, type, member) \
	zem::container_at<type>(pointer, __builtin_offsetof(type, member))
