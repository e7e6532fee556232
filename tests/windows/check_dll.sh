#!/bin/bash
# Looks at the DLL from outside: check_dll.sh exports|image DLL SOURCE-FOLDER
set -euo pipefail
what=$1 dll=$2 source=$3
failed=0
fail() {
  printf '%s\n' "$*"
  failed=1
}

# What the DLL exports is what the list in the tree says, and C functions carry their plain names.
check_exports() {
  local list=$source/tests/exports/windows-x86.txt exported function
  exported=$("$source/scripts/dll-exports" "$dll")
  # Sorted, for a merge that keeps the lines of both sides does not keep their order.
  LC_ALL=C sort -u "$list" |
    diff -u --label tests/exports/windows-x86.txt --label "${dll##*/}" - <(echo "$exported") ||
    fail "The exports differ from the list. If that is meant, run scripts/update-exports."
  while read -r function; do
    grep -qxF "$function" <<<"$exported" || fail "$function is not exported under its plain name."
  done < <(grep -rhE --include='*.h' 'VELMORA_EXPORT [^(]*\bN[cx]_[A-Za-z]+\(' "$source/velmora" |
    sed -E 's/.*\b(N[cx]_[A-Za-z]+)\(.*/\1/')
}

# The DLL needs nothing but the system and the compiler's runtime, may be loaded at any address and has
# no executable data.
check_image() {
  local headers import
  headers=$(i686-w64-mingw32-objdump -p "$dll")
  while read -r import; do
    case $import in
      KERNEL32.dll | USER32.dll | ADVAPI32.dll | SHELL32.dll | msvcrt.dll) ;;
      libgcc_s_dw2-1.dll | libstdc++-6.dll | libwinpthread-1.dll) ;;
      *) fail "The DLL imports $import." ;;
    esac
  done < <(sed -n 's/^\s*DLL Name: //p' <<<"$headers")
  grep -q DYNAMIC_BASE <<<"$headers" || fail "The DLL cannot be loaded at a random address."
  grep -q NX_COMPAT <<<"$headers" || fail "The DLL does not declare that its data is not code."
  grep -q 'The Data Directory' <<<"$headers" || fail "The headers could not be read."
  grep -qE '^Entry 5 0*[1-9a-f][0-9a-f]* .*Relocation' <<<"$headers" ||
    fail "The DLL has no relocations, so it cannot be loaded at a random address."
}

"check_$what"
exit $failed
