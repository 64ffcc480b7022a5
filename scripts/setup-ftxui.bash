# SPDX-License-Identifier: GPL-2.0
# shellcheck shell=bash
#
# The part of scripts/setup that builds FTXUI, which draws the screens of zemctl top. Debian 12 has no package
# of it, so the source package of Debian 13 is built on both releases, for this machine and for arm64. Sourced
# after setup-base.bash and setup-kernel.bash.

ftxui=$build/ftxui

has_ftxui()
{
	[[ -e $ftxui/include/ftxui/dom/elements.hpp && -s $ftxui/native/libftxui.a && -s $ftxui/arm64/libftxui.a &&
		-s $ftxui/LICENSE ]]
}

# fetch_ftxui FOLDER: unpack the source package. apt compares it with the checksums of the signed index.
fetch_ftxui()
{
	local apt=$build/apt-ftxui tarballs

	mkdir -p "$1"
	one_suite_init deb-src trixie
	(cd "$1" && private_apt apt-get -q source --download-only ftxui) || {
		show_log
		die "could not download the source package ftxui" "Is the network up?"
	}
	rm -rf "$apt"
	tarballs=("$1"/ftxui_*.orig.tar.*)
	# Debian's patches change only documents and examples.
	logged tar -xf "${tarballs[0]}" -C "$1" --strip-components=1 --no-same-owner ||
		die "could not unpack ${tarballs[0]} (see $log)"
}

# build_ftxui FOLDER COMPILER ARCHIVE: build what draws, without the part that reads keys. All files but a few,
# whose names clash, are compiled as one.
build_ftxui()
{
	local source=$1/src/ftxui work=$1/work file name objects=()
	local compile=("$2" -std=c++20 -O1 -I "$1/include" -I "$1/src" -c)

	rm -rf "$work"
	mkdir -p "$work" "$(dirname "$3")"
	for file in "$source"/{screen,dom}/*.cpp; do
		name=${file#"$source/"}
		case $name in
		*_test.cpp | *_fuzzer.cpp | dom/canvas.cpp) ;;
		dom/table.cpp | dom/separator.cpp | dom/util.cpp) printf '#include "%s"\n' "$file" >"$work/${name##*/}" ;;
		*) printf '#include "%s"\n' "$file" >>"$work/all.cpp" ;;
		esac
	done
	for file in "$work"/*.cpp; do
		logged "${compile[@]}" "$file" -o "${file%.cpp}.o" || {
			show_log
			die "could not build FTXUI with $2"
		}
		objects+=("${file%.cpp}.o")
	done
	logged "${2/g++/ar}" rcs "$3" "${objects[@]}" || die "could not build $3 (see $log)"
}

setup_ftxui()
{
	local part=$build/ftxui.unpack.$$

	! has_ftxui || return 0
	rm -rf "$ftxui"
	say "downloading and building FTXUI, for the screens of zemctl top"
	fetch_ftxui "$part/source"
	build_ftxui "$part/source" g++ "$part/native/libftxui.a"
	build_ftxui "$part/source" "$cross-g++" "$part/arm64/libftxui.a"
	mv "$part/source/include" "$part/source/LICENSE" "$part"
	rm -r "$part/source"
	mv -T "$part" "$ftxui"
	has_ftxui || die "FTXUI is not laid out as expected (see $ftxui)"
}
