# What the scripts share: words, packages, one build preset. Sourced by bash with errexit on and
# $root set to the top of the tree.

say() { printf '== %s\n' "$*"; }

die() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# quietly LOG COMMAND...: runs the command with its output in build/logs/LOG, and shows that output
# only if the command fails.
quietly() {
  local log=$root/build/logs/$1
  shift
  mkdir -p "${log%/*}"
  "$@" >"$log" 2>&1 </dev/null && return
  tail -n 300 "$log" >&2
  die "failed: $* (whole output: ${log#"$root"/})"
}

# ---- packages ------------------------------------------------------------------------------------

test_packages=(g++ cmake ninja-build ccache libgtest-dev googletest libjsoncpp-dev libhwy-dev
  python3-venv)
cluster_packages=(librabbitmq-dev libssl-dev libpq-dev)
check_packages=(clang libclang-rt-dev llvm clang-tidy clang-format git ffmpeg valgrind python3-yaml
  systemd "${cluster_packages[@]}")
recognition_packages=(libstb-dev libzxing-dev dpkg-dev libspng-dev libjpeg62-turbo-dev libwebp-dev
  libgif-dev libtiff-dev)
bench_packages=(libbenchmark-dev libboost-dev libleptonica-dev libmodpbase64-dev libopencv-core-dev
  libopencv-imgproc-dev libspdlog-dev libssl-dev libtbb-dev libyuv-dev)
windows_packages=(g++-mingw-w64-i686-posix binutils-mingw-w64-i686 mingw-w64-i686-dev dpkg-dev nasm
  wine wine32:i386 clang lld llvm)

missing_packages() {
  local package
  for package in "$@"; do
    case $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) in
      installed) ;;
      *) printf '%s\n' "$package" ;;
    esac
  done
}

