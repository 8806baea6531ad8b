// What the test pages share. A page says on its console what it finds, and the test reads along:
//   ok NAME, FAIL NAME: WHAT     a check
//   step NAME                    waits until the test has looked at the screen or the processes
//   done N                       N checks were made; the window closes
"use strict";

const params = new URLSearchParams(location.search);
const MIME_TYPE = "application/x-lumivex";
let checks = 0;

function check(name, actual, expected = true) {
  ++checks;
  const [seen, wanted] = [actual, expected].map((value) => JSON.stringify(value));
  console.log(seen === wanted ? `ok ${name}` : `FAIL ${name}: ${seen}, not ${wanted}`);
}

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function until(name, condition, limit = 15000) {
  const end = performance.now() + limit;
  while (!condition() && performance.now() < end) {
    await sleep(20);
  }
  check(name, Boolean(condition()));
}

function exists(address) {
  return new Promise((resolve) => {
    const request = new XMLHttpRequest();
    request.open("GET", address);
    request.onload = () => resolve(true);
    request.onerror = () => resolve(false);
    request.send();
  });
}

async function step(name) {
  console.log(`step ${name}`);
  while (!await exists(`steps/${name}`)) {
    await sleep(50);
  }
}

const media = (name) => new URL(`media/${name}`, location).href;

function addPlugin() {
  const embed = document.createElement("embed");
  embed.type = MIME_TYPE;
  embed.style = "position: absolute; width: 1px; height: 1px";
  document.body.append(embed);
  return embed;
}

// The page's test; the window closes after it.
function run(test) {
  window.onload = async () => {
    try {
      await test();
    } catch (error) {
      check(`no exception: ${error.stack}`, false);
    }
    console.log(`done ${checks}`);
    window.close();
  };
}
