# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh disable=SC2154 # lib.sh sets them
#
# The scenarios of tests/golden: plays their steps, and compares views and payloads with their files. Sourced
# by main.

golden=$here/golden

# play SCENARIO [NAME=PID]...: play the steps, with ids instead of the names of tasks.
play()
{
	script='/^#/d; /^$/d'
	steps=$golden/$1/steps
	shift
	for name in "$@"; do
		script="$script; s/@${name%=*} /${name#*=} /"
	done
	sed "$script" "$steps" >/tmp/steps
	while read -r file words; do
		case $file in
		open) cat $sched_views/* >/dev/null ;;
		*) echo "$words" >"$platform/$file" || fail "step: $file $words" ;;
		esac
	done </tmp/steps
}

# view_is_golden SCENARIO VIEW: compare the text, byte by byte.
view_is_golden()
{
	cat "$2" >/tmp/shown
	cp "$golden/$1/${2##*/}" /tmp/wanted
	text_files_are "${2##*/}"
}

# text_files_are WHAT: compare /tmp/shown with /tmp/wanted, byte by byte.
text_files_are()
{
	cmp -s /tmp/shown /tmp/wanted ||
		fail "$1: shown (-) and wanted (+): $(diff -U 0 /tmp/shown /tmp/wanted | tail -n +3 | head -n 24)"
}

# golden_payload SCENARIO RECORD: print the hex digits.
golden_payload()
{
	tr -d '\n' <"$golden/$1/$2"
}

# golden_svp_payload PID: with the id of that process.
golden_svp_payload()
{
	golden_payload sched svp_record | sed "s/^.\{16\}/$(le 4 "$1" "$1")/"
}

# svp_metrics_is_golden PID: compare the text, in which the process has that id.
svp_metrics_is_golden()
{
	cat $svp_views/svp_metrics >/tmp/shown
	sed "s/^\(tgid\|pid\): .*/\1: $1/" "$golden/sched/svp_metrics" >/tmp/wanted
	text_files_are svp_metrics
}
