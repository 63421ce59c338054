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
      .map((at) => [at / steps, whole(head.firstStep + at)]);
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

// --- Head -------------------------------------------------------------------------------

function section(id, title, about) {
  const heading = make('div', {class: 'head'}, make('h2', {}, title));
  const result = make('section', {id}, heading, make('p', {class: 'about'}, about));
  page.append(result);
  return result;
}

const note = (text) => make('p', {class: 'note'}, text);

function drawHead() {
  document.title = `Report of ${head.file}`;
  page.append(
    make('h1', {}, head.file),
    make('p', {class: 'under'},
         `A recording of ${head.machine}, begun ${head.time.replace(/\.\d+Z/, 'Z')}; ` +
         `recorded by mcastvpn-agent ${head.recordedBy}, played again by ` +
         `${head.madeBy}`));
  const last = (series) => series[series.length - 1][1];
  const figures = make('div', {class: 'figures', id: 'figures'});
  for (const [what, text] of [
    ['steps', whole(head.steps)], ['changes of inputs', whole(head.inputs)],
    ['writes to outputs', whole(head.writes)], ['slices of tasks', whole(head.slices)],
    ['SBD VLANs', whole(head.vlans)],
    ['final interfaces', whole(last(data.outputs.intfs))],
    ['final joins', whole(last(data.outputs.joins))],
    ['duration', duration(span)]]) {
    figures.append(make('div', {class: 'figure'}, make('b', {}, text),
                        make('span', {}, what)));
  }
  const chips = make('div', {class: 'chips', id: 'options'});
  for (const [name, value] of Object.entries(head.options)) {
    const text = Array.isArray(value) ? value.join(', ') || 'default' : String(value);
    chips.append(make('span', {class: 'chip'}, `${name} `, make('b', {}, text)));
  }
  page.append(figures, chips);
  if (head.firstStep > 0) {
    page.append(note(`Shown are the last ${whole(steps)} of ${whole(head.steps)} ` +
                     'steps. What is counted is counted in all of them.'));
  }
  if (head.vlans > data.vlans.length) {
    page.append(note(`Shown are ${whole(data.vlans.length)} of ${whole(head.vlans)} ` +
                     'VLANs: those that most happened to.'));
  }
  if (!head.momentsAreWhole) {
    page.append(note('Where much happened in one step, one bar of the timeline stands ' +
                     'for all of it.'));
  }
  if (!head.isClosed) {
    page.append(note('The recording has no end: its process ended in the middle.'));
  }
}

// --- Pipeline ---------------------------------------------------------------------------

const kNodeWidth = 176;
const kNodeHeight = 54;
const kRow = 72;

// A name in lines: broken behind dots, or else inside.
function lines(name) {
  const most = 26;
  const parts = name.split(/(?<=[.\s])/).flatMap(
    (each) => each.length > most ? each.split(/(?=[A-Z])/) : [each]);
  const result = [''];
  for (const each of parts) {
    const line = result[result.length - 1];
    if (line && (line + each).trimEnd().length > most) {
      result.push(each);
    } else {
      result[result.length - 1] = line + each;
    }
  }
  return result.map((each) => each.trim());
}

// The place of each node: a column behind those that lead to it, in a row between them.
function layOut(nodes, edges) {
  const column = nodes.map(() => 0);
  edges.forEach(({from, to}) => {
    column[to] = Math.max(column[to], column[from] + 1);
  });
  const row = nodes.map(() => 0);
  const columns = Math.max(...column) + 1;
  for (let each = 0; each < columns; ++each) {
    const own = nodes.map((_, i) => i).filter((i) => column[i] === each);
    own.forEach((i, at) => {
      const before = edges.filter(({to}) => to === i).map(({from}) => row[from]);
      row[i] = before.length ? before.reduce((a, b) => a + b) / before.length : at;
    });
    own.sort((a, b) => row[a] - row[b] || a - b);
    const wish = own.reduce((sum, i) => sum + row[i], 0) / own.length;
    own.forEach((i, at) => {
      row[i] = at ? Math.max(row[i], row[own[at - 1]] + 1) : row[i];
    });
    const shift = wish - own.reduce((sum, i) => sum + row[i], 0) / own.length;
    own.forEach((i) => { row[i] += shift; });
  }
  return {column, row, columns};
}

