// The client against an element that only remembers; and the same requests to the plug-in, in the
// headless host, and to its stand-in for tests of pages, whose replies have to be the same.
//
// usage: contract_test.mjs HOST MEDIA_FOLDER
import assert from "node:assert/strict";
import {spawnSync} from "node:child_process";
import {readFileSync} from "node:fs";
import test from "node:test";
import {Lumivex, LumivexError} from "../../examples/page/module.js";
import {FakePlugin} from "../../examples/page/fake.js";

const [host, media] = process.argv.slice(2);
const PLAYER = "lumivexplayer";
const TUNER = "lumivexrfmanager";

// Every command with arguments that are right, in an order in which the player takes them all.
const commands = (folder, major) => [
  ["HasPlayerPrivilege"], ["GetPlayerVersion"], ["GetPlaybackSpeed"],
  ["SetDataSource", {url: `${folder}/tracks.mkv`, timeOffset: 0}],
  ["GetCurrentPosition"], ["GetDuration"], ["GetVideoWidth"], ["GetVideoHeight"],
  ["SetDisplayArea", {x: 1, y: 2, width: 640, height: 360, scalingMode: 0}],
  ["GetNumOfTracks", {trackType: 2}], ["GetSelectedTrack", {trackType: 2}],
  ["GetTrackLanguageCode", {trackType: 2, index: 1}], ["GetAvailableBitrates"],
  ["SetTimedTextSource", {URI: `${folder}/cues.srt`}], ["Start"], ["Pause"], ["Resume"],
  ["SelectTrack", {trackType: 2, index: 0}], ["SeekTo", {msec: 1000}],
  ["SetPlaybackSpeed", {speed: 0.7}], ["GetPlaybackSpeed"],
  ["SetDRMProperty", {type: 0, propertyData: "a"}], ["Stop"],
  ["HasRFManagerPrivilege"], ["GetRFManagerVersion"], ["GetNumOfRFTracks", {trackType: 2}],
  ["GetSelectedRFTrack", {trackType: 4}], ["SelectRFTrack", {trackType: 2, index: 1}],
  ["GetRFTrackLanguageCode", {trackType: 2, index: 1}], ["GetRFSubtitleMode"],
  ["SetRFSubtitleMode", {subtitleMode: 1}], ["GetRFSubtitleStatus"],
  ["SetRFSubtitleStatus", {showStatus: true}], ["SetChannelType", {channelType: 0}],
  ["TuneRFChannel", {ptc: 0, major, minor: 1, programNum: 1, transportStreamID: 4097}],
].map(([command, args]) => ({moduleName: moduleOf(command), command, ...args}));
const moduleOf = (command) => Lumivex.COMMANDS[PLAYER].includes(command) ? PLAYER : TUNER;
const right = commands(media, 5);
const refused = commands("missing", 99);

// Each with one thing wrong, or unusual, at a time.
function variants({moduleName, command, ...args}) {
  const other = moduleName === PLAYER ? TUNER : PLAYER;
  return [
    {moduleName, command, ...args},
    ...[other, "page", 1].map((name) => ({moduleName: name, command, ...args})),
    ...[command.toLowerCase(), null].map((name) => ({moduleName, command: name, ...args})),
    ...Object.keys(args).flatMap((key) => [undefined, null, "x", "", 1.9, -3e9, true, []]
      .map((value) => ({moduleName, command, ...args, [key]: value}))),
  ];
}
const envelopes = [null, 1, "Start", [], {}, {moduleName: PLAYER}, {command: "Start"},
  {moduleName: "page", command: "toString"}];

// A client on an element with this reply, and what it sends.
function recorded(reply) {
  const sent = [];
  const element = Object.assign(new EventTarget(), {
    postMessageAndAwaitResponse(message) {
      sent.push(message);
      return reply;
    },
  });
  return {element, sent, tv: new Lumivex(element)};
}

