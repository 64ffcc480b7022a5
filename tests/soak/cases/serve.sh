# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# A storm of 102,000 records and four clients of a server. It takes as long as it takes.

# shellcheck source=tests/vm/guest/serve.sh
. "$here/serve.sh"

test_clients_of_a_server_see_a_storm()
{
	clients_see_a_storm 34
}