function drawGraph() {
  const box = section('pipeline', 'Pipeline', data.graph
    ? 'Every input, stream and output of the machine. The number on an edge is how ' +
      'many events passed there; before an output, how many writes.'
    : `${head.machine} has no pipeline: its handlers write the outputs.`);
  if (!data.graph) {
    return;
  }
  const {nodes, edges} = data.graph;
  const {column, row, columns} = layOut(nodes, edges);
  const width = 1320;
  const top = 24;
  const least = Math.min(...row);
  const height = top + (Math.max(...row) - least) * kRow + kNodeHeight + 8;
  const svg = canvas(box, width, height);
  const gap = (width - 4 - columns * kNodeWidth) / (columns - 1);
  const x = (i) => 2 + column[i] * (kNodeWidth + gap);
  const y = (i) => top + 4 + (row[i] - least) * kRow;
  const titles = {input: 'inputs', source: 'streams of changes', merge: 'merged streams',
                  sink: 'sinks', output: 'outputs'};
  const titled = new Set();
  nodes.forEach(({stage}, i) => {
    if (!titled.has(stage)) {
      titled.add(stage);
      draw(svg, 'text', {class: 'faint', x: x(i), y: 12}, titles[stage]);
    }
  });
  edges.forEach(({from, to, count}) => {
    const [x1, y1] = [x(from) + kNodeWidth, y(from) + kNodeHeight / 2];
    const [x2, y2] = [x(to), y(to) + kNodeHeight / 2];
    const bend = (x2 - x1) / 2;
    draw(svg, 'path', {
      class: count === 0 ? 'edge none' : 'edge',
      d: `M${x1},${y1} C${x1 + bend},${y1} ${x2 - bend},${y2} ${x2},${y2}`,
      'stroke-width': 1.2 + 0.9 * Math.log10(1 + (count || 0))});
  });
  edges.forEach(({from, to, count}) => {
    if (count !== undefined) {
      const label = draw(svg, 'text', {
        class: 'count', x: x(from) + kNodeWidth + 6,
        y: y(from) + kNodeHeight / 2 + (y(to) < y(from) - 1 ? 17 : -7),
        'data-from': nodes[from].name, 'data-to': nodes[to].name, 'data-count': count});
      label.textContent = short(count);
      draw(label, 'title', {}, whole(count));
    }
  });
  nodes.forEach(({name, stage}, i) => {
    const group = draw(svg, 'g', {class: stage});
    const at = {x: x(i), y: y(i), width: kNodeWidth, height: kNodeHeight, rx: 7};
    draw(group, 'rect', {...at, class: 'node own-stroke'});
    draw(group, 'rect', {...at, class: 'node-fill own-fill'});
    const texts = lines(name);
    texts.forEach((line, number) => {
      draw(group, 'text', {
        x: x(i) + kNodeWidth / 2, 'text-anchor': 'middle', style: 'font-size: 11px',
        y: y(i) + kNodeHeight / 2 + 4 + (number - (texts.length - 1) / 2) * 14}, line);
    });
  });
}

// --- Timeline ---------------------------------------------------------------------------

const kLabel = 214;
const kLane = 23;
const kWidth = 1320;

// The marks of one lane as one path: what falls on the same place is drawn once.
function marksPath(places, top, height) {
  let path = '';
  let before = -1;
  for (const x of places) {
    if (x - before >= 0.7) {
      path += `M${x.toFixed(1)},${top}h2v${height}h-2z`;
      before = x;
    }
  }
  return path;
}