test("functions send requests", () => {
  const {sent, tv} = recorded({code: 0, value: "the value"});
  const call = (moduleName, command, ...args) =>
    tv[moduleName === PLAYER ? "player" : "tuner"][command[0].toLowerCase() + command.slice(1)](...args);
  for (const {moduleName, command, ...args} of right) {
    const values = Object.values(args);
    const given = values.length > 2 ? [args] : values;
    assert.equal(call(moduleName, command, ...given, "ignored"), "the value");
    assert.deepEqual(sent.pop(), {moduleName, command, ...args});
  }
  // What is not given is left out.
  for (const [command, given, args] of [
    ["SetDataSource", ["a"], {url: "a"}],
    ["SeekTo", [], {}],
    ["SetDisplayArea", [{x: 1, y: 2, width: 3, height: 4}], {x: 1, y: 2, width: 3, height: 4}],
    ["SetDRMProperty", [Lumivex.DrmProperty.COOKIE, "c"], {type: 3, propertyData: "c"}],
    ["SelectTrack", [Lumivex.TrackType.AUDIO, 1], {trackType: 2, index: 1}],
  ]) {
    call(PLAYER, command, ...given);
    assert.deepEqual(sent.pop(), {moduleName: PLAYER, command, ...args});
  }
  call(TUNER, "TuneRFChannel", {major: 1, minor: 2, programNum: 3, transportStreamID: 4});
  assert.equal(sent.pop().ptc, 0);
  assert.equal(Lumivex.ScalingMode.KEEP_ASPECT, 0);
});

test("messages become events", () => {
  const {element, tv} = recorded();
  const info = (type, param1, param2 = 0) => ({event: "PLAYBACK_INFO_EVENT", type, param1, param2});
  const got = [];
  for (const [data, type, detail] of [
    [{event: "PLAYBACK_ERROR_EVENT", type: 2, extra: 0}, "playbackerror", {type: 2, extra: 0}],
    [info(1, 0), "bufferingstart", {}],
    [info(2, 0), "bufferingcomplete", {}],
    [info(3, 40), "bufferingprogress", {percent: 40}],
    [info(6, 700), "position", {position: 700}],
    [info(8, 64, 36), "resolution", {width: 64, height: 36}],
    [info(9, 5), "info", {type: 9, param1: 5, param2: 0}],
    [{event: "PLAYBACK_DRMINFO_EVENT", type: 0, data: "d"}, "drminfo", {type: 0, data: "d"}],
    [{event: "PLAYBACK_TIMEDTEXT_EVENT", text: ""}, "timedtext", {text: ""}],
    [{name: "Start", code: 9}, "message", {name: "Start", code: 9}],
    [{event: "RF_INFO_EVENT", eventType: 0}, "tuned", {eventType: 0}],
  ]) {
    tv.addEventListener(type, (event) => got.push(event.detail));
    element.dispatchEvent(new MessageEvent("message", {data}));
    assert.deepEqual(got.splice(0), [detail], type);
  }
  tv.close();
  element.dispatchEvent(
    new MessageEvent("message", {data: {event: "RF_INFO_EVENT", eventType: 0}}));
  assert.deepEqual(got, []);
});

test("failures are thrown", () => {
  const refused = {code: 11, value: null, errorName: "InvalidStateError", errorMessage: ""};
  const gone = recorded();
  gone.element.postMessageAndAwaitResponse = () => { throw new Error("gone"); };
  for (const [tv, code, name, message] of [
    [recorded(refused).tv, 11, "InvalidStateError", "InvalidStateError"],
    [recorded().tv, -1, "PluginError", "The plug-in does not reply"],
    [gone.tv, -1, "PluginError", "The plug-in does not reply: gone"],
    [new Lumivex(new EventTarget()), -1, "PluginError", "The element has no plug-in"],
  ]) {
    assert.throws(() => tv.player.start(), (error) => {
      assert.ok(error instanceof LumivexError);
      assert.deepEqual([error.code, error.name, error.message, error.command],
        [code, name, message, "Start"]);
      return true;
    });
  }
});

const isPost = (line) => line !== null && line.$post !== undefined;
const isWait = (line) => line !== null && line.$waitFor !== undefined;

// The replies, and the refusals of what is posted, which are the events with a name.
function askHost(lines, options) {
  const input = lines.map((line) => JSON.stringify(line)).join("\n");
  const {status, stdout, stderr} = spawnSync(host, options, {input, encoding: "utf8"});
  assert.equal(status, 0, stderr);
  const output = stdout.trim().split("\n").map((line) => JSON.parse(line));
  return [output.map(({reply}) => reply).filter((reply) => reply),
    output.map(({event}) => event).filter((event) => event && "name" in event)];
}

async function askFake(fake, lines) {
  const refusals = [];
  fake.addEventListener("message", ({data}) => refusals.push(data));
  lines.filter(isPost).forEach(({$post}) => fake.postMessage($post));
  const requests = lines.filter((line) => !isPost(line) && !isWait(line));
  const replies = requests.map((request) => fake.postMessageAndAwaitResponse(request));
  await new Promise(setImmediate);
  return [replies, refusals, requests];
}

