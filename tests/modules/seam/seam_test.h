/* SPDX-License-Identifier: GPL-2.0 */
/* Declares the checks, which are C++, for the C entry of the module. */
#ifndef _ZEM_SEAM_TEST_H
#define _ZEM_SEAM_TEST_H

#ifdef __cplusplus
extern "C" {
#endif

/* Logs each failed check. May sleep. Return: the number of failed checks. */
int seam_checks(void);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_SEAM_TEST_H */
