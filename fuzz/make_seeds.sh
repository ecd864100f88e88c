#!/usr/bin/env bash
# Writes the named seeds of fuzz/seeds/: wave files of the shapes found in the wild, MP3s
# from lame, play lists, console lines, scene scripts, and the base files and JSON
# documents the module itself writes (through kxsound). Needs python3, lame and a built
# kxsound: make_seeds.sh [PATH-TO-KXSOUND]
set -euo pipefail
kxsound=${1:-$(dirname "$0")/../build/plain/bin/kxsound}
[ -x "$kxsound" ] || { echo "no kxsound at $kxsound; build first or name it" >&2; exit 1; }
kxsound=$(realpath "$kxsound")
cd "$(dirname "$0")"
seeds=$PWD/seeds
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$seeds"/{kxFuzzWaveReader,kxFuzzWaveLoader,kxFuzzPlaylist,kxFuzzMP3,kxFuzzConsole,kxFuzzSceneScript,kxFuzzCatalogueJson,kxFuzzBaseFile}

python3 - "$seeds" "$work" <<'PY'
import math, os, struct, sys

seeds, work = sys.argv[1], sys.argv[2]

def put(harness, name, data):
    with open(os.path.join(seeds, harness, name), "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode())

def chunk(cid, body):
    return cid + struct.pack("<I", len(body)) + body + (b"\0" if len(body) % 2 else b"")

def tone(rate, channels, bits, seconds=0.02):
    out = bytearray()
    for i in range(int(rate * seconds)):
        v = 0.5 * math.sin(2 * math.pi * 440 * i / rate)
        for _ in range(channels):
            out += bytes([int(128 + 127 * v)]) if bits == 8 else struct.pack("<h", int(32767 * v))
    return bytes(out)

def fmt(tag, channels, rate, bits, extra=None):
    align = channels * bits // 8
    body = struct.pack("<HHIIHH", tag, channels, rate, rate * align, align, bits)
    if extra is not None:
        body += struct.pack("<H", len(extra)) + extra
    return body

def wave(chunks, riff_size=None):
    body = b"WAVE" + b"".join(chunks)
    return b"RIFF" + struct.pack("<I", len(body) if riff_size is None else riff_size) + body

info = chunk(b"LIST", b"INFO" + chunk(b"INAM", b"door creak\0") + chunk(b"ISFT", b"Lavf58.76.100\0"))
waves = {
    "pcm16_mono_22050.wav": wave([chunk(b"fmt ", fmt(1, 1, 22050, 16)), chunk(b"data", tone(22050, 1, 16))]),
    "pcm8_mono_11025.wav": wave([chunk(b"fmt ", fmt(1, 1, 11025, 8)), chunk(b"data", tone(11025, 1, 8))]),
    "pcm16_stereo_44100.wav": wave([chunk(b"fmt ", fmt(1, 2, 44100, 16)), chunk(b"data", tone(44100, 2, 16, 0.01))]),
    # What editors leave: tags, a fact chunk, cue points, odd sizes with their pad byte.
    "extra_chunks.wav": wave([chunk(b"fmt ", fmt(1, 1, 22050, 16)), info, chunk(b"fact", struct.pack("<I", 441)),
                              chunk(b"cue ", struct.pack("<II", 1, 1) + b"\0" * 20), chunk(b"junk", b"abc"),
                              chunk(b"data", tone(22050, 1, 16))]),
    "data_before_fmt.wav": wave([chunk(b"data", tone(8000, 1, 8)), chunk(b"fmt ", fmt(1, 1, 8000, 8))]),
    "fmt18_pcm.wav": wave([chunk(b"fmt ", fmt(1, 1, 16000, 16, b"")), chunk(b"data", tone(16000, 1, 16))]),
    "adpcm_tag2.wav": wave([chunk(b"fmt ", fmt(2, 1, 22050, 4, struct.pack("<HH", 500, 7) + b"\x00\x01" * 14)),
                            chunk(b"fact", struct.pack("<I", 100)), chunk(b"data", bytes(256))]),
    "extensible.wav": wave([chunk(b"fmt ", fmt(0xFFFE, 2, 48000, 16, struct.pack("<HI", 16, 3) +
                                             bytes.fromhex("0100000000001000800000aa00389b71"))),
                            chunk(b"data", tone(48000, 2, 16, 0.005))]),
    "data_claims_64k.wav": wave([chunk(b"fmt ", fmt(1, 1, 22050, 16))]) + b"data" + struct.pack("<I", 0x10000) + tone(22050, 1, 16, 0.005),
    "empty_data.wav": wave([chunk(b"fmt ", fmt(1, 1, 22050, 16)), chunk(b"data", b"")]),
    "riff_size_wrong.wav": wave([chunk(b"fmt ", fmt(1, 1, 22050, 8)), chunk(b"data", tone(22050, 1, 8))], riff_size=4),
}
for name, data in waves.items():
    put("kxFuzzWaveReader", name, data)
    put("kxFuzzWaveLoader", name, data)

# The play list harness reads the list's own path from the first line.
lists = {
    "extm3u_crlf.m3u": "music\\lists\\a.m3u\n#EXTM3U\r\n#EXTINF:123,Artist - Title\r\nsong.mp3\r\n#EXTINF:-1,Radio\r\n..\\other\\b.mp3\r\n\r\n",
    "bom_lf.m3u": "x/y.m3u\n\ufeff#EXTM3U\n#EXTINF:5,One\none.mp3\n\n\ntwo\n",
    "drive_cr.m3u": "d:\\lists\\a.m3u\nc:\\music\\a.mp3\rb.mp3\r #not a comment\r",
    "no_folder.m3u": "plain.m3u\na.mp3\n" + "n" * 300 + ".mp3\nc.mp3",
}
for name, text in lists.items():
    put("kxFuzzPlaylist", name, text)

console = {
    "play.txt": "PlaySound door\nPlaySound step 1 2 3\nPlaySound step 1 2\nSoundVolume door 50\nSoundVolume door\nSoundMinDistance step 2\nSoundMaxDistance step 1e30\nSoundFrequency \"door\" 200\n",
    "ambient.txt": "LoadAmbient hum\nPlayAmbientLooped hum\nPlayAmbientDelayed hum 100 50\nAmbientVolume hum 80\nStopAmbient hum\nUnloadAmbient hum\n",
    "list.txt": "LoadMP3List music\\list\nPlayMP3\nNextMP3\nGoPM3Index 2\nGoPM3Index -1\nPrevMP3\nUnloadMP3List\n",
    "music.txt": "TestMP3\nSetVolumeMP3 50\nStopMP3\nRewindMP3\nUnloadMP3\nLoadMP3 music\\clip 1\nPlayMP3\n",
    "settings.txt": "Enable 0\nPlaySound door\nEnable 1\nSetVolume 30\nFrequencyFactor 50\nVolumeFactor 2\nShowStatistic 1\n",
    "listener.txt": "RolloffFactor -1\nDistanceFactor 2.5\nDopplerFactor 10\nUpdateDelay\nUpdateDelay abc\nUpdateDelay 0\n",
    "redirect.txt": "RedirectSound door step\nPlaySound door\nRedirectSound door\nRedirectSound nobody x\n",
    "words.txt": "help\nhelp Sound\nUnknown x\n\"Play Sound\" door\nplaysound DOOR\n\tSetVolume\t 70 \r\n",
}
for name, text in console.items():
    put("kxFuzzConsole", name, text)

scenes = {
    "words.scene": "# every word\nears 0 0 0\nears 1 2 3 0 0 1\nears 1 2 3 0 0 1 0 1 0\nhold Engine as m stealable extra 4\n"
                   "stream m at 0 0 6\nstream m play\nwait 100\nexpect-playing m\nstream m circle 5 3000\n"
                   "stream m volume 80\nstream m frequency 120\nstream m pause\nstream m resume\nstream m rewind\n"
                   "stream m stop\nstream m release\nprint done  \r\nsave\nhelp\nhelp Sound\nquit\n",
    "crlf.scene": "print one\r\nPlaySound \"Door Knock\" -2 0 5\r\n\r\n   # indented comment\r\nwait 10\r\nexit\r\n",
    "errors.scene": "wait\nwait -1\nears 1 2\nhold x\nstream nobody play\nstream\nstream m at 1 2\nexpect-playing\nsave now\n",
}
for name, text in scenes.items():
    put("kxFuzzSceneScript", name, text)

catalogue = """{
  "format": "kxsound-catalogue",
  "version": 1,
  "pages": ["World", "Doors", {"hex": "c3"}],
  "sounds": [
    {"name": "Door", "enabled": 1, "comment": "creaks", "page": 1, "playMode": 0, "numStreams": 2,
     "volume": 80, "frequency": 110, "looped": 0, "is3D": 1, "crossed": 0,
     "minDistance": 2.5, "maxDistance": {"bits": "7f800000"},
     "files": [{"path": "sounds\\\\door.wav", "enabled": 1}, {"path": "sounds\\\\door2.wav", "enabled": 0}]},
    {"name": {"hex": "ff00"}, "comment": null},
    {"name": "wind", "files": []}
  ]
}
"""
put("kxFuzzCatalogueJson", "handmade.json", catalogue)
with open(os.path.join(work, "small.json"), "w") as f:
    f.write(catalogue.replace('{"hex": "ff00"}', '"Ff"').replace('{"hex": "c3"}', '"Music"'))
PY

# MP3s as lame writes them: with and without the Info tag, ID3 tags, MPEG-1, 2 and 2.5.
python3 - "$work/tone.wav" <<'PY'
import math, struct, sys, wave
with wave.open(sys.argv[1], "wb") as w:
    w.setnchannels(2); w.setsampwidth(2); w.setframerate(44100)
    w.writeframes(b"".join(struct.pack("<hh", int(9000 * math.sin(i / 9)), int(9000 * math.sin(i / 13))) for i in range(8820)))
PY
mp3() { lame --quiet "$@" "$work/tone.wav" "$work/out.mp3" && cp "$work/out.mp3" "$seeds/kxFuzzMP3/$name"; }
name=mpeg1_stereo_cbr.mp3 mp3 -b 32 --cbr -m s --resample 32
name=mpeg2_mono_info.mp3 mp3 -b 16 -m m --resample 22.05
name=mpeg25_mono_8k.mp3 mp3 -b 8 -m m --resample 8
name=mpeg1_joint_vbr_id3v2.mp3 mp3 -V 9 -m j --resample 48 --tt title --ta artist --add-id3v2
name=mpeg2_no_info_id3v1.mp3 mp3 -t -b 24 -m m --resample 16 --id3v1-only --tt title

# Files the module writes: a base file imported through it, and the JSON it exports.
"$kxsound" import "$work/small.json" --root "$work" >/dev/null
cp "$work/Sounds.qorSound" "$seeds/kxFuzzBaseFile/imported_three_sounds"
# The same in the harness's compact form ('C', the counts, then only the bytes that are read).
python3 - "$work/Sounds.qorSound" "$seeds/kxFuzzBaseFile/imported_three_sounds.compact" <<'PY'
import struct, sys
raw = open(sys.argv[1], "rb").read()
sounds, pages = struct.unpack_from("<ii", raw, 256)
out = bytearray(b"C" + raw[256:264] + raw[10240:10240 + 16 * pages])
at = 10240 + 16 * pages
for _ in range(sounds):
    out += raw[at:at + 32] + raw[at + 256:at + 256 + 48]
    comment, files = struct.unpack_from("<ii", raw, at + 256 + 4)
    at += 256 + 10240
    out += raw[at:at + comment + 64 * files]
    at += comment + 64 * files
open(sys.argv[2], "wb").write(out)
PY
mkdir "$work/sample"
"$kxsound" make-sample --root "$work/sample" >/dev/null
"$kxsound" export --root "$work/sample" >"$seeds/kxFuzzCatalogueJson/exported_sample.json"
"$kxsound" export --root "$work" >"$seeds/kxFuzzCatalogueJson/exported_small.json"
cp ../examples/walkthrough.scene "$seeds/kxFuzzSceneScript/"
echo "seeds written to $seeds"