# require WHAT-FOR PACKAGE...: installs those that are missing, or says which they are.
require() {
  local purpose=$1 missing
  shift
  command -v dpkg-query >/dev/null ||
    die "this script sets up Debian 12; elsewhere install the tools of CONTRIBUTING.md and use the presets"
  mapfile -t missing < <(missing_packages "$@")
  [ ${#missing[@]} -eq 0 ] && return
  [ "$(id -u)" -eq 0 ] ||
    die "$purpose needs packages that are not installed; as root: apt-get install ${missing[*]}"
  say "installing for $purpose: ${missing[*]}"
  quietly "install.log" install_packages "${missing[@]}"
}

# The index of one suite can be out of step with its mirror, i386 of the security suite above all.
# Then `update` fails, i386 libraries come in the release's version only, and each one must match its
# amd64 twin. So: go on with the index there is; ask for the release's versions; last, put back
# exactly the twins that stand in the way.
install_packages() {
  local apt=(apt-get -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 -y --no-install-recommends)
  local release attempt
  export DEBIAN_FRONTEND=noninteractive
  release=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
  case " $* " in
    *:i386\ *)
      dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
      ;;
  esac
  for attempt in 1 2 3 4 5; do
    # The lock time-out does not cover the lock of the index: another apt makes `update` fail at once.
    "${apt[@]}" update || echo "some index could not be had, going on without it"
    "${apt[@]}" install "$@" && return
    "${apt[@]}" install -t "$release" "$@" && return
    # shellcheck disable=SC2046 # one argument a line is meant
    "${apt[@]}" install -t "$release" --allow-downgrades "$@" $(newer_than_i386_twin) && return
    sleep $((attempt * 5))
  done
  return 1
}

# The amd64 libraries below wine32 that are newer than the i386 version that can be had.
newer_than_i386_twin() {
  local name installed candidate
  LC_ALL=C apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances wine32:i386 2>/dev/null |
    sed -n 's/^\([a-z0-9][^ ]*\):i386$/\1/p' | sort -u | while read -r name; do
    installed=$(dpkg-query -W -f='${Multi-Arch} ${Version}' "$name:amd64" 2>/dev/null |
      sed -n 's/^same //p')
    [ -n "$installed" ] || continue
    candidate=$(LC_ALL=C apt-cache policy "$name:i386" | sed -n 's/^ *Candidate: //p')
    if [ "$candidate" != "(none)" ] && dpkg --compare-versions "$installed" gt "$candidate"; then
      echo "$name:amd64=$candidate"
    fi
  done
}

# What every Linux build needs besides its own compiler.
set_up_linux() {
  require "the Linux target" "${test_packages[@]}" "${recognition_packages[@]}" "$@"
  "$root/scripts/recognition-libraries"
}

set_up_windows() {
  require "the Windows target" "${test_packages[@]}" "${recognition_packages[@]}" \
    "${windows_packages[@]}"
  "$root/scripts/cross-libraries"
}

# ---- builds --------------------------------------------------------------------------------------

# Where the libraries built from source are kept: cross-built ones, and ours for Linux.
cross_libraries_folder() { printf '%s\n' "${VELMORA_DEPS_DIR:-$root/.cache/windows-x86}"; }
linux_libraries_folder() { printf '%s\n' "${VELMORA_LINUX_DEPS_DIR:-$root/.cache/linux}"; }

# Compiles through ccache when it is there. Paths are relative to the tree, so that another clone of it
# finds the same entries.
use_compiler_cache() {
  command -v ccache >/dev/null || return 0
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
  # Without it nothing that uses a precompiled header is kept; __TIME__ occurs nowhere here.
  export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
}

configure_preset() {
  quietly "$1-configure.log" cmake --preset "$1" -DVELMORA_REQUIRE_RECOGNITION=ON
}

# build_preset PRESET [ARGUMENTS of cmake --build]
build_preset() {
  local preset=$1
  shift
  configure_preset "$preset"
  quietly "$preset-build.log" cmake --build --preset "$preset" -j "$(nproc)" "$@"
}

# test_preset PRESET [COMMAND...]: runs the tests below COMMAND; shows ctest's summary.
test_preset() {
  local preset=$1
  shift
  quietly "$preset-test.log" "$@" ctest --preset "$preset" -j "$(nproc)"
  grep -E '^[0-9]+% tests passed' "$root/build/logs/$preset-test.log"
}

# ---- third-party libraries built from Debian's sources -------------------------------------------

# fetch_sources PACKAGE...: unpacks source packages below $work/src. apt gets a state of its own: the
# machine's sources stay as they are, and archive signature, index and tarballs are checked.
fetch_sources() {
  local state=$work/apt file
  mkdir -p "$state/lists/partial" "$state/sources" "$work/src"
  : >"$state/empty"
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -e "$file" ] || continue
    sed -E 's/^Types:.*/Types: deb-src/' "$file" >"$state/sources/$(basename "$file")"
  done
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -e "$file" ] || continue
    sed -nE 's/^deb /deb-src /p' "$file" >"$state/sources/$(basename "$file" .list).list"
  done
  local apt=(apt-get -q -o "Dir::Etc::sourcelist=$state/empty" -o "Dir::Etc::sourceparts=$state/sources"
    -o "Dir::State::lists=$state/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
    -o Acquire::Retries=3 -o APT::Sandbox::User=root)
  (cd "$work/src" && { "${apt[@]}" update || true; } && "${apt[@]}" source "$@")
}

# build_source NAME SOURCE-FOLDER CMAKE-ARGUMENTS...: builds below $work and installs to $work/prefix.
build_source() {
  local name=$1 source=$2
  shift 2
  cmake -S "$source" -B "$work/build/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$work/prefix" -DBUILD_SHARED_LIBS=OFF "$@"
  cmake --build "$work/build/$name"
  cmake --install "$work/build/$name"
}

# fill_folder FOLDER WHAT FILE...: calls build_all, which leaves its result in $work/prefix, and moves
# that to FOLDER; a folder that was filled by the very same FILEs, the recipe, is left as it is.
fill_folder() {
  local folder=$1 what=$2 recipe status
  shift 2
  recipe=$(cat "$@" | sha256sum)
  is_ready() { [ "$(cat "$folder/recipe" 2>/dev/null)" = "$recipe" ]; }
  is_ready && return
  mkdir -p "$(dirname "$folder")"
  exec 9>"$folder.lock"
  flock 9
  is_ready && return # somebody else built it while we waited

  say "building $what into $folder"
  work=$folder.work
  rm -rf "$work"
  mkdir -p "$work"
  trap 'rm -rf "$work"' EXIT
  set +e # `if (build_all)` would switch -e off inside
  (
    set -e
    build_all
  ) >"$folder.log" 2>&1
  status=$?
  set -e
  if [ $status -ne 0 ]; then
    tail -n 30 "$folder.log" >&2
    die "building $what failed; the whole log is $folder.log"
  fi
  rm -rf "$folder"
  mv "$work/prefix" "$folder"
  printf '%s\n' "$recipe" >"$folder/recipe"
}
