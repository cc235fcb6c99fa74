// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

/** x, y, z */
export type Vector = [number, number, number];
/** w, x, y, z */
export type Quaternion = [number, number, number, number];

/** Of a body's frame in the world (m, unit quaternion). */
export interface Pose {
  position: Vector;
  quaternion: Quaternion;
}

const kNotFinite = -(2 ** 31);

/** A stored integer as the number it stands for. */
export function realOf(value: number, unit: number): number {
  return value === kNotFinite ? NaN : value * unit;
}

/** The pose of a body in each frame of its life. */
export class Track {
  private readonly rows: number;

  /** `values` holds 7 runs: position, quaternion; runs of one value stand for a body at rest. */
  constructor(
    private readonly values: Int32Array,
    private readonly unit: number,
    private readonly quaternionUnit: number,
  ) {
    this.rows = values.length / 7;
  }

  /**
   * The pose at `frame`, counted from the body's first one; between two frames it is interpolated.
   * Null if it is not finite.
   */
  pose(frame: number): Pose | null {
    const last = this.rows - 1;
    const low = Math.min(Math.floor(frame), last);
    const share = Math.min(frame, last) - low;
    const mix = (channel: number, unit: number): number => {
      const here = realOf(this.values[channel * this.rows + low], unit);
      if (share === 0) return here;
      return here + share * (realOf(this.values[channel * this.rows + low + 1], unit) - here);
    };
    const u = this.unit;
    const v = this.quaternionUnit;
    const position: Vector = [mix(0, u), mix(1, u), mix(2, u)];
    const quaternion = normalised([mix(3, v), mix(4, v), mix(5, v), mix(6, v)]);
    return quaternion && position.every(Number.isFinite) ? { position, quaternion } : null;
  }
}

function normalised(q: Quaternion): Quaternion | null {
  const norm = Math.hypot(...q);
  return norm > 1e-6 ? [q[0] / norm, q[1] / norm, q[2] / norm, q[3] / norm] : null;
}
