#!/usr/bin/env bash
# check.sh <step> <directory of the Release build> <version> <compiler>...:
# builds users of the library against what is installed.
set -euxo pipefail
source=$PWD step=$1 library=$2 version=$3
shift 3
compilers=("$@") work=$(dirname "$library")
export CXX=$1
users=(vellix_demo_host vellix_demo_stream vellix_plugin_host)

# run_users <directory>: they check that hosts and modules share log and record.
run_users() {
  cmake --build "$1" --target "${users[@]}"
  ctest --test-dir "$1" -R 'demo_|plugin' --no-tests=error
}

# The library as it is installed and packaged.
build() {
  cmake -S "$source" -B "$library" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr -DVELLIX_BUILD_TESTS=OFF \
    -DVELLIX_BUILD_EXAMPLES=OFF
  cmake --build "$library"
  cmake --build "$library" --target vellix_docs
}

# find_package and pkg-config against an installation that was moved.
found() {
  rm -rf "$work"/{installed,moved,found-*}
  cmake --install "$library" --prefix "$work/installed"
  mv "$work/installed" "$work/moved"
  for cxx in "${compilers[@]}"; do
    cmake -S "$source/examples" -B "$work/found-${cxx##*/}" -G Ninja \
      -DCMAKE_PREFIX_PATH="$work/moved" -DCMAKE_CXX_COMPILER="$cxx"
    run_users "$work/found-${cxx##*/}"
  done
  export PKG_CONFIG_PATH=$(dirname "$(find "$work/moved" -name vellix.pc)")
  $CXX -std=c++20 -Wall -Werror "$source/examples/read_failures.cpp" \
    -o "$work/by-pkg-config" $(pkg-config --cflags --libs vellix-toolkit) \
    -Wl,-rpath,"$(dirname "$PKG_CONFIG_PATH")"
  (cd "$work" && ./by-pkg-config)
}

# A parent project that brings the sources gets the same bytes from elsewhere.
fetched() {
  rm -rf "$work"/{copy,fetched}
  mkdir "$work/copy"
  cp -r "$source"/{CMakeLists.txt,cmake,vellix} "$work/copy"
  CCACHE_DISABLE=1 cmake -S "$source/examples" -B "$work/fetched" -G Ninja \
    -DCMAKE_BUILD_TYPE=Release -DVELLIX_SOURCE="$work/copy"
  CCACHE_DISABLE=1 run_users "$work/fetched"
  local built=$work/fetched/_deps/vellix-build
  cmp "$library/libvellix.so.$version" "$built/libvellix.so.$version"
  cmp "$library/libvellix_toolkit.a" "$built/libvellix_toolkit.a"
}

# The Debian packages: what lies where, what needs what, and no file twice.
debian() {
  rm -rf "$library"/*.deb "$work/packages"
  (cd "$library" && cpack)
  mkdir "$work/packages"
  for package in libvellix1 libvellix-dev libvellix-doc; do
    dpkg-deb -R "$library/$package"_*.deb "$work/packages/$package"
  done
  cd "$work/packages"
  local lib
  lib=usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
  [ "$(cd libvellix1 && find usr/lib ! -type d | wc -l)" = 2 ]
  [ "$(readlink "libvellix-dev/$lib/libvellix.so")" = libvellix.so.1 ]
  ls "libvellix1/$lib/libvellix.so.$version" \
    "libvellix-dev/$lib"/{libvellix_toolkit.a,cmake/vellix/vellixConfig.cmake}
  grep -E '^Depends: .*libc6 .*libstdc\+\+6' libvellix1/DEBIAN/control
  grep -x "libvellix 1 libvellix1 (>= $version.*)" libvellix1/DEBIAN/shlibs
  grep "^Depends: libvellix1 (= $version-" libvellix-dev/DEBIAN/control
  diff -r "$source/share/vellix" libvellix-dev/usr/share/vellix
  [ -z "$(find . -path './*/usr/*' ! -type d | cut -d/ -f3- | sort | uniq -d)" ]
}

"$step"
