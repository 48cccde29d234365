# Every test program runs once more under the memory check, and nothing may be lost. What the tests run as programs
# of their own starts without the check; the tests of the tool switch it on where they read its report.
# usage: memoryCheckTest.sh SOURCE_DIR BUILD_DIR
set -u

export KORVEX_MEMORY_CHECK=yes

check() {
    local output faults last
    # One that hangs is ended while ctest still waits for the others.
    output=$(timeout -k 5 300 "$1" 2>&1 </dev/null | tr -d '\0'; exit "${PIPESTATUS[0]}") ||
        faults="fails with status $? "
    grep -aq -e '-- End of Lost Memory Report' <<<"$output" || faults+='gives no report ' last=$(tail -n 20 <<<"$output")
    grep -aq 'Lost mem ' <<<"$output" && faults+='has lost memory'
    [[ -z ${faults-} ]] && return
    echo "$(basename "$1"): $faults"
    grep -aE 'FAILED|Lost mem ' <<<"$output"
    [[ -n ${last-} ]] && printf '%s died or hung after:\n%s\n' "$(basename "$1")" "$last"
    return 1
}
export -f check

find "$2/tests" -maxdepth 1 -name 'kxtest_*' -type f -executable -print0 |
    xargs -0 -n 1 -P "$(nproc)" bash -c 'check "$1"' check
