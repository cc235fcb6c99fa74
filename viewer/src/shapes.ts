// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import {
  BoxGeometry,
  BufferAttribute,
  BufferGeometry,
  CapsuleGeometry,
  ConeGeometry,
  CylinderGeometry,
  SphereGeometry,
} from 'three';
import type { MeshData, Shape } from './replay';

const kSegments = 40;

/** Geometries of a recording, each built once. Round shapes have axis z. */
export class Shapes {
  private readonly built = new Map<string, BufferGeometry>();

  constructor(private readonly meshes: MeshData[]) {}

  /** Null for the ground, which has no end and is drawn on its own. */
  geometry(shape: Shape): BufferGeometry | null {
    if (shape.kind === 'ground') return null;
    const key = `${shape.kind} ${shape.size.join(' ')} ${shape.mesh}`;
    const known = this.built.get(key);
    if (known) return known;
    const made = this.make(shape);
    this.built.set(key, made);
    return made;
  }

  private make(shape: Shape): BufferGeometry {
    const [a, b, c] = shape.size;
    switch (shape.kind) {
      case 'sphere':
        return new SphereGeometry(a, kSegments, kSegments / 2).rotateX(Math.PI / 2);
      case 'box':
        return new BoxGeometry(a, b, c);
      case 'cylinder':
        return new CylinderGeometry(a, a, b, kSegments).rotateX(Math.PI / 2);
      case 'cone':
        return new ConeGeometry(a, b, kSegments).rotateX(Math.PI / 2);
      case 'capsule':
        return new CapsuleGeometry(a, b, kSegments / 4, kSegments).rotateX(Math.PI / 2);
      default:
        return meshGeometry(this.meshes[shape.mesh]);
    }
  }
}

function meshGeometry(data: MeshData): BufferGeometry {
  const geometry = new BufferGeometry();
  geometry.setAttribute('position', new BufferAttribute(data.positions, 3));
  geometry.setIndex(new BufferAttribute(data.indices, 1));
  return geometry;
}

/** Radius about the body's origin that holds a shape (m); 0 for the ground. */
export function reach(shape: Shape, meshes: MeshData[]): number {
  return Math.hypot(...shape.position) + extent(shape, meshes);
}

function extent(shape: Shape, meshes: MeshData[]): number {
  const [a, b, c] = shape.size;
  switch (shape.kind) {
    case 'ground':
      return 0;
    case 'sphere':
      return a;
    case 'box':
      return Math.hypot(a, b, c) / 2;
    case 'cylinder':
    case 'cone':
      return Math.hypot(a, b / 2);
    case 'capsule':
      return a + b / 2;
    case 'mesh':
      return meshExtent(meshes[shape.mesh].positions, shape.scale);
  }
}

function meshExtent(p: Float32Array, scale: number[]): number {
  let square = 0;
  for (let i = 0; i + 2 < p.length; i += 3) {
    const [x, y, z] = [p[i] * scale[0], p[i + 1] * scale[1], p[i + 2] * scale[2]];
    square = Math.max(square, x * x + y * y + z * z);
  }
  return Math.sqrt(square);
}
