#!/usr/bin/env bash
# Checks that the library's includes run one way only:
#
#   cycle -> evaluate -> model, keys -> kernelfile -> base
#
# A file under src/<folder>/ may include headers of its own folder and of the folders below it, never of a folder
# above it. model and keys stand side by side and include neither each other. messages stands apart and includes
# only base. The public header (TimeKernel.h) is included by cycle alone. Prints every include that breaks the
# order and fails when there is one. Usage: scripts/check-includes.sh [repository root]
set -euo pipefail
root="${1:-$(cd "$(dirname "$0")/.." && pwd)}"

# The folders each folder may include, besides itself.
allowed() {
  case "$1" in
    base) echo "" ;;
    messages) echo "base" ;;
    kernelfile) echo "base" ;;
    model) echo "kernelfile base" ;;
    keys) echo "kernelfile base" ;;
    evaluate) echo "model keys kernelfile base" ;;
    cycle) echo "evaluate model keys kernelfile base TimeKernel.h" ;;
    *) echo "?" ;;
  esac
}

bad=0
checked=0
while IFS= read -r file; do
  folder="$(basename "$(dirname "$file")")"
  permitted="$folder $(allowed "$folder")"
  if [[ "$permitted" == *"?"* ]]; then
    echo "unknown folder: ${file#"$root"/}"
    bad=1
    continue
  fi
  while IFS= read -r target; do
    checked=$((checked + 1))
    if [[ "$target" == */* ]]; then
      dir="${target%%/*}"
    else
      dir="$target"  # a header without a folder: only the public header is one
    fi
    if [[ " $permitted " != *" $dir "* ]]; then
      echo "${file#"$root"/} includes \"$target\": $folder may not include $dir"
      bad=1
    fi
  done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file")
done < <(find "$root/src" -name '*.h' -o -name '*.cpp' | sort)

if [[ $bad -ne 0 ]]; then
  echo "the includes do not run one way (cycle -> evaluate -> model/keys -> kernelfile -> base)"
  exit 1
fi
echo "includes run one way: $checked includes checked"
