#!/usr/bin/env bash
# Which way the includes go. Each folder may include only folders below it, from the bottom:
#   state, ui, dsp, dsp/panels, engine, waveform, playlist, share, export, deck, update, app
# and the engine library (state/, dsp/ without its panels, engine/) includes nothing outside
# itself and no window code. Prints every include that breaks a rule and exits 1 if there is one.
set -euo pipefail
src="${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/src}"
order=(state ui dsp dsp/panels engine waveform playlist share export deck update app)
engine_library=" state dsp engine "

rank() {
    local folder="$1" i
    for i in "${!order[@]}"; do [ "${order[$i]}" = "$folder" ] && { echo "$i"; return; }; done
    echo -1
}

folder_of() { # src/dsp/panels/X.h -> dsp/panels ; src/deck/X.h -> deck
    local rel="${1#"$src"/}"
    case "$rel" in dsp/panels/*) echo dsp/panels ;; *) echo "${rel%%/*}" ;; esac
}

status=0
while IFS= read -r file; do
    from="$(folder_of "$file")"
    from_rank="$(rank "$from")"
    while IFS= read -r line; do
        target="${line#*\"}"; target="${target%\"*}"
        case "$target" in dsp/panels/*) to=dsp/panels ;; */*) to="${target%%/*}" ;; *) continue ;; esac
        to_rank="$(rank "$to")"
        if [ "$to_rank" -gt "$from_rank" ]; then
            echo "${file#"$src"/}: includes $target, from a higher folder"
            status=1
        elif [[ "$engine_library" == *" $from "* && "$engine_library" != *" $to "* ]]; then
            echo "${file#"$src"/}: includes $target, from outside the engine library"
            status=1
        fi
    done < <(grep -h '^#include "' "$file" || true)

    if [[ "$engine_library" == *" $from "* ]] && grep -qE '^#include <juce_(gui_basics|gui_extra|graphics|audio_utils|data_structures)/' "$file"; then
        echo "${file#"$src"/}: the engine library includes window code"
        status=1
    fi
done < <(find "$src" -name '*.h' -o -name '*.cpp' | sort)

exit $status
