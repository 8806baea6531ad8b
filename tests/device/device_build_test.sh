#!/usr/bin/env bash
# The build for a device, against an SDK made of the stand-ins: that nothing but the plug-in is
# built, from nothing but the SDK, that the packages hold it alone, and that it runs.
set -euo pipefail

# usage: device_build_test.sh BUILD WORK HOST [CMAKE_OPTION...]
# BUILD is configured with the stand-ins; HOST starts its lumivex-host, and shows how programs for the
# device are started. The options choose the compiler of the device build.
build=$1 work=$2 host=$3
shift 3
options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_UNITY_BUILD=ON "$@")
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
sdk=$work/sdk device=$work/device image=$work/image
export LC_ALL=C.UTF-8 # cpack reads no other characters in a path in "C"

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}
# same WHAT EXPECTED FOUND
same() { [ "$2" = "$3" ] || fail "$1" "--- expected:" "$2" "--- found:" "$3"; }
configure() { cmake -G Ninja -S "$source" -B "${2:-$device}" "${options[@]}" "-DLUMIVEX_PLATFORM_ROOT=$1"; }
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
tr -s ' \n' ' ' <"$work/error.log" | grep -qF "LUMIVEX_PLATFORM_ROOT: \"$work/nowhere\" is not a folder" ||
  fail "$(cat "$work/error.log")"
for lacking in "header ppapi/cpp/module.h" "header CRFManager.h" "header dlog.h" \
  "library pepperplugin" "library rf-manager" "library dlog" "bytes librf-manager.so"; do
  make_sdk "$work/wrong"
  error="The SDK in \"$work/wrong\" lacks the $lacking"
  case $lacking in
    header*) rm "$work/wrong/usr/include/${lacking#* }" ;;
    library*) rm "$work/wrong/usr/lib/lib${lacking#* }.so"* ;;
    bytes*) : >"$work/wrong/usr/lib/${lacking#* }" && error="${lacking#* } is not a library for " ;;
  esac
  configure "$work/wrong" >"$work/error.log" 2>&1 && fail "an SDK without the $lacking is accepted"
  tr -s ' \n' ' ' <"$work/error.log" | grep -qF "$error" ||
    fail "without the $lacking:" "$(cat "$work/error.log")"
done

configure "$sdk" >"$work/configure.log" || fail "$(cat "$work/configure.log")"
cmake --build "$device" >"$work/build.log" || fail "$(cat "$work/build.log")"

# One library and one program among all that the build knows, and nothing from elsewhere.
linked=$(ninja -C "$device" -t targets all | sed -n 's/: .*_\(SHARED_LIBRARY\|MODULE_LIBRARY\|EXECUTABLE\)_LINKER__.*//p' | sort)
same "what is linked" "host/lumivex-host
src/liblumivex-pplugin.so" "$linked"
same "libraries and programs" "./host/lumivex-host
./src/liblumivex-pplugin.so" "$(cd "$device" &&
  find . -path ./CMakeFiles -prune -o -type f \( -name '*.so*' -o -perm /111 \) -print | sort)"
# words COMMAND: of the build's last command, or of those before it, one a line.
words() {
  ninja -C "$device" -t commands src/liblumivex-pplugin.so | "$@" | while IFS= read -r line; do
    eval "printf '%s\n' ${line// && / \'&&\' }"
  done
}
same "folders of headers besides the SDK's" "" "$(words head -n -1 | sed -n 's/^-I//p; /^-isystem$/ { n; p }' |
  sort -u | grep -vxF -e "$source/inc" -e "$source/src/../inc" -e "$sdk/usr/include" || true)"
same "libraries by path" "$(printf '%s\n' "$sdk"/usr/lib/lib{dlog,pepperplugin,rf-manager}.so)" \
  "$(words tail -n 1 | grep -E '^[^-].*/.*\.so[.0-9]*$' | grep -v '^src/' | sort -u)"

