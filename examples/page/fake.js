// A fake <embed type="application/x-lumivex">, to test pages without the engine; described in
// docs/page-api.md. It checks requests as the plug-in does and answers from a table.

if (typeof CustomEvent === "undefined") {  // before Node 19
  globalThis.CustomEvent = class extends Event {
    constructor(type, options = {}) {
      super(type, options);
      this.detail = options.detail === undefined ? null : options.detail;
    }
  };
}

// How the plug-in reads arguments.
const whole = (value) => typeof value !== "number" || Number.isNaN(value) ? 0
  : Math.trunc(Math.min(Math.max(value, -(2 ** 31)), 2 ** 31 - 1));
const unsigned = (value) => whole(value) >>> 0;
const real = (value) => typeof value === "number" ? Math.fround(value) : 0;
const text = (value) => typeof value === "string" ? value : "";
const flag = (value) => value === true;

const TRACKS = {trackType: whole};
const TRACK = {trackType: whole, index: whole};
const CHANNEL = {
  ptc: (value) => value, major: whole, minor: whole, programNum: whole, transportStreamID: whole};
const AREA = {x: unsigned, y: unsigned, width: unsigned, height: unsigned};

// Each command's required arguments, default answer, and answer when refused.
const COMMANDS = {
  HasPlayerPrivilege: [{}, null],  // never refused, like all without a third item
  GetPlayerVersion: [{}, "1.50"],
  HasRFManagerPrivilege: [{}, null],
  GetRFManagerVersion: [{}, "1.50"],
  GetPlaybackSpeed: [{}, null],
  SetDataSource: [{url: text}, true, false],
  Start: [{}, true, false],
  Stop: [{}, true, false],
  Pause: [{}, true, false],
  Resume: [{}, true, false],
  SeekTo: [{msec: whole}, true, false],
  SetPlaybackSpeed: [{speed: real}, true, false],
  SetDisplayArea: [AREA, true, false],
  GetCurrentPosition: [{}, 0, -1],
  GetDuration: [{}, 60000, -1],
  GetVideoWidth: [{}, 1920, -1],
  GetVideoHeight: [{}, 1080, -1],
  GetNumOfTracks: [TRACKS, 1, -1],
  GetSelectedTrack: [TRACKS, 0, -1],
  SelectTrack: [TRACK, true, false],
  GetTrackLanguageCode: [TRACK, "eng", "FAILED"],
  SetTimedTextSource: [{URI: text}, true, false],
  SetDRMProperty: [{type: whole, propertyData: text}, true, false],
  GetAvailableBitrates: [{}, "", ""],
  SetChannelType: [{channelType: whole}, true],
  TuneRFChannel: [CHANNEL, true, false],
  GetNumOfRFTracks: [TRACKS, 1, -1],
  GetSelectedRFTrack: [TRACKS, 0, -1],
  SelectRFTrack: [TRACK, true, false],
  GetRFTrackLanguageCode: [TRACK, "eng", "FAILED"],
  GetRFSubtitleMode: [{}, 0, -1],
  SetRFSubtitleMode: [{subtitleMode: whole}, true, false],
  GetRFSubtitleStatus: [{}, false, -1],
  SetRFSubtitleStatus: [{showStatus: flag}, true, false],
};
const OPTIONAL = {SetDataSource: {timeOffset: unsigned}, SetDisplayArea: {scalingMode: whole}};
const OBTAIN_TUNER = ["SetChannelType", "TuneRFChannel"];
const isTuned = (command) => /RF(Track|Tracks|Subtitle)/.test(command);  // needs the tuner

const CODES = {
  NotSupportedError: 9, InvalidStateError: 11, SecurityError: 18, InvalidValuesError: 26};

class Refusal {
  constructor(errorName, errorMessage) {
    Object.assign(this, {code: CODES[errorName], value: null, errorName, errorMessage});
  }
}
const NOT_DICTIONARY = "Incoming message is not dictionary";
const invalid = (message) => new Refusal("InvalidValuesError", message);

const has = (request, key) => Object.hasOwn(request, key);

// What the engine passes of a value.
function pass(value, outer = []) {
  if (Object(value) !== value) {
    return typeof value === "string" && /\p{Surrogate}/u.test(value) ? null : value;
  }
  if (outer.includes(value)) {
    throw new Error("The message contains itself");
  }
  const members = Object.entries(value)
    .map(([key, member]) => [key, pass(member, [...outer, value])]);
  return Array.isArray(value) ? members.map(([, member]) => member) : Object.fromEntries(members);
}

export class FakePlugin extends EventTarget {
  constructor({denied = [], tuner = true} = {}) {
    super();
    this._denied = denied;
    this._hasTuner = tuner;
    this._tunerObtained = false;
    this.reset();
  }

