// Types of lumivex.js, the client of the Lumivex plug-in for web pages. The commands and events are
// described in docs/page-api.md.

/** 1 video, 2 audio, 3 timed text from its own source, 4 subtitles inside the media. */
type LumivexTrackType = 1 | 2 | 3 | 4;
/** The tuner knows 2, audio, and 4, subtitles. */
type LumivexRFTrackType = 2 | 4;
/** 0 keeps the video's shape inside the area, 1 fills the area. */
type LumivexScalingMode = 0 | 1;
/** 0 request challenge data, 1 set licence, 2 licence server, 3 cookie. */
type LumivexDrmPropertyType = 0 | 1 | 2 | 3;
type LumivexModule = "lumivexplayer" | "lumivexrfmanager";

/** In pixels of the window: what the page measures, times window.devicePixelRatio. */
interface LumivexDisplayArea {
  x: number;
  y: number;
  width: number;
  height: number;
  /** Fills the area unless given. */
  scalingMode?: LumivexScalingMode;
}

interface LumivexRFChannel {
  /** Sent, but without a meaning; 0 unless given. */
  ptc?: number;
  major: number;
  minor: number;
  programNum: number;
  transportStreamID: number;
}

/** Every command: its module, the further keys of its request, and the value of its reply. */
interface LumivexCommands {
  HasPlayerPrivilege: {module: "lumivexplayer"; args: {}; value: boolean};
  /** timeOffset: where to start, in milliseconds. */
  SetDataSource: {
    module: "lumivexplayer";
    args: {url: string; timeOffset?: number};
    value: boolean;
  };
  Start: {module: "lumivexplayer"; args: {}; value: boolean};
  Stop: {module: "lumivexplayer"; args: {}; value: boolean};
  Pause: {module: "lumivexplayer"; args: {}; value: boolean};
  Resume: {module: "lumivexplayer"; args: {}; value: boolean};
  SeekTo: {module: "lumivexplayer"; args: {msec: number}; value: boolean};
  SetPlaybackSpeed: {module: "lumivexplayer"; args: {speed: number}; value: boolean};
  GetPlaybackSpeed: {module: "lumivexplayer"; args: {}; value: number};
  SetDisplayArea: {module: "lumivexplayer"; args: LumivexDisplayArea; value: boolean};
  GetCurrentPosition: {module: "lumivexplayer"; args: {}; value: number};
  GetDuration: {module: "lumivexplayer"; args: {}; value: number};
  GetVideoWidth: {module: "lumivexplayer"; args: {}; value: number};
  GetVideoHeight: {module: "lumivexplayer"; args: {}; value: number};
  GetNumOfTracks: {module: "lumivexplayer"; args: {trackType: LumivexTrackType}; value: number};
  GetSelectedTrack: {module: "lumivexplayer"; args: {trackType: LumivexTrackType}; value: number};
  SelectTrack: {
    module: "lumivexplayer";
    args: {trackType: LumivexTrackType; index: number};
    value: boolean;
  };
  GetTrackLanguageCode: {
    module: "lumivexplayer";
    args: {trackType: LumivexTrackType; index: number};
    value: string;
  };
  SetTimedTextSource: {module: "lumivexplayer"; args: {URI: string}; value: boolean};
  SetDRMProperty: {
    module: "lumivexplayer";
    args: {type: LumivexDrmPropertyType; propertyData: string};
    value: boolean;
  };
  GetAvailableBitrates: {module: "lumivexplayer"; args: {}; value: string};
  GetPlayerVersion: {module: "lumivexplayer"; args: {}; value: string};
  HasRFManagerPrivilege: {module: "lumivexrfmanager"; args: {}; value: boolean};
  GetRFManagerVersion: {module: "lumivexrfmanager"; args: {}; value: string};
  SetChannelType: {module: "lumivexrfmanager"; args: {channelType: number}; value: boolean};
  TuneRFChannel: {
    module: "lumivexrfmanager";
    args: Required<LumivexRFChannel>;
    value: boolean;
  };
  GetNumOfRFTracks: {
    module: "lumivexrfmanager";
    args: {trackType: LumivexRFTrackType};
    value: number;
  };
  GetSelectedRFTrack: {
    module: "lumivexrfmanager";
    args: {trackType: LumivexRFTrackType};
    value: number;
  };
  SelectRFTrack: {
    module: "lumivexrfmanager";
    args: {trackType: LumivexRFTrackType; index: number};
    value: boolean;
  };
  GetRFSubtitleMode: {module: "lumivexrfmanager"; args: {}; value: number};
  SetRFSubtitleMode: {module: "lumivexrfmanager"; args: {subtitleMode: number}; value: boolean};
  /** -1 when the tuner refuses. */
  GetRFSubtitleStatus: {module: "lumivexrfmanager"; args: {}; value: boolean | -1};
  SetRFSubtitleStatus: {module: "lumivexrfmanager"; args: {showStatus: boolean}; value: boolean};
  GetRFTrackLanguageCode: {
    module: "lumivexrfmanager";
    args: {trackType: LumivexRFTrackType; index: number};
    value: string;
  };
}

