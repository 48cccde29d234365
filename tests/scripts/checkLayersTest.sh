# Plants one line at a time into a copy of the tree; scripts/check-layers must refuse or pass it.
# usage: checkLayersTest.sh SOURCE_DIR BUILD_DIR
set -u

copy=$(mktemp -d) || exit 1
trap 'rm -rf "$copy"' EXIT
cp -r "$1/source" "$1/tool" "$copy" || exit 1
source=$1
failures=0

# expect refused|passed FILE LINE...     FILE is made in the copy and holds the lines
expect() {
    local expected=$1 file=$2 outcome=passed output
    shift 2
    mkdir -p "$copy/${file%/*}"
    printf '%s\n' "$@" >"$copy/$file"
    output=$("$source/scripts/check-layers" "$copy" 2>&1) || outcome=refused
    # A refusal for another file's sake would prove nothing.
    [[ $outcome == refused && $output != "$file:"* ]] && outcome="refused elsewhere ($output)"
    if [[ $outcome != "$expected" ]]; then
        echo "$file: '$*' should be $expected, but was $outcome"
        failures=$((failures + 1))
    fi
    rm "$copy/$file"
}

expect passed source/kxbase/core/kxPlanted.h '#include <cstdint>' '#include "kxbase/platform/kxPlatformLock.h"'

# Upward, sideways and unknown
expect refused source/kxbase/core/kxPlanted.h '#include "kxbase/string/kxString.h"'
expect refused source/kxbase/platform/kxPlanted.h '#include "kxbase/core/kxMutex.h"'
expect refused source/kxbase/platform/posix/kxPlanted.cpp '#include "kxbase/core/kxMutex.h"'
expect refused source/kxbase/xml/kxPlanted.cpp '  #  include "kxbase/factory/kxTable.h"'
expect refused source/kxbase/string/kxPlanted.h '#include "kxbase/kxbase.h"'
expect refused source/kxbase/factory/kxPlanted.cpp '#include "tool/kxRelay.h"'
expect refused source/kxbase/core/kxPlanted.cpp '#include "kxMutex.h"'
expect refused source/kxbase/core/kxPlanted.cpp '#include "kxbase/core/../string/kxString.h"'
expect refused source/kxbase/misc/kxPlanted.h '#include <cstdint>'
expect refused source/kxbase/core/kxPlanted.cpp '#include "kxbase/misc/kxOther.h"'
expect passed source/kxbase/program/kxPlanted.cpp '#include "kxbase/factory/kxTable.h"'
expect passed source/kxbase/kxPlanted.h '#include "kxbase/xml/kxXmlSax.h"'
expect passed tool/kxPlanted.cpp '#include "tool/kxRelay.h"' '#include "kxbase/program/kxProgramExecution.h"'

# The system's own headers
for header in unistd.h sys/socket.h pthread.h windows.h signal.h thread mutex filesystem fstream csignal; do
    expect refused source/kxbase/net/kxPlanted.cpp "#include <$header>"
    expect refused source/kxbase/platform/kxPlanted.h "#include <$header>"
done
expect refused tool/kxPlanted.cpp '#include <termios.h>'
expect refused source/kxbase/net/kxPlanted.cpp '#include "kxbase/platform/posix/kxPosixDescriptor.h"'
expect refused source/kxbase/platform/kxPlanted.h '#include "kxbase/platform/posix/kxPosixDescriptor.h"'
expect refused source/kxbase/platform/solaris/kxPlanted.cpp '#include <unistd.h>'
expect refused source/kxbase/net/kxPlanted.cpp '#define KX_HEADER <unistd.h>' '#include KX_HEADER'
expect passed source/kxbase/platform/posix/kxPlanted.cpp '#include <unistd.h>' '#include <mutex>'
expect passed source/kxbase/net/kxPlanted.cpp '// #include <unistd.h>' '#include <atomic>' '#include <zlib.h>'

# Conditions on the system
expect refused source/kxbase/net/kxPlanted.cpp '#ifdef _WIN32' '#endif'
expect refused source/kxbase/net/kxPlanted.cpp '#if 0' '#elif defined(__linux__)' '#endif'
expect refused source/kxbase/net/kxPlanted.cpp '# if !defined __APPLE__ && 1' '#endif'
expect refused source/kxbase/net/kxPlanted.cpp '#if defined(KX_FIRST) || \' '    defined(__unix__)' '#endif'
expect refused source/kxbase/platform/kxPlanted.h '#ifndef _WIN64' '#endif'
expect passed source/kxbase/platform/posix/kxPlanted.cpp '#ifdef __linux__' '#endif'
expect passed source/kxbase/net/kxPlanted.cpp '#ifdef __SSSE3__' '#endif' 'int linux_count = 0;'

[[ $failures -eq 0 ]]
