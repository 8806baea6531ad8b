// The client of the Lumivex plug-in for web pages; types in module.d.ts.
//
//   const tv = new Lumivex(document.querySelector("embed"));
//   tv.addEventListener("position", ({detail}) => console.log(detail.position));
//   tv.player.setDataSource("film.mp4") && tv.player.start();
//
// Every command is a function that returns the value of the plug-in's reply. The page blocks until the
// reply: setDataSource opens the source, which can take seconds.
//  - A refusal by the player or the tuner is a value: false, -1, "FAILED" or "".
//  - An error result is thrown as a LumivexError: no privilege, a missing argument, no tuner.
// tv.trace = console.log logs all messages.
//
// A classic script that defines Lumivex and LumivexError, so that it also works from a file; module.js
// exports them. Written in ES2017, for Chromium 64, the first whose EventTarget can be extended.
(function (scope) {
  "use strict";

  // The commands by module: from the function's arguments to those in the request. Commands with more
  // than two arguments take one object.
  const COMMANDS = {
    lumivexplayer: {
      HasPlayerPrivilege: () => ({}),
      SetDataSource: (url, timeOffset) => ({url, timeOffset}),
      Start: () => ({}),
      Stop: () => ({}),
      Pause: () => ({}),
      Resume: () => ({}),
      SeekTo: (msec) => ({msec}),
      SetPlaybackSpeed: (speed) => ({speed}),
      GetPlaybackSpeed: () => ({}),
      SetDisplayArea: ({x, y, width, height, scalingMode}) => ({x, y, width, height, scalingMode}),
      GetCurrentPosition: () => ({}),
      GetDuration: () => ({}),
      GetVideoWidth: () => ({}),
      GetVideoHeight: () => ({}),
      GetNumOfTracks: (trackType) => ({trackType}),
      GetSelectedTrack: (trackType) => ({trackType}),
      SelectTrack: (trackType, index) => ({trackType, index}),
      GetTrackLanguageCode: (trackType, index) => ({trackType, index}),
      SetTimedTextSource: (URI) => ({URI}),
      SetDRMProperty: (type, propertyData) => ({type, propertyData}),
      GetAvailableBitrates: () => ({}),
      GetPlayerVersion: () => ({}),
    },
    lumivexrfmanager: {
      HasRFManagerPrivilege: () => ({}),
      GetRFManagerVersion: () => ({}),
      SetChannelType: (channelType) => ({channelType}),
      TuneRFChannel: ({ptc = 0, major, minor, programNum, transportStreamID}) =>
        ({ptc, major, minor, programNum, transportStreamID}),
      GetNumOfRFTracks: (trackType) => ({trackType}),
      GetSelectedRFTrack: (trackType) => ({trackType}),
      SelectRFTrack: (trackType, index) => ({trackType, index}),
      GetRFSubtitleMode: () => ({}),
      SetRFSubtitleMode: (subtitleMode) => ({subtitleMode}),
      GetRFSubtitleStatus: () => ({}),
      SetRFSubtitleStatus: (showStatus) => ({showStatus}),
      GetRFTrackLanguageCode: (trackType, index) => ({trackType, index}),
    },
  };

  // PLAYBACK_INFO_EVENT by its type; other types are "info".
  const INFO_EVENTS = {
    1: () => ["bufferingstart", {}],
    2: () => ["bufferingcomplete", {}],
    3: ({param1}) => ["bufferingprogress", {percent: param1}],
    6: ({param1}) => ["position", {position: param1}],
    8: ({param1, param2}) => ["resolution", {width: param1, height: param2}],
  };

  const EVENTS = {
    PLAYBACK_ERROR_EVENT: ({type, extra}) => ["playbackerror", {type, extra}],
    PLAYBACK_INFO_EVENT: (data) =>
      INFO_EVENTS[data.type]
        ? INFO_EVENTS[data.type](data)
        : ["info", {type: data.type, param1: data.param1, param2: data.param2}],
    PLAYBACK_DRMINFO_EVENT: ({type, data}) => ["drminfo", {type, data}],
    PLAYBACK_TIMEDTEXT_EVENT: ({text}) => ["timedtext", {text}],
    RF_INFO_EVENT: ({eventType}) => ["tuned", {eventType}],
  };

  class LumivexError extends Error {
    constructor({code, errorName, errorMessage}, command) {
      super(errorMessage || errorName);
      this.code = code;
      this.name = errorName;
      this.command = command;
    }
  }

  function noPlugin(message, command) {
    return new LumivexError({code: -1, errorName: "PluginError", errorMessage: message}, command);
  }

  class Lumivex extends EventTarget {
    constructor(embed) {
      super();
      this.embed = embed;
      this.trace = null;
      this.player = this._functions("lumivexplayer");
      this.tuner = this._functions("lumivexrfmanager");
      this._listener = ({data}) => this._onMessage(data);
      embed.addEventListener("message", this._listener);
    }

    // Sends a command by name; the types check it.
    send(moduleName, command, args) {
      return this.sendRaw(moduleName, command, args);
    }

    // Sends any request. Undefined arguments are left out.
    sendRaw(moduleName, command, args) {
      const request = {moduleName, command};
      for (const [key, value] of Object.entries(args || {})) {
        if (value !== undefined) {
          request[key] = value;
        }
      }
      if (typeof this.embed.postMessageAndAwaitResponse !== "function") {
        throw noPlugin("The element has no plug-in", command);
      }
      let reply;
      try {
        reply = this.embed.postMessageAndAwaitResponse(request);
      } catch (error) {
        throw noPlugin(`The plug-in does not reply: ${error.message}`, command);
      }
      if (reply === null || typeof reply !== "object") {
        throw noPlugin("The plug-in does not reply", command);
      }
      if (this.trace) {
        this.trace("request", request, reply);
      }
      if (reply.code !== 0) {
        throw new LumivexError(reply, command);
      }
      return reply.value;
    }

    // Stops the events. To end the plug-in, remove the element.
    close() {
      this.embed.removeEventListener("message", this._listener);
    }

    _functions(moduleName) {
      const functions = {};
      for (const [command, toArguments] of Object.entries(COMMANDS[moduleName])) {
        functions[command[0].toLowerCase() + command.slice(1)] = (...args) =>
          this.sendRaw(moduleName, command, toArguments(...args));
      }
      return functions;
    }

    _onMessage(data) {
      if (this.trace) {
        this.trace("event", data);
      }
      const known = data && EVENTS[data.event];
      const [type, detail] = known ? known(data) : ["message", data];
      this.dispatchEvent(new CustomEvent(type, {detail}));
    }
  }

  Lumivex.MIME_TYPE = "application/x-lumivex";
  Lumivex.COMMANDS = {};
  for (const moduleName of Object.keys(COMMANDS)) {
    Lumivex.COMMANDS[moduleName] = Object.keys(COMMANDS[moduleName]);
  }
  Lumivex.TrackType = Object.freeze({VIDEO: 1, AUDIO: 2, TIMED_TEXT: 3, SUBTITLE: 4});
  Lumivex.ScalingMode = Object.freeze({KEEP_ASPECT: 0, FILL: 1});
  Lumivex.DrmProperty = Object.freeze(
    {REQUEST_CHALLENGE_DATA: 0, SET_LICENSE: 1, LICENSE_SERVER: 2, COOKIE: 3});
  // The meanings are the desktop player's; LIBRARY_... are messages of a device's library.
  Lumivex.ErrorType = Object.freeze({OTHER: 0, SOURCE: 1, NETWORK: 2, FORMAT: 4, NO_DECODER: 5,
    DECODER: 6, LIBRARY_187: 7, ENCRYPTED: 8});
  Lumivex.InfoType = Object.freeze(
    {LIBRARY_32: 0, LIBRARY_96: 4, END: 5, LIBRARY_35: 7, LIBRARY_177: 9});

  scope.Lumivex = Lumivex;
  scope.LumivexError = LumivexError;
})(typeof self === "undefined" ? globalThis : self);
