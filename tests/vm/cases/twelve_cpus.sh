# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest: --smp 12
#
# More CPUs than a phone has.

test_all_twelve_cpus_produce_in_all_contexts()
{
	is "CPUs" "$(echo "$cpus" | wc -w)" 12
	for context in task softirq hardirq; do
		for cpu in $cpus; do
			produce fs 1 20 1 cpu=$cpu context=$context
		done
		is "$context" "$(take 12 | sed 's/.* \(cpu=[0-9]*\) context/\1 context/' | sort)" \
			"$(for cpu in $cpus; do echo "cpu=$cpu context=$context"; done | sort)"
	done
}

test_the_ring_size_is_logged_for_all_twelve()
{
	size=$(get_file rb_size)
	is "lines" "$(log)" "$(for cpu in $cpus; do echo "6 cpu $cpu rb_size = $size"; done)"
}

test_unloading_works()
{
	reload_zem
	produce test 0 4 1 cpu=11
	is "record" "$(take 1 | wc -l)" 1
}
