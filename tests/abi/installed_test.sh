#!/bin/sh
# A client builds against the installed tree, which stands elsewhere than it was configured for, through
# find_package and through pkg-config, and runs; so does the tool.
# usage: installed_test.sh BUILD_DIR SOURCE_DIR CXX CC
set -eu
build=$1 top=$2 cxx=$3 cc=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" > "$work/install.log" || {
  tail -n 5 "$work/install.log"
  exit 1
}
lib=$(dirname "$(find "$work/prefix" -name 'libkestra.so.1' | head -n 1)")

mkdir "$work/client"
cp "$top/tests/abi/c_client.c" "$work/client/"
cat > "$work/client/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(client C CXX)
find_package(Kestra 19 CONFIG REQUIRED)
add_executable(client c_client.c)
target_link_libraries(client PRIVATE Kestra::kestra)
CMAKE
cmake -G Ninja -S "$work/client" -B "$work/client/build" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" > "$work/configure.log"
cmake --build "$work/client/build" > "$work/build.log"
"$work/client/build/client"

export PKG_CONFIG_PATH="$lib/pkgconfig"
flags=$(pkg-config --cflags --libs kestra)
# shellcheck disable=SC2086
"$cc" -o "$work/client/by_pkg_config" "$top/tests/abi/c_client.c" $flags -Wl,-rpath,"$lib"
"$work/client/by_pkg_config"

# Tools may be left out of a build.
[ ! -x "$work/prefix/bin/kestra" ] || "$work/prefix/bin/kestra" calc "1 + 1"
