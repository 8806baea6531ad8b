"use strict";
// Two elements, each with a picture; the first goes away in the middle of playback.
run(async () => {
  const tvs = [addPlugin(), addPlugin()].map((embed) => new Lumivex(embed));
  tvs.forEach(({player}, index) => {
    check(`source ${index}`, player.setDataSource(media("clip.webm")));
    check(`area ${index}`,
      player.setDisplayArea({x: 100 + 900 * index, y: 200, width: 700, height: 420}));
    check(`start ${index}`, player.start());
  });
  let heard = [0, 0];
  tvs.forEach((tv, index) => tv.addEventListener("position", () => { ++heard[index]; }));
  await until("both play", () => heard[0] > 2 && heard[1] > 2);
  check("they do not share", tvs[0].player.pause());
  check("the other plays on", tvs[1].player.getPlaybackSpeed() !== undefined);
  check("resume", tvs[0].player.resume());
  await step("both");
  tvs[0].embed.remove();
  heard = [0, 0];
  await until("the other plays on alone", () => heard[1] > 2);
  check("the removed one is silent", heard[0], 0);
  await step("one");
  tvs[1].embed.remove();
  await step("none");
});
