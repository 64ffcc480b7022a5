// SPDX-License-Identifier: GPL-2.0
/*
 * Makes mistakes that a sanitizer must find. Each mistake is in a function of its own, whose name
 * is in the report. The mistakes only read or race, so that the kernel survives them.
 */
#include "mistakes.h"

#include "kernel/api/slab.h"

namespace {

constexpr size_t kSize = 24;

struct Block {
	char bytes[64];
};

u64 word;
Block block;
volatile char sink;

/*
 * Hides from the compiler what the address points to, so that it neither diagnoses nor moves the
 * mistake.
 */
const char *unknown(const char *memory)
{
	asm volatile("" : "+r"(memory));
	return memory;
}

[[gnu::noinline]] char reads_past_the_end(const char *memory)
{
	return unknown(memory)[kSize];
}

[[gnu::noinline]] char copies_past_the_end(char (&to)[kSize + 1], const char *memory)
{
	__builtin_memcpy(to, unknown(memory), sizeof(to));
	return to[kSize];
}

[[gnu::noinline]] char reads_freed_memory(const char *memory)
{
	return unknown(memory)[0];
}

[[gnu::noinline]] void races_on_a_word(u64 &shared)
{
	shared++;
}

[[gnu::noinline]] void races_on_a_block(Block &shared)
{
	__builtin_memset(shared.bytes, 1, sizeof(shared.bytes));
}

} /* namespace */

void mistake_read_past_the_end(void)
{
	void *memory = helper_kzalloc(kSize);
	if (memory)
		sink = reads_past_the_end(static_cast<char *>(memory));
	kfree(memory);
}

void mistake_copy_past_the_end(void)
{
	char copy[kSize + 1];
	void *memory = helper_kzalloc(kSize);
	if (memory)
		sink = copies_past_the_end(copy, static_cast<char *>(memory));
	kfree(memory);
}

void mistake_read_freed_memory(void)
{
	void *memory = helper_kzalloc(kSize);
	const char *freed = unknown(static_cast<char *>(memory));
	kfree(memory);
	if (freed)
		sink = reads_freed_memory(freed);
}

void mistake_race_on_a_word(void)
{
	races_on_a_word(word);
}

void mistake_race_on_a_block(void)
{
	races_on_a_block(block);
}
