// SPDX-License-Identifier: GPL-2.0
/*
 * Keeps the submitter of a bio and zem's mark, which a device's kernel keeps in the bio, and its
 * stamp if the kernel sets none, in a table of fixed size, so that the IO path allocates nothing.
 * The bio's address selects a set of words. A word holds the rest of the address, the process id
 * and the mark, so that an entry is read and written in one step without a lock. If the set is
 * full, the entries of bios in flight stay, and the new bio has an unknown submitter, no mark and
 * no stamp.
 */
#include <linux/atomic.h>
#include <linux/bits.h>
#include <linux/cache.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/threads.h>

#include <asm/page.h>

#include "contract.h"
#include "submitters.h"

#define SET_BITS 10
#define WAYS 8
#define PID_BITS 22
#define MARK BIT_ULL(63)
/* The bits that differ between kernel addresses: alignment clears the lower ones. */
#define HIGHEST_BIT 51
#define LOWEST_BIT 3

static_assert(PID_MAX_LIMIT <= 1 << PID_BITS);
static_assert(HIGHEST_BIT + 1 - LOWEST_BIT - SET_BITS + PID_BITS <= 63);

static struct set {
	atomic64_t words[WAYS]; /* 0: free */
	u64 stamps[WAYS]; /* of the bios in the words; accessed by the bio's owner */
} sets[1 << SET_BITS] ____cacheline_aligned;

static u64 address_of(const struct bio *bio)
{
	return ((unsigned long)bio & GENMASK_ULL(HIGHEST_BIT, LOWEST_BIT)) >> LOWEST_BIT;
}

/* Mixes all bits. The low ones can be computed from the set and the other bits. */
static struct set *set_of(const struct bio *bio)
{
	u64 address = address_of(bio);
	u64 mixed = address;

	for (int shift = SET_BITS; shift <= HIGHEST_BIT - LOWEST_BIT; shift += SET_BITS)
		mixed ^= address >> shift;
	return &sets[mixed & (ARRAY_SIZE(sets) - 1)];
}

static u64 tag_of(const struct bio *bio)
{
	return address_of(bio) >> SET_BITS << PID_BITS;
}

/* Return: the bio's word, or NULL; @value is set to the word's value. */
static atomic64_t *find(const struct bio *bio, u64 *value)
{
	struct set *set = set_of(bio);
	u64 tag = tag_of(bio);

	for (int i = 0; i < WAYS; i++) {
		*value = atomic64_read(&set->words[i]);
		if (*value && (*value & ~(MARK | GENMASK_ULL(PID_BITS - 1, 0))) == tag)
			return &set->words[i];
	}
	return NULL;
}

void submitter_remember(const struct bio *bio, pid_t pid)
{
	struct set *set = set_of(bio);
	u64 entry = tag_of(bio) | pid;
	atomic64_t *word;
	u64 value;

	/* Found: the bio itself, or an earlier bio at this address whose end was not seen. */
	word = find(bio, &value);
	if (word)
		atomic64_set(word, pid ? entry | (value & MARK) : 0);
	for (int i = 0; pid && !word && i < WAYS; i++)
		if (!atomic64_read(&set->words[i]) &&
		    atomic64_cmpxchg(&set->words[i], 0, entry) == 0)
			word = &set->words[i];
}

void submitter_forget(const struct bio *bio)
{
	u64 value;
	atomic64_t *word = find(bio, &value);

	if (word)
		atomic64_set(word, 0);
}

void submitter_set_mark(const struct bio *bio, bool mark)
{
	u64 value;
	atomic64_t *word = find(bio, &value);

	if (word && !(value & MARK) == mark)
		atomic64_set(word, value ^ MARK);
}

bool submitter_mark(const struct bio *bio)
{
	u64 value;

	return find(bio, &value) && value & MARK;
}

void submitter_set_stamp(const struct bio *bio, u64 stamp)
{
	struct set *set = set_of(bio);
	u64 value;
	const atomic64_t *word = find(bio, &value);

	if (word)
		set->stamps[word - set->words] = stamp;
}

u64 submitter_stamp(const struct bio *bio)
{
	const struct set *set = set_of(bio);
	u64 value;
	const atomic64_t *word = find(bio, &value);

	return word ? set->stamps[word - set->words] : 0;
}

void submitters_forget_all(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(sets); i++)
		for (int way = 0; way < WAYS; way++)
			atomic64_set(&sets[i].words[way], 0);
}

int platform_bio_submitter(const struct bio *bio)
{
	u64 value;

	return find(bio, &value) ? value & GENMASK_ULL(PID_BITS - 1, 0) : 0;
}
EXPORT_SYMBOL_GPL(platform_bio_submitter);
