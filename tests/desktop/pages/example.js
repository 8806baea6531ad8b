"use strict";
// The example page, worked as with a remote control.
run(async () => {
  const frame = document.createElement("iframe");
  frame.style = "border: 0; width: 100vw; height: 100vh; display: block";
  document.body.append(frame);
  const loaded = new Promise((resolve) => { frame.onload = resolve; });
  frame.src = `index.html?media=${encodeURIComponent(media(""))}`;
  await loaded;
  const page = frame.contentDocument;
  const text = (id) => page.getElementById(id).textContent;
  const press = (...keys) => keys.forEach((key) => {
    const target = page.activeElement;
    const pressed = target.dispatchEvent(new frame.contentWindow.KeyboardEvent(
      "keydown", {key, bubbles: true, cancelable: true}));
    if (pressed && key === "Enter") {
      target.click();  // what the engine does with a real key
    }
  });
  check("versions", /Player 1.50\s+Tuner 1.50/.test(text("versions")));
  check("the first source has the focus", page.activeElement.textContent.startsWith("Colour bars"));
  page.getElementById("stage").dispatchEvent(
    new frame.contentWindow.MouseEvent("mousedown", {bubbles: true, cancelable: true}));
  page.activeElement.blur();  // where a click on an empty place, or a button that is disabled, leaves it
  press("ArrowDown", "Enter");
  await until("plays", () => text("position") === "0:02");
  check("duration", text("duration"), "0:20");
  check("languages", text("audio"), "AudioEnglish");
  page.getElementById("audio").focus();
  press("Enter");
  await until("the other language", () => text("audio") === "AudioGerman");
  press("ArrowRight");
  check("right of the audio", page.activeElement.id, "subtitles");
  press("Enter");
  check("subtitles", text("subtitles"), "SubtitlesFrom a file");
  await until("a caption", () => text("caption").includes("Second cue"));
  page.getElementById("seek").focus();
  press("ArrowRight", "ArrowRight");
  await until("sought", () => /0:1[2-5]/.test(text("position")));
  press(" ");
  check("paused", text("play"), "Play");
  await step("boxed");
  page.getElementById("size").focus();
  press("Enter", "Enter");
  check("full", page.body.classList.contains("full"));
  await step("full");
  press("Shift");
  check("still full", page.body.classList.contains("full"));
  press("MediaPlayPause");
  check("told that it plays", text("sign"), "Playing");
  press("ArrowRight");
  check("told where it plays", /^0:\d\d \/ 0:20$/.test(text("sign")));
  check("with a line", parseFloat(page.querySelector("#line span").style.width) > 50);
  await until("the end", () => text("sign") === "The end" && text("play") === "Play");
  press("GoBack");
  check("boxed again", page.body.classList.contains("full"), false);
  press(" ");
  await until("from the beginning", () => text("play") === "Pause" && text("position") === "0:01");

  press("MediaTrackNext");
  await until("a track without a language", () => text("audio") === "AudioTrack 1");
  press("9");
  check("a number begins", text("tuned"), "Channel 9");
  press("Enter");
  await until("tuned", () => text("tuned") === "Lumivex Arts");
  check("told on the stage", /^Lumivex Arts\n.*no picture/.test(text("idle")));
  check("nothing plays beside it", text("play"), "Play");
  check("broadcast audio", text("rf-audio"), "AudioFrench");
  page.getElementById("rf-audio").focus();
  press("Enter");
  check("next broadcast audio", text("rf-audio"), "AudioEnglish");
  press("ChannelUp");
  await until("no signal", () => text("tuned") === "Lumivex Night: no signal");

  const address = page.getElementById("address");
  address.value = media("missing.webm");
  address.focus();
  press("Enter");
  await until("told of a file that is not there",
    () => /missing.webm cannot be played:\n.* does not exist/.test(text("idle")));
  check("listed as an error", page.querySelector("#console .error").textContent.includes("ERROR"));
  check("messages are listed", page.querySelectorAll("#console li").length > 10);
  await step("stopped");
});
