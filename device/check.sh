#!/bin/sh
# SPDX-License-Identifier: GPL-2.0
#
# Report on a running device what zem, its glue or its readers still lack:
#	check.sh [--symbols FILE] [--root DIR]
# FILE is the list kernel-symbols that was built with zem.ko. Run as root, before zem.ko is loaded and again
# after. Each line begins with "ok", "missing" (something will not work), "open" (a process without need has
# access) or "note". Exit status: 0 without "missing" and "open", 1 with, 2 for wrong arguments.
#
# For the shells and tools of toybox and busybox. DIR replaces /, for tests.

root='' symbols='' failed=0

# What drivers/zem/Kbuild requires.
options='MODULES TRACEPOINTS RING_BUFFER JUMP_LABEL SYSFS PROC_FS CGROUP_SCHED BLK_CGROUP TASK_IO_ACCOUNTING USB_COMMON'

# What zem.ko imports besides the kernel's own symbols: drivers/zem/platform/contract.h. The kernel exports the
# hooks and the function that attaches restricted probes; the glue exports the others.
kernel_imports='android_rvh_probe_register
__tracepoint_android_rvh_irqtime_account_hardirq
__tracepoint_android_rvh_sched_info_arrive
__tracepoint_android_rvh_sched_info_dequeued
__tracepoint_android_vh_blk_bio_clone_flag
__tracepoint_android_vh_blk_bio_endio_record_bi_issue
__tracepoint_android_vh_blk_bio_submit_record_task
__tracepoint_android_vh_rs_warn_set_svp_task
__tracepoint_android_vh_sched_info_depart
__tracepoint_android_vh_sched_stat_blocked
__tracepoint_android_vh_task_d_state_dura_record
__tracepoint_android_vh_task_rchar
__tracepoint_android_vh_task_wchar
__tracepoint_android_vh_usb_zem_set
__tracepoint_sched_stat_blocked
__tracepoint_sched_stat_wait'
glue_imports='cluster_head
cpu_irqtime
gather_long_iowait_file
kzerod_zero_page_alloc_failed
kzerod_zero_page_alloc_prezero
kzerod_zero_page_list_alloc_total
kzerod_zero_page_list_breakdown_total
kzerod_zero_page_list_drain_total
morva_amu_read
platform_bdev_get_no_open
platform_bdev_put_no_open
platform_bio_submitter
platform_cpu_css_from_id
platform_task_ext
register_load_stat_proc_runtime
test_app_starting_simple
test_task_orig_svp
test_task_svp
unregister_load_stat_proc_runtime'

# The kernel's events that device/glue attaches probes to.
events='irq/irq_handler_entry irq/irq_handler_exit sched/sched_process_exec sched/sched_process_fork
sched/sched_process_free sched/sched_switch'

disks='sda sde by-name/super by-name/userdata'
groups='foreground background top-app system-background'
channels='trace usb display kmem sched kio dp wifi gpu traintime fs test kzerod smartpa svp charger load cpu cgroup
touchscreen battery'

# Files whose reading or writing affects others: docs/security.md.
shared_files='/proc/svp_metrics/svp_metrics /proc/load_metrics/load_metrics /proc/cgroup_metrics/cgroup_metrics
/proc/zem_procstat/set /proc/zem_procstat/remove_uid_range /sys/kioind/show2_uid_io /sys/kioind/show3_bio_time'

ok() { echo "ok: $*"; }
note() { echo "note: $*"; }

missing()
{
	echo "missing: $*"
	failed=1
}

open()
{
	echo "open: $*"
	failed=1
}

# first_line FILE: print the first line of a file below the root, or nothing.
first_line()
{
	line=''
	[ ! -r "$root$1" ] || read -r line <"$root$1"
	echo "$line"
}

zem_is_loaded() { [ -d "$root/sys/module/zem" ]; }

# --- before zem is loaded -------------------------------------------------------------------------

check_version()
{
	release=$(first_line /proc/sys/kernel/osrelease)
	major=${release%%.*}
	minor=${release#*.}
	minor=${minor%%[!0-9]*}
	case $major.$minor in
	*[!0-9.]* | .* | *.) missing "the kernel's release, in /proc/sys/kernel/osrelease" ;;
	[1-5].* | 6.0) missing "Linux 6.1 or newer: this is $release" ;;
	*) ok "Linux $release" ;;
	esac
}

