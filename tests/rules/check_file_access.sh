#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the host layer, the sources of live images or the program opens files elsewhere than in host/file/, where errors are checked, special
# files refused and outputs replaced atomically. Usage: check_file_access.sh SOURCE_FOLDER
set -euo pipefail
export LC_ALL=C
cd "$1"

# The exceptions: reading an image and its header, whose file was checked before; reading the file of a run that is open and locked; the
# descriptors of the standard streams; the look whether somebody writes a file.
allowed='^(host/file/[a-z_]+\.(h|cpp)|host/image/image_decoder\.cpp:.*cv::imread|host/image/image_header\.cpp:.*ifstream m_stream|host/result/result_lines\.cpp:.*ifstream stream\(LineFile|sources/open_writer\.cpp|tools/quiet_codecs\.cpp|tools/standard_streams\.cpp)'
found=$(grep -rnE '\b(i|o)?fstream [a-z]|\bf?open(at)?\(|\bcreat\(|\bmk(o|d)?stemp|\bimwrite\(|\bimread\(|[^_a-zA-Z]rename\(' \
  --include='*.h' --include='*.cpp' host sources tools | grep -vE "$allowed" || true)
[[ -z $found ]] || { echo "files are opened outside host/file/:"; echo "$found"; exit 1; }
