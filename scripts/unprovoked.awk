# SPDX-License-Identifier: GPL-2.0
#
# A kernel's log without the warnings that a test provokes on purpose: a line "provokes a warning in
# FUNCTION" of the test says so beforehand, and holds until the next "zem test:" line. A warning that
# another complaint is mixed with stays. SPLAT in the environment is what complaints look like.

BEGIN { splat = ENVIRON["SPLAT"] }

/zem test: / { provoked = /zem test: provokes a warning in / ? $NF : "" }

/-+\[ cut here \]/ && !is_inside {
	is_inside = 1
	block = ""
	complaints = is_provoked = 0
}

!is_inside { print; next }

{ block = block $0 "\n" }
$0 ~ splat { complaints++ }
/WARNING: / && provoked && index($0, " " provoked "+") { is_provoked = 1 }
/---\[ end trace / {
	is_inside = 0
	# What opens it, the warning and its call trace.
	if (!is_provoked || complaints != 3)
		printf "%s", block
}

END { if (is_inside) printf "%s", block }
