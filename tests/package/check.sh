#!/usr/bin/env bash
# check.sh <step> <directory to work in> <version> <compiler>...:
# builds, installs, packages and uses the library as the documents say.
set -euxo pipefail
work=$2 tree=$2/tree root=$2/root version=$3 start=docs/getting-started.md
export CXX=$4 CMAKE_GENERATOR=Ninja CMAKE_PREFIX_PATH=$2/installed/opt/vellix

# block <document> <heading> <kind>: the first such code below the heading.
block() {
  sed "1,/^#* $2\$/d" "$tree/$1" | sed "1,/^\`\`\`$3\$/d; /^\`\`\`/,\$d"
}

# In a copy of what it takes. The packages go into a root of their own.
build() {
  rm -rf "$work"/{installed,root}
  mkdir -p "$tree" "$root"/var/lib/dpkg/{info,updates,triggers}
  cp -a CMakeLists.txt ./*.md cmake docs examples share vellix "$tree"
  cp /var/lib/dpkg/status "$root/var/lib/dpkg"  # which has what they need
  cd "$tree"
  block README.md "A host" cpp | tee host.cpp "$root/host.cpp"
  bash -ec "$(block README.md "A host" sh)" | grep MG=listening
  DESTDIR=$work/installed bash -ec "$(block $start "Build and install" sh)"
  bash -ec "$(block $start "Debian packages" sh)"
  lintian -I --pedantic --fail-on error,warning,info build/package/*.deb
  dpkg-deb -f build/package/*-dev_*.deb Depends | grep "libvellix1 (= $version-"
  dpkg --root="$root" --force-not-root --unpack build/package/*.deb
  rm "$root"/var/lib/dpkg/info/*.post*  # they call ldconfig
  dpkg --root="$root" --force-not-root --configure libvellix{1,-dev,-doc}
  cd "$root"
  CPATH=usr/include LD_LIBRARY_PATH=$(dirname usr/lib/*/libvellix.so) \
    bash -ec "$(block README.md "A host" sh | tail -n 2)" | grep MG=listening
  cd usr/share/doc/vellix
  ls reference ../../vellix $(grep -oP '\]\((?!http)\K[^)#]+' README.md)
}

# find_package and pkg-config find what was installed, and moved since.
found() {
  CXX=${!#} CMAKE_PREFIX_PATH=$root/usr \
    cmake -S "$root/usr/share/doc/vellix/examples" -B "$work/use"
  cmake --build "$work/use"
  ctest --test-dir "$work/use" --no-tests=error
  cd "$CMAKE_PREFIX_PATH/lib"
  echo "find_package(vellix 1.1 REQUIRED COMPONENTS sockets)" >refused.cmake
  (! cmake -P refused.cmake 2>&1) | grep "nt sockets,"
  block $start "A module" cpp >app.cpp
  for lib in "$PWD" "$root"/usr/lib/*; do
    LD_LIBRARY_PATH=$lib PKG_CONFIG_PATH=$lib/pkgconfig \
      bash -ec "$(block $start "A module" sh)" | grep "Code: 10021013"
  done
}

# A parent project that brings the sources gets the same bytes from elsewhere.
fetched() {
  export CCACHE_DISABLE=1 VELLIX_REPOSITORY=$tree
  export GIT_CONFIG_{COUNT=1,KEY_0=protocol.file.allow,VALUE_0=always}
  cd "$tree"
  git init -q -b "v$version"
  git add CMakeLists.txt cmake vellix
  git -c user.name=vellix -c user.email=@ commit -qm sources --allow-empty
  for recipe in FetchContent "A git submodule"; do
    rm -rf "$work/parent"
    git init -q "$work/parent"
    cd "$work/parent"
    block $start "$recipe" cmake >CMakeLists.txt
    block $start "A module" cpp >app.cpp
    bash -ec "$(block $start "$recipe" sh)"
    cmp "$tree/build/library/libvellix.so" "$(find build -name libvellix.so)"
  done
}

"$1" "${@:4}"
