# A header that needs another one first, or that does not guard itself, must be refused.
# usage: checkHeadersTest.sh SOURCE_DIR BUILD_DIR
set -u

copy=$(mktemp -d) || exit 1
trap 'rm -rf "$copy"' EXIT
mkdir -p "$copy/source/kxbase/core" "$copy/tool"
header=$copy/source/kxbase/core/kxPlanted.h
failures=0

# expect STATUS WHY LINE...
expect() {
    local expected=$1 why=$2 status=0
    shift 2
    printf '%s\n' "$@" >"$header"
    "$check" "$copy" >/dev/null 2>&1 || status=$?
    [[ $status -eq $expected ]] && return
    echo "$why: status $status instead of $expected"
    failures=$((failures + 1))
}
check=$1/scripts/check-headers

expect 0 'stands alone' '#pragma once' '#include <cstdint>' 'inline std::uint8_t kxPlanted() { return 1; }'
expect 1 'needs a header first' '#pragma once' 'inline std::uint8_t kxPlanted() { return 1; }'
expect 1 'is not guarded' 'struct kxPlanted {};'
expect 1 'warns' '#pragma once' 'inline char kxPlanted(int value) { return value; }'

[[ $failures -eq 0 ]]
