/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The kernel's integer types for C++, and the macros that enclose the declarations of every header
 * in this folder. C has the types from the kernel's headers.
 *
 * u64 is unsigned long long on every build, as in the kernel: then the type of a callback, and the
 * hash that clang's kCFI compares, is the same in both languages.
 */
#ifndef _ZEM_KERNEL_API_TYPES_H
#define _ZEM_KERNEL_API_TYPES_H

#ifdef __cplusplus

using u8 = unsigned char;
using u16 = unsigned short;
using u32 = unsigned int;
using u64 = unsigned long long;
using s8 = signed char;
using s16 = short;
using s32 = int;
using s64 = long long;
using size_t = __SIZE_TYPE__;
using ssize_t = __PTRDIFF_TYPE__;
using umode_t = unsigned short;

#define ZEM_API_BEGIN extern "C" {
#define ZEM_API_END }

#else

#define ZEM_API_BEGIN
#define ZEM_API_END

#endif /* __cplusplus */

#endif /* _ZEM_KERNEL_API_TYPES_H */
