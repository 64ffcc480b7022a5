# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Checks of zemctl's exit status and output. Sourced by the cases of zemctl.

# Skip the test without zemctl.
needs_zemctl()
{
	command -v zemctl >/dev/null && return
	skip "zemctl is not built"
	return 1
}

# says WHAT STATUS TEXT ARGUMENT...: check zemctl's exit status and output.
says()
{
	what=$1 wanted_status=$2 wanted_text=$3
	shift 3
	said=$(zemctl "$@" 2>&1)
	is "$what: status" $? "$wanted_status"
	is "$what" "$said" "$wanted_text"
}
