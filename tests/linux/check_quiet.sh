#!/bin/bash
# A library that lives in other people's processes neither prints nor ends them: check_quiet.sh ARCHIVE
set -euo pipefail
symbols=$(nm --undefined-only --demangle "$1")
grep -qw memcpy <<<"$symbols" || { echo "The symbols of $1 could not be read."; exit 1; }
forbidden='printf|vprintf|__v?printf_chk|puts|putchar|perror|stdout|stderr|std::(cout|cerr|clog|wcout|wcerr)'
forbidden+='|abort|exit|_exit|_Exit|quick_exit|__assert_fail'
if grep -E "^[^ ]+\.o:$| U ($forbidden)(@.*)?$" <<<"$symbols" | grep -B1 ' U '; then
  echo "These objects print or end the process."
  exit 1
fi
