import { state, get, post, edit, upload, render, Refused } from './api.js';
import { SoundList } from './list.js';
import { Space } from './space.js';
import { showFields } from './fields.js';

const $ = (id) => document.getElementById(id);
const esc = (s) => String(s).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' })[c]);
const timings = (window.studioTimings = {});

let pages = [];
let rows = [];
let page = -1;        // -1: every page
let sound = null;     // the sound shown, as /api/sound gives it
const list = new SoundList($('sounds'), $('sounds-inner'), (name) => act(() => select(name)));
const space = new Space($('space'), (pos) => act(() => play(pos)));

function say(text, error = false, reload = false) {
  $('message').hidden = false;
  $('message').className = error ? 'error' : '';
  $('message').querySelector('span').textContent = text;
  $('reload').hidden = !reload;
}
$('dismiss').onclick = () => { $('message').hidden = true; };
$('reload').onclick = () => act(async () => { await load(); if (sound) await select(sound.name); $('message').hidden = true; });

// Runs an action; whatever the studio refuses is said in the page.
async function act(action) {
  try {
    await action();
  } catch (e) {
    if (e instanceof Refused) say(e.message, true, e.status === 409 || e.status === 404);
    else { say(`The page failed: ${e.message}`, true); console.error(e); }
  }
  markUnsaved();
}

function markUnsaved() {
  $('unsaved').hidden = !state.unsaved;
  if (!state.unsaved) list.edited.clear();
  list.draw();
}
window.addEventListener('beforeunload', (e) => {
  if (!state.unsaved) return;
  e.preventDefault();
  e.returnValue = 'The catalogue has changes that are not saved.';
});

// ---- pages and the list ----

function showList() {
  $('count').textContent = `(${list.show(rows, page, $('filter').value)} of ${rows.length})`;
}

function showPages() {
  const items = [['All pages', -1], ...pages.map((p, i) => [`${i} ${p}`, i])];
  $('pages').innerHTML = items.map(([t, i]) => `<li data-page="${i}" class="${i === page ? 'on' : ''}">${esc(t)}</li>`).join('');
}
$('pages').onclick = (e) => {
  const li = e.target.closest('li');
  if (!li) return;
  page = Number(li.dataset.page);
  showPages();
  showList();
};
$('filter').oninput = showList;

async function load() {
  const catalogue = await get('/api/catalogue');
  pages = catalogue.pages;
  rows = catalogue.sounds;
  if (page >= pages.length) page = -1;
  $('root').textContent = catalogue.root;
  showPages();
  showList();
}

// ---- one sound ----

// The list's row for a sound, from what the editor knows of it.
function rowOf(s) {
  const flags = (s.is3D ? '3' : '') + (s.looped ? 'L' : '') + (s.crossed ? 'X' : '') + (s.enabled ? '' : '-');
  const on = s.files.filter((f) => f.enabled);
  let problem = (on.find((f) => f.problem) || {}).problem || '';
  if (!s.files.length) problem = 'no files: it cannot play';
  else if (!on.length) problem = 'every file is switched off: it cannot play';
  return [s.name, s.page, flags, problem];
}

async function select(name) {
  sound = await get('/api/sound?name=' + encodeURIComponent(name));
  list.selected = sound.name;
  const at = rows.findIndex((r) => r[0] === sound.name);
  if (at >= 0) rows[at] = rowOf(sound);
  list.draw();
  $('editor').hidden = false;
  $('name').value = sound.name;
  $('comment').value = typeof sound.comment === 'string' ? sound.comment : '';
  $('problem').textContent = rowOf(sound)[3];
  showFields($('fields'), sound, pages, (key, value) => act(() => set({ [key]: value })));
  $('space-box').hidden = !sound.is3D;
  $('play').textContent = sound.is3D ? 'Play at the marked place' : 'Play';
  if (typeof sound.minDistance === 'number') space.set(sound.minDistance, sound.maxDistance);
  $('why').textContent = sound.why.join('\n');
  showFiles();
}

async function changed(name = sound.name) {
  list.edited.add(name);
  await select(name);
}

