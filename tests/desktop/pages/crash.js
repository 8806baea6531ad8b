"use strict";
// The test kills the plug-in's process.
run(async () => {
  const tv = new Lumivex(addPlugin());
  check("alive", tv.player.getPlayerVersion(), "1.50");
  check("source", tv.player.setDataSource(media("clip.webm")));
  check("start", tv.player.start());
  await step("kill");
  let error = null;
  await until("the page is told", () => {
    try {
      tv.player.getPlayerVersion();
    } catch (thrown) {
      error = thrown;
    }
    return error;
  });
  check("as an error of the client", [error.code, error.name], [-1, "PluginError"]);
  // A new element starts the plug-in again.
  tv.embed.remove();
  check("alive again", new Lumivex(addPlugin()).player.getPlayerVersion(), "1.50");
});
