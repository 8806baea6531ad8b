"use strict";
// A clip from its source to its end, and the tuner.
run(async () => {
  const tv = new Lumivex(addPlugin());
  const {player, tuner} = tv;
  const {AUDIO} = Lumivex.TrackType;
  let positions = [];
  const cues = [];
  const sizes = [];
  let ended = false;
  tv.addEventListener("position", ({detail}) =>
    positions.push({media: detail.position, clock: performance.now()}));
  tv.addEventListener("timedtext", ({detail}) => cues.push(detail.text));
  tv.addEventListener("resolution", ({detail}) => sizes.push(detail));
  tv.addEventListener("info", ({detail}) => { ended = ended || detail.type === 5; });

  check("source", player.setDataSource(media("tracks.mkv")));
  check("start", player.start());
  check("duration", Math.abs(player.getDuration() - 20000) < 200);
  check("size", [player.getVideoWidth(), player.getVideoHeight()], [320, 240]);
  await until("positions come", () => positions.length >= 6);
  const [first, last] = [positions[1], positions[positions.length - 1]];
  const pace = (last.media - first.media) / (last.clock - first.clock);
  check(`the position keeps pace with the clock (${pace})`, pace > 0.7 && pace < 1.3);
  check("size is told", sizes[0], {width: 320, height: 240});

  check("seek", player.seekTo(9000));
  positions = [];
  await until("positions come after the seek", () => positions.length >= 2);
  check(`the seek lands (${positions[0] && positions[0].media})`,
    positions[0].media >= 8900 && positions[0].media < 11000);

  check("audio tracks", player.getNumOfTracks(AUDIO), 2);
  check("languages", [0, 1].map((index) => player.getTrackLanguageCode(AUDIO, index)),
    ["eng", "deu"]);
  check("other audio", player.selectTrack(AUDIO, 1));
  await until("other audio is selected", () => player.getSelectedTrack(AUDIO) === 1);
  check("no such audio", player.selectTrack(AUDIO, 2), false);

  check("timed text", player.setTimedTextSource(media("cues.srt")));
  check("seek before a cue", player.seekTo(12500));
  await until("the cue comes", () => cues.includes("Fish & chips"));

  check("pause", player.pause());
  const paused = player.getCurrentPosition();
  await sleep(600);
  check("the position stands", player.getCurrentPosition(), paused);
  check("resume", player.resume());
  check("fast", player.setPlaybackSpeed(2));
  check("seek before the end", player.seekTo(18500));
  await until("the end is told", () => ended);
  check("stop", player.stop());

  let tuned = 0;
  tv.addEventListener("tuned", () => { ++tuned; });
  const channel = {major: 5, minor: 1, programNum: 1, transportStreamID: 4097};
  check("channel type", tuner.setChannelType(0));
  check("tune", tuner.tuneRFChannel(channel));
  await until("the tune is told", () => tuned === 1);
  check("broadcast languages", [0, 1].map((index) => tuner.getRFTrackLanguageCode(2, index)),
    ["eng", "spa"]);
  check("no such channel", tuner.tuneRFChannel({...channel, major: 77}), false);
});
