#!/usr/bin/env bash
# Checks a desktop integration file with its freedesktop validator; exits 77
# (skipped) when the validator is not installed.
# Usage: validate_desktop_file.sh desktop|metainfo|mime FILE
set -euo pipefail
kind=$1
file=$2
case $kind in
  desktop)
    command -v desktop-file-validate >/dev/null || exit 77
    # Hints and warnings do not change its exit status, so any output fails.
    if ! out=$(desktop-file-validate "$file" 2>&1) || [[ -n $out ]]; then echo "$out"; exit 1; fi ;;
  metainfo)
    command -v appstreamcli >/dev/null || exit 77
    appstreamcli validate --no-net "$file" ;;
  mime)
    command -v update-mime-database >/dev/null || exit 77
    # The database is built in a scratch folder. Its builder reports what it
    # could not read on the error stream but passes over elements it does not
    # know, so every type the package declares must come out of it.
    scratch=$(mktemp -d)
    trap 'rm -rf "$scratch"' EXIT
    mkdir -p "$scratch/mime/packages"
    cp "$file" "$scratch/mime/packages/"
    err=$(XDG_DATA_DIRS=$scratch update-mime-database "$scratch/mime" 2>&1 >/dev/null)
    [[ -z $err ]] || { echo "$err"; exit 1; }
    types=$(python3 -c '
import sys, xml.etree.ElementTree as ET
ns = "{http://www.freedesktop.org/standards/shared-mime-info}"
for kind in ET.parse(sys.argv[1]).getroot().iter(ns + "mime-type"): print(kind.get("type"))
' "$file")
    [[ -n $types ]] || { echo "the package declares no type"; exit 1; }
    for type in $types; do
      [[ -f $scratch/mime/$type.xml ]] || { echo "$type did not reach the database"; exit 1; }
    done ;;
  *) echo "unknown kind $kind"; exit 2 ;;
esac
echo "$kind file valid: $(basename "$file")"
