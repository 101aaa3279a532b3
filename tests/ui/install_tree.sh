#!/usr/bin/env bash
# `cmake --install` into a scratch prefix: the programs and the desktop files
# land where the desktop looks for them, the installed tool runs, and the
# freedesktop MIME database built from the installed package tells tag-data
# files from MP3s as the file managers will.
# Usage: install_tree.sh BUILD_DIR SAMPLE_TRACK
set -euo pipefail
build=$1
sample=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

app=io.github.meloscribe.Meloscribe
failed=0
expect() {
  local test=$1 path=$2
  if ! test "$test" "$prefix/$path"; then echo "missing ($test): $path"; failed=1; fi
}
expect -x bin/meloscribe
expect -x bin/melos
expect -f share/applications/$app.desktop
expect -f share/mime/packages/$app.xml
expect -f share/icons/hicolor/scalable/apps/$app.svg
expect -f share/metainfo/$app.metainfo.xml
expect -f share/doc/meloscribe/README.md
expect -f share/doc/meloscribe/docs/screenshots/start-panel.png
[[ $failed -eq 0 ]] || exit 1

# The installed tool runs without the build tree.
"$prefix/bin/melos" show "$sample" | grep -q "$(basename "$sample")" ||
  { echo "the installed melos did not show $sample"; exit 1; }

if ! command -v update-mime-database >/dev/null || ! command -v gio >/dev/null; then
  # Without the database tools, at least the package says what they would read.
  python3 - "$prefix/share/mime/packages/$app.xml" <<'PY'
import sys, xml.etree.ElementTree as ET
ns = {"m": "http://www.freedesktop.org/standards/shared-mime-info"}
kind = ET.parse(sys.argv[1]).getroot().find("m:mime-type", ns)
assert kind.get("type") == "application/x-meloscribe-tag-data", kind.get("type")
assert [g.get("pattern") for g in kind.findall("m:glob", ns)] == ["*.tdf"]
match = kind.find("m:magic/m:match", ns)
assert (match.get("type"), match.get("value"), match.get("offset")) == ("string", "ID3", "0")
PY
  echo "installed; no update-mime-database or gio, so only the package was read"
  exit 0
fi
XDG_DATA_DIRS=$prefix/share update-mime-database "$prefix/share/mime"
[[ -f $prefix/share/mime/application/x-meloscribe-tag-data.xml ]] ||
  { echo "the MIME database holds no tag-data type"; exit 1; }

# name | first bytes | the type the database gives
rows=(
  "tags.tdf|ID3\x03\x00\x00\x00\x00\x00\x00|application/x-meloscribe-tag-data"
  "TAGS.TDF|ID3\x03\x00\x00\x00\x00\x00\x00|application/x-meloscribe-tag-data"
  "song.mp3|ID3\x03\x00\x00\x00\x00\x00\x00|audio/mpeg"
  "no-extension|ID3\x03\x00\x00\x00\x00\x00\x00|audio/mpeg"
)
mkdir "$prefix/files"
for row in "${rows[@]}"; do
  IFS='|' read -r name bytes want <<<"$row"
  printf "$bytes" >"$prefix/files/$name"
  got=$(XDG_DATA_HOME=$prefix/share XDG_DATA_DIRS=$prefix/share:/usr/share \
          gio info -a standard::content-type "$prefix/files/$name" | sed -n 's/.*content-type: //p')
  if [[ $got != "$want" ]]; then echo "$name: $got, expected $want"; failed=1; fi
done
[[ $failed -eq 0 ]] || exit 1
echo "installed and typed"
