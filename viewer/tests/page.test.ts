// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
import { after, before, test } from 'node:test';
import { Chromium, type Viewer, here, replayOf } from './browser';
import { madeRecording } from './made';
import { Writer, element } from './writer';

const chromium = new Chromium();
let made = '';
before(async () => {
  await chromium.start();
  made = chromium.writeRecording(madeRecording(), madeRecording(0.4));
});
after(() => chromium.stop());

/** A test on a page that has to stay free of complaints. */
async function visit(
  file: string,
  hash: string,
  act: (viewer: Viewer) => Promise<void>,
  options = {},
): Promise<void> {
  const viewer = await chromium.open(file, hash, options);
  try {
    await act(viewer);
    assert.deepEqual(viewer.complaints, []);
    assert.deepEqual(
      viewer.requests.filter((url) => !/^(file|data|blob):/.test(url)),
      [],
    );
  } finally {
    await viewer.close();
  }
}

// Pages of other recordings, separated by colons, pass the tests that hold for every page.
for (const page of ['made', ...(process.env['ZELVIK_PAGES'] ?? '').split(':').filter(Boolean)]) {
  const name = basename(page);
  const file = () => (page === 'made' ? made : page);

  test(`${name}: play, pause, step, scrub and the ends`, () =>
    visit(file(), '#frame=0', async (viewer) => {
      const last = (await replayOf(file())).frames - 1;
      // Slow enough that a short recording does not end before the second click.
      await viewer.page.selectOption('#speed', '0.1');
      await viewer.click('#play');
      await viewer.page.waitForFunction(
        (end) => Number(document.querySelector('#frame')?.textContent?.slice(6)) >= end,
        Math.min(3, last),
      );
      assert.equal(await viewer.page.getAttribute('#play', 'aria-label'), 'Pause');
      await viewer.click('#play');
      const stopped = await viewer.frame();
      assert.equal(await viewer.page.getAttribute('#play', 'aria-label'), 'Play');
      await viewer.click('[aria-label="One frame on"]');
      assert.equal(await viewer.frame(), Math.min(stopped + 1, last));
      await viewer.click('[aria-label="One frame back"]');
      assert.equal(await viewer.frame(), Math.min(stopped, last - 1));
      await viewer.clickAt('#scrub', 0.5, 0.5);
      assert.ok(Math.abs((await viewer.frame()) - last / 2) <= Math.max(1, 0.01 * last));
      await viewer.clickAt('#chart', 0.25, 0.4);
      assert.ok(Math.abs((await viewer.frame()) - last / 4) <= Math.max(1, 0.01 * last));
      await viewer.press('End');
      assert.equal(await viewer.frame(), last);
      await viewer.press('ArrowLeft');
      assert.equal(await viewer.frame(), last - 1);
      await viewer.press('Home');
      assert.equal(await viewer.frame(), 0);
    }));

  test(`${name}: a click on a body in the middle of the view picks a body`, async () => {
    const replay = await replayOf(file());
    const body = replay.bodies.find((b) => !b.isStatic && b.shapes.length > 0) ?? replay.bodies[0];
    const [x, y, z] = body.pose(body.first)?.position ?? [0, 0, 0];
    const hash = `#frame=${body.first}&camera=${x + 1},${y - 1.5},${z + 1},${x},${y},${z}&follow=-1`;
    await visit(file(), hash, async (viewer) => {
      await viewer.clickAt('#scene', 0.5, 0.5);
      const shown = await viewer.text('#inspector h2');
      assert.ok(
        replay.bodies.some((b) => b.label === shown),
        `picked '${shown}'`,
      );
      assert.match(await viewer.text('#body-position'), / m$/);
      await viewer.press('Escape');
      assert.equal(await viewer.page.isVisible('#inspector'), false);
    });
  });
}

