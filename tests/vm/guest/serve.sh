# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Clients of a zemctl server in a storm of records. Sourced by the cases of the server.

address=127.0.0.1:9464
# A slow client falls more than 4 MiB behind in four rounds: its share of the server's memory.
round_records=1500 # of each of two CPUs; a ring of 1 MiB holds them
payload=456

# number NAME FILE: print a number from the summary of a capture.
number()
{
	zemctl dump --summary --json "$2" 2>/dev/null | sed -n 's/,"channels".*//; s/.*"'"$1"'":\([0-9]*\).*/\1/p'
}

# Print the value of a metric.
metric()
{
	wget -q -O - http://$address/metrics | awk -v name="$1" '$1 == name { print $2 }'
}

# served COUNT: check that the server has read COUNT records of the storm.
served()
{
	[ "$(metric 'zem_records_total{channel="smartpa"}')" = "$1" ]
}

# recorded COUNT: check that the recorder has written COUNT records. Otherwise it might fall behind too.
recorded()
{
	[ "$(stat -c %s /tmp/fast)" -ge $(($1 * (32 + payload))) ]
}

scrape()
{
	while [ -e /tmp/scraping ]; do
		wget -q -O - --header "Accept: application/openmetrics-text" http://$address/metrics >>/tmp/scraped ||
			echo "a scrape failed" >>/tmp/scraped
		usleep 100000
	done
}

# Print what the largest resident memory of a process was, in kB.
peak_memory()
{
	sed -n 's/^VmHWM:[^0-9]*\([0-9]*\) kB/\1/p' "/proc/$1/status"
}

# clients_see_a_storm ROUNDS: serve a storm to a recorder, to one that stands still meanwhile, to zemctl top and to a
# client of the metrics.
clients_see_a_storm()
{
	resize_ring 1048576
	last_cpu=${cpus##*[!0-9]}
	total=$((2 * round_records * $1 + 1))
	rm -f /tmp/fast /tmp/slow /tmp/scraped
	zemctl serve --listen $address >/tmp/served 2>&1 &
	server=$!
	wait_until 30 grep -q 'metrics at' /tmp/served || fail "the server does not start: $(cat /tmp/served)"
	before=$(peak_memory $server)

	zemctl record -o /tmp/fast >/tmp/fast.log 2>&1 &
	fast=$!
	zemctl record --strict -o /tmp/slow >/tmp/slow.log 2>&1 &
	slow=$!
	wait_until 30 test -s /tmp/fast -a -s /tmp/slow || fail "the recorders do not begin"
	produce smartpa 0 $payload 1 cpu=0
	wait_until 30 served 1 || fail "the server does not read"
	kill -STOP $slow
	: >/tmp/scraping
	scrape &
	scraper=$!
	zemctl top --once --interval 3600 --processes 1 >/tmp/top 2>&1 &
	top=$!

	for round in $(seq "$1"); do
		produce smartpa 0 $payload $round_records cpu=0 &
		other=$!
		produce smartpa 0 $payload $round_records cpu="$last_cpu"
		wait $other
		wait_until 120 served $((2 * round_records * round + 1)) ||
			fail "round $round: $(metric 'zem_records_total{channel="smartpa"}') records were read"
		wait_until 120 recorded $((2 * round_records * round + 1)) ||
			fail "round $round: $(stat -c %s /tmp/fast) bytes were recorded"
	done
	kill -CONT $slow
	rm -f /tmp/scraping
	wait $scraper
	after=$(peak_memory $server)
	kill -INT $top
	wait $top
	kill -INT $server
	wait $server
	is "the server's status" $? 0
	wait $fast
	is "the recorder's status" $? 0
	wait $slow
	is "the slow recorder's status" $? 1

	is "the recorder's records" "$(number records /tmp/fast)" $total
	is "the recorder's gaps" "$(number gaps /tmp/fast)" 0
	kept=$(number records /tmp/slow)
	dropped=$(number lost_records /tmp/slow)
	is "the slow recorder's records, kept and dropped" $((kept + dropped)) $total
	is "gaps of an unknown size" "$(number unknown_gaps /tmp/slow)" 0
	holds "the slow recorder falls behind" "$dropped" -gt 0
	holds "it gets what there was room for" "$kept" -gt 8000
	contains "top" "$(cat /tmp/top)" "from zemctl serve"
	contains "top" "$(cat /tmp/top)" "lost       nothing"
	scrapes=$(grep -c '^zem_build_info' /tmp/scraped)
	holds "scrapes" "$scrapes" -gt 1
	is "scrapes that have all" "$(grep -c '^# EOF$' /tmp/scraped)" "$scrapes"
	is "scrapes that failed" "$(grep -c '^a scrape failed$' /tmp/scraped)" 0
	# The queue of the slow client, the other clients' and the metrics.
	holds "the server's memory in kB" $((after - before)) -lt 12288
	note "$total records: $dropped dropped for the slow recorder; $scrapes scrapes;" \
		"the server had $before kB, at most $after kB"
	rm -f /tmp/fast /tmp/slow /tmp/scraped
}
