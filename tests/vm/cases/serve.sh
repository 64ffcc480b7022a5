# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# zemctl serve with the real module.

# shellcheck source=tests/vm/guest/zemctl_says.sh
. "$here/zemctl_says.sh"
# shellcheck source=tests/vm/guest/serve.sh
. "$here/serve.sh"

test_each_client_gets_all_records_or_the_number_of_those_it_missed()
{
	needs_zemctl || return
	clients_see_a_storm 4
}

test_a_second_reader_is_refused_with_the_pid_of_the_server()
{
	needs_zemctl || return
	zemctl serve --no-listen >/tmp/served 2>&1 &
	server=$!
	wait_until 30 grep -q 'records at' /tmp/served || fail "the server does not start: $(cat /tmp/served)"
	refused=$(zemctl serve --no-listen 2>&1)
	is "status" $? 1
	contains "the owner" "$refused" "$server"
	printf 'served' >$zem/touchscreen
	is "a view by the server" "$(zemctl watch --json --records 1 2>/dev/null |
		sed -n 's/.*"payload_text":\("[a-z]*"\).*/\1/p')" '"served"'
	end $server
}
