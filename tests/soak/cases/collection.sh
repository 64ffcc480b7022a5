# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
#
# Collect an active system at the initial intervals for minutes. Each cycle has the records of every family,
# in order, and no others.

test_each_cycle_has_what_every_family_promises_in_order()
{
	begin_anew
	start_apps
	zemctl record --strict --seconds "$SOAK_SECONDS" -o /tmp/capture >/tmp/summary 2>&1 &
	recorder=$!
	wait_until 30 test -s /tmp/capture || fail "no recording: $(cat /tmp/summary)"
	start_collector
	tell_progress &
	wait $recorder || fail "the recording: $(cat /tmp/summary)"
	# No reader remains.
	set_file trace_on 0
	note "$(grep -o "[0-9]* records, .* lost.*" /tmp/summary)"
	zemctl dump --json /tmp/capture | grep '"type":"record"' >/tmp/records
	cycles_are_complete
	the_display_was_called_every_second_cycle
	log_is "nothing but the switch" "6 trace_on disable
6 trace_on enable
6 trace_on disable"
}

# Set the initial intervals, a provider for each family, and a ring buffer with room for a cycle.
begin_anew()
{
	echo 1 >/proc/sys/kernel/sched_schedstats
	echo 1 >$platform/kmem
	echo 1 >$platform/display
	echo 1 >$platform/live
	reload_zem
	is "intervals" "$(cd $zem && cat kmemind_interval kioind_interval sched_interval svp_interval \
		load_interval cgroup_interval display_interval | tr '\n' ' ')" "1 1 1 1 1 0 10 "
	echo 1 >$load_views/load_metrics_report
	resize_ring 65536
	read -r display_calls _ <$platform/display_calls
}

# Two SVP tasks that run permanently, one on each cluster.
start_apps()
{
	apps=
	for cpu in 2 6; do
		start_stopped spin $cpu $(((SOAK_SECONDS + 60) * 1000)) 20 80
		echo "$task on" >$platform/svp
		kill -CONT "$task"
		apps="$apps $task"
	done
}

start_collector()
{
	mark_log
	set_file trace_on 0
	set_file trace_on 1
	wait_until 10 has_thread $collector || fail "there is no collector"
	keep_collector_on_one_cpu
}

tell_progress()
{
	begun=$(seconds_up)
	while kill -0 $recorder 2>/dev/null; do
		sleep 10
		note "$(($(seconds_up) - begun)) s: capture $(stat -c %s /tmp/capture) bytes"
	done
}

# Print a line for each mistake, and a line with the number of cycles.
judge_cycles()
{
	awk -v apps="$apps" '
		function end_cycle() {
			if (!cycles)
				return
			if (order !~ /^kmem kio sched (svp )+(cpu )(cpu )(cpu )(cpu )(cpu )(cpu )(cpu )(cpu )(load )+$/)
				print "cycle " cycles ": " order
			for (i = 1; i <= count; i++)
				if (!(("svp", app[i]) in seen) || !(("load", app[i]) in seen))
					print "cycle " cycles ": nothing of " app[i]
			split("", seen)
			order = ""
		}
		function field(name) {
			match($0, "\"" name "\":\"?[^,\"}]*")
			value = substr($0, RSTART, RLENGTH)
			sub(/.*[:"]/, "", value)
			return value
		}
		BEGIN { count = split(apps, app, " ") }
		{
			channel = field("channel")
			time = field("time_ns")
			ms = substr(time, 1, length(time) - 6) + 0
		}
		channel == "kmem" {
			end_cycle()
			cycles++
			if (begun && (ms - begun < 4500 || ms - begun > 8000))
				print "cycle " cycles ": after " ms - begun " ms"
			begun = ms
		}
		time < last { print "cycle " cycles ": " channel " at " time ", after " last }
		field("train_number") != 1 { print "cycle " cycles ": train " field("train_number") }
		{
			last = time
			order = order channel " "
			whom = channel == "cpu" ? field("cpu") : field("pid")
			if (channel ~ /^(svp|load|cpu)$/ && (channel, whom) in seen)
				print "cycle " cycles ": " channel " of " whom " again"
			seen[channel, whom] = 1
		}
		END {
			# The recording may have ended within the last cycle.
			print "cycles " cycles
		}' /tmp/records
}

cycles_are_complete()
{
	judge_cycles >/tmp/findings
	cycles=$(sed -n 's/^cycles //p' /tmp/findings)
	is "findings" "$(grep -v '^cycles ' /tmp/findings | head -n 10)" ""
	note "$cycles cycles"
	# The first cycle comes after 5 to 10 s.
	holds "cycles" "$cycles" -ge $((SOAK_SECONDS / 5 - 3))
	holds "cycles" "$cycles" -le $((SOAK_SECONDS / 5 + 1))
}

the_display_was_called_every_second_cycle()
{
	read -r calls interval <$platform/display_calls
	is "its interval" "$interval" 10
	calls=$((calls - display_calls))
	holds "calls of the display" $calls -ge $(((cycles - 1) / 2))
	holds "calls of the display" $calls -le $(((cycles + 3) / 2))
}
