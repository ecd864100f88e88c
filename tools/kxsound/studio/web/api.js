// Every request carries the token of the address the studio printed; every edit carries the
// catalogue revision the page shows, so that an edit made on a stale view is refused.
const token = new URLSearchParams(location.search).get('token') || '';

export const state = { revision: 0, unsaved: false };

export class Refused extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

async function call(method, path, { json, raw } = {}) {
  const headers = { 'X-Studio-Token': token };
  let body;
  if (raw !== undefined) {
    body = raw;
    headers['Content-Type'] = 'application/octet-stream';
  } else if (json !== undefined) {
    body = JSON.stringify(json);
    headers['Content-Type'] = 'application/json';
  }
  let res;
  try {
    res = await fetch(path, { method, headers, body });
  } catch (e) {
    throw new Refused(0, 'The studio does not answer: has kxsound studio ended?');
  }
  if (!res.ok) {
    let text = `${res.status} ${res.statusText}`;
    try { text = (await res.json()).error || text; } catch { /* not JSON */ }
    throw new Refused(res.status, text);
  }
  return res;
}

function track(reply) {
  if (typeof reply.revision === 'number') state.revision = reply.revision;
  if (typeof reply.unsaved === 'boolean') state.unsaved = reply.unsaved;
  return reply;
}

const headerJson = (res, name, empty) => JSON.parse(decodeURIComponent(res.headers.get(name) || empty));

export const get = async (path) => track(await (await call('GET', path)).json());
export const post = async (path, json) => track(await (await call('POST', path, { json })).json());
export const edit = (op, fields) => post('/api/edit', { op, revision: state.revision, ...fields });
export const upload = async (file) =>
  (await call('POST', '/api/upload?name=' + encodeURIComponent(file.name), { raw: file })).json();

// A WAV rendered by the module, with what the module said and the preview's progress.
export async function render(path, json) {
  const res = await call('POST', path, { json });
  return {
    blob: await res.blob(),
    notes: headerJson(res, 'X-Studio-Notes', '[]'),
    progress: headerJson(res, 'X-Studio-Progress', '[]'),
  };
}
