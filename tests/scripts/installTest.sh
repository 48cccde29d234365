# Installs the build into a directory of its own and builds a program on it, as a user of the library would.
# usage: installTest.sh SOURCE_DIR BUILD_DIR
set -u

build=$2
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")

fail() {
    echo "$1" >&2
    exit 1
}

cmake --install "$build" --prefix "$work/first" >"$work/log" || { cat "$work/log"; fail 'cannot be installed'; }
# Nothing of the installed tree may depend on where it was installed.
mv "$work/first" "$work/prefix"
[[ -x $work/prefix/bin/kxrelay ]] || fail 'the tool is not installed'
compgen -G "$work/prefix/include/kxbase/platform/*/*" && fail 'headers of one system are installed'

mkdir "$work/consumer"
cat >"$work/consumer/main.cpp" <<'END'
#include "kxbase/kxbase.h"

#include <cstdio>

int main()
{
    const kxString text("consumer");
    std::printf("%s %s\n", text.text(), KX_LIBRARY_VERSION);
    return text.length() == 8 ? 0 : 1;
}
END
cat >"$work/consumer/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(kxbase 2.10 REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE kxbase::kxbase)
END

cmake -S "$work/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" >"$work/log" 2>&1 && cmake --build "$work/build" >>"$work/log" 2>&1 ||
    { cat "$work/log"; fail 'a project with find_package cannot be built'; }
"$work/build/consumer" || fail 'the program built with find_package fails'

command -v pkg-config >/dev/null || { echo 'pkg-config is not installed; its file was not tried'; exit 0; }
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name kxbase.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kxbase)
"$compiler" "$work/consumer/main.cpp" -o "$work/consumer/program" "${flags[@]}" ||
    fail 'a program with the flags of pkg-config cannot be built'
"$work/consumer/program" || fail 'the program built with the flags of pkg-config fails'
