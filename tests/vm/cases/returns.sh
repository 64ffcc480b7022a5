# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Return addresses are saved on the stack. The compiler lets each function sign its own, which CPUs without pointer
# authentication ignore. A kernel built for that replaces the instructions on such CPUs, and the address is kept on a
# shadow stack too. It finds them in the modules' unwind tables.

# counts_of_returns: set functions, unprotected, places, signing and shadow. Without places the test is skipped: the
# modules' C is compiled with the kernel's options, so the kernel's own code does not sign either.
counts_of_returns()
{
	zemtest returns $zem_module zem >/tmp/returns
	sed 's/^/    # /' /tmp/returns
	eval "$(tail -n 1 /tmp/returns)"
	[ "$places" -gt 0 ] && return
	skip "the kernel does not sign addresses"
	return 1
}

cpu_signs_addresses()
{
	grep -q '^Features.* paca' /proc/cpuinfo
}

kernel_has_shadow_stacks()
{
	grep -q '\.init\.eh_frame' $zem_module
}

test_each_function_signs_the_address_that_it_saves()
{
	counts_of_returns || return
	holds "there are functions" "$functions" -gt 300
	holds "most save an address" "$places" -gt "$functions"
	is "unprotected functions" "$unprotected" 0
}

test_addresses_are_signed_or_on_the_shadow_stack()
{
	counts_of_returns || return
	if kernel_has_shadow_stacks && ! cpu_signs_addresses; then
		is "on the shadow stack" "$shadow" "$places"
		is "only signed" "$signing" 0
	else
		is "signed" "$signing" "$places"
		is "on the shadow stack" "$shadow" 0
	fi
}
