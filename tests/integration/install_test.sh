#!/usr/bin/env bash
# Installs the build tree given and holds what is there against what the program, its unit and its desktop entry name.
set -euo pipefail

build=$1
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

failed=0
has() {
    local file
    for file in "$@"; do
        [[ -s $prefix/$file ]] || { echo "missing: $file"; failed=1; }
    done
}

mapfile -t modules < <(grep -oh '"merlode-[a-z]*"' "$source/src/app/modules.cpp" | tr -d '"' | sort -u)
[[ ${#modules[@]} -gt 0 ]] || { echo "no module is named in src/app/modules.cpp"; failed=1; }
for module in "${modules[@]}"; do
    has "lib/merlode/$module.so"
done

entry=share/applications/co.vantry.Merlode.desktop
has "$entry" share/metainfo/co.vantry.Merlode.metainfo.xml share/merlode/Defaults.plist share/man/man1/merlode.1 \
    share/man/man1/merlodectl.1 share/bash-completion/completions/merlodectl share/doc/merlode/copyright
mapfile -t programs < <(sed -n 's/^\(Try\)\?Exec=\([^ ]*\).*/\2/p' "$prefix/$entry" | sort -u)
for program in "${programs[@]}"; do
    [[ $("$prefix/bin/$program" --version) == "$program "* ]] || { echo "does not start: $program"; failed=1; }
done
icon=$(sed -n 's/^Icon=//p' "$prefix/$entry")
for name in {16x16,22x22,24x24}/apps/"$icon" scalable/apps/{"$icon",merlode-bar,merlode-bar-open}; do
    has "share/icons/hicolor/$name.svg"
    cmp -s "$prefix/share/icons/hicolor/$name.svg" "$build/share/icons/hicolor/$name.svg" ||
        { echo "not in the build tree: $name.svg"; failed=1; }
done

# The unit must start what was installed, wherever that is.
started=$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$prefix/lib/systemd/user/merlode-serve.service")
[[ $started == "$prefix/bin/merlode" ]] || { echo "the unit starts $started"; failed=1; }
exit "$failed"
