// The sound list: only the rows in view are in the document, so a catalogue of ten thousand
// sounds scrolls as lightly as one of ten.
const ROW = 22;
const esc = (s) => String(s).replace(/[&<>"]/g, (c) => ({ '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;' })[c]);

export class SoundList {
  constructor(box, inner, onPick) {
    this.box = box;
    this.inner = inner;
    this.rows = [];
    this.selected = null;
    this.edited = new Set();
    box.addEventListener('scroll', () => this.draw());
    inner.addEventListener('click', (e) => {
      const row = e.target.closest('.row');
      if (row) onPick(row.dataset.name);
    });
  }

  // rows: [name, page, flags, problem]; page -1 for all.
  show(rows, page, filter) {
    const f = filter.toLowerCase();
    this.rows = rows.filter((r) => (page < 0 || r[1] === page) && (!f || r[0].toLowerCase().includes(f)));
    this.inner.style.height = `${this.rows.length * ROW}px`;
    this.draw();
    return this.rows.length;
  }

  draw() {
    const first = Math.max(0, Math.floor(this.box.scrollTop / ROW) - 5);
    const last = Math.min(this.rows.length, Math.ceil((this.box.scrollTop + this.box.clientHeight) / ROW) + 5);
    let html = '';
    for (let i = first; i < last; i++) {
      const [name, , flags, problem] = this.rows[i];
      const cls = `row${name === this.selected ? ' on' : ''}${this.edited.has(name) ? ' edited' : ''}`;
      const shown = flags.replace('-', '−');
      html += `<div class="${cls}" style="top:${i * ROW}px" data-name="${esc(name)}" title="${esc(problem)}">` +
        `<span class="flags">${shown}${problem ? '<span class="warn">⚠</span>' : ''}</span><span class="name">${esc(name)}</span></div>`;
    }
    this.inner.innerHTML = html;
  }
}
