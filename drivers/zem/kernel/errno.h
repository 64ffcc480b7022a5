/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The error codes that the module returns. layout.c compares the numbers with the kernel's. The
 * names are macros in C and on a host, whose definitions take precedence.
 */
#pragma once

#ifndef EINVAL
inline constexpr int ENOENT = 2;
inline constexpr int EAGAIN = 11;
inline constexpr int ENOMEM = 12;
inline constexpr int EFAULT = 14;
inline constexpr int EINVAL = 22;
inline constexpr int EMSGSIZE = 90;
#endif
