"use strict";
// The test denies the privileges that it names in "denied".
run(() => {
  const tv = new Lumivex(addPlugin());
  const denied = params.get("denied").split(",");
  for (const [module, name, ask] of [
    ["lumivexplayer", "player", () => tv.player.getPlayerVersion()],
    ["lumivexrfmanager", "rf-manager", () => tv.tuner.getRFManagerVersion()]]) {
    let answer;
    try {
      answer = ask();
    } catch ({code, message}) {
      answer = [code, message];
    }
    check(name, answer,
      denied.includes(name) ? [18, `You do not have the ${module} privilege`] : "1.50");
  }
  check("asked under another name", tv.send("page", "HasPlayerPrivilege"),
    !denied.includes("player"));
});
