// Puts the page together. The media are those of examples/make-media.sh; another folder is given as
// index.html?media=ADDRESS.
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

// Runs an action on the client. An answer of false is told in these words, if there are any; an
// error in its own. True when all went well.
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
    if (error.code === -1) {  // what the plug-in answers itself is in the list already
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

function onKey(event, panel) {
  const typing = document.activeElement === byId("address") && byId("address").value !== "";
  const sideways = event.key === "ArrowLeft" ? -1 : event.key === "ArrowRight" ? 1 : 0;
  if (panel.isFull) {
    if (sideways) {
      panel.seekBy(10000 * sideways);
    } else if (event.key === "Enter" || event.key === " ") {
      panel.playOrPause();
    } else if (event.key !== "F5" && event.key !== "F11") {
      panel.leaveFull();
    }
  } else if (sideways && document.activeElement === byId("seek")) {
    panel.seekBy(5000 * sideways);
  } else if (event.key in DIRECTIONS && !(typing && sideways)) {
    moveFocus(event.key);
  } else if (event.key === " " && !typing) {
    panel.playOrPause();
  } else {
    return;
  }
  event.preventDefault();
}

const playerPanel = new PlayerPanel(tv, attempt, notify);
new TunerPanel(tv, attempt);
addSources(playerPanel);
showVersions();
showClock();
setInterval(showClock, 10000);
document.addEventListener("keydown", (event) => onKey(event, playerPanel));
document.querySelector("#sources button").focus();