test('a picked body shows its name, place and velocity, and the camera goes along with it', () =>
  visit(made, '#frame=60&camera=2,-3,1.5,0.8,-0.7,0.1&follow=-1', async (viewer) => {
    await viewer.clickAt('#scene', 0.5, 0.5);
    assert.equal(await viewer.text('#inspector h2'), 'ball');
    assert.equal(await viewer.text('#body-position'), '0.800  \u22120.700  0.100 m');
    assert.equal(await viewer.text('#body-velocity'), '0.30  0.00  0.00 m/s');
    assert.equal(await viewer.text('#body-turning'), '0.00  3.00  0.00 rad/s');
    assert.match(await viewer.text('.reading.lower'), /^height of ball: 0.100 m/);
    await viewer.click('#follow');
    await viewer.press('End');
    await viewer.clickAt('#scene', 0.5, 0.5);
    assert.equal(await viewer.text('#inspector h2'), 'ball');
  }));

test('bodies that come and go can be picked only while they are there', async () => {
  const target = '#camera=0.2,1.8,1.2,0.9,0.6,0.1&follow=-1';
  for (const [frame, name] of [
    [60, 'early'],
    [200, 'ground'],
  ] as const) {
    await visit(made, `${target}&frame=${frame}`, async (viewer) => {
      await viewer.clickAt('#scene', 0.5, 0.5);
      assert.equal(await viewer.text('#inspector h2'), name);
    });
  }
});

test('each switch changes the drawing, and switching twice restores it', () =>
  visit(made, '#frame=90&show=contacts,forces,wires,shadows,ghost', async (viewer) => {
    await viewer.page.waitForTimeout(300);
    const before = await viewer.drawing();
    for (const name of ['contacts', 'forces', 'wires', 'frames', 'shadows', 'ghost']) {
      const was = await viewer.isPressed(`#show-${name}`);
      await viewer.click(`#show-${name}`);
      assert.equal(await viewer.isPressed(`#show-${name}`), !was);
      assert.notEqual(await viewer.drawing(), before, name);
      await viewer.click(`#show-${name}`);
      assert.equal(await viewer.drawing(), before, name);
    }
    await viewer.click('#layer-collision');
    assert.notEqual(await viewer.drawing(), before);
    await viewer.press('v');
    assert.equal(await viewer.drawing(), before);
  }));

