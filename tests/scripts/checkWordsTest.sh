# Lines that name what a reader of the repository does not have must be refused, their likes must not.
# usage: checkWordsTest.sh SOURCE_DIR BUILD_DIR
set -u

copy=$(mktemp -d) || exit 1
trap 'rm -rf "$copy"' EXIT
failures=0

# expect STATUS LINE
expect() {
    local status=0
    printf '%s\n' "$2" >"$copy/planted.h"
    "$check" "$copy" >/dev/null 2>&1 || status=$?
    [[ $status -eq $1 ]] && return
    echo "'$2': status $status instead of $1"
    failures=$((failures + 1))
}
check=$1/scripts/check-words

# The lines are put together here, so that this file passes the check itself.
expect 1 "// see Part"" 3.1"
expect 1 "// see Parts"" 10.1 and 10.2"
expect 1 "// done as"" specified"
expect 1 "// in the sense of the sp""ecification"
expect 1 "// settled in decisions"".md"
expect 1 "include /wo""rk/somewhere/kx.h"
expect 1 "cd /home""/someone"
expect 0 "// a piece of the text; version 3.1"
expect 0 "// a conversion specification, network/worker, http://host/homely"

[[ $failures -eq 0 ]]