check_options()
{
	config=$root/proc/config.gz
	if [ ! -r "$config" ]; then
		note "no /proc/config.gz (CONFIG_IKCONFIG_PROC): the kernel's options cannot be checked"
		return
	fi
	set_options=$(zcat "$config" 2>/dev/null | grep '^CONFIG_.*=[ym]$')
	for option in $options; do
		has_line "CONFIG_$option=y" "$set_options" || has_line "CONFIG_$option=m" "$set_options" ||
			missing "CONFIG_$option in the kernel's configuration"
	done
	if has_line CONFIG_ANDROID_VENDOR_HOOKS=y "$set_options"; then
		note "CONFIG_ANDROID_VENDOR_HOOKS: once loaded, zem stays loaded until the next boot"
	else
		missing "CONFIG_ANDROID_VENDOR_HOOKS: this kernel has no vendor hooks. The glue must define and raise them"
	fi
	has_line CONFIG_SCHEDSTATS=y "$set_options" ||
		missing "CONFIG_SCHEDSTATS: the health view stays empty without sched_stat_wait and sched_stat_blocked"
}

# has_line LINE TEXT
has_line()
{
	case "
$2
" in
	*"
$1
"*) return 0 ;;
	esac
	return 1
}

# check_exports ORIGIN MARKED NAME...: report names that nothing exports. The symbol __ksymtab_NAME marks an export,
# unless the kernel's list of symbols lacks these: then MARKED is empty, and NAME has to do.
check_exports()
{
	origin=$1 marked=$2
	shift 2
	patterns=''
	for name in "$@"; do
		patterns="$patterns -e __ksymtab_$name"
		[ "$marked" ] || patterns="$patterns -e $name"
	done
	# shellcheck disable=SC2086 # words
	found=$(sed -e 's/^[^ ]* . //' -e 's/[^A-Za-z0-9_.].*//' "$root/proc/kallsyms" | grep -xF $patterns)
	absent=0
	for name in "$@"; do
		has_line "__ksymtab_$name" "$found" || has_line "$name" "$found" || {
			missing "symbol $name: $origin"
			absent=$((absent + 1))
		}
	done
	[ $absent -gt 0 ] || ok "$# symbols: $origin"
}

# is_marked REGEX: succeed if the list has exports. REGEX says of which origin: modules follow in brackets.
is_marked()
{
	grep -q " __ksymtab_[A-Za-z0-9_]*$1" "$root/proc/kallsyms"
}

check_symbols()
{
	if [ ! -s "$root/proc/kallsyms" ]; then
		note "no /proc/kallsyms: symbols cannot be checked"
		return
	fi
	in_kernel='' in_modules=''
	! is_marked '$' || in_kernel=yes
	! is_marked '[^A-Za-z0-9_].*\[' || in_modules=yes
	[ "$in_kernel" ] || note "the list of symbols does not say what the kernel exports: a symbol that exists counts as exported"
	# shellcheck disable=SC2086 # words
	check_exports "a hook, exported by the kernel" "$in_kernel" $kernel_imports
	# shellcheck disable=SC2086
	check_exports "exported by the glue, which must be loaded" "$in_modules" $glue_imports
	# shellcheck disable=SC2046
	[ ! "$symbols" ] || check_exports "exported by the kernel" "$in_kernel" $(cat "$symbols")
}

check_events()
{
	tracing=/sys/kernel/tracing
	[ -d "$root$tracing/events" ] || tracing=/sys/kernel/debug/tracing
	if [ ! -d "$root$tracing/events" ]; then
		note "no tracefs at /sys/kernel/tracing: the kernel's events cannot be checked"
		return
	fi
	for event in $events; do
		[ -d "$root$tracing/events/$event" ] || missing "event $event, which device/glue attaches a probe to"
	done
}

# A third package is a BUG() in zem, unless the glue hides it.
check_clusters()
{
	packages=$(cat "$root"/sys/devices/system/cpu/cpu[0-9]*/topology/physical_package_id 2>/dev/null | sort -u)
	count=$(echo "$packages" | grep -c '[0-9]')
	case $(echo "$packages" | tr '\n' ' ') in
	'') note "no CPU says to which package it belongs" ;;
	'0 ' | '1 ' | '0 1 ') ok "CPUs in $count package(s)" ;;
	*) note "CPUs in packages $(echo "$packages" | tr '\n' ' ')-- zem has two clusters, 0 and 1, and stops the kernel" \
		"at any other. The glue must report no activity for other CPUs (vendor_cpu_has_load())" ;;
	esac
}

