# Shell functions that `run` and `.ci/run` share. To be sourced.

# The compiler launcher of CMake, where there is one.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
fi

fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# as_root <command>...: asks sudo for a user.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
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

  local missing="missing Debian packages: ${packages[*]}"
  command -v apt-get >/dev/null || fail "$missing"
  [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
    fail "$missing (installing needs root)"
  echo "Installing: ${packages[*]}" >&2
  {
    as_root apt-get update -q &&
      as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qy --no-install-recommends "${packages[@]}"
  } >&2 </dev/null || fail "apt-get could not install them; $missing"
}

# download <package> <directory>: the package, and what it needs and is not
# there. apt-get succeeds without a download if the package is installed and no
# list holds it.
download() {
  rm -rf "$2"
  mkdir -p "$2/partial"
  apt-get install -qqy --no-install-recommends --reinstall --download-only \
    -o Debug::NoLocking=1 -o Dir::Cache::archives="$2" "$1" >&2 </dev/null &&
    compgen -G "$2/*.deb" >/dev/null
}

# unpack <package>...: puts the packages into build/tools. They are not
# installed: they bring services, and some exclude each other. A machine that
# has all its tools may have no list of packages. One run at a time unpacks.
unpack() (
  mkdir -p build
  exec {lock}>build/tools.lock
  flock $lock
  for package in "$@"; do
    [ ! -e "build/tools/$package.unpacked" ] || continue
    echo "Unpacking: $package" >&2
    files=$PWD/build/tools.apt/$package
    download "$package" "$files" 2>/dev/null ||
      { as_root apt-get update -q >&2 </dev/null &&
        download "$package" "$files"; } ||
      fail "apt-get could not download $package"
    for file in "$files"/*.deb; do
      dpkg-deb -x "$file" build/tools
    done
    touch "build/tools/$package.unpacked"
  done
)

build_tools=(g++ cmake ninja=ninja-build)
docs_tools=("${build_tools[@]}" doxygen)

# need_build_tools: what the library needs.
need_build_tools() {
  need "${build_tools[@]}"
}

# need_docs_tools: what the documentation site needs.
need_docs_tools() {
  need "${docs_tools[@]}"
}

# need_test_tools: what the test suite calls.
need_test_tools() {
  need "${docs_tools[@]}" /usr/include/gtest/gtest.h=libgtest-dev git \
    clang++=clang abidiff=abigail-tools pkg-config readelf=binutils \
    /usr/include/fmt/format.h=libfmt-dev \
    dpkg-shlibdeps=dpkg-dev file python3 lnav jq \
    /usr/include/sqlite3.h=libsqlite3-dev lintian
  unpack rsyslog syslog-ng-core logrotate systemd-journal-remote
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
  need "${build_tools[@]}" pkg-config python3 strace valgrind \
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
