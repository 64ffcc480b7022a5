/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Intentional data races, like data_race() in C: reads of fields that the kernel writes without a
 * marked access under its own locks. Context: any.
 */
#pragma once

#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define ZEM_RACES_ARE_CHECKED
#endif
#elif defined(__SANITIZE_THREAD__)
#define ZEM_RACES_ARE_CHECKED
#endif

#if defined(ZEM_KERNEL) && defined(ZEM_RACES_ARE_CHECKED)
extern "C" {
void kcsan_disable_current();
void kcsan_enable_current();
}
#endif

namespace zem {

/* KCSAN ignores the accesses of this context until the end of the scope. */
class [[nodiscard]] DataRaceGuard {
public:
#if defined(ZEM_KERNEL) && defined(ZEM_RACES_ARE_CHECKED)
	DataRaceGuard() { kcsan_disable_current(); }

	~DataRaceGuard() { kcsan_enable_current(); }
#else
	DataRaceGuard() {}
#endif

	DataRaceGuard(const DataRaceGuard &) = delete;
	DataRaceGuard &operator=(const DataRaceGuard &) = delete;
};

} /* namespace zem */
