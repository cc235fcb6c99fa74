// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Writer } from './writer';

// A made-up scene with every kind of shape and overlay. Nothing in it is simulated.

export const kFrames = 300;
const kRate = 60;
type Triple = [number, number, number];
type Turn = [number, number, number, number];
type Row = Record<string, number[]>;

interface MadeShape {
  kind: string;
  size: number[];
  [more: string]: unknown;
}

interface MadeBody {
  name: string;
  object: string;
  type: string;
  shapes: object[];
  at: (t: number) => { p: Triple; q: Turn };
  first?: number;
  frames?: number;
  fixed?: boolean;
  mass?: number;
}

const kLevel: Turn = [1, 0, 0, 0];
const kOrange = [0.86, 0.42, 0.16, 1];
const kGrey = [0.42, 0.46, 0.5, 1];
const kSteel = [0.25, 0.29, 0.34, 1];

function shape(made: MadeShape): object {
  return {
    position: [0, 0, 0],
    quaternion: kLevel,
    color: kGrey,
    layer: 'collision',
    name: '',
    ...made,
  };
}

function pitch(angle: number): Turn {
  return [Math.cos(angle / 2), 0, Math.sin(angle / 2), 0];
}

function yaw(angle: number): Turn {
  return [Math.cos(angle / 2), 0, 0, Math.sin(angle / 2)];
}

const kFeet = [
  { leg: 'LF', x: 0.3, y: 0.18, phase: 0 },
  { leg: 'RF', x: 0.3, y: -0.18, phase: 0.5 },
  { leg: 'LH', x: -0.3, y: 0.18, phase: 0.5 },
  { leg: 'RH', x: -0.3, y: -0.18, phase: 0 },
];

/** A walk: the base glides, each foot stands for half of a period and swings for the other. */
class Walk {
  constructor(
    private readonly speed: number,
    private readonly lift: number,
  ) {}

  base(t: number): Triple {
    return [this.speed * t, 0, 0.36 + 0.2 * this.speed + 0.012 * Math.sin(4 * Math.PI * t)];
  }

  stands(t: number, phase: number): boolean {
    return (t + phase) % 1 < 0.5;
  }

  /** Thigh pitch and knee pitch (rad), and the foot, of a leg with links of 0.25 m. */
  leg(t: number, x: number, y: number, phase: number) {
    const cycle = (t + phase) % 1;
    const swing = cycle < 0.5 ? 0 : 2 * cycle - 1;
    const stride = this.speed * 0.5;
    const along = cycle < 0.5 ? stride * (0.5 - 2 * cycle) : stride * (swing - 0.5);
    const [bx, , bz] = this.base(t);
    const foot: Triple = [bx + x + along, y, 0.02 + this.lift * Math.sin(Math.PI * swing)];
    const [dx, dz] = [foot[0] - bx - x, foot[2] - bz];
    const reach = Math.min(Math.hypot(dx, dz), 0.499);
    const half = Math.acos(reach / 0.5);
    const lean = Math.atan2(-dx, -dz);
    return { hip: [bx + x, y, bz] as Triple, thigh: lean + half, shank: lean - half, foot };
  }
}

function robot(walk: Walk): MadeBody[] {
  const trunk = [
    shape({ kind: 'box', size: [0.66, 0.24, 0.14], color: kOrange, layer: 'visual' }),
    shape({
      kind: 'cylinder',
      size: [0.05, 0.3],
      position: [0, 0, 0.08],
      quaternion: pitch(Math.PI / 2),
      color: kSteel,
      layer: 'visual',
    }),
    shape({ kind: 'box', size: [0.7, 0.28, 0.2] }),
  ];
  const base: MadeBody = {
    name: 'BASE',
    object: 'quadruped',
    type: 'articulated',
    shapes: trunk,
    at: (t) => ({ p: walk.base(t), q: pitch(0.03 * Math.sin(2 * Math.PI * t)) }),
    mass: 14.5,
  };
  return [base, ...kFeet.flatMap(({ leg, x, y, phase }) => links(walk, leg, x, y, phase))];
}

