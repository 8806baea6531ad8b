#!/bin/sh
# Holds the client's types against right and wrong uses, and the client against the oldest engine
# that it promises.
#
# usage: types_test.sh TSC CLIENT_FOLDER WORK_FOLDER
set -eu
tsc=$1 client=$2 work=$3
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work/node_modules"
ln -s "$client" "$work/node_modules/lumivex"
echo '{"type": "module"}' >"$work/package.json"
cp "$here"/*.ts "$work"
cd "$work"
status=0

# compile FILE OPTION...: complains unless just the errors come that stand in the file.
compile() {
  file=$1
  shift
  awk -F '  // TS' 'NF > 1 { print FILENAME ":" FNR ": error TS" $2 }' "$file" >wanted
  "$tsc" --noEmit --pretty false --skipDefaultLibCheck --target es2017 \
    --strict --exactOptionalPropertyTypes "$@" "$file" >log || true
  sed -n 's/^\([^(]*\)(\([0-9]*\),[0-9]*): \(error TS[0-9]*\):.*/\1:\2: \3/p' log >found
  grep -q . wanted # a file without a wrong use would prove nothing
  diff -u wanted found || {
    cat log
    status=1
  }
}
compile uses.ts --module node16
compile uses.ts --module es2020 --moduleResolution node
compile classic.ts --types lumivex/lumivex.js --typeRoots node_modules --module node16

# ES2017 is what Chromium 64 knows: no library beyond it, and no syntax that has to be rewritten.
for target in es2017 esnext; do
  "$tsc" --allowJs --checkJs --skipDefaultLibCheck --target "$target" --lib es2017,dom \
    --outDir "$target" "$client/lumivex.js" || status=1
done
diff -u es2017/lumivex.js esnext/lumivex.js || status=1
exit $status
