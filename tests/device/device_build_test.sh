#!/usr/bin/env bash
# The build for a device, against an SDK made of the stand-ins: that nothing but the plug-in is
# built, from nothing but the SDK, that the packages hold it alone, and that it runs.
set -euo pipefail

usage="usage: $0 BUILD WORK HOST [CMAKE_OPTION...]
BUILD is a configured build with the stand-ins, WORK a folder to work in, HOST starts lumivex-host;
the options choose the compiler of the device build."
[ $# -ge 3 ] || {
  echo "$usage" >&2
  exit 64
}
build=$1 work=$2 host=$3
shift 3
options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr "$@")
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
sdk=$work/sdk device=$work/device image=$work/image
export LC_ALL=C

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}
# same WHAT EXPECTED FOUND
same() { [ "$2" = "$3" ] || fail "$1" "--- expected:" "$2" "--- found:" "$3"; }
configure() { cmake -G Ninja -S "$source" -B "$device" "${options[@]}" "-DLUMIVEX_PLATFORM_ROOT=$1"; }
make_sdk() {
  rm -rf "$1"
  cmake --install "$build" --component sdk --prefix "$1/usr" >/dev/null
}
# Fields of the library's dynamic section, by tag.
dynamic() { readelf -d "$1" | sed -n "s/.*($2).*\[\(.*\)\]/\1/p" | sort; }

rm -rf "$work"
mkdir -p "$work"
make_sdk "$sdk"

# A wrong SDK is refused with the reason, while a whole one stands where CMake looks for packages.
# The folder of the build stays the same, so that what was found in one SDK would show if it were
# kept for the next.
export CMAKE_PREFIX_PATH=$sdk/usr
configure "$sdk" >"$work/configure.log" || fail "$(cat "$work/configure.log")"
configure "$work/nowhere" >"$work/error.log" 2>&1 && fail "an SDK that is no folder is accepted"
tr -s ' \n' ' ' <"$work/error.log" | grep -qF "\"$work/nowhere\", which is no folder" ||
  fail "$(cat "$work/error.log")"
for lacking in "header ppapi/cpp/module.h" "header CRFManager.h" "header dlog.h" \
  "library pepperplugin" "library rf-manager" "library dlog"; do
  make_sdk "$work/wrong"
  case $lacking in
    header*) rm "$work/wrong/usr/include/${lacking#* }" ;;
    *) rm "$work/wrong/usr/lib/lib${lacking#* }.so"* ;;
  esac
  configure "$work/wrong" >"$work/error.log" 2>&1 && fail "an SDK without the $lacking is accepted"
  tr -s ' \n' ' ' <"$work/error.log" | grep -qF "The SDK in \"$work/wrong\" lacks the $lacking" ||
    fail "without the $lacking:" "$(cat "$work/error.log")"
done

configure "$sdk" >"$work/configure.log" || fail "$(cat "$work/configure.log")"
cmake --build "$device" >"$work/build.log" || fail "$(cat "$work/build.log")"

# One library among all that the build knows, one among the files, and nothing from elsewhere.
linked=$(ninja -C "$device" -t targets all | sed -n 's/: .*_LINKER__.*//p')
same "what is linked" "src/liblumivex-pplugin.so" "$linked"
same "libraries and programs" "./src/liblumivex-pplugin.so" "$(cd "$device" &&
  find . -path ./CMakeFiles -prune -o -type f \( -name '*.so*' -o -name '*.a' -o -perm /111 \) -print)"
elsewhere=$(grep -oE -- '(-I|-isystem )[^ "]+' "$device/compile_commands.json" | sort -u |
  sed -E 's/^(-I|-isystem )//' |
  grep -vxF -e "$source/inc" -e "$source/src/../inc" -e "$sdk/usr/include" || true)
