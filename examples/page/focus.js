// The arrow keys move the focus to the nearest button in their direction.
"use strict";

const DIRECTIONS = {
  ArrowLeft: {x: -1, y: 0},
  ArrowRight: {x: 1, y: 0},
  ArrowUp: {x: 0, y: -1},
  ArrowDown: {x: 0, y: 1},
};

// The distance of two ranges; 0 if they overlap.
function gap(start, end, otherStart, otherEnd) {
  return Math.max(0, otherStart - end, start - otherEnd);
}

// The cost of a move between two rectangles; infinite in another direction.
function moveCost(from, to, {x, y}) {
  const ahead = (to.left + to.right - from.left - from.right) * x / 2 +
    (to.top + to.bottom - from.top - from.bottom) * y / 2;
  const across = x ? gap(from.top, from.bottom, to.top, to.bottom)
    : gap(from.left, from.right, to.left, to.right);
  const between = x ? gap(from.left, from.right, to.left, to.right)
    : gap(from.top, from.bottom, to.top, to.bottom);
  const aside = Math.abs(x ? to.top + to.bottom - from.top - from.bottom
    : to.left + to.right - from.left - from.right) / 2;
  const overlaps = between === 0 && across === 0;
  return ahead > 1 && !overlaps && (between > 0 || across === 0) ? between + 3 * across + aside / 10
    : Infinity;
}

let focused = null;  // the last focused element; disabling it would lose the focus
document.addEventListener("focusin", ({target}) => { focused = target; });

// A click on an empty place does not move the focus.
document.addEventListener("mousedown", (event) => {
  if (!event.target.closest("button, input")) {
    event.preventDefault();
  }
});

function moveFocus(key) {
  const from = focused.getBoundingClientRect();
  let best = null;
  let bestCost = Infinity;
  for (const candidate of document.querySelectorAll("button:not(:disabled), input")) {
    const cost = candidate === focused ? Infinity
      : moveCost(from, candidate.getBoundingClientRect(), DIRECTIONS[key]);
    if (cost < bestCost) {
      [best, bestCost] = [candidate, cost];
    }
  }
  if (best) {
    best.focus();
    best.scrollIntoView({block: "nearest"});
  }
}