function links(walk: Walk, leg: string, x: number, y: number, phase: number): MadeBody[] {
  const rod = (radius: number, color: number[]) =>
    shape({
      kind: 'capsule',
      size: [radius, 0.22],
      position: [0, 0, -0.125],
      color,
      layer: 'visual',
    });
  const hull = shape({ kind: 'box', size: [0.06, 0.06, 0.25], position: [0, 0, -0.125] });
  const foot = shape({ kind: 'sphere', size: [0.025], position: [0, 0, -0.25], color: kSteel });
  const pose = (t: number) => walk.leg(t, x, y, phase);
  const knee = (t: number): Triple => {
    const { hip, thigh } = pose(t);
    return [hip[0] - 0.25 * Math.sin(thigh), hip[1], hip[2] - 0.25 * Math.cos(thigh)];
  };
  const common = { object: 'quadruped', type: 'articulated' };
  return [
    {
      ...common,
      name: `${leg}_THIGH`,
      shapes: [rod(0.032, kSteel), hull],
      at: (t) => ({ p: pose(t).hip, q: pitch(pose(t).thigh) }),
    },
    {
      ...common,
      name: `${leg}_SHANK`,
      shapes: [rod(0.022, kGrey), { ...foot, layer: 'visual' }, hull, foot],
      at: (t) => ({ p: knee(t), q: pitch(pose(t).shank) }),
    },
  ];
}

function still(name: string, type: string, p: Triple, ...shapes: object[]): MadeBody {
  return { name, object: name, type, shapes, at: () => ({ p, q: kLevel }), fixed: true };
}

function props(): MadeBody[] {
  const blue = [0.23, 0.44, 0.72, 1];
  const green = [0.36, 0.58, 0.35, 1];
  const single = (made: Omit<MadeBody, 'object'>): MadeBody => ({ object: made.name, ...made });
  return [
    still('ground', 'ground', [0, 0, 0], shape({ kind: 'ground', size: [] })),
    still(
      'terrain',
      'heightmap',
      [1.2, 1.9, 0],
      shape({ kind: 'mesh', size: [], mesh: 0, scale: [1, 1, 1], color: [0.62, 0.6, 0.55, 1] }),
    ),
    still('hook', 'box', [-0.3, -0.9, 1.1], shape({ kind: 'box', size: [0.1, 0.1, 0.1] })),
    single({
      name: 'ball',
      type: 'sphere',
      shapes: [shape({ kind: 'sphere', size: [0.1], color: blue })],
      at: (t) => ({ p: [0.5 + 0.3 * t, -0.7, 0.1], q: pitch(3 * t) }),
    }),
    single({
      name: 'weight',
      type: 'cylinder',
      shapes: [shape({ kind: 'cylinder', size: [0.07, 0.16], color: kSteel })],
      at: (t) => ({ p: swinging(t), q: pitch(-0.5 * Math.sin(3.7 * t)) }),
    }),
    single({
      name: 'cone',
      type: 'cone',
      shapes: [shape({ kind: 'cone', size: [0.1, 0.25], color: green })],
      at: (t) => ({ p: [1.4, -0.75, 0.125], q: yaw(2 * t) }),
    }),
    single({
      name: 'early',
      type: 'box',
      shapes: [shape({ kind: 'box', size: [0.2, 0.2, 0.2], color: green })],
      at: () => ({ p: [0.9, 0.6, 0.1], q: yaw(0.4) }),
      frames: 120,
    }),
    single({
      name: 'late',
      type: 'mesh',
      shapes: [shape({ kind: 'mesh', size: [], mesh: 1, scale: [0.2, 0.2, 0.2], color: kOrange })],
      at: (t) => ({ p: [1.6, 0.6, Math.max(0.07, 2 - 4.9 * (t - 2.5) ** 2)], q: kLevel }),
      first: 150,
      frames: 150,
    }),
    single({
      name: 'dumbbell',
      type: 'compound',
      shapes: [
        shape({ kind: 'capsule', size: [0.03, 0.3], color: kSteel }),
        shape({ kind: 'sphere', size: [0.08], position: [0, 0, 0.2], color: blue }),
        shape({ kind: 'sphere', size: [0.08], position: [0, 0, -0.2], color: blue }),
      ],
      at: (t) => ({ p: [-0.6, 0.6 - 0.08 * t, 0.08], q: [0.5, 0.5, 0.5, 0.5] }),
    }),
  ];
}

function swinging(t: number): Triple {
  const angle = 0.5 * Math.sin(3.7 * t);
  return [-0.3 + 0.6 * Math.sin(angle), -0.9, 1.1 - 0.6 * Math.cos(angle)];
}

/** Rolling hills of 1.6 m x 1.2 m. */
function hills(): { positions: number[]; indices: number[] } {
  const [nx, ny] = [33, 25];
  const positions: number[] = [];
  const indices: number[] = [];
  for (let j = 0; j < ny; ++j) {
    for (let i = 0; i < nx; ++i) {
      const [x, y] = [0.05 * (i - 16), 0.05 * (j - 12)];
      positions.push(x, y, 0.05 + 0.07 * Math.sin(5 * x) * Math.cos(4 * y + 1));
      const k = j * nx + i;
      if (i + 1 < nx && j + 1 < ny) indices.push(k, k + 1, k + nx, k + 1, k + nx + 1, k + nx);
    }
  }
  return { positions, indices };
}

