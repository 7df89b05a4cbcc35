'use strict';
// Filters stand in the address behind the '#', so that what is shown can be linked to:
//   outcome=failed&thread=2DC:394&text=add   what is shown; outcome=failed is all but ok
//   open=all, open=3                         calls that are open; of all no more than mostOpen
const form = document.querySelector('form');
const calls = [...document.querySelectorAll('.call')];
const controls = ['outcome', 'thread', 'text'].map((name) => form.elements[name]);
const mostOpen = 200;
const kinds = {
  dump: '', exchange: '', headerLine: '', element: '', field: '', number: '', checksum: '', part: '',
  xmlText: 'text', multipart: 'multipart body', envelope: 'SOAP envelope', block: 'compressed block',
  zlib: 'zlib stream', inflated: 'restored', buffers: 'buffer stream', listFile: 'list file', otherType: 'unknown type',
};
const opened = new Set(['dump', 'exchange', 'request', 'reply', 'multipart', 'part', 'envelope', 'block', 'zlib',
  'inflated', 'list']);

function add(parent, tag, name, text) {
  const element = parent.appendChild(document.createElement(tag));
  if (name) element.className = name;
  if (text !== undefined) element.textContent = text;
  return element;
}

const isTelling = (node) => node[1] === 'field' || (node[7] || []).length > 0 || (node[6] || []).some(isTelling);

// Bytes stand as pairs of digits.
function shown(kind, value) {
  const isBytes = value.startsWith('0x') && ['binary', 'unknown', 'otherType'].includes(kind);
  return isBytes ? value.slice(2).replace(/..(?=.)/g, '$& ') : value;
}

function addTitle(parent, [name, kind, value, cut, offset, length]) {
  const word = kinds[kind] ?? kind;
  if (name) add(parent, 'span', 'name', name);
  if (word) add(parent, 'span', 'kind', (name ? ' ' : '') + word);
  if (value !== null) add(parent, 'span', 'value', '  ' + shown(kind, value));
  if (cut) add(parent, 'span', 'kind', ` … cut here; ${cut} bytes in all`);
  add(parent, 'span', 'place', `  ${length} bytes at ${offset}`);
}

function addNode(parent, node) {
  const [, kind, , , , , parts = [], faults = []] = node;
  if (parts.length + faults.length === 0) return addTitle(add(parent, 'div', 'leaf'), node);
  const details = add(parent, 'details');
  details.open = opened.has(kind) || isTelling(node);
  addTitle(add(details, 'summary'), node);
  for (const part of parts) addNode(details, part);
  for (const [offset, text] of faults) add(details, 'div', 'leaf bad', `! ${text} (at ${offset})`);
}

function addLines(parent, title, lines) {
  if (lines.length === 0) return;
  add(parent, 'h3', '', title);
  const table = add(parent, 'table', 'lines');
  for (const line of lines) {
    const row = add(table, 'tr');
    for (const text of line) add(row, 'td', '', text);
  }
}

const dataOf = (call) => JSON.parse(call.querySelector('script').textContent);

// What is inside of a call is made when it is opened first.
function fill(call) {
  const inside = call.querySelector('.inside');
  if (inside.dataset.filled) return;
  inside.dataset.filled = 'yes';
  const {rounds, lines} = dataOf(call);
  for (const {title, note, tree} of rounds) {
    add(inside, 'h3', '', title);
    if (note) add(inside, 'p', 'warn', note);
    if (!tree) continue;
    const [, , , , , , messages, faults] = tree;
    const list = add(inside, 'div', 'tree');
    for (const message of messages) addNode(list, message);
    for (const [offset, text] of faults) add(list, 'div', 'bad', `! ${text} (at ${offset})`);
  }
  addLines(inside, 'Log lines', lines);
}

function collect([name, kind, value, , , , parts = [], faults = []], words) {
  words.push(name);
  if (value !== null) words.push(value, shown(kind, value));
  for (const part of parts) collect(part, words);
  for (const [, text] of faults) words.push(text);
}

// Everything that a call shows when it is open, but for the page's own words.
function wordsOf(call) {
  const words = [...call.querySelectorAll(':scope > summary > span, :scope > .inside > dl > dd')]
    .map((element) => element.textContent);
  const {rounds, lines} = dataOf(call);
  for (const {tree} of rounds) if (tree) collect(tree, words);
  return words.concat(...lines).join('\n').toLowerCase();
}

function holds(call, text) {
  if (text === '') return true;
  call.words ??= wordsOf(call);
  return call.words.includes(text);
}

const isWanted = (call, outcome) =>
  outcome === '' || (outcome === 'failed' ? call.dataset.outcome !== 'ok' : call.dataset.outcome === outcome);

function show(open) {
  const [outcome, thread, text] = controls.map((control) => control.value.trim());
  const left = [];
  for (const call of calls) {
    const isOfThread = thread === '' || call.dataset.thread === thread;
    call.hidden = !(isOfThread && isWanted(call, outcome) && holds(call, text.toLowerCase()));
    if (!call.hidden) left.push(call);
  }
  const wanted = open === 'all' ? left.slice(0, mostOpen) : left.filter(({id}) => id === 'c' + open);
  for (const call of wanted) {
    call.open = true;
    fill(call);
  }
  const isCut = open === 'all' && left.length > mostOpen;
  form.elements.count.textContent =
    `${left.length} of ${calls.length} calls` + (isCut ? `, the first ${mostOpen} of them open` : '');
}

function readAddress() {
  const wanted = new URLSearchParams(location.hash.slice(1));
  for (const control of controls) {
    control.value = wanted.get(control.name) ?? '';
    // A word that is none of the choices hides everything instead of meaning none.
    if (control.value === '' && wanted.get(control.name)) {
      control.add(new Option('none of these', wanted.get(control.name)));
      control.value = wanted.get(control.name);
    }
  }
  show(wanted.get('open'));
}

function writeAddress() {
  const wanted = new URLSearchParams(controls.filter(({value}) => value !== '').map(({name, value}) => [name, value]));
  history.replaceState(null, '', '#' + wanted);
  show(null);
}

let waiting = 0;
form.addEventListener('input', () => {
  clearTimeout(waiting);
  waiting = setTimeout(writeAddress, 150);
});
form.addEventListener('submit', (event) => event.preventDefault());
form.elements.open.addEventListener('click', () => show('all'));
form.elements.close.addEventListener('click', () => calls.forEach((call) => { call.open = false; }));
form.elements.reset.addEventListener('click', () => {
  for (const control of controls) control.value = '';
  writeAddress();
});
document.addEventListener('toggle', ({target}) => { if (target.matches('.call[open]')) fill(target); }, true);
addEventListener('hashchange', readAddress);
form.hidden = false;
readAddress();
document.querySelector('.calls').classList.add('ready');
