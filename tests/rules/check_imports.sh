#!/bin/bash
# Fails when the shared library refers to a function that prints, ends the process, opens a file, reads the
# environment or throws. Usage: check_imports.sh LIBRARY
set -euo pipefail
export LC_ALL=C

mapfile -t imports < <(nm --dynamic --undefined-only "$1" | sed -E 's/^ *[A-Za-z] //; s/@.*//' | sort -u)
# A library with its kernels in it calls at least the memory and OpenMP runtimes.
(( ${#imports[@]} > 10 )) || { echo "only ${#imports[@]} imported symbols in $1: nothing was looked at"; exit 1; }

print='v?[fsd]?n?printf|__v?[fs]?n?printf_chk|f?puts|f?putc|putchar|fwrite|perror|stdin|stdout|stderr|syslog|write'
stream='_ZSt4c(out|err|log|in)|_ZNSt8ios_base4InitC1Ev|_ZNSt[0-9]+basic_[io]?fstream.*|_ZNSt13basic_filebuf.*'
leave='exit|_exit|_Exit|quick_exit|abort|raise|kill|longjmp|system|exec[lv]p?e?|fork|popen|_ZSt9terminatev'
file='f?open(64|at|at64)?|creat|fdopen|freopen|tmpfile|mkstemp|remove|rename|unlink|f?read|mmap'
environment='(secure_)?getenv|setenv|putenv|unsetenv|environ|__environ'
throws='__cxa_throw|__cxa_rethrow|_ZSt[0-9]+__throw_.*'
# std::mutex::lock refers to this one for a mutex that the system refuses, which a live object's never is.
allowed='_ZSt20__throw_system_errori'
forbidden="^($print|$stream|$leave|$file|$environment|$throws)$"

if printf '%s\n' "${imports[@]}" | grep -vx "$allowed" | grep -E "$forbidden"; then
  echo "the library must not refer to these"
  exit 1
fi
