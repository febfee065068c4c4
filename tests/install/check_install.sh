#!/bin/bash
# SPDX-License-Identifier: MIT
# Installs a build, moves the prefix away, and builds and runs the consumer program against it twice: through
# find_package and through pkg-config. Usage: check_install.sh BUILD CONSUMER WORK COMPILER C_COMPILER
set -euo pipefail
build=$1 consumer=$2 work=$3 compiler=$4 c_compiler=$5

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
    -DCMAKE_CXX_COMPILER="$compiler" -DHOST_LANGUAGE=CXX -DHOST_SOURCE="$(realpath "$example")"
  cmake --build "$work/host"
  # 30 defects in each of 100 equal images, in the order of the threads.
  "$work/host/host_consumer" | sort | uniq -c >"$work/defects"
  [[ $(grep -c '^ *100 25 pixels around' "$work/defects") == 30 && $(wc -l <"$work/defects") == 30 ]] || { cat "$work/defects"; exit 1; }
  # shellcheck disable=SC2046
  "$compiler" -std=c++17 "$example" $(pkg-config --cflags --libs narvohost) -pthread -Wl,-rpath,"$library" -o "$work/host_by_pkg_config"
  "$work/host_by_pkg_config" | sort | uniq -c | diff - "$work/defects"

  echo "--- the host library in C, and loaded by Python"
  folder=$(realpath "$(dirname "$example")")
  cmake -G Ninja -S "$consumer/../host_consumer" -B "$work/host_c" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$c_compiler" -DHOST_LANGUAGE=C -DHOST_SOURCE="$folder/host_in_c.c"
  cmake --build "$work/host_c"
  # shellcheck disable=SC2046
  "$c_compiler" -std=c99 -Wall -Wextra -pedantic -Werror "$folder/host_in_c.c" $(pkg-config --cflags --libs narvohost) \
    -Wl,-rpath,"$library" -o "$work/host_c_by_pkg_config"
  for program in "$work/host_c/host_consumer" "$work/host_c_by_pkg_config"; do
    [[ $("$program") == "25 pixels around 202, 122" ]] || { echo "$program does not find the defect"; exit 1; }
  done
  python3 -B "$folder/python/host_by_ctypes.py" "$library/libnarvohost.so.1" >"$work/by_ctypes"
  [[ $(tail -n 1 "$work/by_ctypes") == "25 pixels differ from the good image around 202, 122" ]] || { cat "$work/by_ctypes"; exit 1; }
fi

# The static library and the tools' private headers stay home.
! find "$prefix" -name '*_static*' -o -name '*-inl.h' | grep .
