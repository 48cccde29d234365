# Every test program runs once more under the memory check, and nothing may be lost.
# usage: memoryCheckTest.sh SOURCE_DIR BUILD_DIR
set -u

output=$(mktemp) || exit 1
trap 'rm -f "$output"' EXIT
end='-- End of Lost Memory Report'
failures=0

fail() {
    echo "$(basename "$program"): $1"
    failures=$((failures + 1))
}

for program in "$2"/tests/kxtest_*; do
    [[ -f $program && -x $program ]] || continue
    KORVEX_MEMORY_CHECK=yes "$program" >"$output" 2>&1 </dev/null || { fail 'fails'; grep -a FAILED "$output"; }
    grep -aq -e "$end" "$output" || fail 'gives no report'
    grep -a 'Lost mem ' "$output" && fail 'has lost memory'
done
exit $((failures != 0))
