// Types of the classic script lumivex.js, which defines these two names for all scripts of a page.
// The other types are in module.d.ts: import("lumivex").TrackType.
import * as client from "./module.js";

declare global {
  const Lumivex: typeof client.Lumivex;
  type Lumivex = client.Lumivex;
  const LumivexError: typeof client.LumivexError;
  type LumivexError = client.LumivexError;
}
