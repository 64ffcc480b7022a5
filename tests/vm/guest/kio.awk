# SPDX-License-Identifier: GPL-2.0
#
# Compute what zem must report from what was done: print the view of latencies (what=view) or the payload
# of the record as hex digits (what=payload). Input lines:
#   bio DEVICE OPERATION PAGES NS CLASS  a completed bio, with the ns for each page; device -1: untracked
#   fold                                 the interval was read here
#   disk DEVICE NUMBER*11                statistics
#   top RANK UID VALUE*10 DELTA*9 TOTAL  entry of the list by bytes, ranks from 0
#   iowait RANK UID VALUE DELTA          entry of the list by IO wait
#   tail                                 the collector of long IO waits fills in its pattern

function slot_of(ns,	slot)
{
	for (slot = 0; ns >= 2; slot++)
		ns = int(ns / 2)
	return slot
}

# The slots of the buckets differ from their labels: slot 26 is in no bucket, slot 29 in two.
function count_slot(device, is_write, class, slot,	bucket)
{
	for (bucket = 1; bucket <= 7; bucket++) {
		if (slot < first[bucket] || slot > last[bucket])
			continue
		buckets[device, is_write, class, bucket]++
		of_class[class]++
	}
}

function count(device, word, pages, ns, class,	is_write, kind, slot)
{
	if (device < 0 || pages == 0 || word % 256 == 3)
		return
	is_write = word % 2
	if (!is_write)
		sizes[pages == 1 ? 0 : pages == 2 ? 1 : pages <= 8 ? 2 : 3]++
	slot = slot_of(ns)
	if (slot >= 40)
		return
	kind = !is_write ? 0 : int(word / 2048) % 2 ? 1 : 2
	bios[kind]++
	volume[kind] += pages
	times[class, is_write] += int(ns / 100000)
	count_slot(device, is_write, class, slot)
}

function view_rows(title, class,	device, bucket)
{
	printf "\n%s Q2C: [0,1)ms------------------- [1,16)ms------------------ " \
		"[16,67)ms----------------- [67,134)ms---------------- " \
		"[134,268)ms--------------- [268,536)ms--------------- " \
		"[>=536ms)-----------------\n", title
	printf "            READ    |WRITE   READ    |WRITE   READ    |WRITE   READ    |WRITE    " \
		"READ    |WRITE   READ    |WRITE    READ    |WRITE \n"
	for (device = 0; device < 4; device++) {
		printf "%7s:", path[device + 1]
		for (bucket = 1; bucket <= 7; bucket++)
			printf " %-8d|%-8d", buckets[device, 0, class, bucket], buckets[device, 1, class, bucket]
		printf " total_time_r:%d total_time_w:%d\n", times[class, 0], times[class, 1]
	}
}

function view()
{
	printf "\nfg bio_count: %d; bg bio_count: %d", of_class[0], of_class[1]
	printf "\nread bio count: %d; write sync bio count: %d; write async bio count: %d", bios[0], bios[1], bios[2]
	printf "\ncontinue read size: 4k:%d 8k: %d, 32k: %d, >32k: %d", sizes[0], sizes[1], sizes[2], sizes[3]
	printf "\nread io size: %d; write sync io size: %d; write async io size: %d", volume[0], volume[1], volume[2]
	view_rows("bio_fg", 0)
	view_rows("bio_bg", 1)
}

function le(bytes, value)
{
	for (; bytes > 0; bytes--) {
		printf "%02x", value % 256
		value = int(value / 256)
	}
}

function payload_of_device(device,	i, bucket)
{
	for (i = 0; i < 11; i++)
		le(8, disk[device, i])
	# The reads of both classes, then the writes.
	for (i = 0; i < 4; i++) {
		for (bucket = 1; bucket <= 7; bucket++)
			le(4, buckets[device, int(i / 2), i % 2, bucket])
		le(4, 0)
		le(8, times[i % 2, int(i / 2)])
	}
}

# Both lists have a padded UID. The first has a reserved word before the total, and two after it.
function payload_of_lists(	rank, i)
{
	for (rank = 0; rank < 10; rank++) {
		le(4, top[rank, 0])
		le(4, 0)
		for (i = 1; i <= 19; i++)
			le(8, top[rank, i])
		le(8, 0)
		le(8, top[rank, 20])
		le(16, 0)
	}
	for (rank = 0; rank < 10; rank++) {
		le(4, iowait[rank, 0])
		le(4, 0)
		le(8, iowait[rank, 1])
		le(8, iowait[rank, 2])
	}
}

function payload(	i)
{
	le(8, 0)
	for (i = 0; i < 4; i++)
		payload_of_device(i)
	payload_of_lists()
	le(8, of_class[0])
	le(8, of_class[1])
	for (i = 0; i < 3; i++)
		le(8, bios[i])
	for (i = 0; i < 3; i++)
		le(8, volume[i])
	for (i = 0; i < 4; i++)
		le(8, sizes[i])
	for (i = 0; i < 680; i++)
		le(1, has_tail ? (7 * i + 3) % 256 : 0)
	printf "\n"
}

BEGIN {
	split("0 20 24 27 28 29 29", first)
	split("19 23 25 27 28 29 39", last)
	split("/dev/block/sda /dev/block/sde /dev/block/by-name/super /dev/block/by-name/userdata", path)
}
$1 == "bio" { count($2, $3, $4, $5, $6) }
$1 == "fold" { split("", times); split("", sizes) }
$1 == "disk" { for (i = 0; i < 11; i++) disk[$2, i] = $(3 + i) }
$1 == "top" { for (i = 0; i < 21; i++) top[$2, i] = $(3 + i) }
$1 == "iowait" { for (i = 0; i < 3; i++) iowait[$2, i] = $(3 + i) }
$1 == "tail" { has_tail = 1 }
END { if (what == "view") view(); else payload() }
