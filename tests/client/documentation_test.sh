#!/bin/sh
# Runs the page and its test that docs/page-api.md shows, as a reader would.
#
# usage: documentation_test.sh NODE PROJECT_FOLDER WORK_FOLDER
set -eu
rm -rf "$3"
mkdir -p "$3/node_modules"
cd "$3"
ln -s "$2/examples/page" node_modules/lumivex
echo '{"type": "module"}' >package.json
# A block of code that is a file begins with its name.
awk '/^```/ { file = "" }
  file { print > file }
  /^```js/ { getline; if ($0 ~ /^\/\/ film[a-z.]*js:/) { file = $2; sub(":", "", file) } }' \
  "$2/docs/page-api.md"
"$1" --test >log || { cat log; exit 1; }
grep -q '^# pass 2$' log # not an empty run
