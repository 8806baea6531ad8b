// Types of the client of the Lumivex plug-in. docs/page-api.md describes commands and events.

/** 1 video, 2 audio, 3 timed text from its own source, 4 subtitles inside the media. */
export type TrackType = 1 | 2 | 3 | 4;
/** The tuner knows 2, audio, and 4, subtitles. */
export type RFTrackType = 2 | 4;
/** 0 keeps the video's aspect ratio inside the area, 1 fills the area. */
export type ScalingMode = 0 | 1;
/** 0 request challenge data, 1 set licence, 2 licence server, 3 cookie. */
export type DrmProperty = 0 | 1 | 2 | 3;
/** See Lumivex.ErrorType. */
export type ErrorType = 0 | 1 | 2 | 4 | 5 | 6 | 7 | 8;
/** See Lumivex.InfoType. */
export type InfoType = 0 | 4 | 5 | 7 | 9;
/** Text from the player or the tuner; null when it is not UTF-8. */
export type PlatformText = string | null;

interface Command<Args, Value> {
  args: Args;
  value: Value;
}
type None = Record<string, never>;
interface TrackOf<Type> {
  trackType: Type;
}
interface TrackAt<Type> {
  trackType: Type;
  index: number;
}
/** In pixels of the window: what the page measures, times window.devicePixelRatio. */
export interface DisplayArea {
  x: number;
  y: number;
  width: number;
  height: number;
  /** Fills the area by default. */
  scalingMode?: ScalingMode | undefined;
}
export interface RFChannel {
  /** Required, not used. */
  ptc: number;
  major: number;
  minor: number;
  programNum: number;
  transportStreamID: number;
}

/** Commands of the module "lumivexplayer": arguments by name, and the value of the reply. */
export interface PlayerCommands {
  HasPlayerPrivilege: Command<None, boolean>;
  /** timeOffset: where to start, in milliseconds. */
  SetDataSource: Command<{url: string; timeOffset?: number | undefined}, boolean>;
  Start: Command<None, boolean>;
  Stop: Command<None, boolean>;
  Pause: Command<None, boolean>;
  Resume: Command<None, boolean>;
  SeekTo: Command<{msec: number}, boolean>;
  SetPlaybackSpeed: Command<{speed: number}, boolean>;
  GetPlaybackSpeed: Command<None, number>;
  SetDisplayArea: Command<DisplayArea, boolean>;
  GetCurrentPosition: Command<None, number>;
  GetDuration: Command<None, number>;
  GetVideoWidth: Command<None, number>;
  GetVideoHeight: Command<None, number>;
  GetNumOfTracks: Command<TrackOf<TrackType>, number>;
  GetSelectedTrack: Command<TrackOf<TrackType>, number>;
  SelectTrack: Command<TrackAt<TrackType>, boolean>;
  GetTrackLanguageCode: Command<TrackAt<TrackType>, PlatformText>;
  SetTimedTextSource: Command<{URI: string}, boolean>;
  SetDRMProperty: Command<{type: DrmProperty; propertyData: string}, boolean>;
  GetAvailableBitrates: Command<None, string>;
  GetPlayerVersion: Command<None, string>;
}

/** Commands of the module "lumivexrfmanager". */
export interface TunerCommands {
  HasRFManagerPrivilege: Command<None, boolean>;
  GetRFManagerVersion: Command<None, string>;
  SetChannelType: Command<{channelType: number}, true>;
  TuneRFChannel: Command<RFChannel, boolean>;
  GetNumOfRFTracks: Command<TrackOf<RFTrackType>, number>;
  GetSelectedRFTrack: Command<TrackOf<RFTrackType>, number>;
  SelectRFTrack: Command<TrackAt<RFTrackType>, boolean>;
  GetRFSubtitleMode: Command<None, number>;
  SetRFSubtitleMode: Command<{subtitleMode: number}, boolean>;
  /** -1 when the tuner refuses. */
  GetRFSubtitleStatus: Command<None, boolean | -1>;
  SetRFSubtitleStatus: Command<{showStatus: boolean}, boolean>;
  GetRFTrackLanguageCode: Command<TrackAt<RFTrackType>, PlatformText>;
}

// All other types of commands derive from the two tables.
export type Commands = PlayerCommands & TunerCommands;
export type CommandName = keyof Commands;
export type Module = "lumivexplayer" | "lumivexrfmanager";
export type Value<C extends CommandName> = Commands[C]["value"];

/** The arguments of a command, or those that all of several commands take. */
export type Args<C extends CommandName> =
  (C extends CommandName ? (args: Commands[C]["args"]) => void : never) extends
    (args: infer All) => void ? All : never;
export type ModuleOf<C extends CommandName> =
  [C] extends [keyof PlayerCommands] ? "lumivexplayer"
    : [C] extends [keyof TunerCommands] ? "lumivexrfmanager" : never;
type NoEnvelope = {moduleName?: never; command?: never};
type ArgsTuple<A> = {} extends A ? [args?: A & NoEnvelope] : [args: A & NoEnvelope];
// An unknown command takes any module and arguments, so that the compiler reports its name.
type SendModule<C> = [C] extends [CommandName] ? ModuleOf<C> : Module;
type SendName<C> = C extends CommandName ? C : CommandName;
type SendArgs<C> = [C] extends [CommandName] ? ArgsTuple<Args<C>> : [args?: object];

