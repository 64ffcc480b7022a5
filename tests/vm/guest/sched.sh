# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2034 # the cases use these variables
#
# Helpers of the tests of the scheduler families: hooks raised by hand, and the expected files and records,
# computed independently from the raised values. Sourced by main.

# The messages of a load of zem.
load_log="6 kioind_init done
6 proc_sched_metrics_init Success!
6 proc_svp_metrics_init Success!
6 proc_load_metrics_init Success!
$groups_log
6 proc_cgroup_metrics_init Success!"

# --- tasks ----------------------------------------------------------------------------------------

# start_task COMMAND...: start a zemtest command that prints ids and "ready" in the background. $helper is its
# id; $task and $tasks are the printed ids.
start_task()
{
	: >/tmp/tasks
	zemtest "$@" >/tmp/tasks &
	helper=$!
	helpers="$helpers $helper"
	wait_until 30 grep -q ready /tmp/tasks || fail "zemtest $* does not start"
	tasks=$(sed '$d' /tmp/tasks)
	task=${tasks%%
*}
}

# start_svp_task: start an SVP task named sleeper-0 that sleeps.
start_svp_task()
{
	start_task sleepers 1
	echo "$task on" >$platform/svp
}

# start_stopped COMMAND...: start a command that stops itself before its work; $task is its id.
start_stopped()
{
	zemtest "$@" >/dev/null &
	task=$!
	helpers="$helpers $task"
	wait_until 30 is_stopped $task || fail "zemtest $* does not start"
}

is_stopped()
{
	case $(sed 's/.*) //' "/proc/$1/stat" 2>/dev/null) in
	T*) ;;
	*) return 1 ;;
	esac
}

end_tasks()
{
	for helper in $helpers; do
		kill -CONT "$helper"
		end "$helper"
	done 2>/dev/null
	helpers=''
}

# field NAME PID: print a field of the platform's record of that task.
field()
{
	echo "$2" >$platform/record
	sed -n "s/^$1 //p" $platform/record
}

# --- raising --------------------------------------------------------------------------------------

# Clear all counters and sums, including the platform's. A trigger uploads no family yet.
start_from_zero()
{
	for cpu in $cpus; do
		echo "$cpu 0" >$platform/irqtime
	done
	without_grace_periods reload_zem
	set_file kioind_interval 0
	set_file sched_interval 0
	set_file svp_interval 0
	: >/tmp/raised
}

raise()
{
	echo "$*" >$platform/raise
}

# raised METRIC CPU BUCKET NS: raise an event for $task, and note where it must be counted.
raised()
{
	case $1 in
	irqtime)
		raise "cpu=$2 rvh_irqtime_account_hardirq $4"
		echo "$2 $(($(sed -n "s/^$2 //p" $platform/irqtime) + $4))" >$platform/irqtime
		;;
	svp_runtime) raise "cpu=$2 vh_sched_info_depart $task $4" ;;
	svp_rundelay) raise "cpu=$2 rvh_sched_info_arrive $task $4" ;;
	svp_d_state_duration) raise "cpu=$2 vh_task_d_state_dura_record $task $4" ;;
	esac
	echo "$*" >>/tmp/raised
}

metrics="irqtime svp_runtime svp_rundelay svp_d_state_duration"

# Print the upper bounds of a metric's buckets in us.
bounds_of()
{
	case $1 in
	irqtime) echo 100 200 300 500 1000 2000 4000 6000 8000 ;;
	svp_runtime) echo 2000 5000 8000 11000 15000 18000 22000 27000 32000 ;;
	svp_rundelay) echo 500 1000 2000 3000 5000 7000 10000 15000 20000 ;;
	svp_d_state_duration) echo 2000 3000 7000 12000 18000 27000 44000 100000 200000 ;;
	esac
}

# Raise values below, at and above every bound of a metric, on one CPU after the other.
raise_around_bounds()
{
	bucket=0 at=0
	raised "$1" 0 0 1
	for bound in $(bounds_of "$1"); do
		raised "$1" $((at % 8)) $bucket $((bound * 1000 - 1))
		bucket=$((bucket + 1))
		raised "$1" $(((at + 3) % 8)) $bucket $((bound * 1000))
		at=$((at + 1))
	done
	raised "$1" 7 9 5000000000
}

# --- expected views -------------------------------------------------------------------------------