function drawPhases(svg, items, x, y) {
  items.forEach(([place, text], i) => {
    const at = x(place);
    const label = data.texts[text].replace(/ of (\d+) reconciled/, '/$1');
    draw(svg, 'path', {class: 'mark', d: `M${at - 4},${y + 11.5}l4,-5l4,5l-4,5z`});
    const next = i + 1 < items.length ? x(items[i + 1][0]) : kWidth;
    if (at + label.length * 6.3 + 14 < next) {
      draw(svg, 'text', {class: 'soft', x: at + 7, y: y + 15,
                         style: 'font-size: 11px'}, label);
    }
  });
}

function drawTimeline(box) {
  const top = 6;
  const width = kWidth - kLabel;
  const bottom = top + data.lanes.length * kLane;
  const svg = canvas(box, kWidth, bottom + 20);
  const x = (place) => kLabel + along(place) * width;
  data.lanes.forEach((lane, number) => {
    const y = top + number * kLane;
    draw(svg, 'rect', {class: 'lane', x: kLabel, y: y + 2, width, height: kLane - 4,
                       rx: 3});
  });
  drawAxis(svg, kLabel, width, top, bottom);
  drawStarts(svg, kLabel, width, top, bottom);
  data.lanes.forEach(({name, kind, items}, number) => {
    const y = top + number * kLane;
    const group = draw(svg, 'g', {class: kind, 'data-lane': name});
    const label = kind === 'task' ? `task ${cutBefore(name, 26)}`
      : kind === 'output' ? `output ${name}` : cut(name, 32);
    draw(group, 'text', {class: 'soft', x: kLabel - 10, y: y + 15,
                         'text-anchor': 'end'}, label);
    let many = '';
    for (const [place, , count] of items) {
      if (count !== undefined) {
        const from = x(place);
        const to = Math.max(from + 1.5, byTime ? kLabel + alongEnd(place + 1) * width
          : x(place + 1) - 0.5);
        many += `M${from.toFixed(1)},${y + 5}H${to.toFixed(1)}v${kLane - 10}` +
          `H${from.toFixed(1)}z`;
      }
    }
    if (many) {
      draw(group, 'path', {class: kind === 'task' ? 'mark' : 'many', d: many});
    }
    const single = items.filter((item) => item.length === 2);
    if (kind === 'phase') {
      drawPhases(group, single, x, y);
    } else {
      draw(group, 'path', {class: 'mark', d: marksPath(
        single.map(([place]) => x(place)), y + 4, kLane - 8)});
    }
  });
  hint(svg, (px, py) => {
    const lane = data.lanes[Math.floor((py - top) / kLane)];
    if (!lane || px < kLabel || !steps) {
      return lane && px < kLabel ? lane.name : '';
    }
    const step = stepAt((px - kLabel) / width);
    let best = null;
    for (const item of lane.items) {
      const distance = item.length === 3 && item[0] === step ? 0 : Math.abs(x(item[0]) - px);
      if (distance < 7 && (!best || distance < best.distance)) {
        best = {distance, item};
      }
    }
    if (!best) {
      return stepText(step);
    }
    const [place, text, count] = best.item;
    const at = Math.min(Math.floor(place), steps - 1);
    return `${data.texts[text]}${count ? `\nand ${whole(count - 1)} more of its kind` : ''}` +
      `\n${stepText(at)}`;
  });
}

// --- Outputs ----------------------------------------------------------------------------

function valueAt(series, place) {
  let value = 0;
  for (const [at, count] of series) {
    if (at > place) {
      break;
    }
    value = count;
  }
  return value;
}

