// Types of the stand-in for the plug-in's element.
import {Args, CommandName, ErrorReply, Module, PluginElement, PluginMessage, Value} from "./module.js";

export interface FakeOptions {
  /** Modules whose privilege the application lacks. */
  denied?: readonly Module[];
  /** Whether there is a tuner to obtain; true unless given. */
  tuner?: boolean;
}

/** A value, or a function of the arguments converted as the plug-in does. */
export type Answers = {
  [C in CommandName]: Value<C> | ((args: Args<C>) => Value<C>);
};

export type Refusable = Exclude<CommandName,
  "HasPlayerPrivilege" | "HasRFManagerPrivilege" | "GetPlayerVersion" | "GetRFManagerVersion" |
  "GetPlaybackSpeed" | "SetChannelType">;

export class FakePlugin extends EventTarget implements PluginElement {
  constructor(options?: FakeOptions);
  /** What each command answers. Unless changed, all is accepted. */
  answers: Answers;
  /** Whatever was sent, in its order. */
  requests: any[];
  /** From now on these answer what they answer when the player or the tuner refuses. */
  refuse(...commands: Refusable[]): void;
  /** From now on the command has an error result. */
  fail(command: CommandName, errorName: ErrorReply["errorName"], errorMessage?: string): void;
  /** From now on the command blocks for so long before it answers. */
  delay(command: CommandName, msec: number): void;
  /** Posts an event to the page, after the running code; resolves when the listeners have run. */
  raise(message: PluginMessage): Promise<void>;
  /** Forgets requests, changed answers, failures and delays. */
  reset(): void;
  postMessageAndAwaitResponse(request: unknown): unknown;
  postMessage(request: unknown): void;
}
