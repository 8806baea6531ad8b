// Types of the fake element.
import {Args, CommandName, ErrorReply, Module, PluginElement, PluginMessage, Value} from "./module.js";

export interface FakeOptions {
  /** Modules without the privilege. */
  denied?: readonly Module[];
  /** Whether a tuner is available; true by default. */
  tuner?: boolean;
}

/** A value, or a function of the arguments, converted as in the plug-in. */
export type Answers = {
  [C in CommandName]: Value<C> | ((args: Args<C>) => Value<C>);
};

export type Refusable = Exclude<CommandName,
  "HasPlayerPrivilege" | "HasRFManagerPrivilege" | "GetPlayerVersion" | "GetRFManagerVersion" |
  "GetPlaybackSpeed" | "SetChannelType">;

export class FakePlugin extends EventTarget implements PluginElement {
  constructor(options?: FakeOptions);
  /** What each command answers. By default everything is accepted. */
  answers: Answers;
  /** All requests so far, in order. */
  requests: any[];
  /** These commands now answer as when the player or the tuner refuses. */
  refuse(...commands: Refusable[]): void;
  /** This command now has an error result. */
  fail(command: CommandName, errorName: ErrorReply["errorName"], errorMessage?: string): void;
  /** This command now blocks for msec before it answers. */
  delay(command: CommandName, msec: number): void;
  /** Posts an event to the page after the running code; resolves when the listeners have run. */
  raise(message: PluginMessage): Promise<void>;
  /** Clears requests and restores answers, failures and delays. */
  reset(): void;
  postMessageAndAwaitResponse(request: unknown): unknown;
  postMessage(request: unknown): void;
}
