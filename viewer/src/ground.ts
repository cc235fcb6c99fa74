// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Group, Mesh, MeshStandardMaterial, PlaneGeometry, Vector3 } from 'three';
import type { Grid } from './grid';
import type { Replay } from './replay';
import type { Palette } from './theme';

/** Side of the square that stands for the endless plane, in distances of the camera. */
const kSides = 60;

/** The ground planes of a recording; they follow the camera, so that their edge is never seen. */
export class Ground extends Group {
  private readonly material = new MeshStandardMaterial({ roughness: 1, metalness: 0 });
  private readonly planes: { body: number; mesh: Mesh }[] = [];

  constructor(
    private readonly replay: Replay,
    grid: Grid,
  ) {
    super();
    grid.drawOn(this.material, true);
    for (const body of replay.bodies) {
      if (body.shapes.some((shape) => shape.kind === 'ground')) this.add(this.plane(body.index));
    }
  }

  paint(palette: Palette): void {
    this.material.color.set(palette.ground);
  }

  /** Puts each plane under `target` (world). */
  place(frame: number, target: Vector3, distance: number): void {
    for (const { body, mesh } of this.planes) {
      const pose = this.replay.bodies[body].pose(frame);
      mesh.visible = pose !== null;
      if (!pose) continue;
      const [w, x, y, z] = pose.quaternion;
      mesh.quaternion.set(x, y, z, w);
      const normal = new Vector3(0, 0, 1).applyQuaternion(mesh.quaternion);
      const origin = new Vector3(...pose.position);
      const height = normal.dot(target.clone().sub(origin));
      mesh.position.copy(target).addScaledVector(normal, -height);
      mesh.scale.setScalar(kSides * distance);
      mesh.updateMatrixWorld();
    }
  }

  /** Body of the recording that a picked mesh belongs to, or -1. */
  bodyOf(mesh: unknown): number {
    return this.planes.find((plane) => plane.mesh === mesh)?.body ?? -1;
  }

  private plane(body: number): Mesh {
    const mesh = new Mesh(new PlaneGeometry(1, 1), this.material);
    mesh.receiveShadow = true;
    this.planes.push({ body, mesh });
    return mesh;
  }
}
