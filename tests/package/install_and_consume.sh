#!/usr/bin/env bash
# Installs the build into a scratch prefix, then configures, builds and runs
# a host that knows the library only through its installed CMake package.
set -euo pipefail
build="$1"; consumer="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/build" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib" QT_QPA_PLATFORM=offscreen "$work/build/consumer"
echo "installed package consumed"
# The installed program finds its libraries from wherever the prefix is.
env -u LD_LIBRARY_PATH "$work/prefix/bin/zorvane-stats" settings --help >/dev/null
echo "installed program runs from its prefix"
