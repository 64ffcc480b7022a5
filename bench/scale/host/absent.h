/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Stands for a kernel function that the module's files and rare paths refer to, and that no row
 * calls: it ends the process. The build applies it to each function of the seam, and the layer's
 * own definitions take precedence. Only the name matters, so the prototype is not included.
 */
#pragma once

#include <stdio.h>
#include <stdlib.h>

#define ABSENT(name)                                           \
	__attribute__((weak)) void name(void)                  \
	{                                                      \
		fputs("a row has called " #name "\n", stderr); \
		abort();                                       \
	}
