#!/bin/sh
# Makes the media for the examples and the tests, with Debian's GStreamer: clip.webm, tracks.mkv,
# turned.mp4, cues.srt, cues.vtt and hls/master.m3u8. Existing files stay; each file gets its name only
# when it is complete.
#
# usage: make-media.sh FOLDER
set -eu

if [ $# -ne 1 ]; then
  echo "usage: $0 FOLDER" >&2
  exit 64
fi
command -v gst-launch-1.0 >/dev/null || {
  echo "$0: gst-launch-1.0 is missing (Debian package gstreamer1.0-tools)" >&2
  exit 1
}
mkdir -p "$1"
cd "$1"
unfinished=$(mktemp -d ./.unfinished.XXXXXX)
trap 'rm -rf "$unfinished"' EXIT
trap 'exit 1' HUP INT TERM

# Runs a pipeline, showing standard error only on failure because encoders are noisy. Each takes a few
# seconds, so one that hangs is an error.
launch() {
  timeout 120 gst-launch-1.0 -q -e "$@" 2>"$unfinished/log" || {
    cat "$unfinished/log" >&2
    exit 1
  }
}

# make NAME ELEMENTS...: makes a file with a pipeline.
make() {
  name=$1
  shift
  [ -e "$name" ] && return
  echo "making $name"
  launch "$@" filesink location="$unfinished/$name"
  mv "$unfinished/$name" "$name"
}

# 20 s of colour bars (the upper two thirds hold white, yellow, cyan, green, magenta, red and blue
# columns of equal width) with the running time, a keyframe every second, and a 440 Hz tone.
make clip.webm \
  videotestsrc num-buffers=500 pattern=smpte100 \
  ! video/x-raw,format=I420,width=640,height=360,framerate=25/1 \
  ! timeoverlay halignment=center valignment=bottom \
  ! vp8enc deadline=1 cpu-used=8 threads=2 target-bitrate=400000 keyframe-max-dist=25 \
  ! queue ! mux. \
  audiotestsrc num-buffers=1000 samplesperbuffer=960 wave=sine freq=440 volume=0.3 \
  ! audio/x-raw,rate=48000,channels=2 ! audioconvert ! vorbisenc ! queue ! mux. \
  webmmux name=mux !

if [ ! -e cues.srt ]; then
  cat >"$unfinished/cues.srt" <<'CUES'
1
00:00:01,000 --> 00:00:02,500
First cue

2
00:00:03,000 --> 00:00:05,000
<i>Second</i> cue,
on two lines

3
00:00:06,000 --> 00:00:12,000
A long third cue

4
00:00:13,000 --> 00:00:14,000
Fish &amp; chips
CUES
  mv "$unfinished/cues.srt" cues.srt
fi

if [ ! -e cues.vtt ]; then
  cat >"$unfinished/cues.vtt" <<'CUES'
WEBVTT

NOTE a comment is not a cue

one
00:01.000 --> 00:02.500 align:start
First cue

00:03.000 --> 00:05.000
<v Speaker>Second</v> cue,
on two lines

00:00:06.000 --> 00:00:12.000
A long third cue

00:13.000 --> 00:14.000
Fish &amp; chips
CUES
  mv "$unfinished/cues.vtt" cues.vtt
fi

# 20 s with two languages, told apart by their tones, and with the cues as a text track.
make tracks.mkv \
  videotestsrc num-buffers=500 pattern=smpte100 \
  ! video/x-raw,format=I420,width=320,height=240,framerate=25/1 \
  ! vp8enc deadline=1 cpu-used=8 threads=2 target-bitrate=200000 keyframe-max-dist=25 \
  ! queue ! mux. \
  audiotestsrc num-buffers=1000 samplesperbuffer=960 wave=sine freq=440 volume=0.3 \
  ! audio/x-raw,rate=48000,channels=1 ! audioconvert ! vorbisenc \
  ! taginject tags="language-code=eng,title=English" ! queue ! mux. \
  audiotestsrc num-buffers=1000 samplesperbuffer=960 wave=sine freq=1000 volume=0.3 \
  ! audio/x-raw,rate=48000,channels=1 ! audioconvert ! vorbisenc \
  ! taginject tags="language-code=deu,title=Deutsch" ! queue ! mux. \
  filesrc location=cues.srt ! subparse ! text/x-raw,format=utf8 \
  ! taginject tags="language-code=eng" ! queue ! mux. \
  matroskamux name=mux !

# 2 s for display after a rotation, with pixels twice as wide as high. The muxer cannot write the
# rotation, so the header's matrix is overwritten.
if [ ! -e turned.mp4 ]; then
  make untold.mp4 \
    videotestsrc num-buffers=50 pattern=smpte100 \
    ! video/x-raw,format=I420,width=320,height=240,framerate=25/1,pixel-aspect-ratio=2/1 \
    ! openh264enc bitrate=100000 rate-control=bitrate complexity=low ! h264parse ! mp4mux !
  header=$(grep -abo tkhd untold.mp4 | cut -d: -f1)
  printf '\000\000\000\000\000\001\000\000\000\000\000\000\377\377\000\000\000\000\000\000\000\000\000\000' |
    dd of=untold.mp4 bs=1 seek=$((header + 44)) conv=notrunc status=none
  mv untold.mp4 turned.mp4
fi

# variant NAME WIDTH HEIGHT BITS: 12 s in segments of 2 s.
variant() {
  mkdir -p "$unfinished/hls/$1"
  launch \
    videotestsrc num-buffers=300 pattern=smpte100 \
    ! "video/x-raw,format=I420,width=$2,height=$3,framerate=25/1" \
    ! openh264enc bitrate="$4" rate-control=bitrate gop-size=50 complexity=low \
    ! h264parse config-interval=-1 ! queue ! mux. \
    audiotestsrc num-buffers=600 samplesperbuffer=960 wave=sine freq=440 volume=0.3 \
    ! audio/x-raw,rate=48000,channels=2 ! voaacenc bitrate=64000 ! aacparse ! queue ! mux. \
    mpegtsmux name=mux ! hlssink target-duration=2 playlist-length=0 max-files=0 \
    location="$unfinished/hls/$1/%03d.ts" playlist-location="$unfinished/hls/$1/index.m3u8"
}

if [ ! -e hls ]; then
  echo "making hls"
  variant low 320 180 150000
  variant middle 480 270 300000
  variant high 640 360 600000
  cat >"$unfinished/hls/master.m3u8" <<'PLAYLIST'
#EXTM3U
#EXT-X-VERSION:3
#EXT-X-STREAM-INF:BANDWIDTH=450000,AVERAGE-BANDWIDTH=400000,CODECS="avc1.42c01e,mp4a.40.2",RESOLUTION=480x270
middle/index.m3u8
#EXT-X-STREAM-INF:BANDWIDTH=250000,CODECS="avc1.42c01e,mp4a.40.2",RESOLUTION=320x180
low/index.m3u8
#EXT-X-STREAM-INF:RESOLUTION=640x360,CODECS="avc1.42c01e,mp4a.40.2",BANDWIDTH=850000
high/index.m3u8
PLAYLIST
  mv "$unfinished/hls" hls
fi
