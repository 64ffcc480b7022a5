/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Instructions that the kernel replaces when it loads the module, if the CPUs have a capability.
 * For the strings of an asm statement: both sequences have the same length, and @capability is the
 * operand that holds the capability's number, such as "%c0".
 */
#pragma once

#define ZEM_ALTERNATIVE(original, replacement, capability) \
	"661:	" original "\n"                            \
	"662:\n"                                           \
	"	.pushsection .altinstructions, \"a\"\n"          \
	"	.word 661b - .\n"                                \
	"	.word 663f - .\n"                                \
	"	.hword " capability "\n"                   \
	"	.byte 662b - 661b\n"                             \
	"	.byte 664f - 663f\n"                             \
	"	.popsection\n"                                   \
	"	.subsection 1\n"                                 \
	"663:	" replacement "\n"                         \
	"664:\n"                                           \
	"	.previous\n"
