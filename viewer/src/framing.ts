// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { mainBody } from './series';
import { type Body, type Replay } from './replay';
import { reach } from './shapes';
import type { Vector } from './track';

/** What is worth seeing, and how large the things in it are. */
export interface Framing {
  /** A ball (m, world) that holds it. */
  centre: Vector;
  radius: number;
  /** Index of the body to follow, -1 for none. */
  followed: number;
  /** Length that arrows and the like are measured by (m). */
  size: number;
}

type Ball = Pick<Framing, 'centre' | 'radius'>;

/** Where bodies are in a frame: their box along the world's axes. */
interface Box {
  low: Vector;
  high: Vector;
}

const kSamples = 60;

/** What moves, over the whole recording; a robot that walks away is followed instead. */
export function frameReplay(replay: Replay): Framing {
  const moving = replay.bodies.filter((body) => !body.isStatic);
  const radii = new Map(replay.bodies.map((body) => [body, radiusOf(body, replay)]));
  const sizes = [...moving, ...(moving.length > 0 ? [] : replay.bodies)].map(
    (body) => radii.get(body) ?? 0,
  );
  const { ball, followed } = choose(replay, moving, radii);
  const typical = 4 * quantile(sizes, 0.5);
  const size = Math.min(Math.max(typical, 0.35 * ball.radius), ball.radius);
  return { ...ball, followed, size };
}

type Radii = ReadonlyMap<Body, number>;

function choose(replay: Replay, moving: Body[], radii: Radii): { ball: Ball; followed: number } {
  const robot = mainBody(replay);
  if (robot?.type === 'articulated') {
    const object = moving.filter((body) => body.objectId === robot.objectId);
    const { centre, radius } = ballOf(object, [robot.first], radii);
    if (travel(robot) > 2 * radius) {
      return { ball: { centre, radius: 1.25 * radius }, followed: robot.index };
    }
  }
  const frames = sampleFrames(replay.frames);
  const solid = replay.bodies.filter((body) => body.type !== 'ground' && body.type !== 'heightmap');
  const all = ballOf(solid, frames, radii);
  const core = moving.length > 0 ? ballOf(moving, frames, radii) : all;
  // What stands still belongs into the view unless it makes what moves small.
  return { ball: all.radius < 1.6 * core.radius ? all : core, followed: -1 };
}

function radiusOf(body: Body, replay: Replay): number {
  return Math.max(0, ...body.shapes.map((shape) => reach(shape, replay.meshes)));
}

/** Way from the start of a body's track, at most, over its samples (m). */
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

/** Ball about the bodies. What falls from high up is left out until it has come down. */
function ballOf(bodies: Body[], frames: number[], radii: Radii): Ball {
  const boxes = frames.flatMap((frame) => boxOf(bodies, frame, radii) ?? []);
  if (boxes.length === 0) return { centre: [0, 0, 0.5], radius: 1 };
  const span = [0, 1, 2].map((axis) => [
    quantile(
      boxes.map((box) => box.low[axis]),
      0.05,
    ),
    quantile(
      boxes.map((box) => box.high[axis]),
      axis === 2 ? 0.6 : 0.95,
    ),
  ]);
  const centre = span.map(([a, b]) => (a + b) / 2) as Vector;
  const radius = Math.hypot(...span.map(([a, b]) => (b - a) / 2));
  return { centre, radius: Math.max(radius, 0.02) };
}

/** Strays, the outer fiftieth on each side, are left out. */
function boxOf(bodies: Body[], frame: number, radii: Radii): Box | null {
  const low: number[][] = [[], [], []];
  const high: number[][] = [[], [], []];
  for (const body of bodies) {
    const position = body.pose(frame)?.position;
    const r = radii.get(body) ?? 0;
    position?.forEach((x, axis) => {
      low[axis].push(x - r);
      high[axis].push(x + r);
    });
  }
  if (low[0].length === 0) return null;
  const at = (lists: number[][], share: number) => lists.map((x) => quantile(x, share)) as Vector;
  return { low: at(low, 0.02), high: at(high, 0.98) };
}

/** 0 where there are no values. */
function quantile(values: number[], share: number): number {
  const sorted = [...values].sort((a, b) => a - b);
  return sorted[Math.round(share * (sorted.length - 1))] ?? 0;
}