type LumivexCommandName = keyof LumivexCommands;

/** What goes over the wire. */
type LumivexRequest<C extends LumivexCommandName = LumivexCommandName> = {
  moduleName: LumivexCommands[C]["module"];
  command: C;
} & LumivexCommands[C]["args"];

type LumivexReply<T = unknown> =
  | {code: 0; value: T; errorName: ""; errorMessage: ""}
  | LumivexErrorReply;

type LumivexErrorReply =
  | {code: 9; value: null; errorName: "NotSupportedError"; errorMessage: string}
  | {code: 11; value: null; errorName: "InvalidStateError"; errorMessage: string}
  | {code: 18; value: null; errorName: "SecurityError"; errorMessage: string}
  | {code: 26; value: null; errorName: "InvalidValuesError"; errorMessage: string};

/** An event as the plug-in posts it. */
type LumivexMessage =
  | {event: "PLAYBACK_ERROR_EVENT"; type: number; extra: number}
  | {event: "PLAYBACK_INFO_EVENT"; type: number; param1: number; param2: number}
  | {event: "PLAYBACK_DRMINFO_EVENT"; type: number; data: string}
  | {event: "PLAYBACK_TIMEDTEXT_EVENT"; text: string}
  | {event: "RF_INFO_EVENT"; eventType: number};

/** The details of the client's events. */
interface LumivexEventDetails {
  playbackerror: {type: number; extra: number};
  bufferingstart: {};
  bufferingcomplete: {};
  bufferingprogress: {percent: number};
  /** In milliseconds, several times a second while playing. */
  position: {position: number};
  /** The video's size became known or changed. */
  resolution: {width: number; height: number};
  /** Any other playback information; on a desktop, type 5 is the end of the media. */
  info: {type: number; param1: number; param2: number};
  drminfo: {type: number; data: string};
  timedtext: {text: string};
  /** A tune has succeeded. */
  tuned: {eventType: number};
  /** Whatever else comes: the refusal of a request that was sent with embed.postMessage. */
  message: unknown;
}

/** Throw LumivexError; false, -1, "FAILED" and "" are refusals by the player. */
interface LumivexPlayer {
  hasPlayerPrivilege(): boolean;
  setDataSource(url: string, timeOffset?: number): boolean;
  start(): boolean;
  stop(): boolean;
  pause(): boolean;
  resume(): boolean;
  seekTo(msec: number): boolean;
  setPlaybackSpeed(speed: number): boolean;
  getPlaybackSpeed(): number;
  setDisplayArea(area: LumivexDisplayArea): boolean;
  getCurrentPosition(): number;
  getDuration(): number;
  getVideoWidth(): number;
  getVideoHeight(): number;
  getNumOfTracks(trackType: LumivexTrackType): number;
  getSelectedTrack(trackType: LumivexTrackType): number;
  selectTrack(trackType: LumivexTrackType, index: number): boolean;
  getTrackLanguageCode(trackType: LumivexTrackType, index: number): string;
  setTimedTextSource(uri: string): boolean;
  setDRMProperty(type: LumivexDrmPropertyType, propertyData: string): boolean;
  getAvailableBitrates(): string;
  getPlayerVersion(): string;
}

