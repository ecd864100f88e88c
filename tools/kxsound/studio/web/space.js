// Top-down view around the listener, who stands in the middle facing up (+z); +x is right.
// The inner circle is the sound's minimum distance, the outer its maximum; the dot is where
// the sound plays from, and can be dragged.
export class Space {
  constructor(canvas, onPlace) {
    this.canvas = canvas;
    this.min = 5;
    this.max = 100;
    this.pos = [0, 0, 10];
    this.dragging = false;
    canvas.addEventListener('pointerdown', (e) => {
      this.dragging = true;
      canvas.setPointerCapture(e.pointerId);
      this.moveTo(e);
    });
    canvas.addEventListener('pointermove', (e) => this.dragging && this.moveTo(e));
    canvas.addEventListener('pointerup', (e) => {
      if (!this.dragging) return;
      this.dragging = false;
      this.moveTo(e);
      onPlace(this.pos);
    });
  }

  get scale() { return (this.canvas.width / 2 - 12) / (this.max * 1.15); }

  set(min, max) {
    this.min = min;
    this.max = Math.max(max, 1);
    this.draw();
  }

  // Canvas pixels for a place in metres.
  toCanvas(x, z) { return [this.canvas.width / 2 + x * this.scale, this.canvas.height / 2 - z * this.scale]; }

  moveTo(e) {
    const r = this.canvas.getBoundingClientRect();
    const px = (e.clientX - r.left) * (this.canvas.width / r.width);
    const py = (e.clientY - r.top) * (this.canvas.height / r.height);
    const round = (v) => Math.round(v * 10) / 10;
    this.pos = [round((px - this.canvas.width / 2) / this.scale), 0, round((this.canvas.height / 2 - py) / this.scale)];
    this.draw();
  }

  distance() { return Math.hypot(this.pos[0], this.pos[2]); }

  draw() {
    const g = this.canvas.getContext('2d');
    const { width: w, height: h } = this.canvas;
    g.clearRect(0, 0, w, h);
    const circle = (radius, colour) => {
      g.strokeStyle = colour;
      g.beginPath();
      g.arc(w / 2, h / 2, radius * this.scale, 0, 2 * Math.PI);
      g.stroke();
    };
    circle(this.max, '#c33');
    circle(this.min, '#393');
    g.fillStyle = '#2d3540';
    g.beginPath();
    g.moveTo(w / 2, h / 2 - 9);
    g.lineTo(w / 2 - 6, h / 2 + 6);
    g.lineTo(w / 2 + 6, h / 2 + 6);
    g.fill();
    const [x, y] = this.toCanvas(this.pos[0], this.pos[2]);
    g.fillStyle = this.distance() > this.max ? '#999' : '#2d6cdf';
    g.beginPath();
    g.arc(x, y, 7, 0, 2 * Math.PI);
    g.fill();
    g.fillStyle = '#666';
    g.fillText(`min ${this.min} m`, 4, h - 18);
    g.fillText(`max ${this.max} m`, 4, h - 5);
  }
}
