// kxSound Studio in a real browser: a designer's session on the sample catalogue, checked
// afterwards with kxsound info; and the time a 10,000-sound catalogue takes to open.
import { test, expect } from '@playwright/test';
import { spawn, execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';

const KXSOUND = resolve(process.env.KXSOUND || '../../build/plain/bin/kxsound');

// Starts kxsound studio on root and gives its address once it has printed it.
async function startStudio(root) {
  const child = spawn(KXSOUND, ['studio', '--root', root], { stdio: ['ignore', 'pipe', 'inherit'] });
  const address = await new Promise((done, fail) => {
    let out = '';
    child.stdout.on('data', (chunk) => {
      out += chunk;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\/\?token=[0-9a-f]+/);
      if (found) done(found[0]);
    });
    child.on('exit', (code) => fail(new Error(`kxsound studio ended with ${code}`)));
  });
  const stop = () => new Promise((done) => { child.once('exit', done); child.kill('SIGINT'); });
  return { address, stop };
}

// Left and right level in dB of the WAV the last audition returned, read in the page.
const lastLevels = (page) => page.evaluate(async () => {
  const data = new DataView(await window.studioTimings.lastWav.arrayBuffer());
  let l = 0, r = 0, n = 0;
  for (let at = 44; at + 4 <= data.byteLength; at += 4, n++) {
    l += data.getInt16(at, true) ** 2;
    r += data.getInt16(at + 2, true) ** 2;
  }
  const db = (v) => 10 * Math.log10(v / n / 32768 ** 2 + 1e-12);
  return { left: db(l), right: db(r) };
});

async function setVolume(page, value) {
  const volume = page.locator('#fields tr[data-key="volume"] input');
  await volume.fill(value);
  await volume.press('Tab');
}

async function auditionAt(page, dx) {
  const box = await page.locator('#space').boundingBox();
  await page.evaluate(() => { window.studioTimings.lastWav = null; });
  await page.mouse.move(box.x + box.width / 2 + dx, box.y + box.height / 2 - 10);
  await page.mouse.down();
  await page.mouse.up();
  await page.waitForFunction(() => window.studioTimings.lastWav);
  return lastLevels(page);
}

test('a designer edits, adds a file, auditions in 3D and saves; a stale tab is told', async ({ page, browser }) => {
  const root = mkdtempSync(join(tmpdir(), 'kxstudio-'));
  execFileSync(KXSOUND, ['make-sample', '--root', root]);
  const studio = await startStudio(root);
  try {
    await page.goto(studio.address);
    await expect(page.locator('body[data-ready="1"]')).toBeAttached();

    await page.fill('#filter', 'door');
    await page.click('.row[data-name="DoorOpen"]');
    await page.locator('#fields tr[data-key="volume"] input').fill('120');
    await expect(page.locator('#fields tr[data-key="volume"] .flag')).toContainText('above full level');
    await setVolume(page, '80');
    await expect(page.locator('#unsaved')).toBeVisible();

    // A recording of the designer's own: a copy of one of the sample's files, under a new name.
    const chirp = readFileSync(join(root, 'sounds', 'weapons', 'shot1.wav'));
    await page.setInputFiles('#upload', { name: 'chirp.wav', mimeType: 'audio/wav', buffer: chirp });
    await expect(page.locator('#files')).toContainText('sounds\\chirp.wav');
    await expect(page.locator('#files li').last()).toContainText('22050 Hz, 16 bit, mono');

    await page.fill('#filter', 'shot');
    await page.click('.row[data-name="Shot"]');
    await expect(page.locator('#space')).toBeVisible();
    const left = await auditionAt(page, -60);
    const right = await auditionAt(page, 60);
    expect(left.left - left.right).toBeGreaterThan(6);
    expect(right.right - right.left).toBeGreaterThan(6);
    await page.click('#play');
    await page.waitForFunction(() => window.studioTimings.play !== undefined);
    const timings = await page.evaluate(() => window.studioTimings);
    console.log(`measured: open ${timings.open.toFixed(0)} ms, click on play to playing ${timings.play.toFixed(0)} ms`);

    await page.click('#save');
    await expect(page.locator('#message')).toContainText('Saved.');
    await expect(page.locator('#unsaved')).toBeHidden();
    if (process.env.STUDIO_SCREENSHOT) await page.screenshot({ path: process.env.STUDIO_SCREENSHOT });

    // Another tab's edit leaves this one's view behind: its edit is refused, with a way back.
    await page.fill('#filter', 'wind');
    await page.click('.row[data-name="Wind"]');
    const other = await browser.newPage();
    await other.goto(studio.address);
    await other.click('.row[data-name="Wind"]');
    await setVolume(other, '50');
    await expect(other.locator('#unsaved')).toBeVisible();
    await setVolume(page, '60');
    await expect(page.locator('#message')).toContainText('changed in another tab');
    await expect(page.locator('#reload')).toBeVisible();

    const bare = await browser.newPage();
    const refused = await bare.goto(studio.address.replace(/token=.*/, 'token=0'));
    expect(refused.status()).toBe(403);
    await expect(bare.locator('body')).toContainText('needs the token');
  } finally {
    await studio.stop();
  }
  const info = execFileSync(KXSOUND, ['info', '--root', root, '--quiet']).toString();
  const door = info.slice(info.indexOf('  DoorOpen'), info.indexOf('  Shot'));
  expect(door).toContain('volume 80,');
  expect(door).toContain('[on] sounds\\chirp.wav');
  rmSync(root, { recursive: true });
});

test('measure: a catalogue of 10,000 sounds opens in the page', async ({ page }) => {
  const root = mkdtempSync(join(tmpdir(), 'kxstudio-'));
  execFileSync(KXSOUND, ['make-sample', '--root', root]);
  const files = ['sounds\\doors\\open.wav', 'sounds\\weapons\\shot1.wav', 'sounds\\world\\wind.wav'];
  const sounds = Array.from({ length: 10000 }, (_, i) => ({
    name: `gen_${String(i).padStart(5, '0')}`, page: i % 3, files: [{ path: files[i % 3] }],
  }));
  writeFileSync(join(root, 'big.json'), JSON.stringify({ format: 'kxsound-catalogue', version: 1, pages: ['A', 'B', 'C'], sounds }));
  execFileSync(KXSOUND, ['import', join(root, 'big.json'), '--root', root, '--quiet']);
  const studio = await startStudio(root);
  try {
    await page.goto(studio.address);
    await expect(page.locator('body[data-ready="1"]')).toBeAttached({ timeout: 60_000 });
    const open = await page.evaluate(() => window.studioTimings.open);
    const again = Date.now();
    await page.reload();
    await expect(page.locator('body[data-ready="1"]')).toBeAttached();
    console.log(`measured: 10,000 sounds open in ${open.toFixed(0)} ms (first), reload ${Date.now() - again} ms`);
    await expect(page.locator('#count')).toContainText('10000 of 10000');
  } finally {
    await studio.stop();
  }
  rmSync(root, { recursive: true });
});
