// The same for a classic script, which has the client as global names and imports nothing.
const page = new Lumivex(document.getElementsByTagName("embed")[0]);
const track: import("lumivex").TrackType = Lumivex.TrackType.AUDIO;
page.player.selectTrack(track, 0) && page.send("lumivexplayer", "Start");
page.player.selectTrack(track, "0");  // TS2345
page.addEventListener("positon", () => {});  // TS2345
const failure: LumivexError | null = null;
