// The client as an ES module. The classic script holds it all and defines its names for every
// script of the page; they are the same here.
import "./lumivex.js";

const scope = typeof self === "undefined" ? globalThis : self;
export const Lumivex = scope.Lumivex;
export const LumivexError = scope.LumivexError;
