#!/bin/bash
# SPDX-License-Identifier: MIT
# Compiles the host in C#, holds its records to those of the C header, runs it, and compares what it prints.
# Usage: check_csharp_host.sh MCS MONO CC SOURCE LIBRARY_FOLDER INCLUDE_FOLDER WORK_FOLDER
set -euo pipefail
mcs=$1 mono=$2 cc=$3 source=$4 library=$5 include=$6 work=$7/csharp
mkdir -p "$work"
here=$(cd "$(dirname "$0")" && pwd)

"$mcs" -warnaserror -main:CSharpLayouts -out:"$work/layouts.exe" "$source" "$here/csharp_layouts.cs"
"$mono" "$work/layouts.exe" >"$work/layouts.c"
for record in narvo_problem narvo_image narvo_defect; do
  grep -q "sizeof($record) ==" "$work/layouts.c" || { echo "$record is not among the records"; exit 1; }
done
"$cc" -std=c11 -fsyntax-only -I "$include" "$work/layouts.c"

"$mcs" -warnaserror -out:"$work/host_in_csharp.exe" "$source"
LD_LIBRARY_PATH=$library "$mono" "$work/host_in_csharp.exe" | tee "$work/host_in_csharp.txt"
diff - "$work/host_in_csharp.txt" <<'END'
refused: pitch.x: 0; allowed: 1 to 16384 pixels
25 pixels around 202, 122
END
