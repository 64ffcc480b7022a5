/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Functions that show a histogram as text. The file's data is its View. They run in the reader's
 * process. Context: may sleep.
 */
#pragma once

struct seq_file;

namespace zem {

int show_histogram_total(seq_file *file, void *);
int show_histogram_total_allocated(seq_file *file, void *);
int show_histogram_interval(seq_file *file, void *);

} /* namespace zem */