# The packages: the library, its debug information, and nothing of the build machine in either.
# pack BUILD: packs what is built there.
pack() { (cd "$1" && cpack -B "$1/packages") >"$work/pack.log" 2>&1 || fail "$(cat "$work/pack.log")"; }
pack "$device"
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
processor=$(sed -n 's/^set(CMAKE_SYSTEM_PROCESSOR "\(.*\)")$/\1/p' "$device"/CMakeFiles/*/CMakeSystem.cmake)
archive=lumivex-pplugin-$version-$processor
deb=$(echo "$device"/packages/lumivex-pplugin_*.deb) debug=$(echo "$device"/packages/lumivex-pplugin-dbgsym_*.deb)
bringup=$(echo "$device"/packages/lumivex-pplugin-bringup_*.deb)
same "packages" "$archive-bringup.tar.gz $archive-debug.tar.gz $archive.tar.gz $(basename "$bringup") \
$(basename "$debug") $(basename "$deb")" \
  "$(cd "$device/packages" && echo *.*)"
packed="lib/liblumivex-pplugin.so
share/doc/lumivex-pplugin/changelog.Debian.gz
share/doc/lumivex-pplugin/copyright
share/lintian/overrides/lumivex-pplugin"
same "files of the archive" "$packed" \
  "$(tar -tf "$device/packages/$archive.tar.gz" | sed -n 's,^\(\./\)\?usr/\(.*[^/]\)$,\2,p' | sort)"
same "files of the package" "$packed" "$(dpkg-deb -c "$deb" | sed -n 's,^-rw-r--r-- root/root .* \./usr/,,p' | sort)"
same "folders of the package" "drwxr-xr-x root/root" "$(dpkg-deb -c "$deb" | awk '/^d/ { print $1, $2 }' | sort -u)"

# The same sources, elsewhere and later, with the SDK elsewhere and for a careful user: the same bytes.
make_sdk "$work/other sdk"
(cd "$work/other sdk/usr" && mv lib lib64 && mkdir lib && : >lib/librf-manager.so) # for two word sizes
(
  umask 077
  options+=(-DLUMIVEX_BRINGUP=OFF) # the one that takes long
  configure "$work/other sdk" "$work/other" && cmake --build "$work/other"
) >"$work/build.log" 2>&1 || fail "$(cat "$work/build.log")"
(umask 077 && pack "$work/other")
same "bytes of the second build" "$(cd "$work/other/packages" && sha256sum -- *.*)" \
  "$(cd "$work/other/packages" && set -- *.* && cd "$device/packages" && sha256sum -- "$@")"
# A library that lacks a symbol.
compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER "\(.*\)")$/\1/p' "$device"/CMakeFiles/*/CMakeCXXCompiler.cmake)
"$compiler" -x c -shared -o "$work/other sdk/usr/lib64/libdlog.so" - <<<"int other;"
cmake --build "$work/other" >"$work/error.log" 2>&1 && fail "an SDK without __dlog_print is accepted"
grep -qF "undefined reference to \`__dlog_print'" "$work/error.log" || fail "$(cat "$work/error.log")"

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
libc=$(readelf -V "$library" | grep -oE 'GLIBC_[0-9.]+' | sed 's/.*_//' | sort -uV | tail -1)
# shellcheck disable=SC2016  # the names of the fields are the tool's
same "control data" "lumivex-pplugin|$version-DATE|$architecture|libc6 (>= $libc), libstdc++6|libs" \
  "$(dpkg-deb -W --showformat='${Package}|${Version}|${Architecture}|${Depends}|${Section}' "$deb" | sed -E 's/-[0-9]{8}\.[0-9]{6}/-DATE/')"
same "the library is stripped" "" "$(readelf -SW "$library" | grep -oE '\.(symtab|debug\w+)' || true)"
[ "$(stat -c %s "$library")" -lt 102400 ] || fail "the library has $(stat -c %s "$library") bytes"

# What the toolchain protects, and where a debugger finds the lines.
same "protection of the stack" "__stack_chk_fail" "$(nm -D "$library" | grep -o '__stack_chk_fail')"
same "relocations" "BIND_NOW NOW GNU_RELRO" "$(readelf -d "$library" | sed -n 's/.*(FLAGS\(_1\)\?) *\(Flags: \)\?//p' | xargs) \
$(readelf -lW "$library" | grep -o GNU_RELRO)"
dpkg-deb -x "$debug" "$image"
id=$(readelf -n "$library" | sed -n 's/.*Build ID: //p')
lines=$image/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug
address=$(nm -D --defined-only "$library" | sed -n 's/ T GetLumivexPlayer.*//p')
case $architecture in amd64)
  objdump -d --start-address="0x$address" --stop-address=$((0x$address + 4)) "$library" | grep -q endbr64 ||
    fail "no control-flow protection"
  ;;
esac
same "line of an entry point" "src/ZunoPlayerAdapter.cpp" \
  "$(addr2line -e "$lines" "0x$address" | sed -E 's,^(build/)?([^:]*):[1-9][0-9]*.*,\2,')"
