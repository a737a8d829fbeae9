#!/usr/bin/env bash
# The diskutil section against its process floor.
#
#     benchmarks/diskutil_floor.sh [CVDIAG] [RUNS] [DISKS]
#
# Writes a Mac of DISKS media objects (256) whose recorded-Mac diskutil knows
# every disk (benchmarks/diskutil_mac.py), then times in turn, RUNS times each
# (11) after one warm-up:
#   A  CVDIAG --disk-utility-entities on that Mac (release build by default);
#   B  the floor: the same diskutil, with the same argument lists, as many
#      times and in the same order, started from a sh loop, each with standard
#      input from /dev/null and standard output and error on one stream, as
#      the tool starts them.
# Both write to /dev/null and run in the same working directory with the same
# environment. Prints the median wall time of each and their ratio, and the
# median of the pair-by-pair ratios. The files of the Mac are kept in
# ${TMPDIR:-/tmp}/cvdiag-diskutil-floor for a look with other tools.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cvdiag="$(realpath "${1:-$here/../build/release/CVDiag}")"
runs="${2:-11}"
disks="${3:-256}"
work="${TMPDIR:-/tmp}/cvdiag-diskutil-floor"
mac="$work/mac"
mkdir -p "$work"
python3 "$here/diskutil_mac.py" "$mac" "$disks" >"$work/runs"

cat >"$work/floor.sh" <<'FLOOR'
#!/bin/sh
# The diskutil runs of the section, as the tool starts them.
set -f
program="$1"
while read -r line; do
  "$program" $line </dev/null 2>&1
done <"$2"
FLOOR
chmod +x "$work/floor.sh"

section() { CVDIAG_MACHINE="$mac" "$cvdiag" --disk-utility-entities >/dev/null; }
floor() { CVDIAG_MACHINE="$mac" "$work/floor.sh" "$mac/usr/sbin/diskutil" "$work/runs" >/dev/null; }

# The section must really have catalogued every disk.
CVDIAG_MACHINE="$mac" "$cvdiag" --disk-utility-entities | grep "complete: $disks disks cataloged" >/dev/null ||
  { echo "the section did not catalogue $disks disks" >&2; exit 1; }

# shellcheck source=alternate.sh
. "$here/alternate.sh"
echo "runs of diskutil per call: $(wc -l <"$work/runs")"
alternate "$runs" section section floor floor