/** A function takes one or two arguments in order, more as one object. */
type FunctionArgs<A> =
  A extends None ? []
  : A extends {url: infer U; timeOffset?: infer T} ? [url: U, timeOffset?: T]
  : A extends {type: infer T; propertyData: infer D} ? [type: T, propertyData: D]
  : A extends {trackType: infer T; index: infer I} ? [trackType: T, index: I]
  : A extends {trackType: infer T} ? [trackType: T]
  : A extends RFChannel ? [channel: Omit<RFChannel, "ptc"> & Partial<RFChannel>]
  : A extends DisplayArea ? [area: DisplayArea]
  : [value: A[keyof A]];
type Functions<Table extends Record<keyof Table, Command<unknown, unknown>>> = {
  readonly [C in keyof Table as Uncapitalize<C & string>]:
    (...args: FunctionArgs<Table[C]["args"]>) => Table[C]["value"];
};
/** Throws LumivexError; false, -1, "FAILED" and "" are refusals by the player. */
export type Player = Functions<PlayerCommands>;
/** Throws LumivexError; false, -1 and "FAILED" are refusals by the tuner. */
export type Tuner = Functions<TunerCommands>;

export type ErrorReply =
  | {code: 9; value: null; errorName: "NotSupportedError"; errorMessage: string}
  | {code: 11; value: null; errorName: "InvalidStateError"; errorMessage: string}
  | {code: 18; value: null; errorName: "SecurityError"; errorMessage: string}
  | {code: 26; value: null; errorName: "InvalidValuesError"; errorMessage: string};
export type Reply<T = unknown> =
  {code: 0; value: T; errorName: ""; errorMessage: ""} | ErrorReply;

/** An event as the plug-in posts it. */
export type PluginMessage =
  | {event: "PLAYBACK_ERROR_EVENT"; type: ErrorType; extra: number}
  | {event: "PLAYBACK_INFO_EVENT"; type: InfoType | 1 | 2 | 3 | 6 | 8; param1: number; param2: number}
  | {event: "PLAYBACK_DRMINFO_EVENT"; type: 0; data: PlatformText}
  | {event: "PLAYBACK_TIMEDTEXT_EVENT"; text: PlatformText}
  | {event: "RF_INFO_EVENT"; eventType: 0};

/** The details of the client's events. */
export interface EventDetails {
  playbackerror: {type: ErrorType; extra: number};
  bufferingstart: {};
  bufferingcomplete: {};
  bufferingprogress: {percent: number};
  /** In milliseconds, several times a second while playing. */
  position: {position: number};
  /** The video's size became known or changed. */
  resolution: {width: number; height: number};
  /** Any other playback information. */
  info: {type: InfoType; param1: number; param2: number};
  drminfo: {type: 0; data: PlatformText};
  timedtext: {text: PlatformText};
  /** Tuning succeeded. */
  tuned: {eventType: 0};
  /** Any other message: the refusal of a request sent with embed.postMessage. */
  message: unknown;
}
export type Listener<T extends keyof EventDetails> =
  | ((this: Lumivex, event: CustomEvent<EventDetails[T]>) => void)
  | {handleEvent(event: CustomEvent<EventDetails[T]>): void};

/** <embed type="application/x-lumivex"> in the engine, or FakePlugin of lumivex/fake. */
export interface PluginElement extends EventTarget {
  postMessageAndAwaitResponse(request: unknown): unknown;
  postMessage(request: unknown): void;
}

/** An error result, or code -1: the plug-in is missing or has crashed. */
export class LumivexError extends Error {
  readonly code: ErrorReply["code"] | -1;
  readonly name: ErrorReply["errorName"] | "PluginError";
  readonly command: string;
  constructor(
    reply: {code: number; errorName: string; errorMessage: string}, command: string);
}

export class Lumivex extends EventTarget {
  static readonly MIME_TYPE: "application/x-lumivex";
  /** The names of all commands, by module. */
  static readonly COMMANDS: {readonly [M in Module]: readonly CommandName[]};
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
  /** Of "playbackerror". The meanings are the desktop player's; a device's may differ. */
  static readonly ErrorType: {
    readonly OTHER: 0;
    readonly SOURCE: 1;
    readonly NETWORK: 2;
    readonly FORMAT: 4;
    readonly NO_DECODER: 5;
    readonly DECODER: 6;
    readonly LIBRARY_187: 7;
    readonly ENCRYPTED: 8;
  };
  /** Of "info". A desktop sends only END; the others are messages of a device's library. */
  static readonly InfoType: {
    readonly LIBRARY_32: 0;
    readonly LIBRARY_96: 4;
    readonly END: 5;
    readonly LIBRARY_35: 7;
    readonly LIBRARY_177: 9;
  };

  /** An <embed> must be in the document and displayed, or it has no plug-in. */
  constructor(embed: HTMLEmbedElement | PluginElement);

  readonly embed: PluginElement;
  readonly player: Player;
  readonly tuner: Tuner;
  /** Called for each request, with its reply, and for each event. */
  trace: ((kind: "request" | "event", message: unknown, reply?: Reply) => void) | null;

  /** Sends a command by name; throws LumivexError. */
  send<C extends string>(
    moduleName: SendModule<C>, command: SendName<C>, ...args: SendArgs<C>): Value<C & CommandName>;
  /** Sends any request; throws LumivexError. */
  sendRaw(moduleName: unknown, command: unknown, args?: object): unknown;
  /** Stops the events. */
  close(): void;

  addEventListener<T extends keyof EventDetails>(
    type: T, listener: Listener<T> | null, options?: boolean | AddEventListenerOptions): void;
  removeEventListener<T extends keyof EventDetails>(
    type: T, listener: Listener<T> | null, options?: boolean | EventListenerOptions): void;
}
