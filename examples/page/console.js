// The live list of messages to and from the plug-in.
"use strict";

const MESSAGES_KEPT = 40;
const LONGEST_TEXT = 36;

// JSON, with long texts shortened to their end: of a URL, the last two parts.
function brief(value) {
  return JSON.stringify(value, (_, part) => {
    if (typeof part !== "string" || part.length <= LONGEST_TEXT) {
      return part;
    }
    const ending = `/${part.split("/").slice(-2).join("/")}`;
    return `\u2026${ending.slice(-LONGEST_TEXT)}`;
  });
}

class MessageList {
  constructor(list) {
    this._list = list;
    this._lastEvent = null;  // the last line: {key, line, count}
  }

  request({command, moduleName, ...args}, reply) {
    const given = Object.keys(args).length ? " " + brief(args) : "";
    const answer = reply.code === 0 ? brief(reply.value)
      : `${reply.errorName} ${reply.errorMessage}`;
    const line = this._add("request", `\u2192 ${command}${given} `);
    const tail = document.createElement("span");
    tail.className = reply.code === 0 ? "answer" : "error";
    tail.textContent = `= ${answer}`;
    line.append(tail);
    this._lastEvent = null;
  }

  // Consecutive events of one kind, such as positions, share a line.
  event(data) {
    const key = `${data && data.event} ${data && data.type}`;
    const repeats = this._lastEvent && this._lastEvent.key === key;
    if (!repeats) {
      const kind = data && data.event === "PLAYBACK_ERROR_EVENT" ? "error" : "event";
      this._lastEvent = {key, line: this._add(kind, ""), count: 0};
    }
    const count = ++this._lastEvent.count;
    const {event, ...rest} = data || {};
    this._lastEvent.line.textContent =
      `\u2190 ${event || "message"} ${brief(rest)}${count > 1 ? ` \u00d7${count}` : ""}`;
    this._list.scrollTop = this._list.scrollHeight;
  }

  error(text) {
    this._add("error", `! ${text}`);
    this._lastEvent = null;
  }

  _add(kind, text) {
    const line = document.createElement("li");
    line.className = kind;
    line.textContent = text;
    this._list.append(line);
    while (this._list.children.length > MESSAGES_KEPT) {
      this._list.firstChild.remove();
    }
    this._list.scrollTop = this._list.scrollHeight;
    return line;
  }
}
