"use strict";
// Loads itself again and again in the middle of playback.
const LOADS = 20;
const load = Number(sessionStorage.getItem("load")) + 1;
sessionStorage.setItem("load", load);

run(async () => {
  const tv = new Lumivex(addPlugin());
  let position = -1;
  tv.addEventListener("position", ({detail}) => { position = detail.position; });
  tv.player.setDisplayArea({x: 100, y: 100, width: 700, height: 420});
  check(`source ${load}`, tv.player.setDataSource(media("clip.webm")));
  check(`start ${load}`, tv.player.start());
  await until(`plays ${load}`, () => position > 0);
  if (load === 1 || load > LOADS) {
    await step(`load-${load}`);
  }
  if (load <= LOADS) {
    location.reload();
    await new Promise(() => {});
  }
});
