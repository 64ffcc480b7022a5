/* SPDX-License-Identifier: GPL-2.0 */
/* A call of a function of a file, which the module may remove meanwhile. */
#pragma once

namespace sim {

/* Keeps @File, which has activity, removed and calls, from being removed during the call. */
template <typename File>
class ActiveCall {
public:
	explicit ActiveCall(File &file) : file_(file)
	{
		file_.activity.change([&] {
			active_ = !file_.removed;
			file_.calls += active_;
		});
	}

	~ActiveCall()
	{
		file_.activity.change([&] { file_.calls -= active_; });
	}

	ActiveCall(const ActiveCall &) = delete;
	ActiveCall &operator=(const ActiveCall &) = delete;

	explicit operator bool() const { return active_; }

private:
	File &file_;
	bool active_ = false;
};

} /* namespace sim */
