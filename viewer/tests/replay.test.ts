// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ReplayError } from '../src/bytes';
import { type CameraPlace, formatLink, parseLink } from '../src/link';
import { velocityOf } from '../src/motion';
import { Replay } from '../src/replay';
import { heights, seriesOf } from '../src/series';
import { makeView } from '../src/state';
import { kFrames, madeRecording } from './made';
import { Writer } from './writer';

const made = () => Uint8Array.from(madeRecording());

/** A body that moves as `runs` say: x, y, z, w, x, y, z over the frames. */
function oneBody(runs: number[][], dt = 0.01, changes: object = {}): Replay {
  const writer = new Writer();
  const frames = runs[0].length;
  const time = writer.reals([runs[0].map((_, i) => i * dt)], 1e-6);
  const track = { ...writer.reals(runs, 1e-6), quaternionUnit: 1e-6 };
  const life = { first: 0, frames, static: false };
  const names = { name: 'b', object: 'b', objectId: 0, body: 0, type: 'box' };
  const bodies = [{ ...names, ...life, mass: 1, track, shapes: [], ...changes }];
  const tables = { contacts: {}, wires: {}, forces: {}, torques: {} };
  const header = { title: '', engine: '', frames, time, meshes: [], bodies, ...tables };
  return new Replay(Uint8Array.from(writer.container(header)));
}

function still(length: number): number[] {
  return new Array<number>(length).fill(0);
}

test('numbers survive the container: large, negative, not finite, wrapping differences', () => {
  const x = [2000, -2000, 2000, NaN, 0.25];
  const one = still(5).map(() => 1);
  const replay = oneBody([x, still(5), still(5), one, still(5), still(5), still(5)]);
  const seen = x.map((_, i) => replay.bodies[0].pose(i)?.position[0] ?? NaN);
  assert.deepEqual(seen, x);
  assert.equal(replay.bodies[0].pose(5), null);
});

test('velocity comes from the neighbours in time, one-sided at the ends', () => {
  const n = 5;
  const angle = still(n).map((_, i) => 0.02 * i);
  const replay = oneBody([
    angle.map((_, i) => 0.5 * i * i * 1e-4),
    still(n),
    still(n),
    angle.map((a) => Math.cos(a / 2)),
    still(n),
    still(n),
    angle.map((a) => -Math.sin(a / 2)),
  ]);
  const at = (frame: number) => velocityOf(replay, replay.bodies[0], frame);
  // x = t^2 / 2 has velocity t; central differences are exact for it.
  assert.ok(Math.abs((at(2)?.linear[0] ?? NaN) - 0.02) < 1e-3);
  assert.ok(Math.abs((at(0)?.linear[0] ?? NaN) - 0.005) < 1e-3);
  // Turning about -z at 2 rad/s.
  for (const frame of [0, 2, 4]) assert.ok(Math.abs((at(frame)?.angular[2] ?? NaN) + 2) < 1e-3);
});

test('times and frames map onto each other, between frames and beyond the ends', () => {
  const replay = new Replay(made());
  for (const frame of [0, 0.5, 17, 298.25, 299]) {
    assert.ok(Math.abs(replay.frameAt(replay.timeAt(frame)) - frame) < 1e-3);
  }
  assert.equal(replay.frameAt(-1), 0);
  assert.equal(replay.frameAt(100), kFrames - 1);
});

test('the chart adds up the normal impulses of the contacts, all or of one body', () => {
  const replay = new Replay(made());
  const ball = replay.bodies.find((body) => body.name === 'ball') ?? null;
  const all = seriesOf(replay, ball, null);
  const own = seriesOf(replay, ball, ball);
  assert.ok(Math.abs(own.sliding[10] - 0.08) < 1e-6 && own.sticking[10] === 0);
  assert.ok(Math.abs(own.sticking[90] - 0.08) < 1e-6 && own.sliding[90] === 0);
  assert.ok(all.sticking[90] > 0.2);
  const late = replay.bodies.find((body) => body.name === 'late') ?? null;
  assert.ok(Number.isNaN(heights(replay, late)[149]) && heights(replay, late)[150] > 1.9);
});

test('a link restores what it was made from; nonsense in it is left out', () => {
  const view = makeView('dark');
  view.set({ frame: 42, layer: 'collision', picked: 3, followed: 2, show: new Set(['frames']) });
  const camera: CameraPlace = { position: [1, -2, 3.5], target: [0, 0.25, 0] };
  const link = parseLink(formatLink(view, camera), 100, 5);
  const { frame, layer, picked, followed, show, theme } = view.value;
  assert.deepEqual(link.state, { frame, layer, picked, followed, show, theme });
  assert.deepEqual(link.camera, camera);

  const odd = parseLink('#frame=1e9&camera=1,2,3,1,2,3&body=7&follow=x&layer=no&theme=', 100, 5);
  assert.deepEqual(odd, {
    state: { frame: 99, picked: -1 },
    camera: undefined,
    picture: undefined,
  });
});

test('a body that outlives the recording or has a shape that there is none of is refused', () => {
  const runs = [still(3), still(3), still(3), [1, 1, 1], still(3), still(3), still(3)];
  const layer = { layer: 'visual', position: [0, 0, 0], quaternion: [1, 0, 0, 0] };
  const mesh = { ...layer, kind: 'mesh', size: [], color: [1, 1, 1, 1], scale: [1, 1, 1], mesh: 0 };
  const cases: [RegExp, object][] = [
    [/bodies\[0\] is not within the recording/, { first: 1 }],
    [/mesh is not an index below 0/, { shapes: [mesh] }],
    [/kind is not sphere or/, { shapes: [{ ...mesh, kind: 'teapot' }] }],
    [/size is not 3 numbers/, { shapes: [{ ...mesh, kind: 'box', size: [1, 2] }] }],
  ];
  for (const [message, changes] of cases) {
    assert.throws(() => oneBody(runs, 0.01, changes), { message });
  }
});

test('damaged containers are refused in words, whatever byte is wrong', () => {
  const good = made();
  for (let length = 0; length < good.length; length += 997) {
    assert.throws(() => new Replay(good.slice(0, length)), ReplayError);
  }
  let seed = 1;
  const random = () => (seed = (seed * 48271) % 2147483647) / 2147483647;
  let refused = 0;
  for (let round = 0; round < 300; ++round) {
    const bytes = good.slice();
    bytes[Math.floor(random() * 12000)] = Math.floor(random() * 256);
    try {
      new Replay(bytes);
    } catch (problem) {
      assert.ok(problem instanceof ReplayError, String(problem));
      ++refused;
    }
  }
  assert.ok(refused > 30);
});