async function set(fields, confirm = false) {
  const reply = await edit('set', { name: sound.name, fields, confirm });
  if (reply.confirm) {
    if (window.confirm(`${reply.confirm.join('\n')}\n\nStore it anyway?`)) return set(fields, true);
    return select(sound.name);
  }
  await changed();
}
$('comment').onchange = () => act(() => set({ comment: $('comment').value || null }));
$('name').onchange = () => act(async () => {
  const to = $('name').value;
  const from = sound.name;
  try {
    await edit('rename', { name: from, to });
  } catch (e) {
    $('name').value = from;
    throw e;
  }
  await load();
  await changed(to);
});
$('new-sound').onclick = () => act(async () => {
  const wanted = window.prompt('Name of the new sound (empty: the module picks one):', '');
  if (wanted === null) return;
  const reply = await edit('create', { name: wanted, page: Math.max(page, 0) });
  if (reply.notes) say(reply.notes.join(' '));
  await load();
  await changed(reply.name);
});
$('clone').onclick = () => act(async () => {
  const reply = await edit('clone', { name: sound.name });
  say(`"${reply.name}" is a copy of the parameters of "${sound.name}" (no files, no comment).`);
  await load();
  await changed(reply.name);
});
$('delete').onclick = () => act(async () => {
  if (!window.confirm(`Delete the sound "${sound.name}"?`)) return;
  await edit('delete', { name: sound.name });
  sound = null;
  $('editor').hidden = true;
  await load();
});

// ---- pages ----

$('new-page').onclick = () => act(async () => {
  const name = window.prompt('Name of the new page (at most 15 characters):', '');
  if (name === null) return;
  await edit('newPage', { page: name });
  await load();
});
$('rename-page').onclick = () => act(async () => {
  if (page < 0) return say('Choose a page first.', true);
  const name = window.prompt('New name of the page (at most 15 characters):', pages[page]);
  if (name === null) return;
  await edit('renamePage', { index: page, page: name });
  await load();
});
$('delete-page').onclick = () => act(async () => {
  if (page < 0) return say('Choose a page first.', true);
  const count = rows.filter((r) => r[1] === page).length;
  if (!window.confirm(`Delete the page "${pages[page]}"? Its ${count} sound${count === 1 ? '' : 's'} go with it.`)) return;
  await edit('deletePage', { index: page });
  page = -1;
  await load();
  if (sound && !rows.some((r) => r[0] === sound.name)) { sound = null; $('editor').hidden = true; }
});

// ---- files ----

function describe(f) {
  if (!f.format) return '';
  const channels = f.channels === 1 ? 'mono' : f.channels === 2 ? 'stereo' : `${f.channels} channels`;
  return `${f.format}, ${f.rate} Hz, ${f.bits} bit, ${channels}, ${f.seconds.toFixed(2)} s`;
}

async function drawWave(canvas, path) {
  const { envelope } = await get(`/api/waveform?points=${canvas.width}&path=${encodeURIComponent(path)}`);
  const g = canvas.getContext('2d');
  const mid = canvas.height / 2;
  g.fillStyle = '#2d6cdf';
  for (let x = 0; x < envelope.length / 2; x++) {
    const top = mid - envelope[2 * x + 1] * mid, bottom = mid - envelope[2 * x] * mid;
    g.fillRect(x, top, 1, Math.max(1, bottom - top));
  }
}

function showFiles() {
  const files = sound.files;
  $('files').innerHTML = files.map((f, i) => {
    const path = typeof f.path === 'string' ? f.path : JSON.stringify(f.path);
    const mono = sound.is3D && f.channels === 2 ? ' <button data-do="mono">Use a mono mix</button>' : '';
    return `<li data-index="${i}" class="${f.enabled ? '' : 'off'}">` +
      `<label><input type="checkbox" data-do="enable" ${f.enabled ? 'checked' : ''}> ${esc(path)}</label> ` +
      `<button data-do="up" ${i ? '' : 'disabled'}>▲</button><button data-do="down" ${i < files.length - 1 ? '' : 'disabled'}>▼</button>` +
      `<button data-do="preview">▶</button><button data-do="remove">✕</button>${mono}<br>` +
      `<canvas width="300" height="36"></canvas> <span>${esc(describe(f))}</span> <span class="bad">${esc(f.problem || '')}</span></li>`;
  }).join('');
  files.forEach((f, i) => {
    if (f.format) drawWave($('files').children[i].querySelector('canvas'), f.path).catch(() => {});
  });
}

