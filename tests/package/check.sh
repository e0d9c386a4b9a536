#!/usr/bin/env bash
# check.sh <step> <directory to work in> <version> <compiler>...:
# builds users of the library against what is installed.
set -euxo pipefail
source=$PWD work=$2 library=$2/library version=$3
export CXX=$4 CMAKE_GENERATOR=Ninja

# use <directory> <option of cmake>...: hosts and modules share log and record.
use() {
  cmake -S "$source/examples" -B "$@"
  cmake --build "$1" --target vellix_demo_{host,stream} vellix_plugin_host
  ctest --test-dir "$1" -R 'demo_|plugin' --no-tests=error
}

# The library as it is installed and packaged.
build() {
  cmake -S "$source" -B "$library" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr -DVELLIX_BUILD_{TESTS,EXAMPLES}=OFF
  cmake --build "$library" --target all vellix_docs
}

# find_package and pkg-config against an installation that was moved.
found() {
  rm -rf "$work"/{installed,moved,found-*}
  cmake --install "$library" --prefix "$work/installed"
  mv "$work/installed" "$work/moved"
  for CXX in "$@"; do
    use "$work/found-${CXX##*/}" -DCMAKE_PREFIX_PATH="$work/moved"
  done
  export PKG_CONFIG_PATH=$(dirname "$(find "$work/moved" -name vellix.pc)")
  $CXX -std=c++20 -Wall -Werror "$source/examples/read_failures.cpp" \
    -o "$work/by-pkg-config" $(pkg-config --cflags --libs vellix-toolkit)
  (cd "$work" && LD_LIBRARY_PATH=$PKG_CONFIG_PATH/.. ./by-pkg-config)
}

# A parent project that brings the sources gets the same bytes from elsewhere.
fetched() {
  rm -rf "$work"/{copy,fetched}
  mkdir "$work/copy"
  cp -r "$source"/{CMakeLists.txt,cmake,vellix} "$work/copy"
  CCACHE_DISABLE=1 use "$work/fetched" -DVELLIX_SOURCE="$work/copy" \
    -DCMAKE_BUILD_TYPE=Release
  diff "$library/libvellix.so" "$work/fetched/_deps/vellix-build"
  diff "$library/libvellix_toolkit.a" "$work/fetched/_deps/vellix-build"
}

# The Debian packages: what lies where, what needs what, and no file twice.
debian() {
  rm -rf "$library"/*.deb "$work/packages"
  (cd "$library" && cpack)
  mkdir "$work/packages"
  cd "$work/packages"
  for package in libvellix1 libvellix-dev libvellix-doc; do
    dpkg-deb -R "$library/$package"_*.deb $package
  done
  lib=usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
  [ "$(cd libvellix1 && find usr/lib ! -type d | wc -l)" = 2 ]
  [ "$(readlink "libvellix-dev/$lib/libvellix.so")" = libvellix.so.1 ]
  ls libvellix1/$lib/libvellix.so.$version \
    libvellix-dev/$lib/{libvellix_toolkit.a,cmake/vellix/vellixConfig.cmake}
  grep -E '^Depends: .*libc6 .*libstdc\+\+6' libvellix1/DEBIAN/control
  grep -x "libvellix 1 libvellix1 (>= $version.*)" libvellix1/DEBIAN/shlibs
  grep "^Depends: libvellix1 (= $version-" libvellix-dev/DEBIAN/control
  diff -r "$source/share/vellix" libvellix-dev/usr/share/vellix
  [ -z "$(find . -path './*/usr/*' ! -type d | cut -d/ -f3- | sort | uniq -d)" ]
}

"$1" "${@:4}"
