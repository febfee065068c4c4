# SPDX-License-Identifier: MIT
# A C++ host against the installed development package, through CMake and through pkg-config.
cd "$(mktemp -d)"
cp /usr/share/doc/libnarvoassem-dev/examples/*.cpp .
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(narvoassem 1.0 CONFIG REQUIRED)
find_package(Threads REQUIRED)
foreach(example minimal_host multi_lane_host zone_map_host)
  add_executable(${example} ${example}.cpp)
  target_link_libraries(${example} PRIVATE narvoassem::narvoassem Threads::Threads)
endforeach()
END
cmake -S . -B build >/dev/null
cmake --build build >/dev/null
for example in minimal_host multi_lane_host zone_map_host; do build/$example; done
g++ -std=c++17 minimal_host.cpp $(pkg-config --cflags --libs narvoassem) -o by_pkg_config
./by_pkg_config

cp /usr/share/doc/libnarvohost-dev/examples/host_library.cpp .
g++ -std=c++17 host_library.cpp $(pkg-config --cflags --libs narvohost) -pthread -o host_library
test "$(./host_library | wc -l)" = 3000

examples=/usr/share/doc/libnarvohost-dev/examples
gcc -std=c99 -Wall -Wextra -pedantic -Werror "$examples/host_in_c.c" $(pkg-config --cflags --libs narvohost) -o host_in_c
test "$(./host_in_c)" = "25 pixels around 202, 122"
test "$(python3 "$examples/host_by_ctypes.py" | tail -n 1)" = "25 pixels differ from the good image around 202, 122"
