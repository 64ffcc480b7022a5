/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A reference to a callable argument, such as a function or a lambda, which is not copied. It must
 * not outlive the call that it was passed to. Context: any.
 */
#pragma once

namespace zem {

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
public:
	/* Null, which must not be called. */
	constexpr FunctionRef(decltype(nullptr)) {}

	template <typename Callable>
	FunctionRef(const Callable &callable)
		: callable_(&callable),
		  invoke_([](const void *target, Arguments... arguments) -> Result {
			  return (*static_cast<const Callable *>(target))(arguments...);
		  })
	{
	}

	explicit operator bool() const { return invoke_; }

	Result operator()(Arguments... arguments) const { return invoke_(callable_, arguments...); }

private:
	const void *callable_ = nullptr;
	Result (*invoke_)(const void *callable, Arguments... arguments) = nullptr;
};

} /* namespace zem */
