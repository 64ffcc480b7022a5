/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Fields of a bio that the IO handlers read, at offsets determined by the build. layout.c compares
 * the bits with the kernel's where it can. Context: any.
 */
#pragma once

#include "api/types.h"
#include "kernel/layout.gen.h"

struct bio;
struct block_device;

namespace zem {

template <typename T>
[[nodiscard]] inline T &field_at(const void *base, size_t offset)
{
	using Field [[gnu::may_alias]] = T;
	return *const_cast<Field *>(
		reinterpret_cast<const Field *>(static_cast<const char *>(base) + offset));
}

/* Return: the number of the bio's device; 0 without one. */
[[nodiscard]] inline u32 bio_device(const bio *bio)
{
	const auto *device = field_at<const block_device *>(bio, KERNEL_BIO_BDEV);
	return device ? field_at<u32>(device, KERNEL_BDEV_DEV) : 0;
}

/* Return: the operation in the low 8 bits, and flags above. */
[[nodiscard]] inline u32 bio_operation_word(const bio *bio)
{
	return field_at<u32>(bio, KERNEL_BIO_OPF);
}

inline constexpr u32 kBioOperation = 0xff;
inline constexpr u32 kBioDiscard = 3;
inline constexpr u32 kBioSync = 1u << 11;

/* Time and size of the bio when the block layer received it; 0 without a stamp. */
struct BioStamp {
	u64 word;

	static constexpr u64 kTime = 0x7ffffffffffffull;

	/* ns since the stamp. The stamp's time wraps every 26 days, which the mask handles. */
	[[nodiscard]] u64 age(u64 now) const { return (now - word) & kTime; }

	/* Number of whole 4 KiB pages. */
	[[nodiscard]] u32 pages() const { return word >> 54 & 0x1ff; }
};

[[nodiscard]] inline BioStamp bio_stamp(const bio *bio)
{
	return {field_at<u64>(bio, KERNEL_BIO_STAMP)};
}

/*
 * Marks a bio that an app in the foreground submitted, with a flag that kernels before 6.10 do not
 * use. On later kernels the platform lends the flag while a hook runs.
 */
class ForegroundMark {
public:
	explicit ForegroundMark(bio *bio) : flags_(field_at<u16>(bio, KERNEL_BIO_FLAGS)) {}

	[[nodiscard]] bool is_set() const { return flags_ & kMark; }

	void set() { flags_ |= kMark; }

	void clear() { flags_ &= static_cast<u16>(~kMark); }

private:
	static constexpr u16 kMark = 1u << 13;

	u16 &flags_;
};

} /* namespace zem */
