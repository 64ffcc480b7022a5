/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/* Compile-time checks of the sizes and offsets of the wire format. */
#ifndef _UAPI_LINUX_ZEM_ASSERT_H
#define _UAPI_LINUX_ZEM_ASSERT_H

#ifdef __cplusplus
#define ZEM_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define ZEM_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

#define ZEM_ASSERT_SIZE(type, size) \
	ZEM_STATIC_ASSERT(sizeof(struct type) == (size), "struct " #type " is not " #size " bytes")
#define ZEM_ASSERT_OFFSET(type, field, offset)                                \
	ZEM_STATIC_ASSERT(__builtin_offsetof(struct type, field) == (offset), \
			  #type "." #field " is not at byte " #offset)

#endif /* _UAPI_LINUX_ZEM_ASSERT_H */
