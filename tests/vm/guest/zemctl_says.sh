# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use what is set here
#
# zemctl's exit status and output. Sourced by the cases about it.

# without zemctl: the test is skipped.
needs_zemctl()
{
	command -v zemctl >/dev/null && return
	skip "zemctl is not built"
	return 1
}

# says WHAT STATUS TEXT ARGUMENT...: zemctl's exit status and output.
says()
{
	what=$1 wanted_status=$2 wanted_text=$3
	shift 3
	said=$(zemctl "$@" 2>&1)
	is "$what: status" $? "$wanted_status"
	is "$what" "$said" "$wanted_text"
}
