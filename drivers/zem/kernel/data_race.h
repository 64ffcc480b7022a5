/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Accesses that race on purpose, as data_race() marks them in C: what the kernel writes without a
 * mark under locks of its own, read without these locks. Any context.
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

/* KCSAN leaves this context's accesses out, to the end of the scope. */
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
