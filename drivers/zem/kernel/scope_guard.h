/* SPDX-License-Identifier: GPL-2.0 */
/* Undoes a step at the end of the scope, unless it was dismissed. */
#pragma once

namespace zem {

template <typename Undo>
class [[nodiscard]] ScopeGuard {
public:
	explicit ScopeGuard(Undo undo) : undo_(undo) {}

	~ScopeGuard()
	{
		if (armed_)
			undo_();
	}

	ScopeGuard(const ScopeGuard &) = delete;
	ScopeGuard &operator=(const ScopeGuard &) = delete;

	void dismiss() { armed_ = false; }

private:
	Undo undo_;
	bool armed_ = true;
};

} /* namespace zem */
