#!/bin/bash
# SPDX-License-Identifier: MIT
# Installs a build, moves the prefix away, and builds and runs the consumer program against it twice: through
# find_package and through pkg-config. Usage: check_install.sh BUILD CONSUMER WORK COMPILER
set -euo pipefail
build=$1 consumer=$2 work=$3 compiler=$4

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/first" >"$work/install.log" || { cat "$work/install.log"; exit 1; }
mv "$work/first" "$work/moved"
prefix=$work/moved
library=$(dirname "$(find "$prefix" -name 'libnarvoassem.so')")

echo "--- find_package"
cmake -G Ninja -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler"
cmake --build "$work/build"
"$work/build/consumer"

echo "--- pkg-config"
export PKG_CONFIG_PATH=$library/pkgconfig
flags=$(pkg-config --cflags --libs narvoassem)
[[ $flags == *"$prefix"* ]] || { echo "flags do not follow the prefix: $flags"; exit 1; }
# The flags are meant to be split at their blanks.
# shellcheck disable=SC2086
"$compiler" -std=c++17 "$consumer/consumer.cpp" $flags -Wl,-rpath,"$library" -o "$work/consumer_by_pkg_config"
"$work/consumer_by_pkg_config"

if [[ -f $prefix/include/narvo/narvohost.h ]]; then
  echo "--- the host library"
  example=$(dirname "$consumer")/../../examples/host_library.cpp
  cmake -G Ninja -S "$consumer/../host_consumer" -B "$work/host" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DHOST_SOURCE="$(realpath "$example")"
  cmake --build "$work/host"
  # 30 defects in each of 100 equal images, in the order of the threads.
  "$work/host/host_consumer" | sort | uniq -c >"$work/defects"
  [[ $(grep -c '^ *100 25 pixels around' "$work/defects") == 30 && $(wc -l <"$work/defects") == 30 ]] || { cat "$work/defects"; exit 1; }
  # shellcheck disable=SC2046
  "$compiler" -std=c++17 "$example" $(pkg-config --cflags --libs narvohost) -pthread -Wl,-rpath,"$library" -o "$work/host_by_pkg_config"
  "$work/host_by_pkg_config" | sort | uniq -c | diff - "$work/defects"
fi

# The static library and the tools' private headers stay home.
! find "$prefix" -name '*_static*' -o -name '*-inl.h' | grep .
