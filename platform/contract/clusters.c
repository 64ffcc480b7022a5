// SPDX-License-Identifier: GPL-2.0
/*
 * Lists the clusters, one for each package of the machine, with their reference frequencies.
 * "clusters" shows the frequencies and sets one of them. zem reads them once, when it is loaded: a
 * later change affects the platform's counters only, not zem's scale.
 */
#include <linux/cpumask.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/math64.h>
#include <linux/seq_file.h>

#include "clusters.h"
#include "common/commands.h"
#include "contract.h"
#include "parts.h"

#define KHZ_NS 1000000

LIST_HEAD(cluster_head);
EXPORT_SYMBOL_GPL(cluster_head);

/* kHz; typical of a phone's little and big CPUs. */
static struct platform_cluster clusters[CLUSTERS] = {
	{.index = 0, .ref_freq = 2000000},
	{.index = 1, .ref_freq = 2800000},
};

u64 cluster_cycles(u32 cluster, u64 time)
{
	return mul_u64_u64_div_u64(time, READ_ONCE(clusters[cluster].ref_freq), KHZ_NS);
}

/* INDEX FREQ */
static int clusters_run(char *text)
{
	struct platform_cluster *cluster;
	char *words[2];
	u32 index;
	u64 freq;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtou32(words[0], 10, &index) || kstrtou64(words[1], 10, &freq))
		return -EINVAL;
	list_for_each_entry(cluster, &cluster_head, list) {
		if (cluster->index == index) {
			WRITE_ONCE(cluster->ref_freq, freq);
			return 0;
		}
	}
	return -EINVAL;
}

static int clusters_show(struct seq_file *file, void *unused)
{
	const struct platform_cluster *cluster;

	list_for_each_entry(cluster, &cluster_head, list)
		seq_printf(file, "%u %llu\n", cluster->index, READ_ONCE(cluster->ref_freq));
	return 0;
}

static const struct command_file clusters_file = {.run = clusters_run, .show = clusters_show};

void clusters_init(struct dentry *directory)
{
	bool exists[CLUSTERS] = {};
	int cpu;

	for_each_possible_cpu(cpu)
		exists[cluster_of(cpu)] = true;
	for (int i = 0; i < CLUSTERS; i++)
		if (exists[i])
			list_add_tail(&clusters[i].list, &cluster_head);
	command_file_create("clusters", directory, &clusters_file);
}
