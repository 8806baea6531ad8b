// The playback side of the page: a source, its position, tracks, captions and the picture's place.
"use strict";

const SPEEDS = [0.5, 1, 1.5, 2];
const SIZES = ["Boxed", "Stretched", "Full"];
const HINT_TIME = 4000;
const REASONS = {  // by Lumivex.ErrorType
  1: "it does not exist or cannot be read",
  2: "the server cannot be reached or sends nothing",
  4: "unknown format, or damaged",
  5: "no decoder",
  6: "the decoder failed",
  8: "it is encrypted",
};

const byId = (id) => document.getElementById(id);

function clockText(msec) {
  const seconds = Math.max(0, Math.floor(msec / 1000));
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, "0")}`;
}

// "English" for "eng" or "en". "und" means no language, "FAILED" no answer.
function languageName(code, fallback) {
  try {
    return ["und", "FAILED"].includes(code) ? fallback
      : new Intl.DisplayNames(["en"], {type: "language"}).of(code);
  } catch (error) {
    return fallback;
  }
}

class PlayerPanel {
  // attempt, notify, stage: see page.js.
  constructor(tv, attempt, notify, stage) {
    this._tv = tv;
    this._attempt = attempt;
    this._notify = notify;
    this._stage = stage;
    this._name = "";  // of the last source
    this._source = null;
    this._playing = false;
    this._position = 0;
    this._duration = 0;
    this._speed = 1;
    this._size = 0;
    this._ended = false;
    this._forgetTracks();
    this._area = "";
    this._signText = "";

    byId("play").onclick = () => this.playOrPause();
    byId("stop").onclick = () => this.stop();
    byId("back").onclick = () => this.seekBy(-10000);
    byId("forward").onclick = () => this.seekBy(10000);
    byId("audio").onclick = () => this._nextAudio();
    byId("subtitles").onclick = () => this._nextText();
    byId("speed").onclick = () => this._nextSpeed();
    byId("size").onclick = () => this._setSize((this._size + 1) % SIZES.length);
    byId("seek").onclick = (event) => this._seekToPointer(event);
    window.addEventListener("resize", () => this._place());

    tv.addEventListener("position", ({detail}) => this._setPosition(detail.position));
    tv.addEventListener("resolution", () => this._place());
    tv.addEventListener("bufferingprogress", ({detail}) => this._setBuffer(detail.percent));
    tv.addEventListener("bufferingcomplete", () => this._setBuffer(100));
    tv.addEventListener("timedtext", ({detail}) => this._showCaption(detail.text));
    tv.addEventListener("info", ({detail}) => {
      if (detail.type === Lumivex.InfoType.END) {
        this._end();
        this._ended = true;
        this.sign("The end", true);
      }
    });
    tv.addEventListener("playbackerror", ({detail}) => {
      this._end();
      this._fail(REASONS[detail.type] || `error ${detail.type}`);
    });
    this._show();
  }

  get isPlaying() {
    return this._playing;
  }

  get isFull() {
    return SIZES[this._size] === "Full";
  }

  leaveFull() {
    if (this.isFull) {
      this._setSize(0);
      byId("size").focus();
    }
  }

  // Shown on the stage instead of the picture.
  _fail(reason) {
    this.leaveFull();
    this._stage(`${this._name} cannot be played${reason ? `:\n${reason}` : ""}`, true);
  }

  // captions: the URL of a subtitle file, if any.
  open({name, url, captions}) {
    this.stop();
    this._name = name;
    this._stage(`Opening ${name} \u2026`);
    // Opening blocks the page, so let it draw this text first.
    requestAnimationFrame(() => setTimeout(() => {
      this._place();
      if (!this._attempt("", ({player}) => player.setDataSource(url))) {
        this._fail();
        return;
      }
      this._source = {name, url, captions};
      this._text = 0;
      if (this._attempt(`${name} does not start`, ({player}) => player.start())) {
        this._playing = true;
        this._speed = 1;
        this._stage(name);
        this._readMedia();
      }
      this._show();
    }));
  }

  playOrPause() {
    if (this._playing) {
      this._playing = !this._attempt("Cannot pause", ({player}) => player.pause());
    } else {
      this._playing = this._attempt("Nothing to play", ({player}) =>
        this._source !== null && (player.resume() || player.start()));
      this._ended = this._ended && !this._playing;
    }
    this.sign(this._playing ? "Playing" : this._source ? "Paused" : "Nothing to play", !this._playing);
    this._show();
  }

  stop() {
    this.leaveFull();
    if (this._source) {
      this._attempt("Cannot stop", ({player}) => player.stop());
    }
    this._source = null;
    this._end();
    this._setPosition(0);
    this._duration = 0;
    this._forgetTracks();
    this._notify("");
    this._stage("");
    this._show();
  }

  seekBy(msec) {
    const target = Math.max(0, Math.min(this._position + msec, this._duration));
    if (this._attempt("Cannot seek", ({player}) => player.seekTo(target))) {
      this._playing = this._playing || this._ended;  // after the end a seek plays on
      this._ended = false;
      this._showCaption("");
      this._setPosition(target);
      this.sign(`${clockText(target)} / ${clockText(this._duration)}`, !this._playing);
      this._show();
    }
  }

  _seekToPointer(event) {
    const bar = byId("bar").getBoundingClientRect();
    const share = (event.clientX - bar.left) / bar.width;
    if (event.detail > 0 && share >= 0 && share <= 1) {  // a click, not the Enter key
      this.seekBy(Math.round(share * this._duration) - this._position);
    }
  }

  _end() {
    this._playing = false;
    this._ended = false;
    this._showCaption("");
    this._setBuffer(0);
    this._show();
  }

  _forgetTracks() {
    this._audio = [];
    this._audioIndex = -1;
    this._texts = [{name: "Off"}];
    this._text = 0;
  }

  _readMedia() {
    if (!this._source) {
      return;
    }
    const {AUDIO, SUBTITLE} = Lumivex.TrackType;
    this._attempt("", ({player}) => {
      this._duration = Math.max(0, player.getDuration());
      this._audio = this._trackNames(AUDIO);
      this._audioIndex = player.getSelectedTrack(AUDIO);
      this._texts = [{name: "Off"}];
      if (this._source.captions) {
        this._texts.push({name: "From a file", uri: this._source.captions});
      }
      this._trackNames(SUBTITLE).forEach(
        (name, index) => this._texts.push({name, index}));
      this._place();
      return true;
    });
    this._show();
  }

  _trackNames(trackType) {
    const {player} = this._tv;
    return Array.from({length: Math.max(0, player.getNumOfTracks(trackType))}, (_, index) =>
      languageName(player.getTrackLanguageCode(trackType, index), `Track ${index + 1}`));
  }

  _nextAudio() {
    const next = (this._audioIndex + 1) % this._audio.length;
    if (this._attempt("Cannot select this track",
      ({player}) => player.selectTrack(Lumivex.TrackType.AUDIO, next))) {
      this._audioIndex = next;
    }
    this._show();
  }

  _nextText() {
    const next = (this._text + 1) % this._texts.length;
    const {uri, index} = this._texts[next];
    if (this._attempt("Cannot show these subtitles", ({player}) =>
      uri ? player.setTimedTextSource(uri)
        : index === undefined || player.selectTrack(Lumivex.TrackType.SUBTITLE, index))) {
      this._text = next;
    }
    this._showCaption("");
    this._show();
  }

  _nextSpeed() {
    const speed = SPEEDS[(SPEEDS.indexOf(this._speed) + 1) % SPEEDS.length];
    if (this._attempt("Cannot play at this speed", ({player}) => player.setPlaybackSpeed(speed))) {
      this._speed = speed;
    }
    this._show();
  }

  _setSize(size) {
    this._size = size;
    document.body.classList.toggle("full", this.isFull);
    this.sign(this.isFull ? "\u2190 \u2192 seek\nEnter pauses\nEsc returns" : "");
    this._place();
    this._show();
  }

  // Shows a text and the progress line below the full picture, for a while or until the next text.
  sign(text, lasts = false) {
    clearTimeout(this._signTimer);
    this._signText = text;
    if (text && !lasts) {
      this._signTimer = setTimeout(() => this.sign(""), HINT_TIME);
    }
    this._showStrip();
  }

  // The video covers the page, so texts go to a strip below it.
  _showStrip() {
    byId("sign").textContent = this._signText;
    byId("full-caption").textContent = byId("caption").textContent;
    byId("line").classList.toggle("shown", Boolean(this._signText));
    document.body.classList.toggle("with-strip", Boolean(this._signText) || this._text > 0);
    if (this.isFull) {
      this._place();
    }
  }

  _showCaption(text) {
    const shown = this._text > 0 ? text : "";
    byId("caption").textContent = shown;
    this._showStrip();
  }

  _place() {
    const strip = byId("strip").getBoundingClientRect();  // height 0 if hidden
    const box = this.isFull
      ? {x: 0, y: 0, width: innerWidth, height: innerHeight - strip.height}
      : byId("picture").getBoundingClientRect();
    const area = {
      x: Math.round(box.x * devicePixelRatio),
      y: Math.round(box.y * devicePixelRatio),
      width: Math.round(box.width * devicePixelRatio),
      height: Math.round(box.height * devicePixelRatio),
    };
    this._attempt("", ({player}) => {
      if (SIZES[this._size] !== "Stretched" && player.getVideoWidth() > 0) {
        area.scalingMode = Lumivex.ScalingMode.KEEP_ASPECT;
      }
      if (JSON.stringify(area) !== this._area) {
        this._area = JSON.stringify(area);
        player.setDisplayArea(area);
      }
      return true;
    });
  }

  _setPosition(position) {
    this._position = position;
    byId("position").textContent = clockText(position);
    const share = this._duration > 0 ? Math.min(1, position / this._duration) : 0;
    for (const line of document.querySelectorAll("#played, #line span")) {
      line.style.width = `${100 * share}%`;
    }
  }

  _setBuffer(percent) {
    byId("buffer").style.width = percent < 100 ? `${percent}%` : "0";
  }

  _show() {
    byId("play").textContent = this._playing ? "Pause" : "Play";
    byId("duration").textContent = clockText(this._duration);
    byId("audio").lastChild.textContent = this._audio[this._audioIndex] || "\u2013";
    byId("subtitles").lastChild.textContent = this._texts[this._text].name;
    byId("speed").lastChild.textContent = `${this._speed}\u00d7`;
    byId("size").lastChild.textContent = SIZES[this._size];
    byId("audio").disabled = this._audio.length < 2;
    byId("subtitles").disabled = this._texts.length < 2;
  }
}
