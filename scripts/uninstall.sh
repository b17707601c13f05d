#!/usr/bin/env bash
# Removes what `make install` installed, as listed in the build's install manifest, and then the
# folders it leaves empty (only ones that held our files). Usage: uninstall.sh BUILD_DIR/install_manifest.txt
set -euo pipefail
manifest="${1:?usage: uninstall.sh BUILD_DIR/install_manifest.txt}"
[ -f "$manifest" ] || { echo "uninstall: $manifest is missing: nothing was installed from this build" >&2; exit 1; }

while IFS= read -r file || [ -n "$file" ]; do
    [ -n "$file" ] || continue
    if [ -e "$file" ] || [ -L "$file" ]; then
        rm -f -- "$file"
        echo "removed $file"
    fi
    rmdir -p --ignore-fail-on-non-empty -- "$(dirname -- "$file")" 2> /dev/null || true
done < "$manifest"
