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
