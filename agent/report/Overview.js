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
      'many events passed there; before a sink, how many of them came to it as an ' +
      'insert or a delete; before an output, how many writes.'
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
