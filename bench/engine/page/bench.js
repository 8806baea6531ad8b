// Measures several kinds of calls in turns on one page.
//
// Settings in the URL: calls (in each way), batch (calls in a row), warmup (calls in each way before
// measuring), seed (of the order). The program's object "bench" gets the result.
"use strict";

const params = new URLSearchParams(location.search);
const setting = (name) => Number(params.get(name));

const REQUEST = {moduleName: "lumivexplayer", command: "GetPlayerVersion"};
const VERSION = "1.50";
// The first calls of a batch wake the other side and fill the caches.
const UNCOUNTED = 2;

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function element(type) {
  const embed = document.createElement("embed");
  embed.type = type;
  embed.style = "position: absolute; width: 1px; height: 1px";
  document.body.append(embed);
  for (let i = 0; typeof embed.postMessageAndAwaitResponse !== "function"; ++i) {
    if (i === 200) {
      throw new Error(`the engine does not load the plug-in for ${type}`);
    }
    await pause(50);
  }
  return embed;
}

function ask(address) {
  const request = new XMLHttpRequest();
  request.open("GET", address, false);
  request.send();
  return request.responseText;
}

// The kinds of calls, and the expected replies.
async function ways(bench) {
  const plugin = await element("application/x-lumivex");
  const echo = await element("application/x-lumivex-echo");
  return [
    {name: "plugin", call: () => plugin.postMessageAndAwaitResponse(REQUEST),
     isRight: (reply) => reply.code === 0 && reply.value === VERSION},
    {name: "echo", call: () => echo.postMessageAndAwaitResponse(REQUEST),
     isRight: (reply) => reply.command === REQUEST.command && Object.keys(reply).length === 2},
    {name: "channel", call: () => new Promise((resolve) => bench.playerVersion(resolve)),
     isRight: (reply) => reply === VERSION, isAwaited: true},
    {name: "request", call: () => ask("version"), isRight: (reply) => reply === VERSION},
  ];
}

// The times of calls in a row, in microseconds.
async function batch({name, call, isRight, isAwaited}, count) {
  const stamps = new Float64Array(count + 1);
  let reply;
  if (isAwaited) {
    for (let i = 0; i < count; ++i) {
      stamps[i] = performance.now();
      reply = await call();
    }
  } else {
    for (let i = 0; i < count; ++i) {
      stamps[i] = performance.now();
      reply = call();
    }
  }
  stamps[count] = performance.now();
  if (!isRight(reply)) {
    throw new Error(`${name} answers ${JSON.stringify(reply)}`);
  }
  const times = [];
  for (let i = UNCOUNTED; i < count; ++i) {
    times.push(Math.round((stamps[i + 1] - stamps[i]) * 1e6) / 1e3);
  }
  return times;
}

// A reproducible number from 0 up to 1.
function generator(seed) {
  let state = seed >>> 0;
  return () => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return state / 4294967296;
  };
}

function shuffle(list, random) {
  for (let i = list.length - 1; i > 0; --i) {
    const j = Math.floor(random() * (i + 1));
    [list[i], list[j]] = [list[j], list[i]];
  }
}

// The smallest step of the page's clock, in microseconds.
function clockStep() {
  let step = Infinity;
  const end = performance.now() + 50;
  for (let last = performance.now(); last < end;) {
    const now = performance.now();
    if (now > last) {
      step = Math.min(step, now - last);
    }
    last = now;
  }
  return step * 1000;
}

// The batches, by the name of the way.
async function run(bench) {
  const all = await ways(bench);
  const random = generator(setting("seed"));
  const size = setting("batch");
  const result = {};
  for (const way of all) {
    await batch(way, UNCOUNTED + 1);  // fails early if it does not work
    result[way.name] = [];
  }
  const warmUpTurns = Math.ceil(setting("warmup") / size);
  const countedTurns = Math.ceil(setting("calls") / size);
  for (let turn = -warmUpTurns; turn < countedTurns; ++turn) {
    shuffle(all, random);
    for (const way of all) {
      const times = await batch(way, size + UNCOUNTED);
      if (turn >= 0) {
        result[way.name].push(times);
      }
      await pause(0);  // the engine's own work, outside the batches
    }
  }
  return {clock_step_us: clockStep(), user_agent: navigator.userAgent, ways: result};
}

window.onload = () => {
  new QWebChannel(qt.webChannelTransport, async ({objects: {bench}}) => {
    try {
      bench.finish(JSON.stringify(await run(bench)));
    } catch (error) {
      bench.fail(error.message);
    }
  });
};
