/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A switch that costs its readers one instruction, patched by the kernel: a nop in the state
 * that the key has at load, a branch in the other. Reading: any context. Switching: may sleep.
 */
#pragma once

#include "api/jump_label.h"
#include "kernel/layout.gen.h"

/* The kernel's: a count, then the address of the jump entries with flags in its low bits. */
struct static_key {
	int enabled;
	unsigned long type;
};

static_assert(sizeof(static_key) == KERNEL_SIZEOF_STATIC_KEY);
static_assert(alignof(static_key) == KERNEL_ALIGNOF_STATIC_KEY);
static_assert(__builtin_offsetof(static_key, enabled) == KERNEL_STATIC_KEY_ENABLED);
static_assert(__builtin_offsetof(static_key, type) == KERNEL_STATIC_KEY_TYPE);

namespace zem {

/* @on_at_load also says which way the code behind is laid out: straight on is that way. */
template <bool on_at_load>
class StaticKey {
public:
	constexpr StaticKey() = default;
	StaticKey(const StaticKey &) = delete;
	StaticKey &operator=(const StaticKey &) = delete;

	/* The key must be a global: its address goes into the jump table. */
	[[nodiscard, gnu::always_inline]] bool is_on()
	{
#if defined(__aarch64__) && defined(ZEM_KERNEL)
		/*
		 * The entry names this instruction, where it jumps to when patched, and the key;
		 * bit 0 of the key's address tells the kernel that the nop stands for "on".
		 */
		asm goto("1:	nop\n"
			 "	.pushsection __jump_table, \"aw\"\n"
			 "	.align 3\n"
			 "	.long 1b - ., %l[other] - .\n"
			 "	.quad %c0 + %c1 - .\n"
			 "	.popsection\n"
			 :
			 : "i"(&key_), "i"(on_at_load ? 1 : 0)
			 :
			 : other);
		return on_at_load;
	other:
		return !on_at_load;
#else
		return static_key_count(&key_) > 0;
#endif
	}

	void turn_on() { static_key_enable(&key_); }

	void turn_off() { static_key_disable(&key_); }

	/* For files that show and turn a key whichever way it is laid out. */
	constexpr static_key *key() { return &key_; }

private:
	static_key key_{on_at_load, on_at_load};
};

} /* namespace zem */
