#!/usr/bin/env bash
# check-packaging.sh install BUILD_DIR: installs the build into a fresh prefix, checks every file
#   the desktop needs and that the validators accept them, then uninstalls and finds nothing left.
# check-packaging.sh deb BUILD_DIR: builds the Debian package into a fresh folder and checks its files
#   and that its Depends name the package of every library the programs link.
set -euo pipefail
mode="$1"
build="$(cd "$2" && pwd)"
source_dir="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
id=org.marlode.Marlode
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

png_size() { # width x height from the PNG header
    python3 -c 'import struct,sys; d=open(sys.argv[1],"rb").read(24); print("%dx%d" % struct.unpack(">II", d[16:24]) if d[:8]==b"\x89PNG\r\n\x1a\n" else "not a PNG")' "$1"
}

# The installed tree, as paths relative to the prefix (or to the package's /usr).
expected_files() {
    echo bin/Marlode
    echo bin/marlode-analyse
    echo share/applications/$id.desktop
    echo share/metainfo/$id.metainfo.xml
    echo share/icons/hicolor/scalable/apps/$id.svg
    for size in 16 22 24 32 48 64 128 256 512; do echo share/icons/hicolor/${size}x${size}/apps/$id.png; done
    echo share/man/man1/Marlode.1.gz
    echo share/man/man1/marlode-analyse.1.gz
}

case "$mode" in
install)
    prefix="$work/prefix"
    cmake --install "$build" --prefix "$prefix" > "$work/install.log"

    while read -r f; do [ -f "$prefix/$f" ] || fail "not installed: $f"; done < <(expected_files)
    for p in Marlode marlode-analyse; do [ -x "$prefix/bin/$p" ] || fail "$p is not executable"; done
    for size in 16 22 24 32 48 64 128 256 512; do
        got="$(png_size "$prefix/share/icons/hicolor/${size}x${size}/apps/$id.png")"
        [ "$got" = "${size}x${size}" ] || fail "the ${size}px icon is $got"
    done

    desktop="$prefix/share/applications/$id.desktop"
    desktop-file-validate "$desktop" || fail "desktop-file-validate"
    appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml" > "$work/appstream.log" 2>&1 \
        || { cat "$work/appstream.log" >&2; fail "appstreamcli validate"; }
    grep -qx "Exec=Marlode %F" "$desktop" || fail "Exec takes no file list"
    grep -qx "Icon=$id" "$desktop" || fail "Icon is not $id"
    for type in audio/wav audio/x-aiff audio/flac audio/ogg audio/mpeg; do
        grep -q "^MimeType=.*$type;" "$desktop" || fail "MimeType lacks $type"
    done
    grep -qx "Categories=AudioVideo;Audio;Player;" "$desktop" || fail "Categories"

    for page in Marlode marlode-analyse; do
        warnings="$(man --warnings -l "$prefix/share/man/man1/$page.1.gz" 2>&1 > /dev/null)"
        [ -z "$warnings" ] || fail "man $page: $warnings"
        zcat "$prefix/share/man/man1/$page.1.gz" | grep -q "^\.SH SYNOPSIS" || fail "man $page has no synopsis"
    done
    "$prefix/bin/marlode-analyse" --help | grep -q "^Usage: marlode-analyse" || fail "installed marlode-analyse does not run"

    "$source_dir/scripts/uninstall.sh" "$build/install_manifest.txt" > /dev/null
    left="$(find "$prefix" -mindepth 1 2> /dev/null || true)"
    [ -z "$left" ] || fail "left after uninstall: $left"
    ;;
deb)
    (cd "$build" && cpack -G DEB -B "$work/out" > "$work/cpack.log" 2>&1) || { cat "$work/cpack.log" >&2; exit 1; }
    deb="$(find "$work/out" -maxdepth 1 -name 'marlode_*.deb' | head -n 1)"
    [ -n "$deb" ] || { echo "FAIL: no marlode_*.deb made" >&2; exit 1; }

    dpkg-deb -c "$deb" | awk '{ print $NF }' | sed 's|^\./usr/||' > "$work/contents"
    while read -r f; do grep -qx "$f" "$work/contents" || fail "not in the package: $f"; done < <(expected_files)

    depends="$(dpkg-deb -f "$deb" Depends)"
    echo "Depends: $depends"
    echo "Recommends: $(dpkg-deb -f "$deb" Recommends)"
    # Each library a program links comes from a package the Depends name.
    for program in Marlode marlode-analyse; do
        for soname in $(readelf -d "$build/$program" | awk '/NEEDED/ { gsub(/[\[\]]/, "", $NF); print $NF }'); do
            path="$(ldconfig -p | awk -v so="$soname" '$1 == so && !found { print $NF; found = 1 }')"
            owner="$(dpkg-query -S "$(readlink -f "$path")" 2> /dev/null | sed -n 1p | cut -d: -f1 || true)"
            [ -n "$owner" ] || owner="$(dpkg-query -S "$path" 2> /dev/null | sed -n 1p | cut -d: -f1 || true)"
            [ -n "$owner" ] || { fail "no package ships $soname"; continue; }
            [[ ", $depends," == *", $owner "* || ", $depends," == *", $owner,"* ]] || fail "$program links $soname from $owner, not in Depends"
        done
    done
    for window in libx11-6 libxext6; do
        [[ "$depends" == *"$window"* ]] || fail "Depends lacks $window, which the window needs"
    done
    # Every package named exists in this system's archive view.
    for package in $(echo "$depends" | tr ',' '\n' | sed 's/(.*)//; s/|.*//' | xargs); do
        dpkg-query -W "$package" > /dev/null 2>&1 || fail "Depends names $package, which is not a known installed package"
    done
    ;;
*)
    echo "usage: check-packaging.sh install|deb BUILD_DIR" >&2
    exit 2
    ;;
esac

[ "$failures" -eq 0 ] || { echo "$failures check(s) failed" >&2; exit 1; }
echo "all checks passed"
