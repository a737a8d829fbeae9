# Times two shell functions in turn, A B A B ..., and prints the medians and
# their ratio. Sourced by the start benchmarks:
#     alternate RUNS LABEL_A FUNCTION_A LABEL_B FUNCTION_B
# One warm-up call of each comes first. Wall times, from bash's EPOCHREALTIME.

# Wall time of one call of the function $1, in microseconds.
micros() {
  local start=$EPOCHREALTIME
  "$1"
  local end=$EPOCHREALTIME
  echo $((${end/./} - ${start/./}))
}

median() { sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

alternate() {
  local runs=$1 labelA=$2 a=$3 labelB=$4 b=$5 i ta tb
  local -a timesA=() timesB=() ratios=()
  "$a"; "$b"
  for ((i = 0; i < runs; i++)); do
    ta=$(micros "$a")
    tb=$(micros "$b")
    timesA+=("$ta") timesB+=("$tb")
    ratios+=("$(awk -v a="$ta" -v b="$tb" 'BEGIN { printf "%.4f", a / b }')")
  done
  local ma mb mr
  ma=$(printf '%s\n' "${timesA[@]}" | median)
  mb=$(printf '%s\n' "${timesB[@]}" | median)
  mr=$(printf '%s\n' "${ratios[@]}" | median)
  awk -v la="$labelA" -v lb="$labelB" -v a="$ma" -v b="$mb" -v r="$mr" -v n="$runs" 'BEGIN {
    printf "%-10s median %9.3f ms\n%-10s median %9.3f ms\n", la, a / 1000, lb, b / 1000
    printf "ratio of medians %.2f, median of the %d pair ratios %.2f\n", a / b, n, r }'
}
