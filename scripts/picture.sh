#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
#
# A picture of one frame of a replay, drawn by Chromium without a screen:
#   scripts/picture.sh REPLAY.html OUT.png [--frame N] [--size WxH] [--theme light|dark]
#                      [--camera x,y,z,tx,ty,tz] [--show contacts,forces,...]
# Without --frame it is the first. The same call gives the same bytes on one machine.
set -euo pipefail

refuse() {
  echo "picture.sh: $1" >&2
  echo "usage: picture.sh REPLAY.html OUT.png [--frame N] [--size WxH] [--theme light|dark]" >&2
  echo "                  [--camera x,y,z,tx,ty,tz] [--show contacts,forces,wires,...]" >&2
  exit 2
}

files=() frame=0 size=1280x800 fields=
while (($# > 0)); do
  case $1 in
    --frame | --size | --theme | --camera | --show) (($# > 1)) || refuse "$1 wants a value" ;;&
    --frame) [[ $2 =~ ^[0-9]{1,9}$ ]] || refuse "'$2' is not a frame" ;;&
    --size) [[ $2 =~ ^[1-9][0-9]{0,3}x[1-9][0-9]{0,3}$ ]] || refuse "'$2' is not a size" ;;&
    --theme) [[ $2 == light || $2 == dark ]] || refuse "'$2' is neither light nor dark" ;;&
    --camera) [[ $2 =~ ^[-+0-9.e]+(,[-+0-9.e]+){5}$ ]] || refuse "'$2' is not six numbers" ;;&
    --show) [[ $2 =~ ^[a-z,]*$ ]] || refuse "'$2' is not a list of names" ;;&
    --frame) frame=$((10#$2)) && shift 2 ;;
    --size) size=$2 && shift 2 ;;
    --theme | --camera | --show) fields+="&${1#--}=$2" && shift 2 ;;
    -*) refuse "there is no option $1" ;;
    *) files+=("$1") && shift ;;
  esac
done
((${#files[@]} == 2)) || refuse "a replay and a name for the picture are needed"
[[ -f ${files[0]} && -r ${files[0]} ]] || refuse "cannot read ${files[0]}"
[[ -d $(dirname -- "${files[1]}") && ! -d ${files[1]} ]] || refuse "cannot write ${files[1]}"

browser=$(command -v chromium || command -v chromium-browser || command -v google-chrome || true)
if [[ -z $browser ]]; then
  echo "picture.sh: needs Chromium; scripts/install-dependencies.sh --viewer installs it" >&2
  exit 1
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# A link with a plain name spares the address any escapes.
ln -s "$(realpath -- "${files[0]}")" "$scratch/replay.html"

# Time in the page is virtual: it stands still while the page computes, so that a slow machine
# draws the same picture.
"$browser" --headless --no-sandbox --disable-quic --no-first-run --disable-background-networking \
  --disable-component-update --disable-sync --use-gl=angle --use-angle=swiftshader \
  --enable-unsafe-swiftshader --hide-scrollbars --force-device-scale-factor=1 \
  --user-data-dir="$scratch/profile" --window-size="${size/x/,}" --virtual-time-budget=10000 \
  --screenshot="$scratch/picture.png" --dump-dom \
  "file://$scratch/replay.html#picture=$size&frame=$frame$fields" \
  > "$scratch/page" 2> "$scratch/log" || true

if ! grep -q '<html[^>]* data-state="ready"' "$scratch/page" || [[ ! -s $scratch/picture.png ]]; then
  problem=$(sed -n 's/.*<p id="failure">\([^<]*\)<.*/\1/p' "$scratch/page")
  echo "picture.sh: ${problem:-the page of ${files[0]} did not get ready}" >&2
  [[ -n $problem ]] || tail -n 5 "$scratch/log" >&2
  exit 1
fi
mv "$scratch/picture.png" "${files[1]}"
