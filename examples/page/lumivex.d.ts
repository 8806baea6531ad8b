// Types of the classic script lumivex.js, which defines these two names for all scripts of a page.
// All other types stand in module.d.ts; a classic script has them as import("lumivex").TrackType.
import * as client from "./module.js";

declare global {
  const Lumivex: typeof client.Lumivex;
  type Lumivex = client.Lumivex;
  const LumivexError: typeof client.LumivexError;
  type LumivexError = client.LumivexError;
}
