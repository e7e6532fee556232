#!/bin/bash
# Looks at the DLL from outside: check_dll.sh exports|image DLL SOURCE-FOLDER
set -euo pipefail
what=$1 dll=$2 source=$3
failed=0
fail() {
  printf '%s\n' "$*"
  failed=1
}

# What the DLL exports is what its list in the tree says, and C functions carry their plain names.
check_exports() {
  local name list headers c_function exported function
  name=$(basename "$dll" .dll)
  case $name in
    VelmoraCorex86) list=windows-x86 headers=velmora c_function='VELMORA_EXPORT [^(]*\bN[cx]_[A-Za-z]+\(' ;;
    *) list=windows-x86-capture headers=velmora_capture/c c_function='\bvelmora_[a-z_]+\(' ;;
  esac
  list=tests/exports/$list.txt
  exported=$("$source/scripts/dll-exports" "$dll")
  # Sorted, for a merge that keeps the lines of both sides does not keep their order.
  LC_ALL=C sort -u "$source/$list" |
    diff -u --label "$list" --label "${dll##*/}" - <(echo "$exported") ||
    fail "The exports differ from the list. If that is meant, run scripts/update-exports."
  while read -r function; do
    grep -qxF "$function" <<<"$exported" || fail "$function is not exported under its plain name."
  done < <(grep -rhoE --include='*.h' "$c_function" "$source/$headers" | sed -E 's/.*\b([A-Za-z_]+)\($/\1/')
}

# The DLL needs nothing but the system and the compiler's runtime, may be loaded at any address and has
# no executable data.
check_image() {
  local headers import
  headers=$(i686-w64-mingw32-objdump -p "$dll")
  while read -r import; do
    case $import in
      KERNEL32.dll | USER32.dll | ADVAPI32.dll | SHELL32.dll | msvcrt.dll) ;;
      VelmoraCorex86.dll) [ "${dll##*/}" != "$import" ] || fail "The DLL imports itself." ;;
      libgcc_s_dw2-1.dll | libstdc++-6.dll | libwinpthread-1.dll) ;;
      *) fail "The DLL imports $import." ;;
    esac
  done < <(sed -n 's/^\s*DLL Name: //p' <<<"$headers")
  grep -q DYNAMIC_BASE <<<"$headers" || fail "The DLL cannot be loaded at a random address."
  grep -q NX_COMPAT <<<"$headers" || fail "The DLL does not declare that its data is not code."
  grep -q NO_SEH <<<"$headers" || fail "Code of the DLL may be called as a handler of exceptions."
  grep -q 'The Data Directory' <<<"$headers" || fail "The headers could not be read."
  grep -qE '^Entry 5 0*[1-9a-f][0-9a-f]* .*Relocation' <<<"$headers" ||
    fail "The DLL has no relocations, so it cannot be loaded at a random address."
}

"check_$what"
exit $failed
