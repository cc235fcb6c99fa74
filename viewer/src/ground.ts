// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { DoubleSide, Group, Mesh, MeshStandardMaterial, PlaneGeometry, Vector3 } from 'three';
import type { Grid } from './grid';
import type { Replay } from './replay';
import type { Palette } from './theme';
import type { Pose } from './track';

/** Side of the square that stands for the endless plane, in distances of the camera. */
const kSides = 60;
const kWorld: Pose = { position: [0, 0, 0], quaternion: [1, 0, 0, 0] };

/**
 * The ground planes of a recording; they follow the camera, so that their edge is never seen. A
 * recording without any ground gets lines at z = 0.
 */
export class Ground extends Group {
  private readonly material = new MeshStandardMaterial({ roughness: 1, metalness: 0 });
  private readonly planes: { body: number; mesh: Mesh }[] = [];

  constructor(
    private readonly replay: Replay,
    private readonly grid: Grid,
  ) {
    super();
    grid.drawOn(this.material, 'plane');
    for (const body of replay.bodies) {
      if (body.shapes.some((shape) => shape.kind === 'ground')) this.addPlane(body.index);
    }
    const hasTerrain = replay.bodies.some((body) => body.type === 'heightmap');
    if (this.planes.length === 0 && !hasTerrain) this.addLines();
  }

  paint(palette: Palette): void {
    this.material.color.set(palette.ground);
  }

  /** Puts each plane under `target` (world). */
  place(frame: number, target: Vector3, distance: number): void {
    for (const { body, mesh } of this.planes) {
      const pose = body < 0 ? kWorld : this.replay.bodies[body].pose(frame);
      mesh.visible = pose !== null;
      if (!pose) continue;
      const [w, x, y, z] = pose.quaternion;
      mesh.quaternion.set(x, y, z, w);
      const normal = new Vector3(0, 0, 1).applyQuaternion(mesh.quaternion);
      const height = normal.dot(target.clone().sub(new Vector3(...pose.position)));
      mesh.position.copy(target).addScaledVector(normal, -height);
      mesh.scale.setScalar(kSides * distance);
      mesh.updateMatrixWorld();
    }
  }

  /** Body of the recording that a picked mesh belongs to, or -1. */
  bodyOf(mesh: unknown): number {
    return this.planes.find((plane) => plane.mesh === mesh)?.body ?? -1;
  }

  private addPlane(body: number): void {
    const mesh = new Mesh(new PlaneGeometry(1, 1), this.material);
    mesh.receiveShadow = true;
    this.planes.push({ body, mesh });
    this.add(mesh);
  }

  private addLines(): void {
    const material = new MeshStandardMaterial({ transparent: true, side: DoubleSide });
    material.depthWrite = false;
    this.grid.drawOn(material, 'air');
    const mesh = new Mesh(new PlaneGeometry(1, 1), material);
    mesh.raycast = () => {};
    this.planes.push({ body: -1, mesh });
    this.add(mesh);
  }
}
