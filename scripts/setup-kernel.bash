# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=bash
#
# The part of scripts/setup that fetches Debian's arm64 kernels, to build against and to boot. Sourced after
# setup-base.bash. setup_kernel sets kernel_release, kernel_root and cross_packages.

# Print the Debian packages that a package depends on.
depends_of()
{
	APT_CONFIG=$apt/apt.conf apt-cache depends "$1" 2>>"$log" |
		sed -nE 's/^ *\|?Depends: ([^ :]*).*$/\1/p'
}

# Print the packages of a kernel release, given without the flavour. Since 7.3 linux-image has no files; the
# packages on which it depends have them. The programs of the build are one package for all releases of 6.1.
kernel_packages()
{
	local depends

	printf '%s\n' "linux-image-$1-arm64" "linux-headers-$1-arm64" "linux-headers-$1-common"
	depends=$(depends_of "linux-image-$1-arm64")
	grep -E '^linux-(base|binary|modules)-' <<<"$depends" || true
	depends=$(depends_of "linux-headers-$1-arm64")
	grep '^linux-kbuild-' <<<"$depends" | sed "s/\$/:$(dpkg --print-architecture)/" || true
}

# find_kernel SERIES: print the newest release (without the flavour) with all packages available. The archive
# may receive the packages of a new release at different times.
find_kernel()
{
	local release packages series=${1//./\\.}

	[[ $1 != newest ]] || series='[0-9]+\.[0-9]+'
	while read -r release; do
		mapfile -t packages < <(kernel_packages "$release")
		if private_apt apt-get download --print-uris "${packages[@]}"; then
			printf '%s\n' "$release"
			return 0
		fi
	done < <(APT_CONFIG=$apt/apt.conf apt-cache pkgnames linux-image- |
		sed -nE "s/^linux-image-($series\.[0-9][0-9a-z.+~]*(-[0-9]+)?)-arm64$/\1/p" | sort -rV)
	return 1
}

kernel_is_whole()
{
	[[ -x $1/usr/src/linux-headers-$2/scripts/mod/modpost && -e $1/boot/vmlinuz-$2 &&
		-s $1/lib/modules/$2/modules.dep && -e $1/lib/modules/$2/modules.order ]]
}

# relocate_kernel FROM TO RELEASE: change the packages' absolute paths to TO, the final folder. FROM is the
# folder that they were unpacked to.
relocate_kernel()
{
	local from=$1 to=$2 release=$3 modules
	local headers=usr/src/linux-headers-$release

	sed -i "s|/usr/src/|$to/usr/src/|" "$from/$headers/Makefile"
	# If the package has its modules below /usr/lib, depmod still searches /lib.
	[[ -e $from/lib/modules/$release/modules.order ]] || {
		rm -rf "${from:?}/lib"
		ln -s usr/lib "$from/lib"
	}
	modules=$from/lib/modules/$release
	ln -sfn "$to/$headers" "$modules/build"
	rm -f "$modules/source"
	# Since 7.3 the kernel is beside its modules.
	[[ -e $from/boot/vmlinuz-$release ]] || {
		mkdir -p "$from/boot"
		ln -s "../lib/modules/$release/vmlinuz" "$from/boot/vmlinuz-$release"
	}
	logged depmod -b "$from" "$release" || die "depmod failed (see $log)"
}

# --- Headers of another Debian release ---------------------------------------------------------------

# Do the programs of the kernel's build run on this machine? Those of a newer Debian release need a newer libc.
build_tools_run()
{
	local program

	for program in "$1/scripts/basic/fixdep" "$1"/scripts/mod/modpost*; do
		! ldd "$program" 2>&1 | grep 'not found' >/dev/null || return 1
	done
}

# Is the compiler of that version installed, or can apt install it?
has_compiler()
{
	command -v "$cross-g++-$1" >/dev/null || apt-cache show "g++-$1-$cross" >>"$log" 2>&1
}

# fetch_source FOLDER VERSION: unpack the kernel's sources, except those that preparing a tree does not read.
fetch_source()
{
	local folder=linux-source-$2

	fetch_and_unpack "$1" "$folder"
	mkdir "$1/linux"
	logged tar -xJf "$1/usr/src/$folder.tar.xz" -C "$1/linux" --strip-components=1 \
		--exclude="$folder/"{drivers,sound,fs,net}'/*.[ch]' ||
		die "could not unpack the sources of Linux $2 (see $log)"
	rm -r "$1/usr"
}

# Replace the program that completes modules by one of the kernel's sources.
replace_build_tools()
{
	local source=$1 headers=$2 tree=$1/../tools
	local compiler=(ARCH=arm64 "CROSS_COMPILE=$cross-")

	mkdir -p "$tree"
	echo CONFIG_MODULES=y >"$tree/wanted.config"
	logged make -C "$source" O="$tree" "${compiler[@]}" KCONFIG_ALLCONFIG="$tree/wanted.config" allnoconfig &&
		logged make -C "$source" O="$tree" "${compiler[@]}" -j"$(nproc)" modules_prepare || {
		show_log
		die "could not build the kernel's build tools"
	}
	# Debian's modpost runs the program for the kernel's word size and byte order.
	rm -f "$headers"/scripts/mod/modpost*
	cp "$tree/scripts/mod/modpost" "$headers/scripts/mod/modpost"
	build_tools_run "$headers" || die "the kernel's build tools do not run on this machine: $headers/scripts"
}

# The options of a configuration that describe the compiler and its tools.
tool_options() { grep -E '^CONFIG_(CC|GCC|AS|LD|PAHOLE)_[A-Z0-9_]*=' "$1" | grep -v '_TEXT=' | sort; }

# Let headers be used with this machine's compiler. Kconfig finds out what the compiler can do. Other options
# must not change: they decide the layout of the kernel's data.
adapt_to_compiler()
{
	local source=$1 headers=$2 tree=$1/../config line option value

	mkdir -p "$tree"
	cp "$headers/.config" "$tree/.config"
	logged make -C "$source" O="$tree" ARCH=arm64 CROSS_COMPILE="$cross-" olddefconfig ||
		die "Kconfig failed (see $log)"
	while read -r line; do
		option=${line%%=*}
		sed -i "/^$option=/d" "$headers/include/config/auto.conf"
		sed -i "/^#define $option /d" "$headers/include/generated/autoconf.h"
	done < <(comm -23 <(tool_options "$headers/.config") <(tool_options "$tree/.config"))
	while read -r line; do
		value=${line#*=}
		printf '%s\n' "$line" >>"$headers/include/config/auto.conf"
		printf '#define %s %s\n' "${line%%=*}" "${value/#y/1}" >>"$headers/include/generated/autoconf.h"
	done < <(comm -13 <(tool_options "$headers/.config") <(tool_options "$tree/.config"))
	sed -i "s/^\(CC *=.*\)gcc-[0-9]*\$/\1gcc/" "$headers/.kernelvariables"
}

# fit_to_machine FOLDER RELEASE: make unpacked headers usable on this machine, and set cross_packages to the
# compiler. That is the compiler that built the kernel, if this Debian release has it.
fit_to_machine()
{
	local headers=$1/usr/src/linux-headers-$2 version source=$build/kernel/unpack.$$.source/linux

	version=$(sed -nE 's/^CC *=.*\)gcc-([0-9]+)$/\1/p' "$headers/.kernelvariables")
	if [[ $version ]] && has_compiler "$version"; then
		cross_packages=("gcc-$version-$cross" "g++-$version-$cross")
	else
		cross_packages=("gcc-$cross" "g++-$cross")
	fi
	install_packages "${cross_packages[@]}"
	[[ ${cross_packages[0]} == "gcc-$cross" ]] || ! build_tools_run "$headers" || return 0

	say "downloading the sources of Linux $2, for build tools that fit this machine (about 170 MB)"
	install_packages bc bison flex
	fetch_source "${source%/*}" "$(sed -E 's/^([0-9]+\.[0-9]+).*/\1/' <<<"$2")"
	build_tools_run "$headers" || replace_build_tools "$source" "$headers"
	[[ ${cross_packages[0]} != "gcc-$cross" ]] || adapt_to_compiler "$source" "$headers"
	rm -rf "${source%/*}"
}

# --- Package sources ---------------------------------------------------------------------------------

# stanza URI SUITE...: print an entry of apt's sources.
stanza()
{
	[[ $1 ]] || return 0
	printf 'Types: deb\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n\n' "$1" "${*:2}" \
		/usr/share/keyrings/debian-archive-keyring.gpg
}

# mirror_of LABEL: print the mirror of the archive with that label which the machine's apt uses.
mirror_of()
{
	# shellcheck disable=SC2016 # apt expands the name
	APT_CONFIG=$build/apt/apt.conf apt-get indextargets --format '$(REPO_URI)' \
		"Label: $1" 'Created-By: Packages' 2>>"$log" | sort -u | head -n 1
}

# one_suite_init TYPE SUITE: set apt, whose folder is $apt, to a private state with one suite of Debian: its packages
# (deb) or their sources (deb-src).
one_suite_init()
{
	local uri

	uri=$(mirror_of Debian)
	[[ $uri ]] || die "apt's sources name no mirror of Debian"
	mkdir -p "$apt"
	stanza "$uri" "$2" | sed "s/^Types: deb\$/Types: $1/" >"$apt/debian.sources"
	private_apt_init "$apt/debian.sources"
}

# Set apt to a private state with all Debian releases that have kernels: those with the oldest, and those with
# the newest.
all_releases_init()
{
	local uri file=$build/apt-kernels/debian.sources

	uri=$(mirror_of Debian)
	[[ $uri ]] || die "apt's sources name no mirror of Debian"
	apt=$build/apt-kernels
	mkdir -p "$apt"
	{
		stanza "$uri" bookworm bookworm-backports trixie trixie-backports sid
		stanza "$(mirror_of Debian-Security)" bookworm-security trixie-security
	} >"$file"
	private_apt_init "$file"
}

# --- Kernels -----------------------------------------------------------------------------------------

# setup_kernel SERIES: fetch the newest kernel of a series, or of all with "newest".
setup_kernel()
{
	local release packages to part

	release=$(find_kernel "$1") || {
		show_log
		die "apt knows no linux-image-$1*-arm64 with headers and build tools" \
			"Is the network up, and do apt's sources name Debian's main section, for arm64 too," \
			"with its security updates?"
	}
	to=$build/kernel/$release-arm64
	part=$build/kernel/unpack.$$
	if ! kernel_is_whole "$to" "$release-arm64" || [[ ! -s $to/compiler ]]; then
		rm -rf "$to"
		say "downloading and unpacking Linux $release-arm64 (about 110 MB)"
		mapfile -t packages < <(kernel_packages "$release")
		fetch_and_unpack "$part" "${packages[@]}"
		relocate_kernel "$part" "$to" "$release-arm64"
		fit_to_machine "$part" "$release-arm64"
		kernel_is_whole "$part" "$release-arm64" ||
			die "the kernel's packages are not laid out as expected (see $part)"
		printf '%s\n' "${cross_packages[@]}" >"$part/compiler"
		mv -T "$part" "$to"
	fi
	mapfile -t cross_packages <"$to/compiler"
	install_packages "${cross_packages[@]}"
	kernel_release=$release-arm64
	kernel_root=$to
}

# Print the variables that name a kernel, for the shell and for make.
kernel_env()
{
	cat <<-END
		KERNEL_RELEASE=$kernel_release
		KERNEL_ROOT=$kernel_root
		KDIR=$kernel_root/usr/src/linux-headers-$kernel_release
		KERNEL_IMAGE=$kernel_root/boot/vmlinuz-$kernel_release
		KERNEL_MODULES_DIR=$kernel_root/lib/modules/$kernel_release
		CROSS_COMPILE=$cross-
	END
}