same "folders of headers besides the SDK's" "" "$elsewhere"
same "libraries by path" "$sdk/usr/lib/libdlog.so $sdk/usr/lib/libpepperplugin.so $sdk/usr/lib/librf-manager.so" \
  "$(ninja -C "$device" -t commands src/liblumivex-pplugin.so | tail -1 |
    grep -oE ' [^ ]*/[^ ]*\.so[.0-9]*' | grep -v ' src/' | sort -u | xargs)"

# The packages: one file, nothing of the build machine in it, and what the image has to know.
(cd "$device" && cpack -B "$work/packages") >"$work/pack.log" 2>&1 || fail "$(cat "$work/pack.log")"
deb=$(echo "$work"/packages/*.deb) archive=$(echo "$work"/packages/*.tar.gz)
same "packages" 2 "$(find "$work/packages" -maxdepth 1 -type f | wc -l)"
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
processor=$(sed -n 's/^set(CMAKE_SYSTEM_PROCESSOR "\(.*\)")$/\1/p' "$device"/CMakeFiles/*/CMakeSystem.cmake)
same "name of the archive" "lumivex-pplugin-$version-$processor.tar.gz" "$(basename "$archive")"
same "files of the archive" "usr/lib/liblumivex-pplugin.so" \
  "$(tar -tf "$archive" | grep -v '/$' | sed 's,^\./,,')"
same "files of the package" "-rw-r--r-- root/root ./usr/lib/liblumivex-pplugin.so" \
  "$(dpkg-deb -c "$deb" | awk '!/^d/ { print $1, $2, $NF }')"
mkdir -p "$image"
dpkg-deb -x "$deb" "$image"
library=$image/usr/lib/liblumivex-pplugin.so
case $(readelf -h "$library" | sed -n 's/ *Machine: *//p') in
  *X86-64) architecture=amd64 ;;
  AArch64) architecture=arm64 ;;
  ARM)
    readelf -A "$library" | grep -q 'Tag_ABI_VFP_args: VFP registers' && architecture=armhf ||
      architecture=armel
    ;;
  *) architecture=unknown ;;
esac
# shellcheck disable=SC2016  # the names of the fields are the tool's
same "control data" "lumivex-pplugin|$version|$architecture|libc6, libstdc++6|libs" \
  "$(dpkg-deb -W --showformat='${Package}|${Version}|${Architecture}|${Depends}|${Section}' "$deb")"
same "name of the package" "lumivex-pplugin_${version}_$architecture.deb" "$(basename "$deb")"
same "the library is stripped" "" "$(readelf -SW "$library" | grep -oE '\.(symtab|debug\w+)' || true)"
same "search path" "" "$(dynamic "$library" 'RUNPATH\|RPATH')"
unwinder= # on ARM the tables by which exceptions pass name it; it comes with libstdc++
case $architecture in arm64) ;; arm*) unwinder=" libgcc_s.so.1" ;; esac
same "needed libraries" \
  "libc.so.6 libdlog.so.0$unwinder libpepperplugin.so librf-manager.so libstdc++.so.6" \
  "$(dynamic "$library" NEEDED | xargs)"
same "exported names" "GetLumivexPlayer _ZN2pp12CreateModuleEv" \
  "$(nm -D --defined-only "$library" | awk '{ print $NF }' | sort | xargs)"
same "names of the build machine" "" "$(strings -n 4 "$library" | grep -F -e "$source" -e "$work" || true)"

# It plays a script as the plug-in of the build with the stand-ins does, on the libraries of the SDK.
play() { "$host" --json "$@" "$source/examples/tuner.jsonl" || fail "lumivex-host $*: status $?"; }
cp -a "$sdk"/usr/lib/* "$image/usr/lib/"
expected=$(play)
same "what the page sees" "$expected" "$(LD_LIBRARY_PATH=$image/usr/lib play --plugin "$library" --sysroot "$image")"
grep -qF '"RF_INFO_EVENT"' <<<"$expected" || fail "the script came to nothing:" "$expected"

echo "$(basename "$deb"): $(stat -c %s "$library") bytes of library, $(stat -c %s "$deb") packed"
