# Every test program and every example runs once more under the memory check, and nothing may be lost; one of them with
# its trace. What the tests run as programs of their own starts without the check; the tests of the tool switch it on
# where they read its report.
# usage: memoryCheckTest.sh SOURCE_DIR BUILD_DIR
set -u

# check SETTING PROGRAM
check() {
    local output faults last
    # One that hangs is ended while ctest still waits for the others.
    output=$(KORVEX_MEMORY_CHECK=$1 timeout -k 5 300 "$2" 2>&1 </dev/null | tr -d '\0'; exit "${PIPESTATUS[0]}") ||
        faults="fails with status $? "
    grep -aq -e '-- End of Lost Memory Report' <<<"$output" || faults+='gives no report ' last=$(tail -n 20 <<<"$output")
    grep -aq 'Lost mem ' <<<"$output" && faults+='has lost memory '
    [[ $1 != trace ]] || grep -aq 'Malloc .* bytes at ' <<<"$output" || faults+='has no trace'
    [[ -z ${faults-} ]] && return
    echo "$(basename "$2") with $1: $faults"
    grep -aE 'FAILED|Lost mem ' <<<"$output"
    [[ -n ${last-} ]] && printf '%s died or hung after:\n%s\n' "$(basename "$2")" "$last"
    return 1
}
export -f check

{
    find "$2/tests" "$2/examples" -maxdepth 1 \( -name 'kxtest_*' -o -name 'example_*' \) -type f -executable \
        -printf 'yes\0%p\0'
    printf 'trace\0%s\0' "$2/tests/kxtest_notify"
} | xargs -0 -n 2 -P "$(nproc)" bash -c 'check "$1" "$2"' check
