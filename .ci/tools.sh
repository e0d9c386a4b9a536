# Shell functions that `run` and `.ci/run` share. To be sourced.

# The compiler launcher of CMake, where there is one.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# need <command or file>[=<package>]...: installs the Debian packages of what
# is not there. A file is an absolute path and may be a pattern; a package
# defaults to the command.
need() {
  local item packages=()
  for item in "$@"; do
    case $item in
      /*) compgen -G "${item%%=*}" ;;
      *) command -v "${item%%=*}" ;;
    esac >/dev/null || packages+=("${item#*=}")
  done
  [ ${#packages[@]} -gt 0 ] || return 0

  local as_root=() advice="Install them, then call again: ${packages[*]}"
  command -v apt-get >/dev/null || fail "apt-get is missing. $advice"
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || fail "needs root or sudo. $advice"
    as_root=(sudo)
  fi
  echo "Installing: ${packages[*]}" >&2
  {
    "${as_root[@]}" apt-get update -q &&
      "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qy --no-install-recommends "${packages[@]}"
  } >&2 </dev/null || fail "apt-get could not install them. $advice"
}

# need_build_tools: what every preset needs.
need_build_tools() {
  need g++ cmake ninja=ninja-build \
    /usr/include/gtest/gtest.h=libgtest-dev
}

# need_test_tools: what the test suite calls.
need_test_tools() {
  need_build_tools
  need clang++=clang abidiff=abigail-tools pkg-config readelf=binutils \
    /usr/include/fmt/format.h=libfmt-dev \
    dpkg-shlibdeps=dpkg-dev file python3 lnav \
    lognormalizer=liblognorm-utils doxygen \
    /usr/include/sqlite3.h=libsqlite3-dev
}

# need_cross_tools <processor of a toolchain>...: what cross builds call.
need_cross_tools() {
  local processor triplet items=(dpkg-architecture=dpkg-dev file
    /usr/src/googletest/CMakeLists.txt=googletest)
  for processor in "$@"; do
    triplet=$processor-linux-gnu
    case $processor in
      arm) triplet+=eabihf ;;
      i686) items+=(/usr/lib32/libstdc++.so.6=lib32stdc++6) ;;
    esac
    items+=("$triplet-g++=g++-$triplet")
  done
  need qemu-s390x=qemu-user "${items[@]}"
}

# need_bench_tools: what the benchmarks call. Peers are measured if they are
# there.
need_bench_tools() {
  need g++ cmake ninja=ninja-build pkg-config python3 strace valgrind \
    /usr/include/benchmark/benchmark.h=libbenchmark-dev
}

# need_peers: what the benchmarks compare with.
need_peers() {
  need /usr/include/absl/strings/escaping.h=libabsl-dev \
    /usr/include/boost/version.hpp=libboost-dev \
    /usr/include/event2/buffer.h=libevent-dev \
    /usr/include/glib-2.0/glib.h=libglib2.0-dev \
    /usr/include/openssl/evp.h=libssl-dev \
    /usr/include/spdlog/spdlog.h=libspdlog-dev
}

# build <preset> [target...]
build() {
  local preset=$1
  shift
  cmake --preset "$preset" &&
    cmake --build --preset "$preset" ${1:+--target "$@"}
}
