# What the scripts share. Sourced by bash, with $root set to the top of the tree.

say() { printf '== %s\n' "$*"; }

die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# Where the cross-built libraries of the Windows target are kept.
cross_libraries_folder() { printf '%s\n' "${VELMORA_DEPS_DIR:-$root/.cache/windows-x86}"; }
