// Starts 'kov serve' on the examples and a scratch library, and a headless Chromium from the
// system's packages.
import { spawn } from 'node:child_process';
import { createRequire } from 'node:module';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';

const env = (name) => {
  if (!process.env[name])
    throw new Error(`${name} is not set; run the browser tests through ctest`);
  return process.env[name];
};

export const KOV = () => env('KOVTEST_KOV');
export const EXAMPLES = () => env('KOVTEST_EXAMPLES_DIR');
export const OUT = () => env('KOVTEST_WEB_OUT');

const require = createRequire(path.join(env('KOVTEST_WEB_MODULES'), 'package.json'));
const { chromium } = require('playwright-core');

// Replaces a file at once, as a compiler that writes a new file and renames it does.
export function replaceFile(file, bytes) {
  fs.writeFileSync(`${file}.new`, bytes);
  fs.renameSync(`${file}.new`, file);
}

// A library of one file that does not decode and one copy of the minimal example.
export function makeScratchLibrary() {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'kov-web-'));
  fs.writeFileSync(path.join(dir, 'broken.tkb'), Buffer.from('this is not a rule file\n'));
  fs.copyFileSync(path.join(EXAMPLES(), 'minimal.tkb'), path.join(dir, 'later.tkb'));
  return dir;
}

export function startServer(paths) {
  const child = spawn(KOV(), ['serve', '--port', '0', '-j', '2', ...paths],
                      { stdio: ['ignore', 'pipe', 'inherit'] });
  return new Promise((resolve, reject) => {
    let seen = '';
    child.on('exit', (code) => reject(new Error(`kov serve ended with ${code}`)));
    child.stdout.on('data', (chunk) => {
      seen += chunk;
      const match = /kov serve: (http:\/\/\S+)/.exec(seen);
      if (match)
        resolve({ url: match[1], stop: () => child.kill('SIGTERM') });
    });
  });
}

export function launchBrowser() {
  return chromium.launch({ executablePath: '/usr/bin/chromium', headless: true, args: ['--no-sandbox'] });
}

// Saves a whole page, or one element of it, under the build folder.
export function screenshot(target, name) {
  fs.mkdirSync(OUT(), { recursive: true });
  const whole = typeof target.goto === 'function' ? { fullPage: true } : {};
  return target.screenshot({ path: path.join(OUT(), name), ...whole });
}