same "search path" "" "$(dynamic "$library" 'RUNPATH\|RPATH')"
# On ARM the tables by which exceptions pass name the one, the guard of the stack the other.
unwinder= loader=
case $architecture in arm64) ;; arm*) unwinder=" libgcc_s.so.1" loader="ld-linux-armhf.so.3 " ;; esac
[ $architecture != armel ] || loader="ld-linux.so.3 "
same "needed libraries" \
  "${loader}libc.so.6 libdlog.so.0$unwinder libpepperplugin.so librf-manager.so libstdc++.so.6" \
  "$(dynamic "$library" NEEDED | xargs)"
same "exported names" "GetLumivexPlayer _ZN2pp12CreateModuleEv" \
  "$(nm -D --defined-only "$library" | awk '{ print $NF }' | sort | xargs)"
same "names of the build machine" "" "$(strings -n 4 "$library" "$device"/src/*.so | grep -F -e "$source" -e "$work" || true)"

# It plays a script to the end, expectations included, on the libraries of the SDK.
cp -a "$sdk"/usr/lib/* "$image/usr/lib/"
dpkg-deb -x "$bringup" "$image"
same "what the program needs besides the compiler's libraries" "" "$(
  dynamic "$image/usr/libexec/lumivex/lumivex-host" NEEDED | grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux.*)\.so\.' || true)"
own=("$image/usr/libexec/lumivex/lumivex-host" --sysroot "$image" --plugin "$library")
if [ "$(head -c 2 "$host")" = '#!' ]; then # in emulation
  mapfile -t emulator < <(sed -n "s/^exec '\(.*\)' '[^']*' .*/\1/p" "$host" | sed "s/' '/\n/g")
  own=("${emulator[@]}" "${own[@]}")
fi
export LD_LIBRARY_PATH=$image/usr/lib
played=$("${own[@]}" --json "$image/usr/share/lumivex/examples/tuner.jsonl") || fail "the script: status $?"
grep -qF '"RF_INFO_EVENT"' <<<"$played" || fail "the script came to nothing:" "$played"

# What --check says of libraries that are not whole.
# check NAME SOURCE FAILED_LINE (or none): with a library of that name made of SOURCE, none, or one for no processor.
check() {
  rm -f "$image/usr/lib/$1"
  case $2 in
    '') ;;
    ELF) printf '\177ELF\003' >"$image/usr/lib/$1" ;; # of a word size that there is not
    *) "$compiler" -x c -shared -fPIC -w -o "$image/usr/lib/$1" - <<<"$2" ;;
  esac
  local found
  if found=$("${own[@]}" --check 2>&1); then
    [ -z "$3" ] || fail "--check finds nothing wrong:" "$found"
  else
    grep -qE "^FAILED  ${3:-none}" <<<"$found" || fail "--check lacks \"$3\":" "$found"
  fi
}
player=libzuno-player.so tuner=librf-manager.so
object='static long no(void) { return 0; }
static long yes(void) { return 1; }
static void* table[78] = {[0 ... 77] = no};
static void** object = table;
static int (*callback)(int, void*, void*);
static long take(void* self, void* function) { callback = function; return 1; }
static long init(void) { callback(186, 0, 0); return 0; }'
check $player "$object void* Create(void) { table[6] = init; table[52] = yes; table[53] = take; return &object; }" ""
check $player "" "player library: .*$player: cannot open"
check $player "int other;" "player entry: .*undefined symbol: Create"
check $player "void* Create(void) { return 0; }" "player object: Create returns null"
check $player "$object void* Create(void) { return &object; }" "player callbacks: messages refused, positions refused"
check $player "$object void* Create(void) { table[52] = table[53] = yes; return &object; }" "player messages: none"
check $player "int pause(void); void* Create(void) { for (;;) pause(); }" "player object: did not return within 10 s"
check $player "void* Create(void) { __builtin_trap(); }" "player object: crashed"
check $player "void exit(int); void* Create(void) { exit(0); }" "player object: ended the process"
check $player "void* none(void); void* Create(void) { return none(); }" "player library: .*undefined symbol: none"
check $player "$object void* Create(void) { table[27] = yes; return &object; }" "player table: "
check $tuner "int other;" "plug-in: .*undefined symbol: .*CRFManager"
check $tuner "" "plug-in: .*$tuner: cannot open"
check $tuner ELF "plug-in: .*$tuner: "

echo "$(basename "$deb"): $(stat -c %s "$library") bytes of library, $(stat -c %s "$deb") packed"
