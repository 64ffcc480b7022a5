# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=bash
#
# What the parts of scripts/setup share: messages, installing packages, and apt with private state, which
# fetches packages of other architectures and releases. Sourced with build and log set.

# The folder of apt's private state.
apt=$build/apt

say() { printf 'setup: %s\n' "$*" >&2; }

die()
{
	say "error: $1"
	shift
	(($# == 0)) || printf '       %s\n' "$@" >&2
	exit 1
}

# Run a command, and show its output only if it fails.
logged()
{
	printf '\n$ %s\n' "$*" >>"$log"
	"$@" >>"$log" 2>&1
}

show_log()
{
	say "the last lines of $log:"
	tail -n 15 "$log" | sed 's/^/       | /' >&2
}

missing_packages()
{
	local status
	declare -A installed=()

	while read -r status name; do
		[[ $status == installed ]] && installed[$name]=1
	# dpkg-query fails for names that it does not know. Those are the missing packages.
	done < <(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
	for name; do
		[[ -v installed[$name] ]] || printf '%s\n' "$name"
	done
}

install_packages()
{
	local missing

	mapfile -t missing < <(missing_packages "$@")
	((${#missing[@]})) || return 0
	((EUID == 0)) || die "these Debian packages are missing: ${missing[*]}" \
		"Run this as root, or have them installed."
	say "installing ${missing[*]}"
	export DEBIAN_FRONTEND=noninteractive
	# Ignore errors of unrelated package sources. The installation fails if a package is not
	# available.
	logged apt-get -q update || say "apt-get update had errors, continuing (see $log)"
	logged apt-get -q -y --no-install-recommends install "${missing[@]}" || {
		show_log
		die "could not install ${missing[*]}" \
			"Is the network up, and do apt's sources name Debian's main section?"
	}
}

# apt with private state finds and fetches arm64 packages without adding a foreign architecture to the
# machine's dpkg. The helper programs of the kernel's build run on this machine, so they have its architecture.
# Its folder is $apt.
#	private_apt_init [SOURCES]
# uses the machine's package sources, or those in the file SOURCES.
private_apt_init()
{
	mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial"
	cat >"$apt/apt.conf" <<-EOF
		APT::Architecture "arm64";
		APT::Architectures { "arm64"; "$(dpkg --print-architecture)"; };
		Acquire::Languages "none";
		Dir::State::Lists "$apt/lists";
		Dir::State::status "/dev/null";
		Dir::Cache "$apt/cache";
	EOF
	# A cache saves some seconds for each look-up among many packages, and needs 100 MB.
	[[ $# == 1 ]] || cat >>"$apt/apt.conf" <<-EOF
		Dir::Cache::pkgcache "";
		Dir::Cache::srcpkgcache "";
	EOF
	[[ $# == 0 ]] || cat >>"$apt/apt.conf" <<-EOF
		Dir::Etc::sourcelist "$1";
		Dir::Etc::sourceparts "/dev/null";
	EOF
	say "reading Debian's package lists"
	# Third-party sources often lack arm64. find_kernel fails if no kernel is available.
	private_apt apt-get -q update || say "some package lists could not be read, continuing (see $log)"
}

private_apt() { logged env APT_CONFIG="$apt/apt.conf" "$@"; }

# fetch_and_unpack FOLDER PACKAGE...: download packages and unpack them into a new folder.
fetch_and_unpack()
{
	local into=$1 deb
	shift

	mkdir -p "$into/debs"
	(cd "$into/debs" && private_apt apt-get -q download "$@") || {
		show_log
		die "could not download $*" "Is the network up?"
	}
	for deb in "$into"/debs/*.deb; do
		# Leave out device trees of real boards, and documentation.
		dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$into" --no-same-owner \
			--exclude='./usr/lib/linux-image-*' --exclude='./usr/share/*'
	done
	rm -r "$into/debs"
}

