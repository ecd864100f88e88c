// The stored parameters of a sound, each with its range and meaning, and what the module
// would do with a value other than as typed, said while it is typed.
const FIELDS = [
  { key: 'enabled', label: 'Switched on', kind: 'check',
    hint: 'A game leaves a switched-off sound out when it loads the catalogue; a tool keeps it.' },
  { key: 'page', label: 'Page', kind: 'page' },
  { key: 'playMode', label: 'Play mode', kind: 'select', options: [[0, 'in order'], [1, 'at random']],
    hint: 'Which of the switched-on files plays next.' },
  { key: 'numStreams', label: 'Streams per file', kind: 'int', hint: '1 to 4: how many plays of one file may sound at once.' },
  { key: 'volume', label: 'Volume (%)', kind: 'int', hint: '0 to 100; 100 is full level.' },
  { key: 'frequency', label: 'Frequency (%)', kind: 'int',
    hint: '0 and up: percent of the file\'s own rate. A play starts at the file\'s rate; a running stream takes it.' },
  { key: 'looped', label: 'Looped', kind: 'check', hint: 'Repeats until stopped.' },
  { key: 'crossed', label: 'Crossed', kind: 'check', hint: 'With looped and two or more files on: moves from file to file.' },
  { key: 'is3D', label: '3D', kind: 'check', hint: 'Placed in space; its files must be mono.' },
  { key: 'minDistance', label: 'Min distance (m)', kind: 'float', hint: '1 and up: full level up to here.' },
  { key: 'maxDistance', label: 'Max distance (m)', kind: 'float', hint: 'At least the minimum: past it a play is dropped.' },
];

// What the module does with a value otherwise than as typed; empty when it takes it as it is.
export function flag(key, value, sound, pageCount) {
  if (Number.isNaN(value)) return 'not a number';
  switch (key) {
    case 'volume':
      if (value < 0) return 'a negative volume is not stored';
      if (value > 100) return 'above full level: the device refuses it, so it will not play at that level';
      break;
    case 'frequency': if (value < 0) return 'a negative frequency is not stored'; break;
    case 'numStreams':
      if (value === 0) return '0 streams: the sound never plays';
      if (value < 0) return 'plays on one stream';
      if (value > 4) return 'plays on 4 streams at most';
      break;
    case 'page': if (value < 0 || value >= pageCount) return 'no such page'; break;
    case 'minDistance':
      if (value < 1) return 'the module raises a minimum below 1 to 1';
      if (value > sound.maxDistance) return 'above the maximum: the module lowers it to the maximum';
      break;
    case 'maxDistance': if (value < sound.minDistance) return 'below the minimum: the module raises the minimum to it'; break;
  }
  return '';
}

const esc = (s) => String(s).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' })[c]);
const number = (v) => (typeof v === 'number' ? v : NaN);  // {"bits": ...} for an infinity or NaN

// Fills table with the fields of sound; onSet(key, value) stores one.
export function showFields(table, sound, pages, onSet) {
  table.innerHTML = FIELDS.map((f) => {
    const v = sound[f.key];
    let input;
    if (f.kind === 'check') input = `<input type="checkbox" ${v ? 'checked' : ''}>`;
    else if (f.kind === 'select' || f.kind === 'page') {
      const options = f.kind === 'page' ? pages.map((p, i) => [i, `${i} ${p}`]) : f.options;
      if (!options.some(([o]) => o === v)) options.push([v, `${v} (other)`]);
      input = `<select>${options.map(([o, t]) => `<option value="${o}" ${o === v ? 'selected' : ''}>${esc(t)}</option>`).join('')}</select>`;
    } else {
      input = `<input type="number" step="${f.kind === 'float' ? 'any' : 1}" value="${number(v)}">`;
    }
    return `<tr data-key="${f.key}"><td>${f.label}</td><td>${input}<div class="flag"></div></td><td class="hint">${f.hint || ''}</td></tr>`;
  }).join('');
  for (const row of table.querySelectorAll('tr')) {
    const f = FIELDS.find((x) => x.key === row.dataset.key);
    const input = row.querySelector('input, select');
    const value = () => (f.kind === 'check' ? (input.checked ? 1 : 0) : Number(input.value));
    const check = () => { row.querySelector('.flag').textContent = flag(f.key, value(), sound, pages.length); };
    input.addEventListener('input', check);
    input.addEventListener('change', () => onSet(f.key, value()));
    check();
  }
}