test('a link restores frame, camera and drawing; dragging changes the link', () =>
  visit(made, '', async (viewer) => {
    const hash = () => viewer.page.evaluate(() => location.hash);
    await viewer.clickAt('#scrub', 0.3, 0.5);
    await viewer.page.mouse.move(500, 300);
    await viewer.page.mouse.down();
    await viewer.page.mouse.move(620, 340, { steps: 4 });
    await viewer.page.mouse.up();
    await viewer.drawing();
    await viewer.page.waitForFunction(() => /^#frame=\d+&camera=/.test(location.hash));
    await viewer.page.waitForTimeout(600); // the last of several changes
    const link = await hash();
    const { position } = (await import('../src/link')).parseLink(link, 300, 99).camera ?? {};
    assert.ok(position && position.every(Number.isFinite));
    await visit(made, link, async (other) => {
      assert.equal(await other.frame(), await viewer.frame());
      await other.page.waitForTimeout(600);
      assert.equal(await other.page.evaluate(() => location.hash), link);
    });
    await viewer.click('[aria-label="Show the whole scene"]');
    // Fails by its time limit if the link stays.
    await viewer.page.waitForFunction((before) => location.hash !== before, link);
  }));

test('light and dark follow the system until the button is pressed', () =>
  visit(
    made,
    '',
    async (viewer) => {
      const theme = () => viewer.page.getAttribute('html', 'data-theme');
      assert.equal(await theme(), 'dark');
      await viewer.click('#theme');
      assert.equal(await theme(), 'light');
    },
    { colorScheme: 'dark' },
  ));

test('speed, loop and help answer to keys; buttons have names', () =>
  visit(made, '#frame=298', async (viewer) => {
    await viewer.press('+');
    assert.equal(await viewer.page.inputValue('#speed'), '2');
    await viewer.press('l');
    await viewer.press(' ');
    await viewer.page.waitForFunction(() => {
      const frame = Number(document.querySelector('#frame')?.textContent?.slice(6));
      return frame < 290;
    });
    await viewer.press(' ');
    await viewer.press('?');
    assert.ok(await viewer.page.isVisible('#help'));
    await viewer.press('Escape');
    assert.equal(await viewer.page.isVisible('#help'), false);
    const nameless = await viewer.page.evaluate(
      () =>
        [...document.querySelectorAll('button, select, input')].filter(
          (one) => !one.getAttribute('aria-label') && !one.textContent?.trim(),
        ).length,
    );
    assert.equal(nameless, 0);
  }));

test('on a phone nothing is wider than the screen and everything can be reached', () =>
  visit(
    made,
    '#frame=90&body=3',
    async (viewer) => {
      assert.equal(await viewer.width(), 390);
      assert.equal(await viewer.page.isVisible('#options'), false);
      await viewer.page.tap('#show-options');
      await viewer.page.tap('#show-frames');
      assert.ok(await viewer.isPressed('#show-frames'));
      const outside = await viewer.page.evaluate(() =>
        [...document.querySelectorAll('button, select, input, #inspector, #options')]
          .filter((one) => one.checkVisibility())
          .map((one) => ({ name: one.outerHTML.slice(0, 60), box: one.getBoundingClientRect() }))
          .filter(({ box }) => box.left < 0 || box.right > 390 || box.bottom > 844)
          .map(({ name }) => name),
      );
      assert.deepEqual(outside, []);
      await viewer.page.tap('#play');
      assert.equal(await viewer.page.getAttribute('#play', 'aria-label'), 'Pause');
    },
    { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true },
  ));

test('what cannot be shown is said in the page', async () => {
  const whole = element(madeRecording());
  const cases: [RegExp, string][] = [
    [/holds no recording/, ''],
    [/not base64/, '<script type="text/plain" id="zelvik-replay">***</script>'],
    [/cut off/, `${whole.slice(0, 2000)}</script>`],
    [/not a zelvik recording/, element(Buffer.from('something else'))],
    [/version 2/, element(new Writer().container({}, 2))],
    [/header.title is not a text/, element(new Writer().container({}))],
  ];
  for (const [message, elements] of cases) {
    await visit(chromium.write(elements), '', async (viewer) => {
      assert.match(await viewer.text('#failure'), message);
      assert.ok(await viewer.page.isVisible('#failure'));
    });
  }
});

test('a page that has no room at first frames the scene once it has', async () => {
  const usual = await chromium.open(made);
  const grid = await usual.text('#scale');
  await usual.close();
  const hidden = '<style id="hidden">#scene-area { display: none }</style>';
  const file = chromium.write(
    element(madeRecording()),
    element(madeRecording(0.4), 'zelvik-ghost'),
    hidden,
  );
  await visit(file, '', async (viewer) => {
    await viewer.page.evaluate(() => document.querySelector('#hidden')?.remove());
    await viewer.drawing();
    assert.equal(await viewer.text('#scale'), grid);
  });
});

test('picture.sh draws equal bytes on repeat, another frame differently, and refuses nonsense', () => {
  const script = join(here, '../../scripts/picture.sh');
  const folder = mkdtempSync(join(tmpdir(), 'pictures-'));
  try {
    const draw = (name: string, ...more: string[]) => {
      const out = join(folder, name);
      execFileSync(script, [made, out, '--size', '320x200', ...more]);
      return readFileSync(out);
    };
    const first = draw('a b#1.png', '--frame', '100');
    assert.equal(first.readUInt32BE(16), 320);
    assert.equal(first.readUInt32BE(20), 200);
    assert.ok(first.equals(draw('b.png', '--frame', '100')));
    assert.ok(!first.equals(draw('c.png', '--frame', '130')));
    for (const bad of [[], [made], [made, 'x.png', '--frame', 'one'], ['none.html', 'x.png']]) {
      assert.equal(spawnSync(script, bad).status, 2, bad.join(' '));
    }
    const empty = spawnSync(script, [chromium.write(''), join(folder, 'd.png')]);
    assert.equal(empty.status, 1);
    assert.match(empty.stderr.toString(), /holds no recording/);
  } finally {
    rmSync(folder, { recursive: true });
  }
});
