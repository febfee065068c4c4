#!/bin/bash
# SPDX-License-Identifier: MIT
# Compiles the host in Rust, runs it, and compares what it prints; ends with 77, which CTest counts as skipped, without rustc.
# Usage: check_rust_host.sh SOURCE LIBRARY_FOLDER WORK_FOLDER
set -euo pipefail
source=$1 library=$2 work=$3

rustc --version || { echo "rustc is not installed: the host in Rust is not tested"; exit 77; }
rustc --edition 2021 -D warnings -o "$work/host_in_rust" "$source" -L "$library" -l narvohost -C "link-arg=-Wl,-rpath,$library"
"$work/host_in_rust" | tee "$work/host_in_rust.txt"
grep -q '^refused: .*pitch.x: 0; allowed: 1 to' <(tr '\n' ' ' <"$work/host_in_rust.txt")
[[ $(tail -n 1 "$work/host_in_rust.txt") == "25 pixels around 202, 122" ]]
