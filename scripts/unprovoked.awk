# SPDX-License-Identifier: GPL-2.0
#
# Print a kernel's log without the complaints that are not about the modules:
#
# - Warnings and sanitizer reports that a test provokes on purpose. Before them the test prints "provokes
#   a warning in FUNCTION" or "provokes a report in FUNCTION", which applies until the next "zem test:"
#   line. A complaint that is mixed with another one stays.
# - Data races of the kernel itself: those without a function of the modules in any stack, or only with one
#   that an interrupt or the scheduler has left, or that has called the kernel's ring buffer. Its writers and
#   readers need no lock, and synchronise with plain accesses.
#
# SPLAT in the environment is the pattern of complaints. If the kernel prefixes each line with its task or
# CPU, a report consists of the lines of the task or CPU that began it.

BEGIN { splat = ENVIRON["SPLAT"] }

function writer(line)
{
	return match(line, /^\[ *[0-9]+\.[0-9]+\]\[ *[TC][0-9]+\]/) ? substr(line, index(line, "]") + 1, RLENGTH - index(line, "]")) : ""
}

function begin_block(kind)
{
	inside = kind
	owner = writer($0)
	block = ""
	complaints = is_provoked = is_race = is_ours = has_left = 0
}

function end_block(is_dropped)
{
	inside = ""
	if (!is_dropped)
		printf "%s", block
}

/zem test: / {
	warned = /zem test: provokes a warning in / ? $NF : ""
	reported = /zem test: provokes a report in / ? $NF : ""
}

!inside && /-+\[ cut here \]/ { begin_block("warning") }
!inside && / ==================================================================$/ { begin_block("report"); is_first = 1 }

!inside || writer($0) != owner { print; next }

{ block = block $0 "\n" }
$0 ~ splat { complaints++ }

inside == "warning" {
	if (/WARNING: / && warned && index($0, " " warned "+"))
		is_provoked = 1
	# The opening line, the warning and its call trace.
	if (/---\[ end trace /)
		end_block(is_provoked && complaints == 3)
}

inside == "report" {
	if (/BUG: K[AC]SAN: / && reported && index($0, reported))
		is_provoked = 1
	if (/BUG: KCSAN: /)
		is_race = 1
	# Each stack begins with the innermost function.
	if (/ to 0x[0-9a-f]+ of [0-9]+ bytes by (task|interrupt) /)
		has_left = 0
	if (/ (__)?schedule(_timeout)?\+0x| el[01][a-z0-9_]*_irq_handler\+0x| ring_buffer_[a-z_]+\+0x/)
		has_left = 1
	if (/\[zem(_[a-z_]+)?\]/ && !has_left)
		is_ours = 1
	# A memory report has a call trace besides its title.
	if (!is_first && / ==================================================================$/)
		end_block(is_race ? complaints == 1 && (is_provoked || !is_ours) : complaints == 2 && is_provoked)
	is_first = 0
}

END { if (inside) printf "%s", block }
