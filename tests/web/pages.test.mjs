import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import fs from 'node:fs';
import path from 'node:path';
import { EXAMPLES, launchBrowser, makeScratchLibrary, replaceFile, screenshot, startServer }
  from './support.mjs';

let server, browser, scratch;

before(async () => {
  scratch = makeScratchLibrary();
  server = await startServer([EXAMPLES(), scratch]);
  browser = await launchBrowser();
});

after(async () => {
  await browser?.close();
  server?.stop();
  fs.rmSync(scratch, { recursive: true, force: true });
});

async function open(relative) {
  const page = await browser.newPage({ viewport: { width: 1200, height: 900 } });
  await page.goto(new URL(relative, server.url).href);
  return page;
}

const row = (page, id) => page.locator(`#library tr[data-path="${id}"]`);

test('library lists every file with its status and a failure with its reason', async () => {
  const page = await open('/');
  await page.getByText('4 files checked').waitFor();
  const building = row(page, '0/building.tkb');
  assert.equal(await building.getAttribute('data-status'), 'ok');
  assert.deepEqual(await building.locator('td.number').allInnerTexts(), ['11.0 KiB', '12', '20']);

  const broken = row(page, '1/broken.tkb');
  const reason = (await (await fetch(new URL('/api/library', server.url))).json())
    .files.find((f) => f.path === '1/broken.tkb').error;
  assert.ok(reason);
  assert.equal(await broken.getAttribute('data-status'), 'failed');
  assert.equal(await broken.locator('.reason').innerText(), reason);

  await page.check('#failures-first');
  assert.equal(await page.locator('#library tbody tr').first().getAttribute('data-path'), '1/broken.tkb');
  await screenshot(page, 'library.png');
  await page.fill('#filter', 'build');
  assert.deepEqual(await page.locator('#library tbody tr').evaluateAll(
    (rows) => rows.map((r) => r.dataset.path)), ['0/building.tkb']);
  await page.close();
});

test('building panel draws each attribute with the control its annotations ask for', async () => {
  const page = await open('/file.html?path=0/building.tkb');
  const panel = page.locator('#groups');
  await panel.locator('fieldset').first().waitFor();
  assert.deepEqual(await panel.locator('legend').allInnerTexts(), ['Massing', 'Facade', 'Roof']);
  assert.deepEqual(await panel.locator('[data-group=Massing] [data-attribute]').evaluateAll(
    (rows) => rows.map((r) => r.dataset.attribute)), ['height', 'floorHeight', 'frontSetback', 'lotCoverage']);

  const height = page.locator('#attr-height');
  assert.equal(await height.getAttribute('type'), 'range');
  assert.deepEqual([await height.getAttribute('min'), await height.getAttribute('max')], ['6', '60']);
  const heightNumber = page.locator('[data-attribute=height] input[type=number]');
  await heightNumber.fill('42');
  assert.equal(await height.inputValue(), '42');

  assert.equal(await page.locator('#attr-roofType').evaluate((e) => e.tagName), 'SELECT');
  assert.deepEqual(await page.locator('#attr-roofType option').allInnerTexts(), ['gable', 'hip', 'flat']);
  assert.equal(await page.locator('#attr-wallColor').getAttribute('type'), 'color');
  assert.equal(await page.locator('#attr-windowTexture').getAttribute('type'), 'file');
  assert.equal(await page.locator('#attr-windowTexture').getAttribute('accept'), '.jpg,.png');
  assert.equal(await page.locator('#attr-groundFloorShops').getAttribute('type'), 'checkbox');
  assert.equal(await page.locator('[data-attribute=height] .help').innerText(),
               'Eave height of the building in metres');
  await screenshot(page.locator('#panel'), 'panel.png');
  await page.close();
});

test('rules mark the start rule and pool indexes link to their entries', async () => {
  const page = await open('/file.html?path=0/building.tkb');
  await page.locator('#rule-table tbody tr').first().waitFor();
  const marked = await page.locator('#rule-table tr.start-rule').evaluateAll(
    (rows) => rows.map((r) => r.dataset.rule));
  assert.equal(marked.length, 1);
  assert.match(await page.locator(`tr[data-rule="${marked[0]}"]`).innerText(), /\$StartRule/);

  const link = page.locator('#dump a.pool-link').last();
  const target = (await link.getAttribute('href')).slice(1);
  await link.click();
  assert.equal(await page.evaluate(() => location.hash), `#${target}`);
  const entry = page.locator(`#${target}`);
  assert.match(await entry.innerText(), new RegExp(`^\\s*\\[${target.slice(1)}\\]=`));
  const seen = await entry.evaluate((e) => {
    const box = e.getBoundingClientRect();
    return [box.top, box.bottom, innerHeight];
  });
  assert.ok(seen[0] > -1 && seen[1] <= seen[2], `the entry is scrolled into view: ${seen}`);
  await screenshot(page, 'file.png');
  await page.close();
});

test('diff of the two examples puts the breaking changes first', async () => {
  const page = await open('/diff.html?old=0/building.tkb&new=0/minimal.tkb');
  await page.waitForSelector('body[data-loaded]');
  const classes = await page.locator('#changes tr.change').evaluateAll(
    (rows) => rows.map((r) => r.dataset.class));
  const breaking = classes.filter((c) => c === 'breaking').length;
  assert.ok(breaking > 0);
  assert.deepEqual(classes.slice(0, breaking), Array(breaking).fill('breaking'));
  assert.equal(await page.locator('#changes .badge.breaking').count(), breaking);
  assert.match(await page.locator('#summary').innerText(), new RegExp(`${breaking} breaking`));
  await screenshot(page, 'diff.png');
  await page.close();
});

test('diff page starts with the pair given to kov serve --diff', async () => {
  const examples = EXAMPLES();
  const old = path.join(examples, 'building.tkb');
  const given = await startServer(['--diff', old, path.join(examples, 'minimal.tkb'), examples]);
  const page = await browser.newPage();
  try {
    await page.goto(new URL('/diff.html', given.url).href);
    await page.waitForSelector('body[data-loaded]');
    assert.ok((await page.locator('#summary').innerText()).startsWith(`${old} → `));
    assert.equal(await page.locator('#changes tr.change').first().getAttribute('data-class'), 'breaking');
  } finally {
    await page.close();
    given.stop();
  }
});

test('a replaced file updates its row and its page without a reload', async () => {
  const library = await open('/');
  const file = await open('/file.html?path=1/later.tkb');
  await file.locator('[data-attribute=height]').waitFor();
  assert.equal(await file.locator('#attr-roofType').count(), 0);
  await row(library, '1/broken.tkb').and(library.locator('[data-status=failed]')).waitFor();

  const examples = EXAMPLES();
  replaceFile(path.join(scratch, 'later.tkb'), fs.readFileSync(path.join(examples, 'building.tkb')));
  replaceFile(path.join(scratch, 'broken.tkb'), fs.readFileSync(path.join(examples, 'minimal.tkb')));
  await file.locator('#attr-roofType').waitFor({ timeout: 15000 });
  await row(library, '1/broken.tkb').and(library.locator('[data-status=ok]')).waitFor({ timeout: 15000 });
  await library.close();
  await file.close();
});
