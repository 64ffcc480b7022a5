# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --bare
#
# The glue for devices instead of zem_platform.ko. zem stays loaded from the second test on, because its
# restricted probes cannot be detached.

glue=/sys/module/zem_glue
threads_max=/proc/sys/kernel/threads-max

# Replaces the function that needs zem_platform.ko.
reset_state()
{
	end_tasks
	[ ! -d $glue ] || return
	for needed in $(modinfo -F depends /share/zem.ko | tr , ' '); do
		[ "$needed" = zem_platform ] || modprobe "$needed" || fail "$needed does not load"
	done
	insmod /share/zem_glue.ko || fail "the glue does not load"
}

# load_without_threads: load zem while the kernel creates no thread, which zem needs as its last step but one.
# The shell and its job fork nothing meanwhile. $outcome is the job's status.
load_without_threads()
{
	read -r most <$threads_max
	mkfifo /tmp/begin
	sh -c 'read -r go </tmp/begin; exec insmod /share/zem.ko' >/tmp/outcome 2>&1 &
	job=$!
	exec 3>/tmp/begin
	echo 20 >$threads_max
	echo go >&3
	exec 3>&-
	wait $job
	outcome=$?
	echo "$most" >$threads_max
	rm /tmp/begin
}

test_a_failed_load_leaves_neither_probes_nor_files()
{
	load_without_threads
	holds "status" $outcome -ne 0
	contains "outcome" "$(cat /tmp/outcome)" "Cannot allocate memory"
	holds "zem is not loaded" ! -d /sys/module/zem
	is "users of the glue" "$(cat $glue/refcnt)" 0
	is "files" "$(ls -d /proc/*_metrics /proc/morva_sched_healthinfo /proc/zem_procstat $zem /sys/kioind 2>/dev/null)" ""
	# Each of these would call a probe: switches, interrupts, a new task that the glue regards as important, IO.
	for cpu in $cpus; do
		nice -n -15 taskset $((1 << cpu)) sh -c 'sleep 0; dd if=/dev/block/sda of=/dev/null bs=4k count=4 iflag=direct' \
			2>/dev/null || fail "CPU $cpu: nothing is read"
	done
	# The kernel may complain about a worker that it could not create.
	mark_log
}

test_zem_loads_with_the_glue_and_collects()
{
	insmod /share/zem.ko || fail "zem does not load"
	log_is "the messages of a load" "$load_log"
	find_disks
	mark_log
	nice -n -15 zemtest spin 1 300 &
	task=$!
	helpers="$helpers $task"
	wait_until 30 is_stopped $task || fail "the task does not start"
	kill -CONT $task
	usleep 200000
	wait_until 60 is_stopped $task || fail "the task does not end"
	for metric in irqtime svp_runtime svp_rundelay; do
		holds "$metric is counted" "$(counted "$(view $metric _total)")" -gt 0
	done
	contains "load" "$(cat $load_views/load_metrics)" " comm:zemtest "

	set_file kioind_interval 0
	set_file sched_interval 1
	set_file svp_interval 1
	zemtest flush
	trigger 3
	wait_until 30 has_record "channel=14 " || fail "no svp record: $(zemtest peek | cut -d ' ' -f 1-5)"
	has_record "channel=4 " || fail "no sched record: $(zemtest peek | cut -d ' ' -f 1-5)"
	zemtest flush
}

# counted FILE: print the sum of the numbers in the file.
counted()
{
	awk '{ for (i = 1; i <= NF; i++) if ($i ~ /^[0-9]+$/) n += $i } END { print n + 0 }' "$1"
}

# has_record TEXT: succeed if the shared buffer has a record with this text.
has_record()
{
	zemtest peek | grep -q "$1"
}

# What this machine, which is no device, still lacks.
test_the_check_of_a_device_finds_all_symbols()
{
	sh /share/device-check --symbols /share/kernel-symbols >/tmp/checked
	is "status" $? 1
	is "symbols" "$(grep '^missing: symbol' /tmp/checked)" ""
	is "lists" "$(grep -c '^ok: .* symbols: ' /tmp/checked)" 3
	is "modules" "$(grep 'module zem\|/sys/zem:' /tmp/checked)" ""
	contains "packages" "$(grep '^ok: CPUs' /tmp/checked)" "in 2 package"
	contains "what is open" "$(grep '^open:' /tmp/checked)" "/sys/zem/battery has mode 644"
	contains "the collector" "$(grep '^missing:' /tmp/checked)" "the collector"
	note "$(grep -v '^ok:\|^open:' /tmp/checked)"
}

test_the_example_producer_pushes_records()
{
	zemtest flush
	unused=$(cat /sys/module/zem/refcnt)
	insmod /share/zem_example_producer.ko interval_ms=50 || fail "the producer does not load"
	is "users of zem" "$(cat /sys/module/zem/refcnt)" $((unused + 1))
	contains "record" "$(take 1 | head -n 1)" "channel=19 sub_type=1 "
	contains "record" "$(take 1 | head -n 1)" " len=16 "
	rmmod zem_example_producer || fail "the producer does not unload"
	is "users of zem afterwards" "$(cat /sys/module/zem/refcnt)" "$unused"
	zemtest flush
}

test_restricted_probes_keep_zem_loaded()
{
	is "references of the probes" "$(cat /sys/module/zem/refcnt)" 3
	is "unload" "$(zemtest unload zem)" EAGAIN
	contains "rmmod" "$(rmmod zem 2>&1)" "Resource temporarily unavailable"
	if command -v zemctl >/dev/null; then
		contains "zemctl" "$(zemctl unload 2>&1)" "or, on a kernel with vendor hooks, by its own probes"
	fi
	is "state" "$(cat /sys/module/zem/initstate)" live
	is "the glue" "$(zemtest unload zem_glue)" EAGAIN
	echo x >$zem/gpu
	contains "record" "$(take 1)" "channel=8 "
}
