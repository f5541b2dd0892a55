#!/usr/bin/env bash
# The desktop entry and the AppStream metadata pass their validators, name each
# other, and the icon the entry names is drawn at every size.
# Usage: desktop-files.sh VELMORA ENTRY.desktop METAINFO.xml ICON_DIR
set -uo pipefail
velmora=$1
desktop=$2
metainfo=$3
icons=$4
for tool in desktop-file-validate appstreamcli; do
    command -v $tool >/dev/null || { echo "no $tool; skipped"; exit 77; }
done
status=0

desktop-file-validate "$desktop" || { echo "desktop-file-validate rejects $desktop"; status=1; }
appstreamcli validate --no-net "$metainfo" || { echo "appstreamcli rejects $metainfo"; status=1; }

id=$(basename "$desktop")
grep -q "<launchable type=\"desktop-id\">$id</launchable>" "$metainfo" ||
    { echo "the metadata does not launch $id"; status=1; }
grep -q "<id>${id%.desktop}</id>" "$metainfo" ||
    { echo "the metadata's id is not ${id%.desktop}"; status=1; }
grep -q '<binary>velmora</binary>' "$metainfo" || { echo "the metadata provides no binary"; status=1; }
if grep -q '@[A-Z_]*@' "$metainfo"; then
    echo "unconfigured placeholders in $metainfo"
    status=1
fi

# Velmora's own pictures, in every format it writes, are offered to it by type.
mime=$(sed -n 's/^MimeType=//p' "$desktop" | tr ';' '\n')
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for suffix in png jpg webp tif; do
    if ! "$velmora" render -o "$work/planet.$suffix" --size 64 >/dev/null; then
        echo "velmora cannot write a .$suffix"
        status=1
        continue
    fi
    type=$(file -b --mime-type "$work/planet.$suffix")
    if ! grep -x "$type" <<<"$mime" >/dev/null; then
        echo "MimeType lacks $type (.$suffix)"
        status=1
    fi
done
if grep -v -e '^$' -e '^image/' <<<"$mime" >/dev/null; then
    echo "MimeType lists more than pictures"
    status=1
fi

icon=$(sed -n 's/^Icon=//p' "$desktop")
for size in 16 22 24 32 48 64 128 256; do
    png=$icons/$size/$icon.png
    if ! file "$png" | grep "PNG image data, $size x $size, 8-bit/color RGBA" >/dev/null; then
        echo "$png is not a $size x $size RGBA PNG: $(file -b "$png" 2>&1)"
        status=1
    fi
done
exit $status
