#!/bin/sh
# Makes what lumivex-bench-player plays: the media of the examples, and 20 s in further containers.
#
# usage: make-media.sh FOLDER
set -eu
"$(dirname "$0")/../../examples/make-media.sh" "$@"
cd "$1"

# make NAME ELEMENTS...: the file that a pipeline makes, which sends sound to "sound" and ends in a muxer.
make() {
  name=$1
  shift
  [ -e "$name" ] && return
  echo "making $name"
  timeout 120 gst-launch-1.0 -q -e "$@" ! filesink location="$name.unfinished" \
    audiotestsrc num-buffers=1000 samplesperbuffer=960 ! audio/x-raw,rate=48000,channels=2 ! queue ! sound. \
    2>"$name.log" || { cat "$name.log" >&2; exit 1; }
  rm "$name.log"
  mv "$name.unfinished" "$name"
}

# make_film NAME WIDTH HEIGHT BITRATE MUXER
make_film() {
  make "$1" videotestsrc num-buffers=500 pattern=smpte100 \
    ! "video/x-raw,format=I420,width=$2,height=$3,framerate=25/1" ! timeoverlay \
    ! openh264enc gop-size=50 complexity=low bitrate="$4" ! h264parse ! queue ! mux. \
    voaacenc name=sound ! aacparse ! queue ! mux. "$5" name=mux
}

make_film bench.mp4 640 360 600000 mp4mux
make_film bench-1080p.mp4 1920 1080 4000000 mp4mux
make_film bench.ts 640 360 600000 mpegtsmux
make bench.mp3 lamemp3enc name=sound ! xingmux