function drawOutputs(box) {
  const top = 10;
  const height = 150;
  const width = kWidth - kLabel;
  const {intfs, joins} = data.outputs;
  const most = Math.max(1, ...intfs.map(([, n]) => n), ...joins.map(([, n]) => n));
  const svg = canvas(box, kWidth, top + height + 20);
  const x = (place) => kLabel + alongEnd(place) * width;
  const y = (count) => top + height - count / (most * 1.06) * height;
  drawAxis(svg, kLabel, width, top, top + height);
  for (const count of ticks(most, 5).filter((at) => Number.isInteger(at))) {
    draw(svg, 'line', {class: 'rule', x1: kLabel, x2: kWidth, y1: y(count), y2: y(count)});
    draw(svg, 'text', {class: 'faint', x: kLabel - 10, y: y(count) + 4,
                       'text-anchor': 'end'}, whole(count));
  }
  drawStarts(svg, kLabel, width, top, top + height);
  for (const [name, series] of [['intfs', intfs], ['joins', joins]]) {
    let path = '';
    for (const [place, count] of series) {
      path += path ? `H${x(place).toFixed(1)}V${y(count).toFixed(1)}`
        : `M${kLabel},${y(count).toFixed(1)}`;
    }
    path += `H${kWidth}`;
    if (name === 'intfs') {
      draw(svg, 'path', {class: 'area', d: `${path}V${y(0)}H${kLabel}z`});
    }
    draw(svg, 'path', {class: `curve ${name}`, d: path, 'data-series': name});
  }
  hint(svg, (px) => {
    if (px < kLabel || !steps) {
      return '';
    }
    const step = stepAt((px - kLabel) / width);
    return `${plural(valueAt(intfs, step + 1), 'transit interface')}, ` +
      `${plural(valueAt(joins, step + 1), 'join')}\n${stepText(step)}`;
  });
}

// --- VLANs ------------------------------------------------------------------------------

const kStrip = 15;
const kStripLabel = 112;
const kVlanWidth = 600;

// What a strip says at a place: whether it holds, and its text.
function stripAt(items, place) {
  let found = null;
  for (let i = 0; i < items.length && items[i] <= place; i += 3) {
    found = [items[i + 1] === 1, data.texts[items[i + 2]]];
  }
  return found;
}

function drawStrip(svg, items, y, {x, holds, attributes}) {
  const group = draw(svg, 'g', attributes);
  const right = kVlanWidth;
  draw(group, 'rect', {class: 'strip-back', x: kStripLabel, y: y + 2,
                       width: right - kStripLabel, height: kStrip - 5, rx: 2});
  const paths = ['', ''];
  for (let i = 0; i < items.length; i += 3) {
    const from = x(items[i]);
    const to = i + 3 < items.length ? x(items[i + 3]) : right;
    if (to - from >= 0.3) {
      const height = items[i + 1] ? kStrip - 5 : 2.6;
      paths[items[i + 1]] += `M${from.toFixed(1)},${y + kStrip - 3}H${to.toFixed(1)}` +
        `v-${height}H${from.toFixed(1)}z`;
    }
  }
  if (paths[0] && holds === 'holds') {
    draw(group, 'path', {class: 'fails', d: paths[0]});
  }
  if (paths[1]) {
    draw(group, 'path', {class: holds, d: paths[1]});
  }
}

