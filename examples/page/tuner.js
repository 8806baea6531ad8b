// The broadcast side of the page. The tuner does not list its services, so the page has its own list,
// that of the simulated tuner.
"use strict";

const CHANNELS = [
  {type: 0, name: "Lumivex One", major: 5, minor: 1, programNum: 1, transportStreamID: 4097},
  {type: 0, name: "Lumivex News", major: 5, minor: 2, programNum: 2, transportStreamID: 4097},
  {type: 0, name: "Lumivex Radio", major: 5, minor: 3, programNum: 3, transportStreamID: 4097},
  {type: 0, name: "Lumivex Arts", major: 9, minor: 1, programNum: 1, transportStreamID: 4098},
  {type: 0, name: "Lumivex Night", major: 9, minor: 2, programNum: 2, transportStreamID: 4098},
  {type: 1, name: "Cable Movies", major: 105, minor: 1, programNum: 11, transportStreamID: 8193},
  {type: 1, name: "Cable Sport", major: 105, minor: 2, programNum: 12, transportStreamID: 8193},
  {type: 1, name: "Cable Kids", major: 112, minor: 1, programNum: 21, transportStreamID: 8194},
  {type: 1, name: "Cable Preview", major: 112, minor: 2, programNum: 22, transportStreamID: 8194},
];
const TUNE_TIME = 1500;  // no event by then means no signal
const ENTRY_TIME = 1500;  // without a further digit, the number is complete

class TunerPanel {
  // attempt: see page.js. onTune is called before tuning. showPicture(text, failed) shows a text in
  // place of the channel's picture, announce(text) the number being entered.
  constructor(tv, attempt, {onTune, showPicture, announce}) {
    this._attempt = attempt;
    this._onTune = onTune;
    this._showPicture = showPicture;
    this._announce = announce;
    this._entry = "";  // digits so far
    this._channel = null;
    this._tuned = false;
    this._band = 0;
    for (const band of document.querySelectorAll(".band")) {
      band.onclick = () => this._showBand(Number(band.dataset.type));
    }
    byId("rf-audio").onclick = () => this._nextTrack(Lumivex.TrackType.AUDIO);
    byId("rf-subtitles").onclick = () => this._nextSubtitle();
    tv.addEventListener("tuned", () => this._setTuned(true, this._channel.name));
    this._showBand(0);
    this._showTracks();
  }

  _showBand(type) {
    this._band = type;
    for (const band of document.querySelectorAll(".band")) {
      band.classList.toggle("chosen", Number(band.dataset.type) === type);
    }
    const list = document.querySelector("#channels .list");
    list.textContent = "";
    for (const channel of CHANNELS.filter((one) => one.type === type)) {
      const button = document.createElement("button");
      button.textContent = `${channel.major}.${channel.minor}  ${channel.name}`;
      button.onclick = () => this._tune(channel);
      list.append(button);
    }
    this._markChannel();
  }

  _markChannel() {
    const channels = CHANNELS.filter(({type}) => type === this._band);
    document.querySelectorAll("#channels .list button").forEach((button, index) =>
      button.classList.toggle("chosen", channels[index] === this._channel));
  }

  // The channel that is so many places on in the list.
  step(places) {
    const channels = CHANNELS.filter(({type}) => type === this._band);
    const at = channels.indexOf(this._channel);
    this._tune(channels[at < 0 ? 0 : (at + places + channels.length) % channels.length]);
  }

  get isEntering() {
    return this._entry !== "";
  }

  // A digit or the point of a number like 5.2; the first channel of 5 is meant by 5.
  enter(key) {
    clearTimeout(this._entryTimer);
    this._entry += key;
    this._say(`Channel ${this._entry}`);
    this._entryTimer = setTimeout(() => this.finishEntry(), ENTRY_TIME);
  }

  finishEntry() {
    clearTimeout(this._entryTimer);
    const [major, minor] = this._entry.split(".").map(Number);
    const channel = CHANNELS.find((one) =>
      one.major === major && (!minor || one.minor === minor));
    if (channel) {
      this._tune(channel);
    } else {
      this._say(`Unknown channel ${this._entry}`);
    }
    this._entry = "";
  }

  _say(text) {
    byId("tuned").textContent = text;
    this._announce(text);
  }

  _tune(channel) {
    const {type, name, ...place} = channel;
    clearTimeout(this._timer);
    this._onTune();
    if (!this._attempt("",
      ({tuner}) => tuner.setChannelType(type) && tuner.tuneRFChannel(place))) {
      this._showPicture(`Cannot tune to ${name}`, true);
      return;
    }
    this._channel = channel;
    if (type === this._band) {
      this._markChannel();
    } else {
      this._showBand(type);
    }
    this._setTuned(false, `Tuning to ${name} \u2026`);
    this._timer = setTimeout(() => this._setTuned(false, `${name}: no signal`), TUNE_TIME);
  }

  _setTuned(tuned, text) {
    clearTimeout(this._timer);
    this._tuned = tuned;
    byId("tuned").textContent = text;
    this._showPicture(tuned ? `${text}\nChannels have no picture on a desktop` : text);
    this._showTracks();
  }

  _nextTrack(trackType) {
    this._attempt("Cannot select this track", ({tuner}) => tuner.selectRFTrack(
      trackType, (tuner.getSelectedRFTrack(trackType) + 1) % tuner.getNumOfRFTracks(trackType)));
    this._showTracks();
  }

  // Off, then each language in turn.
  _nextSubtitle() {
    const {SUBTITLE} = Lumivex.TrackType;
    this._attempt("Cannot show these subtitles", ({tuner}) => {
      const shown = tuner.getRFSubtitleStatus() === true;
      const next = shown ? tuner.getSelectedRFTrack(SUBTITLE) + 1 : 0;
      return next === tuner.getNumOfRFTracks(SUBTITLE)
        ? tuner.setRFSubtitleStatus(false)
        : tuner.selectRFTrack(SUBTITLE, next) && tuner.setRFSubtitleStatus(true);
    });
    this._showTracks();
  }

  _showTracks() {
    const {AUDIO, SUBTITLE} = Lumivex.TrackType;
    let counts = [0, 0];
    let names = ["\u2013", "\u2013"];
    if (this._tuned) {
      this._attempt("", ({tuner}) => {
        const name = (type) => languageName(
          tuner.getRFTrackLanguageCode(type, tuner.getSelectedRFTrack(type)), "?");
        counts = [AUDIO, SUBTITLE].map((type) => tuner.getNumOfRFTracks(type));
        names = [
          counts[0] > 0 ? name(AUDIO) : "None",
          counts[1] <= 0 ? "None" : tuner.getRFSubtitleStatus() === true ? name(SUBTITLE) : "Off",
        ];
        return true;
      });
    }
    byId("rf-audio").lastChild.textContent = names[0];
    byId("rf-subtitles").lastChild.textContent = names[1];
    byId("rf-audio").disabled = counts[0] < 2;
    byId("rf-subtitles").disabled = counts[1] < 1;
  }
}
