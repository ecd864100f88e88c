// Debian's Chromium, headless; Playwright downloads no browser of its own.
import { defineConfig } from '@playwright/test';

export default defineConfig({
  testDir: '.',
  testMatch: '*.test.mjs',
  timeout: 90_000,
  workers: 1,
  reporter: 'list',
  use: {
    headless: true,
    viewport: { width: 1280, height: 860 },
    launchOptions: {
      executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
      args: ['--autoplay-policy=no-user-gesture-required', '--no-sandbox'],
    },
  },
});
