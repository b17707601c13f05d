#!/usr/bin/env bash
# Checks every C++ file of src/, tests/, bench/, fuzz/ and scripts/ against .clang-format and names those that
# differ; with --fix, formats them in place instead (`make format`). clang-format-14 is the version
# pinned here, since another one may lay out the same file differently.
set -euo pipefail
cd "$(dirname "$0")/.."

clangFormat="${CLANG_FORMAT:-clang-format-14}"

if ! command -v "$clangFormat" > /dev/null; then
    echo "check-format: $clangFormat is missing; scripts/setup.sh installs it" >&2
    exit 2
fi

mapfile -d '' files < <(find src tests bench fuzz scripts -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | sort -z)

if [ "${1:-}" = "--fix" ]; then
    "$clangFormat" -i "${files[@]}"
    exit 0
fi

unformatted=()
for f in "${files[@]}"; do
    "$clangFormat" --dry-run -Werror "$f" > /dev/null 2>&1 || unformatted+=("$f")
done

if [ ${#unformatted[@]} -gt 0 ]; then
    printf 'not formatted: %s\n' "${unformatted[@]}" >&2
    echo "run make format" >&2
    exit 1
fi
