#!/usr/bin/env bash
# The start of `CVDiag --version` against the start of a minimal C++ program.
#
#     benchmarks/version_start.sh [CVDIAG] [RUNS] [MACHINE]
#
# The minimal program is `int main() { std::puts("x"); }`, built here with the
# compiler and flags of the release build and linked, as CVDiag is, to the
# shared libstdc++ (with --no-as-needed, since it calls nothing of it).
# Times in turn, RUNS times each (101) after one warm-up: CVDiag --version
# with CVDIAG_MACHINE=MACHINE (the demo Mac by default; "host" reads this
# host instead), and the minimal program. Prints the medians and their ratio.
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cvdiag="$(realpath "${1:-$here/../build/release/CVDiag}")"
runs="${2:-101}"
machine="${3:-$here/../demo/machine}"
work="${TMPDIR:-/tmp}/cvdiag-version-start"
mkdir -p "$work"
printf '#include <cstdio>\nint main() { std::puts("x"); }\n' >"$work/minimal.cpp"
${CXX:-c++} -O3 -DNDEBUG -Wall -Wextra -std=c++20 "$work/minimal.cpp" -o "$work/minimal" -Wl,--no-as-needed
ldd "$work/minimal" | grep 'libstdc++' >/dev/null || { echo "the minimal program has no libstdc++" >&2; exit 1; }

if [ "$machine" = host ]; then
  unset CVDIAG_MACHINE
  version() { "$cvdiag" --version >/dev/null; }
else
  machine="$(realpath "$machine")"
  version() { CVDIAG_MACHINE="$machine" "$cvdiag" --version >/dev/null; }
fi
minimal() { "$work/minimal" >/dev/null; }
version

# shellcheck source=alternate.sh
. "$here/alternate.sh"
alternate "$runs" version version minimal minimal

# Processor time per start, steadier than wall time on a loaded machine.
if command -v perf >/dev/null && perf stat -e task-clock true 2>/dev/null; then
  clock() { perf stat -x, -e task-clock -r "$runs" "$@" 2>&1 >/dev/null | awk -F, '/task-clock/ { print $1 }'; }
  if [ "$machine" = host ]; then v=$(clock "$cvdiag" --version)
  else v=$(CVDIAG_MACHINE="$machine" clock "$cvdiag" --version); fi
  m=$(clock "$work/minimal")
  awk -v v="$v" -v m="$m" 'BEGIN { printf "task-clock: version %.3f ms, minimal %.3f ms, ratio %.2f\n", v, m, v / m }'
fi
