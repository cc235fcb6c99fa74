// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Body, Replay } from './replay';
import type { Pose, Quaternion, Vector } from './track';

export interface Velocity {
  /** of the body's frame (m/s, world axes) */
  linear: Vector;
  /** (rad/s, world axes) */
  angular: Vector;
}

/** Velocity at a frame by central differences of the recording, one-sided at its ends. */
export function velocityOf(replay: Replay, body: Body, frame: number): Velocity | null {
  const before = Math.max(frame - 1, body.first);
  const after = Math.min(frame + 1, body.first + body.frames - 1);
  const dt = replay.times[after] - replay.times[before];
  const from = body.pose(before);
  const to = body.pose(after);
  return from && to && dt > 0 ? difference(from, to, dt) : null;
}

function difference(from: Pose, to: Pose, dt: number): Velocity {
  const p = from.position;
  const q = to.position;
  const linear: Vector = [(q[0] - p[0]) / dt, (q[1] - p[1]) / dt, (q[2] - p[2]) / dt];
  return { linear, angular: rotationRate(from.quaternion, to.quaternion, dt) };
}

/** Rotation vector of to * conj(from), over dt. */
function rotationRate(from: Quaternion, to: Quaternion, dt: number): Vector {
  const [a, b, c, d] = to;
  const [w, x, y, z] = [from[0], -from[1], -from[2], -from[3]];
  const turn: Quaternion = [
    a * w - b * x - c * y - d * z,
    a * x + b * w + c * z - d * y,
    a * y - b * z + c * w + d * x,
    a * z + b * y - c * x + d * w,
  ];
  const sign = turn[0] < 0 ? -1 : 1;
  const sine = Math.hypot(turn[1], turn[2], turn[3]);
  const angle = 2 * Math.atan2(sine, sign * turn[0]);
  const factor = sine > 1e-12 ? (sign * angle) / (sine * dt) : 0;
  return [factor * turn[1], factor * turn[2], factor * turn[3]];
}
