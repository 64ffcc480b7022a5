# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=bash
#
# The part of scripts/setup that finds an emulator for the guest. QEMU before 8.1 may translate code while another
# emulated CPU patches it, and then runs the old code until the next patch: a static switch of the kernel has no
# effect, on any CPU. Debian 12 has such a QEMU, and a newer one in its backports. That is unpacked into build/, and
# uses the libraries of the installed one. Sourced after setup-base.bash and setup-kernel.bash.

readonly oldest_qemu=8.1
# Set by find_qemu.
qemu=

is_good_qemu()
{
	local version

	version=$("$1" --version 2>/dev/null | sed -nE '1s/^QEMU emulator version ([0-9.]+).*/\1/p') || return 1
	[[ $version && $(printf '%s\n' "$oldest_qemu" "$version" | sort -V | head -n 1) == "$oldest_qemu" ]]
}

find_qemu()
{
	for qemu in "$(command -v qemu-system-aarch64)" "$build/qemu/usr/bin/qemu-system-aarch64"; do
		[[ ! $qemu ]] || ! is_good_qemu "$qemu" || return 0
	done
	return 1
}

fetch_qemu()
{
	local apt=$build/apt-qemu part=$build/qemu.unpack.$$

	one_suite_init deb "$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)-backports"
	fetch_and_unpack "$part" "qemu-system-arm:$(dpkg --print-architecture)"
	rm -rf "$apt" "$build/qemu"
	mv -T "$part" "$build/qemu"
}

# Without a newer QEMU the guest works too, except when it loses a patch.
setup_qemu()
{
	! find_qemu || return 0
	say "downloading a newer QEMU from Debian's backports"
	(fetch_qemu) || true
	find_qemu || {
		qemu=$(command -v qemu-system-aarch64)
		say "there is no QEMU $oldest_qemu or newer: the guest may lose code patches (docs/troubleshooting.md)"
	}
}
