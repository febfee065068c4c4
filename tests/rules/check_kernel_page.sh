#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the page of kernels differs from what the library's tables say.
# Usage: check_kernel_page.sh KERNEL_PAGE_PROGRAM PAGE
set -euo pipefail
renewed=$("$1" "$2")
diff -u "$2" - <<<"$renewed" || { echo "run scripts/update-kernels"; exit 1; }
