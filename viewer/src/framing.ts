// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { mainBody } from './series';
import { type Body, type Replay } from './replay';
import { reach } from './shapes';
import type { Vector } from './track';

/** A ball (m, world) that holds what is worth seeing, and the body to follow, -1 for none. */
export interface Framing {
  centre: Vector;
  radius: number;
  followed: number;
}

const kSamples = 60;

/** What moves, over the whole recording; a robot that walks away is followed instead. */
export function frameReplay(replay: Replay): Framing {
  const moving = replay.bodies.filter((body) => !body.isStatic);
  const robot = mainBody(replay);
  const bodies = moving.length > 0 ? moving : replay.bodies;
  if (robot?.type === 'articulated') {
    const object = moving.filter((body) => body.objectId === robot.objectId);
    const near = ballOf(replay, object, [robot.first]);
    if (travel(robot) > 2 * near.radius) {
      return { ...near, radius: 1.25 * near.radius, followed: robot.index };
    }
  }
  return { ...ballOf(replay, bodies, sampleFrames(replay.frames)), followed: -1 };
}

/** Way between the ends of a body's track, at most, over its samples (m). */
function travel(body: Body): number {
  const start = body.pose(body.first)?.position;
  if (!start) return 0;
  const ways = sampleFrames(body.frames).map((i) => {
    const p = body.track.pose(i)?.position ?? start;
    return Math.hypot(p[0] - start[0], p[1] - start[1], p[2] - start[2]);
  });
  return Math.max(...ways);
}

function sampleFrames(frames: number): number[] {
  const count = Math.min(frames, kSamples);
  return Array.from({ length: count }, (_, i) => Math.round((i * (frames - 1)) / (count - 1 || 1)));
}

/** Ball about the bodies; strays, the outer hundredth on each side, are left out. */
function ballOf(replay: Replay, bodies: Body[], frames: number[]): Omit<Framing, 'followed'> {
  const low: Vector[] = [];
  const high: Vector[] = [];
  for (const body of bodies) {
    const r = Math.max(0, ...body.shapes.map((shape) => reach(shape, replay.meshes)));
    for (const frame of frames) {
      const p = body.pose(frame)?.position;
      if (!p) continue;
      low.push([p[0] - r, p[1] - r, p[2] - r]);
      high.push([p[0] + r, p[1] + r, p[2] + r]);
    }
  }
  if (low.length === 0) return { centre: [0, 0, 0.5], radius: 1 };
  const span = [0, 1, 2].map((i) => [quantile(low, i, 0.01), quantile(high, i, 0.99)]);
  const centre = span.map(([a, b]) => (a + b) / 2) as Vector;
  const radius = Math.hypot(...span.map(([a, b]) => (b - a) / 2));
  return { centre, radius: Math.max(radius, 0.02) };
}

function quantile(points: Vector[], axis: number, share: number): number {
  const sorted = points.map((p) => p[axis]).sort((a, b) => a - b);
  return sorted[Math.round(share * (sorted.length - 1))];
}
