'use strict';

// Whatever goes wrong is told on the page.
window.onerror = (message) => {
  const note = document.createElement('p');
  note.id = 'error';
  note.textContent = `This page could not be drawn: ${message}`;
  document.body.prepend(note);
};

const data = JSON.parse(document.getElementById('data').textContent);
const head = data.head;
const page = document.getElementById('page');
const steps = data.begins.length;

// --- Elements. What comes of the recording is set as text and never parsed. ---------

function make(name, attributes, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes || {})) {
    element.setAttribute(key, value);
  }
  element.append(...children);
  return element;
}

function draw(parent, name, attributes, text) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) {
    element.setAttribute(key, value);
  }
  if (text !== undefined) {
    element.textContent = text;
  }
  parent.append(element);
  return element;
}

function canvas(parent, width, height) {
  return draw(parent, 'svg', {viewBox: `0 0 ${width} ${height}`});
}

const whole = (number) => number.toLocaleString('en-US');
const short = (number) => number < 1e4 ? whole(number)
  : number < 1e6 ? `${(number / 1e3).toFixed(1)} k` : `${(number / 1e6).toFixed(1)} M`;
const plural = (number, what) => `${whole(number)} ${what}${number === 1 ? '' : 's'}`;
const cut = (text, most) =>
  text.length > most ? `${text.slice(0, most - 1)}\u2026` : text;

const cutBefore = (text, most) =>
  text.length > most ? `\u2026${text.slice(1 - most)}` : text;

function duration(microseconds) {
  const units = [[60e6, 'min'], [1e6, 's'], [1e3, 'ms']];
  const [size, unit] = units.find(([least]) => microseconds >= least) || [1, '\u00b5s'];
  const value = microseconds / size;
  return `${Number(value.toPrecision(3))} ${unit}`;
}

// --- Hints ----------------------------------------------------------------------------

const tip = document.getElementById('tip');

// about: the text for a place of the pointer, in the units of the drawing; or nothing.
function hint(svg, about) {
  svg.addEventListener('pointermove', (event) => {
    const box = svg.getBoundingClientRect();
    const scale = svg.viewBox.baseVal.width / box.width;
    const text = about((event.clientX - box.left) * scale,
                       (event.clientY - box.top) * scale);
    tip.hidden = !text;
    if (text) {
      tip.textContent = text;
      const left = Math.min(event.clientX + 14, innerWidth - tip.offsetWidth - 10);
      const below = event.clientY + 18 + tip.offsetHeight < innerHeight;
      tip.style.left = `${Math.max(6, left)}px`;
      tip.style.top = `${event.clientY + (below ? 16 : -12 - tip.offsetHeight)}px`;
    }
  });
  svg.addEventListener('pointerleave', () => { tip.hidden = true; });
}

// --- Places. 0 is where the first step begins, 1.5 the middle of the next one. ----------

const first = steps ? data.begins[0] : 0;
const span = steps ? data.ends[steps - 1] - first : 0;

function timeAt(place) {
  if (place >= steps) {
    return first + span;
  }
  const step = Math.floor(place);
  return data.begins[step] + (place - step) * (data.ends[step] - data.begins[step]);
}

// Where a step ended whose end is the place.
const timeOfEnd = (place) => place > 0 ? data.ends[Math.min(place, steps) - 1] : first;

// Where one step, or one pause, is most of what there is to see, steps show more.
let longest = 0;
for (let i = 0; i < steps; ++i) {
  longest = Math.max(longest, data.ends[i] - data.begins[i],
                     i ? data.begins[i] - data.ends[i - 1] : 0);
}
let byTime = longest < 0.2 * span;

const part = (time) => span > 0 ? (time - first) / span : 0;
const along = (place) => byTime ? part(timeAt(place)) : place / Math.max(steps, 1);
const alongEnd = (place) =>
  byTime ? part(timeOfEnd(place)) : place / Math.max(steps, 1);

// The step at a share of the width.
function stepAt(share) {
  let from = 0;
  let to = steps - 1;
  while (from < to) {
    const middle = (from + to + 1) >> 1;
    if (along(middle) <= share) {
      from = middle;
    } else {
      to = middle - 1;
    }
  }
  return from;
}

function stepText(step) {
  const long = data.ends[step] - data.begins[step];
  return `step ${whole(head.firstStep + step + 1)}, at ${duration(data.begins[step])}` +
    (long ? `, ${duration(long)} long` : '') + `\n${data.texts[data.plays[step]]}`;
}

// Round numbers, about so many, up to the most.
function ticks(most, about) {
  const raw = Math.max(most, 1e-9) / about;
  const power = 10 ** Math.floor(Math.log10(raw));
  const step = power * [1, 2, 5, 10].find((each) => each * power >= raw);
  const list = [];
  for (let at = 0; at <= most * (1 + 1e-9); at += step) {
    list.push(at);
  }
  return list;
}

function drawAxis(svg, left, width, top, bottom) {
  const list = byTime ? ticks(span, 8).map((at) => [at / span, duration(at)])
    : ticks(steps, 10).filter((at) => Number.isInteger(at))
      .map((at) => [at / Math.max(steps, 1), whole(head.firstStep + at)]);
  draw(svg, 'text', {class: 'faint', x: left - 10, y: bottom + 14, 'text-anchor': 'end'},
       byTime ? 'time' : 'step');
  for (const [share, text] of list) {
    const x = left + share * width;
    draw(svg, 'line', {class: 'rule', x1: x, x2: x, y1: top, y2: bottom});
    const anchor = share > 0.97 ? 'end' : share < 0.02 ? 'start' : 'middle';
    draw(svg, 'text', {class: 'faint', x, y: bottom + 14, 'text-anchor': anchor}, text);
  }
}

const places = [];   // of the starts
for (const [place, text] of data.lanes[0].items) {
  if (data.texts[text] === 'start') {
    places.push(place);
  }
}

function drawStarts(svg, left, width, top, bottom) {
  for (const place of places) {
    const x = left + along(place) * width;
    draw(svg, 'line', {class: 'start', x1: x, x2: x, y1: top, y2: bottom});
  }
}