function drawVlan(list, entry) {
  const hasIntf = stripAt(entry.intf, steps);
  const hasJoin = stripAt(entry.join, steps);
  const verdict = hasIntf && hasIntf[0]
    ? `transit interface ${hasIntf[1]}${hasJoin && hasJoin[0] ? ', and join' : ''}`
    : hasJoin && hasJoin[0] ? 'join, no transit interface' : 'nothing';
  const card = make('div', {class: 'vlan', 'data-vlan': entry.vlan},
    make('h3', {}, `VLAN ${entry.vlan}`, make('span', {}, entry.vrfs),
         make('em', {class: hasIntf && hasIntf[0] ? 'on' : ''}, verdict)));
  const rows = [['interface', entry.intf, 'present'], ['join', entry.join, 'present'],
    ...data.conditions.map((name, i) => [name, entry.conditions[i], 'holds'])];
  const svg = canvas(card, kVlanWidth, rows.length * kStrip + 1);
  const width = kVlanWidth - kStripLabel;
  rows.forEach(([name, items, holds], number) => {
    const y = number * kStrip;
    const isOutput = holds === 'present';
    draw(svg, 'text', {class: isOutput ? '' : 'soft', x: 0, y: y + 11}, name);
    drawStrip(svg, items, y, {
      holds, x: (place) => kStripLabel + (isOutput ? alongEnd : along)(place) * width,
      attributes: isOutput ? {'data-output': name} : {'data-condition': name}});
  });
  hint(svg, (px, py) => {
    const found = rows[Math.floor(py / kStrip)];
    if (!found || px < kStripLabel || !steps) {
      return '';
    }
    const [name, items, holds] = found;
    const step = stepAt((px - kStripLabel) / width);
    const [is, text] = stripAt(items, holds === 'present' ? step + 1 : step) || [false, ''];
    const says = holds === 'present' ? (is ? `${name} ${text}` : `no ${name}`)
      : `${name} ${is ? 'holds' : 'does not hold'}: ${text}`;
    return `${says}\n${stepText(step)}`;
  });
  list.append(card);
}

function drawVlans(box) {
  const list = make('div', {class: 'vlans'});
  data.vlans.forEach((entry) => drawVlan(list, entry));
  box.append(list);
}

function filterVlans(text) {
  const wanted = text.trim().toLowerCase();
  document.querySelectorAll('.vlan').forEach((card, i) => {
    const {vlan, vrfs} = data.vlans[i];
    card.hidden = !`${vlan} ${vrfs}`.toLowerCase().includes(wanted);
  });
}

// --- The page ---------------------------------------------------------------------------

const key = (kind, text) =>
  make('span', {class: 'key'}, make('i', {class: kind}), text);

drawHead();
drawGraph();
const drawings = [
  [section('timeline', 'Timeline', 'Slices of tasks, events of streams, and writes to ' +
           'outputs. Within a step things stand in their order. Point at anything to ' +
           'read it.'), drawTimeline],
  [section('outputs', 'Outputs over time', ''), drawOutputs],
  [section('vlans', 'VLANs', `When each condition of ${head.machine}'s rule held, and ` +
           'when the outputs were there. Point at a strip to read why.'), drawVlans]];
document.querySelector('#outputs .about').append(
  key('line', 'transit interfaces'), key('dashed', 'joins'));
document.querySelector('#vlans .about').after(make('div', {}, key('present', 'output is there'),
  key('holds', 'condition holds'), key('fails', 'it does not')));
const filter = make('input', {id: 'filter', type: 'search', placeholder: 'VLAN or VRF',
                              'aria-label': 'show these VLANs only'});
filter.addEventListener('input', () => filterVlans(filter.value));
document.querySelector('#vlans .head').append(filter);
filter.style.marginLeft = 'auto';

const buttons = [['by time', true], ['by step', false]].map(([text, is]) => {
  const button = make('button', {type: 'button'}, text);
  button.addEventListener('click', () => { byTime = is; drawAll(); });
  return [button, is];
});
document.querySelector('#timeline .head').append(
  make('div', {class: 'switch'}, ...buttons.map(([button]) => button)));

function drawAll() {
  for (const [button, is] of buttons) {
    button.setAttribute('aria-pressed', is === byTime);
    button.disabled = is && span === 0;
  }
  for (const [box, drawThis] of drawings) {
    box.querySelectorAll(':scope > svg, :scope > .vlans').forEach((old) => old.remove());
    drawThis(box);
  }
  filterVlans(filter.value);
}

drawAll();
page.append(make('footer', {}, 'This page holds all that it shows, and loads nothing.'));
page.setAttribute('data-drawn', 'yes');
