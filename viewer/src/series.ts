// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { type Body, type Replay, kSliding } from './replay';
import type { Vector } from './track';

/** What the chart draws: one value a frame; NaN where there is none. */
export interface Series {
  /** Sum of normal impulses of the sticking and of the sliding contacts (N s). */
  sticking: Float64Array;
  sliding: Float64Array;
  /** Height of the body's frame (m). */
  height: Float64Array;
}

/** The body that a chart follows unless one is picked: a robot's base, or the first that moves. */
export function mainBody(replay: Replay): Body | null {
  const moving = replay.bodies.filter((body) => !body.isStatic);
  return (
    moving.find((body) => body.type === 'articulated' && body.bodyIndex === 0) ?? moving[0] ?? null
  );
}

/** The same body in another recording: by its names, and its place among objects of the same ones. */
export function counterpart(body: Body, other: Replay): Body | null {
  const same = (b: Body) => b.name === body.name && b.object === body.object;
  return (
    other.bodies.find((b) => same(b) && b.objectId === body.objectId) ??
    other.bodies.find(same) ??
    null
  );
}

/** Impulses on all bodies, or on `picked` alone; heights of `tracked`. */
export function seriesOf(replay: Replay, tracked: Body | null, picked: Body | null): Series {
  const sticking = new Float64Array(replay.frames);
  const sliding = new Float64Array(replay.frames);
  for (let frame = 0; frame < replay.frames; ++frame) {
    for (const contact of contactsOf(replay, frame, picked)) {
      (contact.state === kSliding ? sliding : sticking)[frame] += contact.normalImpulse;
    }
  }
  return { sticking, sliding, height: heights(replay, tracked) };
}

export function heights(replay: Replay, body: Body | null): Float64Array {
  return Float64Array.from({ length: replay.frames }, (_, i) => body?.pose(i)?.position[2] ?? NaN);
}

/** Contacts of a frame, or of one body in it. */
export function* contactsOf(replay: Replay, frame: number, picked: Body | null) {
  const { contacts } = replay;
  const [a, b, state] = [contacts.column('a'), contacts.column('b'), contacts.column('state')];
  const [normal, impulse] = [contacts.column('normal'), contacts.column('impulse')];
  const [begin, end] = contacts.range(frame);
  for (let row = begin; row < end; ++row) {
    if (picked && a.scalar(row) !== picked.index && b.scalar(row) !== picked.index) continue;
    const normalImpulse = Math.abs(dot(normal.vector(row), impulse.vector(row))) || 0;
    yield { row, state: state.scalar(row), normalImpulse };
  }
}

function dot(a: Vector, b: Vector): number {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
