"use strict";
// Where the picture is; the test looks at the screen.
run(async () => {
  const {player} = new Lumivex(addPlugin());
  await step("empty");
  check("area before the start", player.setDisplayArea({x: 140, y: 100, width: 700, height: 420}));
  check("source", player.setDataSource(media("clip.webm")));
  check("start", player.start());
  await step("first");
  check("area while playing", player.setDisplayArea({x: 900, y: 400, width: 840, height: 480}));
  await step("second");
  check("pause", player.pause());
  check("area while paused", player.setDisplayArea({x: 300, y: 500, width: 700, height: 420}));
  await step("third");
  check("shape kept",
    player.setDisplayArea({x: 100, y: 100, width: 700, height: 700, scalingMode: 0}));
  await step("fourth");
  check("stop", player.stop());
  await step("stopped");
});
