// Puts the page together. It plays the media of examples/make-media.sh; index.html?media=URL selects
// another folder.
"use strict";

const MEDIA = new URL(
  new URLSearchParams(location.search).get("media") || "../../build/media/", location.href);
const SOURCES = [
  {name: "Colour bars", note: "20 s, 640 \u00d7 360", file: "clip.webm"},
  {name: "Two languages", note: "320 \u00d7 240, with subtitles", file: "tracks.mkv"},
  {name: "Adaptive stream", note: "three bitrates", file: "hls/master.m3u8"},
];

const messages = new MessageList(document.querySelector("#console ol"));
const tv = new Lumivex(byId("plugin"));
tv.trace = (kind, ...traced) => messages[kind](...traced);

function notify(text) {
  byId("notice").textContent = text;
}

// Shows this text on the stage where there is no picture, or by default the channel.
let channelPicture = "";
function stage(text, failed = false) {
  byId("idle").textContent = text || channelPicture || "Choose a source or a channel";
  byId("idle").classList.toggle("error", failed);
}

// Runs an action on the client. If it returns false, shows these words, if any; if it throws, the
// error's message. Returns whether it succeeded.
function attempt(words, action) {
  try {
    const done = action(tv);
    if (!done && words) {
      notify(words);
    }
    return done;
  } catch (error) {
    if (!(error instanceof LumivexError)) {
      throw error;
    }
    notify(error.message);
    if (error.code === -1) {  // the plug-in's own replies are already in the list
      messages.error(`${error.command}: ${error.message}`);
    }
    return false;
  }
}

function showVersions() {
  const versions = [["Player", ({player}) => player.getPlayerVersion()],
    ["Tuner", ({tuner}) => tuner.getRFManagerVersion()]];
  byId("versions").textContent = versions
    .map(([name, ask]) => `${name} ${attempt("", ask) || "not allowed"}`)
    .join("   ");
}

function showClock() {
  byId("clock").textContent = new Date().toTimeString().slice(0, 5);
}

function addSources(panel) {
  const list = document.querySelector("#sources .list");
  const open = (source, button) => {
    for (const other of list.children) {
      other.classList.toggle("chosen", other === button);
    }
    panel.open(source);
  };
  for (const {name, note, file} of SOURCES) {
    const button = document.createElement("button");
    const small = document.createElement("small");
    small.textContent = note;
    button.append(name, small);
    button.onclick = () => open(
      {name, url: new URL(file, MEDIA).href, captions: new URL("cues.srt", MEDIA).href}, button);
    list.append(button);
  }
  byId("address").onkeydown = (event) => {
    if (event.key === "Enter" && event.target.value) {
      event.preventDefault();
      open({name: event.target.value, url: event.target.value}, null);
    }
  };
}

function openNext(places) {
  const buttons = [...document.querySelectorAll("#sources .list button")];
  const at = buttons.findIndex((button) => button.classList.contains("chosen"));
  buttons[at < 0 ? 0 : (at + places + buttons.length) % buttons.length].click();
}

// Keys of a remote control, by their names in a television's engine.
const REMOTE_KEYS = {
  MediaPlayPause: () => playerPanel.playOrPause(),
  MediaPlay: () => playerPanel.isPlaying || playerPanel.playOrPause(),
  MediaPause: () => playerPanel.isPlaying && playerPanel.playOrPause(),
  MediaStop: () => playerPanel.stop(),
  MediaTrackNext: () => openNext(1),
  MediaTrackPrevious: () => openNext(-1),
  MediaFastForward: () => playerPanel.seekBy(10000),
  MediaRewind: () => playerPanel.seekBy(-10000),
  ColorF0Red: () => byId("audio").click(),
  ColorF1Green: () => byId("subtitles").click(),
  ColorF2Yellow: () => byId("speed").click(),
  ColorF3Blue: () => byId("size").click(),
  ChannelUp: () => tunerPanel.step(1),
  ChannelDown: () => tunerPanel.step(-1),
};
const BACK_KEYS = ["Escape", "Backspace", "GoBack", "BrowserBack"];

// Returns whether the key was handled.
function onKey(key) {
  const inAddress = document.activeElement === byId("address") && !playerPanel.isFull;
  const typing = inAddress && byId("address").value !== "";
  const sideways = key === "ArrowLeft" ? -1 : key === "ArrowRight" ? 1 : 0;
  if (key in REMOTE_KEYS) {
    REMOTE_KEYS[key]();
  } else if (!inAddress && (/^[0-9]$/.test(key) || (key === "." && tunerPanel.isEntering))) {
    tunerPanel.enter(key);
  } else if (key === "Enter" && tunerPanel.isEntering) {
    tunerPanel.finishEntry();
  } else if (playerPanel.isFull && sideways) {
    playerPanel.seekBy(10000 * sideways);
  } else if (playerPanel.isFull && BACK_KEYS.includes(key)) {
    playerPanel.leaveFull();
  } else if (key === " " && !typing || key === "Enter" && playerPanel.isFull) {
    playerPanel.playOrPause();
  } else if (playerPanel.isFull) {
    return false;
  } else if (sideways && document.activeElement === byId("seek")) {
    playerPanel.seekBy(5000 * sideways);
  } else if (key in DIRECTIONS && !(typing && sideways)) {
    moveFocus(key);
  } else {
    return false;
  }
  return true;
}

const playerPanel = new PlayerPanel(tv, attempt, notify, stage);
const tunerPanel = new TunerPanel(tv, attempt, {
  onTune: () => playerPanel.stop(),
  showPicture: (text, failed) => {
    channelPicture = failed ? "" : text;
    stage(text, failed);
  },
  announce: (text) => playerPanel.sign(text),
});
addSources(playerPanel);
showVersions();
showClock();
setInterval(showClock, 10000);
document.addEventListener("keydown", (event) => {
  const withModifier = event.ctrlKey || event.altKey || event.metaKey;
  if (!withModifier && onKey(event.key)) {
    event.preventDefault();
  }
});
document.querySelector("#sources button").focus();