title_of()
{
	case $1 in
	irqtime_total) echo "histogram irqtime total (us):" ;;
	irqtime) echo "histogram irqtime interval (us):" ;;
	irqtime_sum_total) echo "all irqtime_sum total (ms):" ;;
	irqtime_sum) echo "all irqtime_sum interval (ms):" ;;
	svp_runtime_total) echo "histogram svp_runtime total (us):" ;;
	svp_runtime) echo "histogram svp_runtime interval (us):" ;;
	svp_runtime_sum_total) echo "svp_runtime_sum total (ms):" ;;
	svp_runtime_sum) echo "svp_runtime_sum interval (ms):" ;;
	svp_rundelay_total) echo "histogram_svp_run_delay total (us):" ;;
	svp_rundelay) echo "histogram svp_run_delay interval (us):" ;;
	svp_rundelay_sum_total) echo "svp_run_delay_sum total (ms):" ;;
	svp_rundelay_sum) echo "svp_run_delay_sum interval (ms):" ;;
	svp_d_state_duration_total) echo "histogram_svp_d_state_duration total (us):" ;;
	svp_d_state_duration) echo "histogram svp_d_state_duration interval (us):" ;;
	svp_d_state_duration_sum_total) echo "svp_d_state_duration_sum total (ms):" ;;
	svp_d_state_duration_sum) echo "svp_d_state_duration_sum interval (ms):" ;;
	esac
}

# The file of a metric's view: _total, nothing, _sum_total or _sum.
view()
{
	case $1$2 in
	irqtime_sum*) echo "$sched_views/sched_metrics_all_irqtime$2" ;;
	*) echo "$sched_views/sched_metrics_$1$2" ;;
	esac
}

# histogram METRIC VIEW: print the expected text. The label of the run time's fifth bucket is not its bound.
histogram()
{
	bounds_of "$1" | sed '/^2000 5000/s/15000/14000/' |
		awk -v metric="$1" -v title="$(title_of "$1$2")" -v cpus="$(echo "$cpus" | wc -w)" '
		NR == FNR {
			print title
			for (i = 1; i <= 9; i++)
				printf i == 1 ? "%25d " : "%15d ", $i
			printf "%15s\n\n", "others"
			next
		}
		$1 == metric { count[$2, $3]++; sum[$3]++ }
		END {
			for (cpu = 0; cpu < cpus; cpu++) {
				printf "%7s %d:", "cpu", cpu
				for (i = 0; i < 10; i++)
					printf "%15d ", count[cpu, i]
				printf "\n"
			}
			printf "%10s", "cpu:"
			for (i = 0; i < 10; i++)
				printf "%15d ", sum[i]
			printf "\n"
		}' - /tmp/raised
	echo .
}

# sums METRIC VIEW: print the expected text. The totals of interrupts have one more line, and the other totals
# are one column narrower.
sums()
{
	awk -v metric="$1" -v title="$(title_of "$1$2")" -v cpus="$(echo "$cpus" | wc -w)" '
		$1 == metric { ns[$2] += $4; all += $4 }
		END {
			print title
			for (cpu = 0; cpu < cpus; cpu++)
				printf "%15s%d ", "cpu", cpu
			printf "%16s", "cpu\n"
			for (cpu = 0; cpu < cpus; cpu++)
				printf "%16d ", int(ns[cpu] / 1000000)
			is_narrow = title ~ / total / && metric != "irqtime"
			printf is_narrow ? "%15d\n" : "%16d\n", int(all / 1000000)
			if (title ~ /irqtime_sum total/)
				printf "\n"
		}' /tmp/raised
	echo .
}

# shown FILE: print its text followed by a dot, which preserves trailing newlines.
shown()
{
	cat "$1"
	echo .
}

# --- expected records -----------------------------------------------------------------------------

# le BYTES VALUE...: print each value as hex digits, little-endian.
le()
{
	width=$1
	shift
	for value in "$@"; do
		byte=0
		while [ $byte -lt "$width" ]; do
			printf %02x $((value & 255))
			value=$((value >> 8))
			byte=$((byte + 1))
		done
	done
}

# zeros BYTES
zeros()
{
	[ "$1" -eq 0 ] || printf "%0$(($1 * 2))d" 0
}

