// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Blocks } from './blocks';
import { ReplayError } from './bytes';
import { Json } from './json';
import { Table } from './table';
import { type Pose, type Quaternion, Track, type Vector, realOf } from './track';

export const kShapeKinds = {
  sphere: 1,
  box: 3,
  cylinder: 2,
  capsule: 2,
  cone: 2,
  ground: 0,
  mesh: 0,
} as const;
export type ShapeKind = keyof typeof kShapeKinds;
export type Layer = 'visual' | 'collision';

export interface Shape {
  kind: ShapeKind;
  /** (m), as many numbers as `kShapeKinds` says */
  size: number[];
  position: Vector;
  quaternion: Quaternion;
  /** red, green, blue, opacity, each 0 to 1 */
  color: number[];
  layer: Layer;
  /** of a mesh: index into `Replay.meshes`, and factors along its axes */
  mesh: number;
  scale: number[];
}

export interface MeshData {
  positions: Float32Array;
  indices: Uint32Array;
}

/** Contact states as stored. */
export const kSticking = 1;
export const kSliding = 2;

/** A rigid body that stood in the world for some frames. */
export class Body {
  constructor(
    readonly index: number,
    readonly name: string,
    readonly object: string,
    readonly objectId: number,
    /** index in its robot, 0 for others */
    readonly bodyIndex: number,
    readonly type: string,
    readonly first: number,
    readonly frames: number,
    readonly isStatic: boolean,
    /** (kg) */
    readonly mass: number,
    readonly track: Track,
    readonly shapes: Shape[],
  ) {}

  get label(): string {
    if (!this.name) return this.object || `${this.type} ${this.objectId}`;
    return this.object && this.object !== this.name ? `${this.object} / ${this.name}` : this.name;
  }

  isThere(frame: number): boolean {
    return frame >= this.first && frame < this.first + this.frames;
  }

  /** Its pose at a frame of the recording, or null where there is none. */
  pose(frame: number): Pose | null {
    return this.isThere(Math.floor(frame)) ? this.track.pose(frame - this.first) : null;
  }
}

/** A recording, ready to be asked. */
export class Replay {
  readonly title: string;
  readonly engine: string;
  readonly frames: number;
  /** World time of each frame (s), never decreasing. */
  readonly times: Float64Array;
  readonly meshes: MeshData[];
  readonly bodies: Body[];
  readonly contacts: Table;
  readonly wires: Table;
  readonly forces: Table;
  readonly torques: Table;

  constructor(bytes: Uint8Array<ArrayBuffer>) {
    const { header, blocks } = openContainer(bytes);
    this.title = header.get('title').text();
    this.engine = header.get('engine').text();
    this.frames = header.get('frames').index();
    if (this.frames === 0) throw new ReplayError('The recording holds no frames.');
    this.times = readTimes(header.get('time'), blocks, this.frames);
    this.meshes = header
      .get('meshes')
      .list()
      .map((mesh) => readMesh(mesh, blocks));
    this.bodies = header
      .get('bodies')
      .list()
      .map((body, i) => readBody(body, i, blocks, this.frames, this.meshes.length));
    const table = (name: string, columns: Record<string, number>) =>
      new Table(header.get(name), blocks, this.frames, columns);
    this.contacts = table('contacts', { position: 3, normal: 3, impulse: 3, state: 1, a: 1, b: 1 });
    this.wires = table('wires', { start: 3, end: 3, state: 1, id: 1 });
    this.forces = table('forces', { position: 3, vector: 3, body: 1 });
    this.torques = table('torques', { position: 3, vector: 3, body: 1 });
  }

  /** Length of the recording (s). */
  get duration(): number {
    return this.times[this.frames - 1] - this.times[0];
  }

  /** The frame, with a fraction, at a world time; the nearest end where the time lies outside. */
  frameAt(time: number): number {
    let low = 0;
    let high = this.frames - 1;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (this.times[middle] <= time) low = middle;
      else high = middle;
    }
    const span = this.times[high] - this.times[low];
    const share = span > 0 ? (time - this.times[low]) / span : 0;
    return low + Math.min(Math.max(share, 0), high - low);
  }

  timeAt(frame: number): number {
    const low = Math.floor(frame);
    if (low >= this.frames - 1) return this.times[this.frames - 1];
    return this.times[low] + (frame - low) * (this.times[low + 1] - this.times[low]);
  }
}

function openContainer(bytes: Uint8Array<ArrayBuffer>): { header: Json; blocks: Blocks } {
  if (bytes.length < 12 || new TextDecoder().decode(bytes.subarray(0, 4)) !== 'ZLVR') {
    throw new ReplayError('This is not a zelvik recording.');
  }
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.length);
  const version = view.getUint32(4, true);
  if (version !== 1) {
    throw new ReplayError(`The recording has version ${version}; this page reads version 1.`);
  }
  const end = 12 + view.getUint32(8, true);
  if (end > bytes.length) throw new ReplayError('The recording is cut off within its header.');
  const header = Json.parse(new TextDecoder().decode(bytes.subarray(12, end)), 'header');
  const blocks = new Blocks(bytes.subarray((end + 3) & ~3), header.get('blocks'));
  return { header, blocks };
}

function readTimes(json: Json, blocks: Blocks, frames: number): Float64Array {
  const values = blocks.integers(json.get('block'), 1, frames);
  const unit = json.get('unit').number();
  const times = new Float64Array(frames);
  for (let i = 0; i < frames; ++i) {
    const time = realOf(values[i], unit);
    times[i] = i === 0 ? time || 0 : Math.max(times[i - 1], time || 0);
  }
  return times;
}

function readMesh(json: Json, blocks: Blocks): MeshData {
  const positions = blocks.floats(json.get('positions'));
  const indices = blocks.indices(json.get('indices'));
  const vertices = Math.floor(positions.length / 3);
  if (indices.length % 3 !== 0 || indices.some((i) => i >= vertices)) json.refuse('a whole mesh');
  return { positions, indices };
}

function readBody(json: Json, index: number, blocks: Blocks, frames: number, meshes: number): Body {
  const first = json.get('first').index();
  const life = json.get('frames').index();
  if (first + life > frames) json.refuse('within the recording');
  const isStatic = json.get('static').flag();
  const shapes = json
    .get('shapes')
    .list()
    .map((shape) => readShape(shape, meshes));
  return new Body(
    index,
    json.get('name').text(),
    json.get('object').text(),
    json.get('objectId').index(),
    json.get('body').index(),
    json.get('type').text(),
    first,
    life,
    isStatic,
    json.get('mass').number(),
    readTrack(json.get('track'), blocks, isStatic ? 1 : life),
    shapes,
  );
}

function readTrack(json: Json, blocks: Blocks, rows: number): Track {
  const values = blocks.integers(json.get('block'), 7, rows);
  return new Track(values, json.get('unit').number(), json.get('quaternionUnit').number());
}

function readShape(json: Json, meshes: number): Shape {
  const kind = json.get('kind').oneOf(Object.keys(kShapeKinds) as ShapeKind[]);
  const isMesh = kind === 'mesh';
  return {
    kind,
    size: json.get('size').numbers(kShapeKinds[kind]),
    position: json.get('position').numbers(3) as Vector,
    quaternion: json.get('quaternion').numbers(4) as Quaternion,
    color: json.get('color').numbers(4),
    layer: json.get('layer').oneOf(['visual', 'collision']),
    mesh: isMesh ? json.get('mesh').index(meshes) : 0,
    scale: isMesh ? json.get('scale').numbers(3) : [1, 1, 1],
  };
}
