#!/usr/bin/env bash
# Every bundled example prints the preparation summary and the lines of cycle 0
# in the program's formats, with the numbers that the example's facts file gives.
# Usage: cycle0_summary.sh <path-to-halvorin> <source-dir>
set -uo pipefail
prog=$1
src=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
  echo "FAIL [$name]: $*"
  failures=$((failures + 1))
}

fact() { sed -n "s/^$1 //p" "$facts"; }

# A line of the log equals the same numbers printed again in the given format:
# the format is then the one the program used, byte for byte.
same_format() {
  local format=$1 line=$2
  shift 2
  local again
  again=$(printf "$format" "$@")
  [[ "$line" == "$again" ]]
}

shopt -s nullglob
examples=("$src"/examples/*.prf)
[[ ${#examples[@]} -gt 0 ]] || { echo "no examples in $src/examples"; exit 1; }

for prf in "${examples[@]}"; do
  name=$(basename "$prf" .prf)
  facts="$src/examples/$name.facts"
  [[ -f "$facts" ]] || { fail "no facts file"; continue; }
  # Runs write beside the data set: work on a copy.
  cp "$src/examples/$name".* "$work/"
  log="$work/$name.log"
  "$prog" "$work/$name.prf" </dev/null >"$log" 2>&1
  text=$(cat "$log")

  read -r a b c alpha beta gamma <<<"$(fact cell)"
  read -r nx ny nz <<<"$(fact grid)"
  vline=$(grep -m1 '^         V = ' "$log")
  volume=${vline#         V = }
  awk -v v="$volume" -v w="$(fact volume)" 'BEGIN { d = v - w; exit !(d < 0.001 && d > -0.001) }' ||
    fail "volume '$volume' instead of $(fact volume)"
  summary=$(printf '\n  Title: %s\n\n' "$(fact title)"
    printf '  Lattice parameters:\n'
    printf '         a = %9.5f     b = %9.5f      c = %9.5f\n' "$a" "$b" "$c"
    printf '     alpha = %9.5f  beta = %9.5f  gamma = %9.5f\n' "$alpha" "$beta" "$gamma"
    printf '%s\n\n' "$vline"
    printf '  Space group: %s\n' "$(fact space_group_symbol)"
    printf '  Space group number: %d\n' "$(fact space_group_number)"
    printf '  Setting number: %d\n\n' "$(fact space_group_setting)"
    printf '  Numbers of reflections used in MEM analysis:\n'
    printf '     NREF1(F) = %d\n' "$(fact nref_f)"
    printf '     NREF2(G) = %d\n' "$(fact nref_g)"
    printf '     NREF3(E) = %d\n\n' "$(fact nref_e)"
    printf '  Number of voxels in the asymmetric unit = %d\n' "$(fact n_voxel_asym)"
    printf '        Number of voxels in the unit cell = %d (%d X %d X %d)\n\n' \
      "$(fact n_voxel_cell)" "$nx" "$ny" "$nz")
  [[ "$text" == *"$summary"* ]] || fail "summary block differs from the facts:$(printf '\n%s' "$summary")"

  # The cost rule: direct sums over the tables while they cost no more than a transform.
  expected=$(awk -v asym="$(fact n_voxel_asym)" -v refl="$(($(fact nref_f) + $(fact nref_g) + $(fact nref_e)))" \
    -v centric="$(fact centric)" -v n="$(fact n_voxel_cell)" \
    'BEGIN { direct = asym * refl * (centric ? 1 : 2); print (direct > n / log(n) * 100.0 ? "FFT" : "DFT") }')
  grep -qx "Use $expected routine." "$log" || fail "expected 'Use $expected routine.'"

  cycle=$(grep -n -m1 '^ CYCLE 0:$' "$log" | cut -d: -f1)
  if [[ -z "$cycle" ]]; then
    fail "no ' CYCLE 0:' line"
    continue
  fi
  summary_line=$(grep -n -m1 '^        Number of voxels in the unit cell' "$log" | cut -d: -f1)
  [[ -n "$summary_line" && "$summary_line" -lt "$cycle" ]] || fail "summary does not come before cycle 0"
  constr=$(sed -n "$((cycle + 1))p" "$log")
  delta=$(sed -n "$((cycle + 2))p" "$log")
  blank=$(sed -n "$((cycle + 3))p" "$log")
  read -r _ _ C _ _ CONF _ _ CONG <<<"$constr"
  read -r _ _ D _ _ RF _ _ WRF <<<"$delta"
  same_format ' CONSTR = %15.7E CONF = %15.7E CONG = %15.7E' "$constr" "$C" "$CONF" "$CONG" ||
    fail "CONSTR line '$constr'"
  same_format '  DELTA = %15.7E   RF = %15.6f  wRF = %15.6f' "$delta" "$D" "$RF" "$WRF" ||
    fail "DELTA line '$delta'"
  [[ -z "$blank" ]] || fail "no empty line after the cycle-0 lines"
  # A uniform start is far from the data, and without groups CONG is 0.
  awk -v c="$C" -v d="$D" -v rf="$RF" 'BEGIN { exit !(c > 1 && d == 0 && rf > 0) }' ||
    fail "implausible cycle-0 values: CONSTR $C DELTA $D RF $RF"
  if [[ "$(fact nref_g)" == 0 ]]; then
    awk -v g="$CONG" 'BEGIN { exit !(g == 0) }' || fail "CONG $CONG without groups"
  fi
done

if [[ $failures -gt 0 ]]; then
  echo "$failures check(s) failed"
  exit 1
fi
echo "all examples print the summary and cycle 0 in the program's formats"
