/* SPDX-License-Identifier: GPL-2.0 */
/* The checks, in C++, for the C that the module loader enters. */
#ifndef _ZEM_SEAM_TEST_H
#define _ZEM_SEAM_TEST_H

#ifdef __cplusplus
extern "C" {
#endif

/* May sleep. Return: how many checks failed; each is logged. */
int seam_checks(void);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_SEAM_TEST_H */
