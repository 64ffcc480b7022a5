/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A static key. A test of the key is one instruction that the kernel patches: a nop in the key's
 * initial state, and a branch in the other. Context: testing: any; switching: may sleep.
 */
#pragma once

#include "api/jump_label.h"
#include "kernel/layout.gen.h"

/* The kernel's type: a count, and the address of the jump entries with flags in its low bits. */
struct static_key {
	int enabled;
	unsigned long type;
};

static_assert(sizeof(static_key) == KERNEL_SIZEOF_STATIC_KEY);
static_assert(alignof(static_key) == KERNEL_ALIGNOF_STATIC_KEY);
static_assert(__builtin_offsetof(static_key, enabled) == KERNEL_STATIC_KEY_ENABLED);
static_assert(__builtin_offsetof(static_key, type) == KERNEL_STATIC_KEY_TYPE);

namespace zem {

/* @on_at_load is also the likely state: its code follows without a branch. */
template <bool on_at_load>
class StaticKey {
public:
	constexpr StaticKey() = default;
	StaticKey(const StaticKey &) = delete;
	StaticKey &operator=(const StaticKey &) = delete;

	/* The key must be a global variable, because its address is stored in the jump table. */
	[[nodiscard, gnu::always_inline]] bool is_on()
	{
#if defined(__aarch64__) && defined(ZEM_KERNEL)
		/*
		 * The entry holds this instruction, the branch target and the key. Bit 0 of the
		 * key's address marks a nop that stands for "on".
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

	/* For files that show and switch keys of both kinds. */
	constexpr static_key *key() { return &key_; }

private:
	static_key key_{on_at_load, on_at_load};
};

} /* namespace zem */
