"use strict";
// The window closes in the middle of playback, with a tune under way.
run(async () => {
  const tv = new Lumivex(addPlugin());
  let position = -1;
  tv.addEventListener("position", ({detail}) => { position = detail.position; });
  check("source", tv.player.setDataSource(media("clip.webm")));
  check("start", tv.player.start());
  await until("plays", () => position > 0);
  tv.player.setTimedTextSource("\u009b\u202e");
  console.error("\u009b\u202e\nnext line");
  console.warn("careful");
  tv.tuner.setChannelType(0);
  check("tune", tv.tuner.tuneRFChannel(
    {major: 5, minor: 1, programNum: 1, transportStreamID: 4097}));
});
