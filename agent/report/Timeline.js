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
    const label = data.texts[text].replace(/ reconciled, (\d+) of (\d+)/, ' $1/$2');
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
    const label = kind === 'task' ? `task ${cutBefore(name, 24)}`
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
