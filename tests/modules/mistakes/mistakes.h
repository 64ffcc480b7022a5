/* SPDX-License-Identifier: GPL-2.0 */
/* Declares the mistakes, which are C++, for the C entry of the module. */
#ifndef _ZEM_MISTAKES_H
#define _ZEM_MISTAKES_H

#ifdef __cplusplus
extern "C" {
#endif

/* Memory mistakes. May sleep. */
void mistake_read_past_the_end(void);
void mistake_copy_past_the_end(void);
void mistake_read_freed_memory(void);

/* Races, if two CPUs call one of them concurrently. Context: any. */
void mistake_race_on_a_word(void);
void mistake_race_on_a_block(void);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_MISTAKES_H */
