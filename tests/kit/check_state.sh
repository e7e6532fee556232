#!/bin/bash
# Each module has a copy of the kit, so the kit keeps no state: no variable that can change, neither
# of the process nor of a thread. check_state.sh (ARCHIVE | OBJECT)...
set -euo pipefail
symbols=$(nm --format=sysv --demangle "$@")
grep -q 'velmora::kit::Recogniser::Work.*\.text' <<<"$symbols" ||
  { echo "The symbols of the kit could not be read."; exit 1; }
# Constants that hold addresses, tables of virtual functions among them, are written by the loader
# alone; so is the compiler's reference to its exception handler.
if grep -E '\|(\.t?data|\.t?bss|\*COM\*)' <<<"$symbols" |
  grep -vE '\|\.data\.rel\.ro|DW\.ref\.__gxx_personality_v0'; then
  echo "These variables can change."
  exit 1
fi