$('files').onclick = (e) => {
  const what = e.target.dataset.do;
  const li = e.target.closest('li');
  if (!what || what === 'enable' || !li) return;
  const index = Number(li.dataset.index);
  act(async () => {
    if (what === 'preview') return preview(sound.files[index].path);
    if (what === 'up' || what === 'down') await edit('moveFile', { name: sound.name, index, to: what === 'up' ? index - 1 : index + 1 });
    if (what === 'remove') await edit('removeFile', { name: sound.name, index });
    if (what === 'mono') say((await edit('mixDown', { name: sound.name, index })).note);
    await changed();
  });
};
$('files').onchange = (e) => {
  if (e.target.dataset.do !== 'enable') return;
  const index = Number(e.target.closest('li').dataset.index);
  act(async () => { await edit('enableFile', { name: sound.name, index, enabled: e.target.checked }); await changed(); });
};

async function addFile(path) {
  const reply = await edit('addFile', { name: sound.name, path });
  await changed();
  if (reply.stereoOn3D && window.confirm(`${reply.path} is stereo, and a 3D sound plays mono files only. Use a mono mix of it instead?`)) {
    say((await edit('mixDown', { name: sound.name, index: sound.files.length - 1 })).note);
    await changed();
  }
}

async function fillPicker() {
  const { files } = await get('/api/folder');
  $('picker').innerHTML = files.map((f) =>
    `<option value="${esc(f.path)}">${esc(f.path)}${f.channels === 2 ? ' (stereo)' : ''}${f.problem ? ' ⚠' : ''}</option>`).join('');
}
$('add-file').onclick = () => act(() => addFile($('picker').value));
$('preview-pick').onclick = () => act(() => preview($('picker').value));

async function uploadAll(files) {
  for (const file of files) {
    const stored = await upload(file);
    say(stored.note || `${file.name} is now ${stored.path}.`);
    await fillPicker();
    await addFile(stored.path);
  }
}
$('upload').onchange = () => act(async () => { await uploadAll([...$('upload').files]); $('upload').value = ''; });
$('drop').ondragover = (e) => { e.preventDefault(); $('drop').classList.add('over'); };
$('drop').ondragleave = () => $('drop').classList.remove('over');
$('drop').ondrop = (e) => {
  e.preventDefault();
  $('drop').classList.remove('over');
  act(() => uploadAll([...e.dataTransfer.files]));
};

// ---- hearing it ----

let progress = [];
function startAudio(blob, clicked) {
  const player = $('player');
  if (player.src) URL.revokeObjectURL(player.src);
  player.src = URL.createObjectURL(blob);
  player.onplaying = () => {
    timings.play = performance.now() - clicked;
    $('play-info').textContent = `playing ${Math.round(timings.play)} ms after the click`;
    player.onplaying = null;
  };
  return player.play();
}

async function play(pos) {
  const clicked = performance.now();
  const position = sound.is3D ? pos || space.pos : null;
  progress = [];
  const heard = await render('/api/audition', { name: sound.name, position });
  timings.lastWav = heard.blob;
  if (sound.is3D) {
    const d = Math.hypot(position[0], position[2]).toFixed(1);
    $('space-info').textContent = `at x ${position[0]}, z ${position[2]}: ${d} m` + (d > sound.maxDistance ? ', past the maximum: silence' : '');
  }
  if (heard.notes.length) say(heard.notes.join(' '), true);
  await startAudio(heard.blob, clicked);
}
$('play').onclick = () => act(() => play());

async function preview(path) {
  const heard = await render('/api/preview', { path });
  progress = heard.progress;
  if (heard.notes.length) say(heard.notes.join(' '), true);
  await startAudio(heard.blob, performance.now());
}
// The preview's progress as the module reported it, at the time it reported it.
$('player').ontimeupdate = () => {
  const ms = $('player').currentTime * 1000;
  let value = 0;
  for (const [at, p] of progress) if (at <= ms) value = p;
  const shown = value >= 1000 ? 100 : value;
  $('preview-bar').style.width = `${progress.length ? shown : 0}%`;
  $('preview-info').textContent = progress.length ? `preview: ${value >= 1000 ? 'ended' : `${value} %`}` : '';
};

// ---- the whole catalogue ----

$('save').onclick = () => act(async () => {
  await post('/api/save', { revision: state.revision });
  say('Saved.');
});
$('revert').onclick = () => act(async () => {
  if (state.unsaved && !window.confirm('Drop every change since the last save?')) return;
  await post('/api/revert', { revision: state.revision });
  await load();
  if (sound && rows.some((r) => r[0] === sound.name)) await select(sound.name);
  else { sound = null; $('editor').hidden = true; }
  say('Back to the saved catalogue.');
});

act(async () => {
  await load();
  timings.open = performance.now();
  document.body.dataset.ready = '1';
  await fillPicker();
});
