// Uses of the client, right and wrong. A line that ends in an error's number has to fail with this
// error and no other; all the other lines have to pass.
import {Lumivex, LumivexError, type CommandName} from "lumivex";
import {FakePlugin} from "lumivex/fake";

declare const element: HTMLEmbedElement;
const tv = new Lumivex(element);

// Elements.
new Lumivex(document.querySelector("embed"));  // TS2345
new Lumivex(document.createElement("object"));  // TS2345
const target: EventTarget = tv;

// Functions.
let done: boolean = tv.player.setDataSource("a") && tv.player.setDataSource("a", 5);
done = tv.player.start() && tv.player.seekTo(9) && tv.player.selectTrack(2, 0);
done = tv.player.setDRMProperty(Lumivex.DrmProperty.COOKIE, "a");
done = tv.player.setDisplayArea({x: 1, y: 2, width: 3, height: 4});
done = tv.tuner.tuneRFChannel({major: 1, minor: 2, programNum: 3, transportStreamID: 4});
done = tv.tuner.setRFSubtitleStatus(true) && tv.tuner.selectRFTrack(Lumivex.TrackType.AUDIO, 1);
const language: string | null = tv.player.getTrackLanguageCode(2, 0);
const status: boolean | -1 = tv.tuner.getRFSubtitleStatus();
tv.player.strat();  // TS2551
tv.player.tuneRFChannel({major: 1, minor: 2, programNum: 3, transportStreamID: 4});  // TS2339
tv.player.start(1);  // TS2554
tv.player.seekTo();  // TS2554
tv.player.seekTo("9");  // TS2345
tv.player.setDataSource("a", "5");  // TS2345
tv.player.selectTrack(5, 0);  // TS2345
tv.player.selectTrack(2);  // TS2554
tv.player.setDRMProperty("a", 3);  // TS2345
tv.player.setDisplayArea({x: 1, y: 2, width: 3});  // TS2345
tv.player.setDisplayArea({x: 1, y: 2, width: 3, height: 4, scalingMode: 2});  // TS2322
tv.player.setDisplayArea({x: 1, y: 2, width: 3, height: 4, scaling: 0});  // TS2345
tv.tuner.getNumOfRFTracks(Lumivex.TrackType.VIDEO);  // TS2345
tv.tuner.tuneRFChannel({major: 1, minor: 2, programNum: 3});  // TS2345
const text: string = tv.player.getTrackLanguageCode(2, 0);  // TS2322
const shown: boolean = tv.tuner.getRFSubtitleStatus();  // TS2322

// Commands by name.
done = tv.send("lumivexplayer", "Start") && tv.send("lumivexplayer", "Start", {});
done = tv.send("lumivexplayer", "SetDataSource", {url: "a", timeOffset: undefined});
done = tv.send("lumivexrfmanager", "SetChannelType", {channelType: 1});
const count: number = tv.send("lumivexplayer", "GetNumOfTracks", {trackType: 1});
declare const plain: "Pause" | "Resume";
done = tv.send("lumivexplayer", plain);
tv.send("lumivexplayer", "start");  // TS2345
tv.send("lumivexrfmanager", "Start");  // TS2345
tv.send("lumivexplayer", "SetChannelType", {channelType: 1});  // TS2345
tv.send("player", "Start");  // TS2345
tv.send("lumivexplayer", "Start", {msec: 1});  // TS2322
tv.send("lumivexplayer", "SeekTo");  // TS2554
tv.send("lumivexplayer", "SeekTo", {});  // TS2345
tv.send("lumivexplayer", "SeekTo", {msec: "1"});  // TS2322
tv.send("lumivexplayer", "SeekTo", {ms: 1});  // TS2345
tv.send("lumivexplayer", "SeekTo", {msec: 1, command: "Stop"});  // TS2322
tv.send("lumivexplayer", "SelectTrack", {trackType: 2});  // TS2345
tv.send("lumivexplayer", "SetTimedTextSource", {uri: "a"});  // TS2345
tv.send("lumivexrfmanager", "GetNumOfRFTracks", {trackType: 3});  // TS2322
tv.send("lumivexrfmanager", "TuneRFChannel", {major: 1, minor: 2, programNum: 3});  // TS2345
const flag: boolean = tv.send("lumivexplayer", "GetDuration");  // TS2322
declare const either: "Start" | "SeekTo";
tv.send("lumivexplayer", either);  // TS2554
declare const any: CommandName;
tv.send("lumivexplayer", any);  // TS2554
const anything: unknown = tv.sendRaw("player", "start", {msec: "1"});

// Events.
tv.addEventListener("position", ({detail}) => detail.position.toFixed());
tv.addEventListener("info", ({detail}) => detail.type === Lumivex.InfoType.END);
tv.addEventListener("playbackerror", ({detail}) => detail.type === Lumivex.ErrorType.NETWORK);
tv.addEventListener("tuned", {handleEvent: () => {}}, {once: true});
tv.addEventListener("positon", () => {});  // TS2345
tv.removeEventListener("PLAYBACK_INFO_EVENT", () => {});  // TS2345
tv.addEventListener("position", ({detail}) => detail.msec);  // TS2339
tv.addEventListener("bufferingstart", ({detail}) => detail.percent);  // TS2339
tv.addEventListener("tuned", (event: MouseEvent) => event.button);  // TS2345
tv.addEventListener("info", ({detail}) => detail.type === 6);  // TS2367
tv.addEventListener("playbackerror", ({detail}) => detail.type === 3);  // TS2367
tv.addEventListener("timedtext", ({detail}) => detail.text.length);  // TS2531
Lumivex.InfoType.POSITION;  // TS2339

// Errors.
new LumivexError({code: 9, errorName: "", errorMessage: ""}, "Start").code === 11;
new LumivexError({code: 9, errorName: "", errorMessage: ""}, "Start").code === 10;  // TS2367
tv.player = tv.player;  // TS2540

// The stand-in.
const fake = new FakePlugin({denied: ["lumivexplayer"], tuner: false});
new Lumivex(fake).player.start();
fake.answers.GetDuration = 5;
fake.answers.SeekTo = ({msec}) => msec < 5;
fake.answers.GetTrackLanguageCode = null;
fake.refuse("Start", "GetRFSubtitleStatus");
fake.fail("Start", "SecurityError", "no");
fake.raise({event: "RF_INFO_EVENT", eventType: 0}).then(() => fake.reset());
new FakePlugin({denied: ["player"]});  // TS2322
fake.answers.GetDuration = "5";  // TS2322
fake.answers.SeekTo = ({ms}) => ms < 5;  // TS2339
fake.refuse("SetChannelType");  // TS2345
fake.fail("Start", "TypeError");  // TS2345
fake.raise({event: "PLAYBACK_INFO_EVENT", type: 10, param1: 0, param2: 0});  // TS2322
fake.raise({event: "RF_INFO_EVENT", type: 0});  // TS2345
