/* SPDX-License-Identifier: GPL-2.0 */
/* <linux/types.h> for the module's C++, which includes no kernel headers: the types of uapi. */
#ifndef _ZEM_FREESTANDING_LINUX_TYPES_H
#define _ZEM_FREESTANDING_LINUX_TYPES_H

using __u8 = unsigned char;
using __u16 = unsigned short;
using __u32 = unsigned int;
using __u64 = unsigned long long;
using __s32 = int;
using __s64 = long long;

#endif /* _ZEM_FREESTANDING_LINUX_TYPES_H */