const kTetrahedron = {
  positions: [1, 0, -0.35, -0.5, 0.87, -0.35, -0.5, -0.87, -0.35, 0, 0, 1.06],
  indices: [0, 2, 1, 0, 1, 3, 1, 2, 3, 2, 0, 3],
};

/** Feet that stand stick, but one slides at its end; the ball slides until 1 s. */
function contactsAt(t: number, walk: Walk, index: (name: string) => number): Row[] {
  const ground = [index('ground')];
  const feet = kFeet.filter(({ phase }) => walk.stands(t, phase));
  const rows = feet.map(({ leg, x, y, phase }) => {
    const slides = leg === 'LF' && (t + phase) % 1 > 0.4;
    const [fx, fy] = walk.leg(t, x, y, phase).foot;
    const impulse = [slides ? -0.09 : 0.02, 0, 0.16 + 0.05 * Math.sin(9 * t + x)];
    return { position: [fx, fy, 0], impulse, state: [slides ? 2 : 1], a: [index(`${leg}_SHANK`)] };
  });
  const ball = { position: [0.5 + 0.3 * t, -0.7, 0], impulse: [t < 1 ? -0.03 : 0, 0, 0.08] };
  const all = [...rows, { ...ball, state: [t < 1 ? 2 : 1], a: [index('ball')] }];
  return all.map((row) => ({ ...row, normal: [0, 0, 1], b: ground, depth: [-0.0002] }));
}

function wiresAt(t: number): Row[] {
  const slack = Math.sin(3.7 * t) > 0.9;
  return [{ start: [-0.3, -0.9, 1.1], end: swinging(t), state: [slack ? 0 : 1], id: [0] }];
}

function writeBody(writer: Writer, body: MadeBody, objectId: number, index: number): object {
  const { first = 0, frames = kFrames, fixed = false } = body;
  const poses = Array.from({ length: fixed ? 1 : frames }, (_, i) => body.at((first + i) / kRate));
  const runs = [0, 1, 2].map((k) => poses.map(({ p }) => p[k]));
  runs.push(...[0, 1, 2, 3].map((k) => poses.map(({ q }) => q[k])));
  const track = { ...writer.reals(runs, 1e-5), quaternionUnit: 1e-5 };
  const { name, object, type, shapes, mass = 1 } = body;
  const entry = { name, object, objectId, body: index, type, first, frames, mass, shapes, track };
  return { ...entry, static: fixed };
}

/** The whole scene in a container; `speed` of the walk in m/s. */
export function madeRecording(speed = 0.5, title = 'made-up scene'): Buffer {
  const writer = new Writer();
  const walk = new Walk(speed, 0.06);
  const machine = robot(walk);
  const bodies = [...props(), ...machine];
  const names = bodies.map((body) => body.name);
  const times = Array.from({ length: kFrames }, (_, i) => i / kRate);
  const perFrame = (rows: (t: number) => Row[]) => times.map(rows);
  const base = [names.indexOf('BASE')];
  const pushed = (t: number) => t > 1 && t < 2;
  const place = { position: 1e-5, body: 1 };
  return writer.container({
    title,
    engine: 'zelvik 0.1.0',
    frames: kFrames,
    time: writer.reals([times], 1e-6),
    gravity: [0, 0, -9.81],
    meshes: [hills(), kTetrahedron].map((mesh) => ({
      positions: writer.floats(mesh.positions),
      indices: writer.indices(mesh.indices),
    })),
    bodies: bodies.map((body, i) => {
      const limb = machine.indexOf(body);
      return writeBody(writer, body, limb < 0 ? i : 1000, Math.max(limb, 0));
    }),
    contacts: writer.table(
      perFrame((t) => contactsAt(t, walk, (name) => names.indexOf(name))),
      { position: 1e-5, normal: 1e-4, impulse: 1e-6, state: 1, a: 1, b: 1, depth: 1e-6 },
    ),
    wires: {
      names: ['rope'],
      ...writer.table(perFrame(wiresAt), { start: 1e-5, end: 1e-5, state: 1, id: 1 }),
    },
    forces: writer.table(
      perFrame((t) =>
        pushed(t) ? [{ position: walk.base(t), vector: [0, 40, 0], body: base }] : [],
      ),
      { ...place, vector: 1e-3 },
    ),
    torques: writer.table(
      perFrame((t) =>
        pushed(t) ? [{ position: [1.4, -0.75, 0.3], vector: [0, 0, 2], body: [5] }] : [],
      ),
      { ...place, vector: 1e-3 },
    ),
  });
}
