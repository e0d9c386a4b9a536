#!/usr/bin/env bash
# check.sh <step>: users are built as strangers against what they would get.
# Paths and compilers come from the environment; see CMakeLists.txt.
set -euxo pipefail
here=$(cd "$(dirname "$0")" && pwd)
read -r -a compilers <<<"$COMPILERS"
export CXX=${compilers[0]}

# The library as it is installed and packaged.
build() {
  cmake -S "$SOURCE" -B "$LIBRARY" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr -DVELLIX_BUILD_TESTS=OFF \
    -DVELLIX_BUILD_EXAMPLES=OFF
  cmake --build "$LIBRARY"
  ! command -v doxygen || cmake --build "$LIBRARY" --target vellix_docs
}

# run_users <directory> <library>: both hosts run, and log what they should.
run_users() (
  cd "$1"
  rm -f ./*.log
  ./linked
  grep -q '\[LV=INFO \] \[FR=linked\] \[MG=up\] \[BN=NULL\]' linked.log
  ./host "$2" ./libfirst.so ./libsecond.so
  [ "$(grep -c '\[MG=file_open error: errno: 2 ' host.log)" -eq 3 ]
)

# find_package and pkg-config against an installation that was moved.
found() {
  local moved=$WORK/moved cxx standard users
  rm -rf "$WORK/installed" "$moved"
  cmake --install "$LIBRARY" --prefix "$WORK/installed"
  mv "$WORK/installed" "$moved"
  local library
  library=$(find "$moved" -name libvellix.so.1)
  local pc=${library%/*}/pkgconfig
  export PKG_CONFIG_PATH=$pc

  for cxx in "${compilers[@]}"; do
    for standard in 17 20; do
      users=$WORK/found-${cxx##*/}-$standard
      rm -rf "$users"
      cmake -S "$here/consumer" -B "$users" -G Ninja \
        -DCMAKE_PREFIX_PATH="$moved" -DCMAKE_CXX_COMPILER="$cxx" \
        -DCMAKE_CXX_STANDARD="$standard"
      cmake --build "$users"
      run_users "$users" "$library"

      # The same without CMake.
      rm -f "$users"/{linked,*.so}
      local flags=("-std=c++$standard" -Wall -Wextra -Werror
        "-Wl,-rpath,${library%/*}")
      "$cxx" "${flags[@]}" "$here/consumer/linked.cpp" -o "$users/linked" \
        $(pkg-config --cflags --libs vellix)
      for module in first second; do
        "$cxx" "${flags[@]}" -fPIC -shared "$here/consumer/module.cpp" \
          -o "$users/lib$module.so" \
          $(pkg-config --cflags --libs vellix-toolkit)
      done
      run_users "$users" "$library"
    done
  done

  # A directory given as an absolute path stays where it is.
  cmake -S "$SOURCE" -B "$WORK/absolute" -G Ninja -DVELLIX_BUILD_TESTS=OFF \
    -DVELLIX_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX=/opt/vellix \
    -DCMAKE_INSTALL_LIBDIR=/opt/elsewhere/lib
  PKG_CONFIG_PATH=$WORK/absolute pkg-config --cflags vellix-toolkit |
    grep -qx -- '-I/opt/vellix/include *'
}

# A parent project that brings the sources in. It builds no tests, and the same
# bytes as ours in another directory from another directory.
fetched() {
  local copy=$WORK/copy users=$WORK/fetched built=$WORK/fetched/_deps/vellix-build
  rm -rf "$copy" "$users"
  mkdir "$copy"
  cp -r "$SOURCE"/{CMakeLists.txt,cmake,vellix} "$copy"
  CCACHE_DISABLE=1 cmake -S "$here/consumer" -B "$users" -G Ninja \
    -DCMAKE_BUILD_TYPE=Release -DVELLIX_SOURCE="$copy"
  CCACHE_DISABLE=1 cmake --build "$users"
  run_users "$users" "$built/libvellix.so.1"
  cmp "$LIBRARY/libvellix.so.$VERSION" "$built/libvellix.so.$VERSION"
  cmp "$LIBRARY/libvellix_toolkit.a" "$built/libvellix_toolkit.a"
}

# The Debian packages: what lies where, and what needs what.
debian() {
  rm -rf "$LIBRARY"/*.deb "$WORK"/{runtime,dev,doc,root}
  (cd "$LIBRARY" && cpack)
  dpkg-deb -R "$LIBRARY"/libvellix1_*.deb "$WORK/runtime"
  dpkg-deb -R "$LIBRARY"/libvellix-dev_*.deb "$WORK/dev"
  dpkg-deb -R "$LIBRARY"/libvellix-doc_*_all.deb "$WORK/doc"
  local triplet
  triplet=$(dpkg-architecture -qDEB_HOST_MULTIARCH)

  cp -r "$WORK/runtime/usr" "$WORK/root"
  cd "$WORK/runtime"
  diff <(find usr/lib ! -type d | sort) - <<FILES
usr/lib/$triplet/libvellix.so.1
usr/lib/$triplet/libvellix.so.$VERSION
FILES
  grep -E '^Depends: .*libc6 .*libstdc\+\+6' DEBIAN/control
  grep -x "libvellix 1 libvellix1 (>= $VERSION.*)" DEBIAN/shlibs
  grep -x 'activate-noawait ldconfig' DEBIAN/triggers

  cd "$WORK/dev"
  grep -x "Depends: libvellix1 (= $VERSION-0vellix1)" DEBIAN/control
  [ "$(readlink "usr/lib/$triplet/libvellix.so")" = libvellix.so.1 ]
  ls "usr/lib/$triplet"/{libvellix_toolkit.a,cmake/vellix/vellixConfig.cmake} \
    "usr/lib/$triplet"/pkgconfig/{vellix,vellix-toolkit}.pc
  diff -r "$SOURCE/share/vellix" usr/share/vellix
  cp -r usr/. "$WORK/root"
  PKG_CONFIG_PATH=$WORK/root/lib/$triplet/pkgconfig pkg-config --cflags --libs \
    vellix-toolkit | xargs "$CXX" -std=c++17 -fPIC -shared \
    "$here/consumer/module.cpp" -o "$WORK/root/module.so"

  # No file in two packages.
  [ -z "$(cd "$WORK" && find runtime/usr dev/usr doc/usr ! -type d |
    cut -d/ -f2- | sort | uniq -d)" ]
}

"$@"
