/* SPDX-License-Identifier: GPL-2.0 */
/* The mistakes, in C++, for the C that the module loader enters. */
#ifndef _ZEM_MISTAKES_H
#define _ZEM_MISTAKES_H

#ifdef __cplusplus
extern "C" {
#endif

/* Of memory: each is made once. May sleep. */
void mistake_read_past_the_end(void);
void mistake_copy_past_the_end(void);
void mistake_read_freed_memory(void);

/* Of two threads: each races when two CPUs call it concurrently. Any context. */
void mistake_race_on_a_word(void);
void mistake_race_on_a_block(void);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_MISTAKES_H */
