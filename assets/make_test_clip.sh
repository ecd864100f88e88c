#!/usr/bin/env bash
# Makes the built-in test clip: a short synthesised melody, encoded as plain MPEG-1
# Layer III at 64 kbit/s, 44.1 kHz, mono, with no tag frames. Needs python3 and lame.
set -euo pipefail
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 - "$work/clip.wav" <<'PY'
import math, struct, sys, wave

rate = 44100
# A rising and falling arpeggio of plucked notes, with a soft fifth below.
notes = [0, 4, 7, 12, 16, 12, 7, 4] * 4 + [0, 5, 9, 12, 17, 12, 9, 5] * 2
step = 0.39
base = 220.0
samples = [0.0] * int(rate * (step * len(notes) + 0.1))
for n, semitone in enumerate(notes):
    f = base * 2 ** (semitone / 12)
    start = int(n * step * rate)
    for i in range(int(0.9 * rate)):
        if start + i >= len(samples):
            break
        t = i / rate
        env = math.exp(-4.0 * t) * min(1.0, t * 200)
        v = math.sin(2 * math.pi * f * t) + 0.3 * math.sin(2 * math.pi * 2 * f * t)
        v += 0.25 * math.sin(2 * math.pi * f * 2 / 3 * t)
        samples[start + i] += 0.22 * env * v
with wave.open(sys.argv[1], "wb") as w:
    w.setnchannels(1)
    w.setsampwidth(2)
    w.setframerate(rate)
    w.writeframes(b"".join(struct.pack("<h", max(-32767, min(32767, int(s * 32767)))) for s in samples))
PY
lame --quiet -b 64 --cbr -m m --resample 44.1 -t "$work/clip.wav" test_clip.mp3
echo "test_clip.mp3: $(stat -c %s test_clip.mp3) bytes"