  // The tuner stays obtained.
  reset() {
    this.requests = [];
    this._failures = new Map();
    this._delays = new Map();
    this._speed = 0;
    this.answers = {};
    for (const [command, [, answer]] of Object.entries(COMMANDS)) {
      this.answers[command] = answer;
    }
    this.answers.HasPlayerPrivilege = () => !this._denied.includes("lumivexplayer");
    this.answers.HasRFManagerPrivilege = () => !this._denied.includes("lumivexrfmanager");
    this.answers.GetPlaybackSpeed = () => this._speed;
  }

  refuse(...commands) {
    for (const command of commands) {
      const [, , refused] = this._known(command);
      if (refused === undefined) {
        throw new Error(`${command} is never refused`);
      }
      this.answers[command] = refused;
    }
  }

  fail(command, errorName, errorMessage = "") {
    this._known(command);
    this._failures.set(command, new Refusal(errorName, errorMessage));
  }

  delay(command, msec) {
    this._known(command);
    this._delays.set(command, msec);
  }

  // As in the engine, events are dispatched after the running code.
  async raise(message) {
    await null;
    this.dispatchEvent(new MessageEvent("message", {data: message}));
  }

  postMessageAndAwaitResponse(request) {
    const copy = pass(request);
    this.requests.push(copy);
    const refusal = this._checkEnvelope(copy);
    const value = refusal || this._run(copy);
    return value instanceof Refusal ? {...value}
      : {code: 0, value, errorName: "", errorMessage: ""};
  }

  // As in the plug-in, it is checked and refused.
  postMessage(request) {
    const copy = pass(request);
    this.requests.push(copy);
    let refusal = this._checkEnvelope(copy);
    let name = refusal && refusal.errorName === "SecurityError" ? copy.moduleName : "";
    if (!refusal) {
      refusal = new Refusal("NotSupportedError", "Parameters is invalid");
      name = copy.command;
    } else if (refusal.errorMessage === NOT_DICTIONARY) {
      refusal = invalid("Incoming message is invalid");
    }
    this.raise({name, ...refusal});
  }

  _known(command) {
    if (!Object.hasOwn(COMMANDS, command)) {
      throw new Error(`unknown command "${command}"`);
    }
    return COMMANDS[command];
  }

  _checkEnvelope(request) {
    if (request === null || typeof request !== "object" || Array.isArray(request)) {
      return invalid(NOT_DICTIONARY);
    }
    const {moduleName, command} = request;
    if (typeof moduleName !== "string") {
      return invalid("Parameter moduleName is invalid");
    }
    if (["lumivexplayer", "lumivexrfmanager"].includes(moduleName) &&
        this._denied.includes(moduleName)) {
      return new Refusal("SecurityError", `You do not have the ${moduleName} privilege`);
    }
    return typeof command === "string" ? null : invalid("Parameter command is invalid");
  }

  _run(request) {
    const {command} = request;
    if (!Object.hasOwn(COMMANDS, command)) {
      return new Refusal("NotSupportedError", "Command not recognized");
    }
    const end = performance.now() + (this._delays.get(command) || 0);
    while (performance.now() < end) {
      // A command blocks the page.
    }
    const refusal = this._failures.get(command) || this._checkState(command) ||
      this._checkArguments(request);
    return refusal || this._answer(command, this._read(request));
  }

  _checkState(command) {
    if (OBTAIN_TUNER.includes(command)) {
      this._tunerObtained = this._hasTuner;
    }
    return !this._tunerObtained && (isTuned(command) || OBTAIN_TUNER.includes(command))
      ? new Refusal("InvalidStateError", "") : null;
  }

  _checkArguments(request) {
    const {command} = request;
    if (command === "SetDataSource" && typeof request.url !== "string") {
      return invalid("Parameters are invalid");
    }
    const [needed] = COMMANDS[command];
    const wrong = !Object.keys(needed).every((key) => has(request, key)) ||
      (command === "SetDataSource" && request.url === "") ||
      (command === "SetTimedTextSource" && typeof request.URI !== "string") ||
      (isTuned(command) && "trackType" in needed && ![2, 4].includes(whole(request.trackType)));
    return wrong ? invalid("Parameter is invalid") : null;
  }

  // The arguments as the player or the tuner gets them.
  _read(request) {
    const args = {};
    const readers = {...COMMANDS[request.command][0], ...OPTIONAL[request.command]};
    for (const key of Object.keys(readers).filter((name) => has(request, name))) {
      args[key] = readers[key](request[key]);
    }
    return args;
  }

  _answer(command, args) {
    const answer = (name) => typeof this.answers[name] === "function"
      ? this.answers[name](args) : this.answers[name];
    if (command === "SetDisplayArea" && args.scalingMode === 0 &&
        !(answer("GetVideoWidth") > 0 && answer("GetVideoHeight") > 0)) {
      return false;  // no aspect ratio yet
    }
    const value = answer(command);
    if (command === "SetPlaybackSpeed" && value === true) {
      this._speed = args.speed;
    }
    return value;
  }
}