async function compare(fake, lines, ...options) {
  const [expected, expectedRefusals] = askHost(lines, options);
  const [replies, refusals, requests] = await askFake(fake, JSON.parse(JSON.stringify(lines)));
  assert.equal(expected.length, requests.length);
  requests.forEach((request, i) =>
    assert.deepEqual(replies[i], expected[i], JSON.stringify(request)));
  assert.deepEqual(refusals, expectedRefusals);
}

const refusable = Object.values(Lumivex.COMMANDS).flat().filter((command) => {
  try {
    new FakePlugin().refuse(command);
    return true;
  } catch {
    return false;  // never refused
  }
});

test("README, reference and typings list every command", () => {
  const read = (path) => readFileSync(new URL(`../../${path}`, import.meta.url), "utf8");
  const names = (text, pattern) => [...text.matchAll(pattern)].map(([, name]) => name).sort();
  const typings = read("examples/page/module.d.ts");
  for (const [module, type] of [[PLAYER, "PlayerCommands"], [TUNER, "TunerCommands"]]) {
    const commands = [...Lumivex.COMMANDS[module]].sort();
    const row = read("README.md").match(new RegExp(`\\| \`${module}\` \\| (.*) \\|`))[1];
    assert.deepEqual(row.split(", ").sort(), commands);
    const [, members] = typings.match(new RegExp(`${type} {([^]*?)\n}`));
    assert.deepEqual(names(members, /\n  (\w+): Command</g), commands);
  }
  // A command's row begins with its name and ends with an example that calls it.
  assert.deepEqual(
    names(read("docs/page-api.md"), /\n\| `([A-Z]\w+)` \|[^\n]*\| `call\('\1'/g),
    Object.values(Lumivex.COMMANDS).flat().sort());
  const [, events] = typings.match(/type PluginMessage =([^]*?);\n\n/);
  assert.deepEqual(names(events, /event: "(\w+)"/g), ["PLAYBACK_DRMINFO_EVENT",
    "PLAYBACK_ERROR_EVENT", "PLAYBACK_INFO_EVENT", "PLAYBACK_TIMEDTEXT_EVENT", "RF_INFO_EVENT"]);
});

test("all commands are here", () => {
  const names = Object.values(Lumivex.COMMANDS).flat().sort();
  assert.deepEqual([...new Set(right.map(({command}) => command))].sort(), names);
  assert.deepEqual(Object.keys(new FakePlugin().answers).sort(), names);
});

// A player that refuses all but what the desktop's accepts without a medium.
function idle(options) {
  const fake = new FakePlugin(options);
  fake.refuse(...refusable);
  return Object.assign(fake, {answers: {...fake.answers,
    SetDisplayArea: true, Stop: true, SetDRMProperty: ({type}) => type === 0 || type === 1}});
}
const requests = [...envelopes, ...refused.flatMap(variants)];
const everything = [...requests, ...requests.map((request) => ({$post: request}))];

test("a player without a medium and a tuner without a channel", () => compare(idle(), everything));

test("an application without privileges", () => compare(
  idle({denied: [PLAYER, TUNER]}), everything, "--deny", "player", "--deny", "rf-manager"));

test("a player with a medium and a tuner with a channel", () => {
  const fake = new FakePlugin();
  const player = {1: [""], 2: ["eng", "deu"], 3: [], 4: ["eng"]};
  const tuner = {2: ["eng", "spa"], 4: ["eng", "spa"]};
  Object.assign(fake.answers, {
    GetDuration: 20000, GetVideoWidth: 320, GetVideoHeight: 240,
    GetNumOfTracks: ({trackType}) => trackType in player ? player[trackType].length : -1,
    GetSelectedTrack: ({trackType}) => trackType in player ? 0 : -1,
    GetTrackLanguageCode: ({trackType, index}) => player[trackType]?.[index] ?? "FAILED",
    SeekTo: ({msec}) => msec >= 0,
    SetPlaybackSpeed: ({speed}) => speed > 0,
    GetNumOfRFTracks: ({trackType}) => tuner[trackType].length,
    GetRFTrackLanguageCode: ({trackType, index}) => tuner[trackType][index] ?? "FAILED",
  });
  const requests = right.filter(({command}) => command !== "GetCurrentPosition");  // no fixed number
  return compare(fake, [right.find(({command}) => command === "TuneRFChannel"),
    {$waitFor: {event: "RF_INFO_EVENT"}},
    ...requests.flatMap((line) => /^(Get|Seek|SetPlay)/.test(line.command) ? variants(line) : [line])]);
});