check_schedstats()
{
	case $(first_line /proc/sys/kernel/sched_schedstats) in
	1) ok "kernel.sched_schedstats is 1" ;;
	0) missing "kernel.sched_schedstats=1: /proc/morva_sched_healthinfo and cgroup records stay 0" ;;
	*) missing "/proc/sys/kernel/sched_schedstats (CONFIG_SCHEDSTATS)" ;;
	esac
}

check_places()
{
	for disk in $disks; do
		[ -e "$root/dev/block/$disk" ] || missing "/dev/block/$disk: zem counts no IO of this disk"
	done
	cpuctl=/dev/cpuctl
	[ -d "$root$cpuctl" ] || cpuctl=/sys/fs/cgroup
	for group in $groups; do
		[ -d "$root$cpuctl/$group" ] || missing "cpu cgroup $group below $cpuctl"
	done
}

# --- after zem is loaded --------------------------------------------------------------------------

# is_closed FILE DIGITS: report a file whose mode gives anything to group or others.
is_closed()
{
	[ -e "$root$1" ] || return 0
	mode=$(stat -L -c %a "$root$1")
	case $mode in
	*00 | 0) ;;
	*) open "$1 has mode $mode: close it to all but its reader, see device/init.zem.rc" ;;
	esac
}

check_files()
{
	[ -d "$root/sys/zem" ] || missing "/sys/zem: the start-up of zem failed, see the kernel's log"
	if [ -e "$root/dev/zem_shared" ]; then
		ok "/dev/zem_shared"
	else
		missing "/dev/zem_shared: add it to ueventd's rules, see device/ueventd.zem.rc"
	fi
	is_closed /dev/zem_shared
	for channel in $channels; do
		is_closed "/sys/zem/$channel"
	done
	for file in $shared_files; do
		is_closed "$file"
	done
}

check_collection()
{
	[ "$(first_line /sys/zem/trace_on)" = 1 ] || missing "1 in /sys/zem/trace_on: nothing is recorded"
	if cat "$root"/proc/[0-9]*/comm 2>/dev/null | grep -qxF ts_timer_getdata_thread; then
		ok "the collector runs"
	else
		missing "the collector: write 0 and then 1 to /sys/zem/trace_on"
	fi
	users=$(first_line /sys/module/zem/refcnt)
	if [ "${users:-0}" -gt 0 ]; then
		ok "zem is in use and stays loaded"
	else
		note "nothing keeps zem loaded. An unload while a probe is attached crashes the kernel"
	fi
}

# The label of the policy, and not the default of its directory.
check_labels()
{
	case $(first_line /sys/fs/selinux/enforce) in
	1) ;;
	0) note "SELinux is permissive: every process can reach what its mode allows" ;;
	*)
		note "no SELinux"
		return
		;;
	esac
	for file in /dev/zem_shared /sys/zem/trace /proc/svp_metrics/svp_metrics; do
		[ -e "$root$file" ] || continue
		# shellcheck disable=SC2012 # the label is not in stat's formats of every tool
		label=$(ls -Zd "$root$file" 2>/dev/null | sed 's/^\([^ ]*\) .*/\1/')
		case $label in
		*zem*) ok "$file is labelled $label" ;;
		*) missing "a label for $file, which is ${label:-unlabelled}: see device/sepolicy" ;;
		esac
	done
}

main()
{
	while [ $# -gt 0 ]; do
		case $1 in
		--symbols) symbols=$2 ;;
		--root) root=$2 ;;
		*) set -- ;;
		esac
		[ $# -ge 2 ] || usage
		shift 2
	done
	[ ! "$symbols" ] || [ -r "$symbols" ] || usage "cannot read $symbols"

	check_version
	check_options
	check_symbols
	check_events
	check_clusters
	check_schedstats
	check_places
	if zem_is_loaded; then
		check_files
		check_collection
		check_labels
	else
		missing "module zem: it is not loaded, so its files were not checked"
	fi
	exit $failed
}

usage()
{
	[ $# -eq 0 ] || echo "check.sh: $1" >&2
	echo "usage: check.sh [--symbols FILE] [--root DIR]" >&2
	exit 2
}

main "$@"