# text_field BYTES TEXT
text_field()
{
	printf %s "$2" | xxd -p | tr -d '\n'
	zeros $(($1 - ${#2}))
}

# records_are WHAT COUNT WANTED
records_are()
{
	is "$1" "$(take "$2")" "$3"
}

# header CHANNEL TRAIN_NUMBER LEN: print a header as take does.
header()
{
	echo "channel=$1 sub_type=0 train_number=$2 len=$3 reserved=0 payload="
}

# svp_record TRAIN TGID PID NAME PACKAGE DELAYS DELAY RUNS RUN BLOCKS BLOCK: the counts of four buckets and the
# total in ns, for run delays, run times and D states.
svp_record()
{
	# shellcheck disable=SC2086 # counts are words
	echo "$(header 14 "$1" 456)$(le 4 "$2" "$3"
		text_field 16 "$4"
		text_field 32 "$5"
		le 4 $6
		le 8 "$7"
		le 4 $8
		le 8 "$9"
		shift 9
		le 4 $1
		le 8 "$2"
		zeros 328)"
}

# svp_text TGID PID NAME PACKAGE DELAYS DELAY RUNS RUN BLOCKS BLOCK: the text of the same values.
svp_text()
{
	printf '%s\n' "---------------- svp common info ----------------" \
		"tgid: $1" "pid: $2" "thread_name: $3" "package_name: $4" \
		"---------------- svp sched information ----------------" \
		"run_delay_total: $6" "run_delay[]: $(commas "$5")" \
		"runtime_total: $8" "runtime[]: $(commas "$7")" \
		"d_state_duration_total: ${10}" "d_state_duration[]: $(commas "$9")" "" "" \
		"---------------- svp memory information ----------------"
	printf 'page allocation failure order: '
	printf '[%d]=0, ' 0 1 2 3 4 5 6 7 8 9 10
	printf '\n\n%s\n' "type            [0,1ms) [1,8)ms     [8,16)ms    [16,33)ms   [33,67)ms   [67,134)ms  [>=134ms)"
	for row in async_reclaim: async_compact: direct_reclaim: direct_compact: PG_locked:; do
		printf '%-16s%-12d%-12d%-12d%-12d%-12d%-12d%-12d\n' $row 0 0 0 0 0 0 0
	done
	printf '%s\n' "" "" "------------------ svp io information ------------------" \
		"iowait_total: 0 iowait_total_cnt: 0" \
		"iowait_duration[]: $(commas "0 0 0 0 0 0 0")iowait_coldstart: 0 iowait_coldstart_cnt 0" \
		"ui_iowait_long_cnt: 0" \
		"read_bytes:  0 read_syscall_cnt:  0" \
		"write_bytes: 0 write_syscall_cnt: 0" \
		"bio_read_size: 0 bio_read_time: 0 bio_read_cnt: 0" \
		"bio_write_size: 0 bio_write_time: 0 bio_write_cnt: 0" "" ""
}

# commas WORDS: print a comma and a space after each word.
commas()
{
	# shellcheck disable=SC2086 # words
	printf '%s, ' $1
}

# sched_record TRAIN: print the expected record. Times are in units of 1024 ns.
sched_record()
{
	echo "$(header 4 "$1" 496)$(zeros 192
		for metric in $metrics; do
			# shellcheck disable=SC2046 # numbers
			le 4 $(awk -v metric="$metric" '
				$1 == metric { count[$3]++; ns[$2] += $4; all += $4 }
				END {
					for (i = 0; i < 10; i++)
						print count[i] + 0
					for (cpu = 0; cpu < 8; cpu++)
						print int(ns[cpu] / 1024)
					print int(all / 1024)
				}' /tmp/raised)
		done)"
}

# kzerod_record TRAIN VALUE...: five counters.
kzerod_record()
{
	train=$1
	shift
	echo "$(header 12 "$train" 40)$(le 8 "$@")"
}

# --- the platform's records of tasks ---------------------------------------------------------------

# The records that were created are those that were freed and those of living tasks; none waits for zem.
all_records_are_accounted_for()
{
	awk '{ count[$1] = $2 } END {
		exit count["waiting"] || count["missed"] || count["made"] != count["freed"] + count["living"]
	}' $platform/records
}

# slow_disk: create /dev/nullb0, which takes 300 ms for each request. On a busy machine, that time begins tens
# of ms before the task sleeps.
slow_disk()
{
	[ -b /dev/nullb0 ] || modprobe null_blk irqmode=2 completion_nsec=300000000 nr_devices=1 gb=1 ||
		fail "null_blk does not load"
}
