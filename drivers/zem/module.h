/* SPDX-License-Identifier: GPL-2.0 */
/* Start-up and shut-down, called by the module loader. For C and C++. Context: may sleep. */
#ifndef _ZEM_CORE_MODULE_H
#define _ZEM_CORE_MODULE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Return: 0 or -ENOMEM. */
int zem_init(void);
void zem_exit(void);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_CORE_MODULE_H */
