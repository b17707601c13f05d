#!/usr/bin/env bash
# Prints, comma-separated, the Debian packages that ship the libraries named in quotes ("libX.so.N")
# in the given framework sources. The framework opens these at run time with dlopen, so
# dpkg-shlibdeps, which reads the programs' own links, cannot see them; the package's Depends and
# Recommends take them from here. Exits 1 naming a library no installed package ships.
set -euo pipefail

packages=()
for soname in $(grep -hoE '"lib[A-Za-z0-9_+-]+\.so\.[0-9]+"' "$@" | tr -d '"' | sort -u); do
    path="$(ldconfig -p | awk -v so="$soname" '$1 == so && /x86-64|aarch64|64/ && !found { print $NF; found = 1 }')"
    [ -n "$path" ] || path="$(ldconfig -p | awk -v so="$soname" '$1 == so && !found { print $NF; found = 1 }')"
    [ -n "$path" ] || { echo "runtime-packages: no installed library $soname" >&2; exit 1; }

    owner=""
    for candidate in "$path" "$(readlink -f "$path")" "/usr${path#/usr}" "/usr$(readlink -f "$path")"; do
        owner="$(dpkg-query -S "$candidate" 2>/dev/null | sed -n 1p | cut -d: -f1)" && [ -n "$owner" ] && break
    done
    [ -n "$owner" ] || { echo "runtime-packages: no package ships $path" >&2; exit 1; }
    packages+=("$owner")
done

printf '%s\n' "${packages[@]}" | sort -u | paste -sd, - | sed 's/,/, /g'
