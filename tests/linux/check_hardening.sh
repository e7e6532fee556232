#!/bin/bash
# Looks at a library or program from outside: check_hardening.sh FILE...
set -euo pipefail
failed=0
fail() {
  printf '%s: %s\n' "${file##*/}" "$*"
  failed=1
}

for file in "$@"; do
  headers=$(readelf -lW "$file")
  dynamic=$(readelf -dW "$file")
  symbols=$(readelf --dyn-syms -W "$file")
  grep -q GNU_RELRO <<<"$headers" || fail "the linker's tables stay writable"
  grep -qE 'BIND_NOW|Flags:.* NOW' <<<"$dynamic" || fail "functions are bound late, so their table stays writable"
  grep -qE 'GNU_STACK .* RW ' <<<"$headers" || fail "the stack is executable"
  grep -qE 'Type: +DYN' <<<"$(readelf -hW "$file")" || fail "it cannot be loaded at a random address"
  grep -q TEXTREL <<<"$dynamic" && fail "code is patched when it is loaded"
  grep -qE ' __stack_chk_fail' <<<"$symbols" || fail "there are no canaries on the stack"
  # Absolute folders, or an empty one, which is the current folder.
  path=$(sed -nE 's/.*\((RUNPATH|RPATH)\).*\[(.*)\]$/\2/p' <<<"$dynamic")
  for folder in ${path//:/ }; do
    [[ $folder == '$ORIGIN'* ]] || fail "libraries are searched in $folder"
  done
  # Zero-length parts but the last, which the linker adds as room for the installed path.
  [[ :$path == *::* ]] && fail "libraries are searched in the current folder"
  # The note of the file says more than its code where start-up objects of the C library have none, as
  # Debian's: so the code is looked at.
  if [[ $(uname -m) == x86_64 ]]; then
    (($(objdump -d "$file" | grep -cw endbr64) > 10)) || fail "targets of indirect branches are not marked"
  fi
done
exit $failed