/** Throw LumivexError; false, -1 and "FAILED" are refusals by the tuner. */
interface LumivexTuner {
  hasRFManagerPrivilege(): boolean;
  getRFManagerVersion(): string;
  setChannelType(channelType: number): boolean;
  tuneRFChannel(channel: LumivexRFChannel): boolean;
  getNumOfRFTracks(trackType: LumivexRFTrackType): number;
  getSelectedRFTrack(trackType: LumivexRFTrackType): number;
  selectRFTrack(trackType: LumivexRFTrackType, index: number): boolean;
  getRFSubtitleMode(): number;
  setRFSubtitleMode(subtitleMode: number): boolean;
  getRFSubtitleStatus(): boolean | -1;
  setRFSubtitleStatus(showStatus: boolean): boolean;
  getRFTrackLanguageCode(trackType: LumivexRFTrackType, index: number): string;
}

/** <embed type="application/x-lumivex"> as the engine gives it. */
interface LumivexElement extends HTMLEmbedElement {
  postMessageAndAwaitResponse(request: unknown): LumivexReply;
  postMessage(request: unknown): void;
}

/** An error result, or the engine's failure to get any: the plug-in is missing or has crashed. */
declare class LumivexError extends Error {
  readonly code: LumivexErrorReply["code"] | -1;
  readonly name: LumivexErrorReply["errorName"] | "PluginError";
  readonly command: string;
  constructor(
    reply: {code: number; errorName: string; errorMessage: string}, command: string);
}

declare class Lumivex extends EventTarget {
  static readonly MIME_TYPE: "application/x-lumivex";
  /** The names of all commands, by module. */
  static readonly COMMANDS: Readonly<Record<LumivexModule, LumivexCommandName[]>>;
  static readonly TrackType: {
    readonly VIDEO: 1;
    readonly AUDIO: 2;
    readonly TIMED_TEXT: 3;
    readonly SUBTITLE: 4;
  };
  static readonly ScalingMode: {readonly KEEP_ASPECT: 0; readonly FILL: 1};
  static readonly DrmProperty: {
    readonly REQUEST_CHALLENGE_DATA: 0;
    readonly SET_LICENSE: 1;
    readonly LICENSE_SERVER: 2;
    readonly COOKIE: 3;
  };

  /** The element must be in the document and displayed; else there is no plug-in. */
  constructor(embed: HTMLEmbedElement);

  readonly embed: LumivexElement;
  readonly player: LumivexPlayer;
  readonly tuner: LumivexTuner;
  /** Called for every request with its reply, and for every event. */
  trace:
    | ((kind: "request" | "event", message: unknown, reply?: LumivexReply) => void)
    | null;

  send<C extends LumivexCommandName>(
    moduleName: string, command: C, args: LumivexCommands[C]["args"]): LumivexCommands[C]["value"];
  send(moduleName: string, command: string, args?: Record<string, unknown>): unknown;
  close(): void;

  addEventListener<T extends keyof LumivexEventDetails>(
    type: T,
    listener: (event: CustomEvent<LumivexEventDetails[T]>) => void,
    options?: boolean | AddEventListenerOptions): void;
  addEventListener(
    type: string,
    listener: EventListenerOrEventListenerObject | null,
    options?: boolean | AddEventListenerOptions): void;
  removeEventListener<T extends keyof LumivexEventDetails>(
    type: T,
    listener: (event: CustomEvent<LumivexEventDetails[T]>) => void,
    options?: boolean | EventListenerOptions): void;
  removeEventListener(
    type: string,
    listener: EventListenerOrEventListenerObject | null,
    options?: boolean | EventListenerOptions): void;
}
