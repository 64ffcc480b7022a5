# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=sh
# guest with --kernel: --append irqchip.gicv3_pseudo_nmi=1
#
# Producers in interrupts that nothing masks. They interrupt any other producer, the wake-up of the consumer, and the
# scheduler with its locks.

test_each_cpu_produces_in_nmis()
{
	has_nmis || return
	for cpu in $cpus; do
		produce fs 1 20 1 cpu=$cpu context=nmi
	done
	is "records" "$(take "$(echo "$cpus" | wc -w)" | sed 's/.* \(cpu=[0-9]*\) context/\1 context/' | sort)" \
		"$(for cpu in $cpus; do echo "cpu=$cpu context=nmi"; done | sort)"
}

test_refusals_are_logged()
{
	has_nmis || return
	produce test 0 7905 1 context=nmi
	# An emulated interrupt takes long, and the kernel makes the next ones rarer.
	is "log" "$(log | grep -v '^6 perf: interrupt took too long')" "3 zem : too large data 7937 !"
	log_is_checked=1
	mark_log
}

# The ring has room for all records. Each has its pass, so no later record is needed.
test_nmis_among_producers_in_all_contexts_lose_nothing()
{
	has_nmis || return
	nmis=$(($(rounds 2 10 | wc -w) * 100))
	resize_ring 1048576
	start_drain /tmp/flood
	for cpu in $cpus; do
		produce test 0 16 1 cpu=$cpu
		produce test 0 16 $nmis cpu=$cpu context=nmi &
		jobs=$!
		for context in task softirq hardirq run-queue; do
			produce test 0 16 $nmis cpu=$cpu context=$context &
			jobs="$jobs $!"
		done
		# shellcheck disable=SC2086 # a word for each
		wait $jobs
	done
	drained_each_record_of_eight_cpus /tmp/flood $((1 + 5 * nmis))
}
