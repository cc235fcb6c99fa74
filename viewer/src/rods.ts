// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import {
  type BufferGeometry,
  ConeGeometry,
  CylinderGeometry,
  DynamicDrawUsage,
  Group,
  InstancedMesh,
  Matrix4,
  MeshBasicMaterial,
  Quaternion,
  SphereGeometry,
  Vector3,
} from 'three';

const kUp = new Vector3(0, 0, 1);
const kHeadLength = 5;
const kHeadRadius = 2.1;

/** Copies of one geometry, as many as are asked for; drawn over everything if `onTop`. */
class Copies {
  mesh: InstancedMesh;
  private used = 0;

  constructor(
    private readonly parent: Group,
    private readonly geometry: BufferGeometry,
    private readonly material: MeshBasicMaterial,
  ) {
    this.mesh = this.make(64);
  }

  clear(): void {
    this.used = 0;
    this.mesh.count = 0;
  }

  add(matrix: Matrix4): void {
    if (this.used === this.mesh.instanceMatrix.count) this.grow();
    this.mesh.setMatrixAt(this.used, matrix);
    this.mesh.count = ++this.used;
    this.mesh.instanceMatrix.needsUpdate = true;
  }

  private grow(): void {
    const old = this.mesh;
    this.mesh = this.make(2 * this.used);
    this.mesh.instanceMatrix.array.set(old.instanceMatrix.array);
    this.parent.remove(old);
    old.dispose();
  }

  private make(capacity: number): InstancedMesh {
    const mesh = new InstancedMesh(this.geometry, this.material, capacity);
    mesh.instanceMatrix.setUsage(DynamicDrawUsage);
    mesh.frustumCulled = false;
    mesh.count = 0;
    mesh.renderOrder = this.material.depthTest ? 0 : 10;
    this.parent.add(mesh);
    return mesh;
  }
}

/** Rods, arrows and dots of one colour and thickness. Lengths in m, places in the world. */
export class Rods extends Group {
  private readonly material: MeshBasicMaterial;
  private readonly shafts: Copies;
  private readonly heads: Copies;
  private readonly dots: Copies;

  constructor(
    private readonly radius: number,
    onTop: boolean,
  ) {
    super();
    this.material = new MeshBasicMaterial({ depthTest: !onTop, transparent: onTop });
    const shaft = new CylinderGeometry(1, 1, 1, 12).rotateX(Math.PI / 2).translate(0, 0, 0.5);
    const head = new ConeGeometry(1, 1, 16).rotateX(Math.PI / 2).translate(0, 0, 0.5);
    this.shafts = new Copies(this, shaft, this.material);
    this.heads = new Copies(this, head, this.material);
    this.dots = new Copies(this, new SphereGeometry(1, 16, 10), this.material);
  }

  paint(color: number): void {
    this.material.color.set(color);
  }

  empty(): void {
    for (const copies of [this.shafts, this.heads, this.dots]) copies.clear();
  }

  rod(start: Vector3, end: Vector3): void {
    const along = end.clone().sub(start);
    this.put(this.shafts, start, along, this.radius, along.length());
  }

  /** An arrow from `start`; one that is shorter than its head gets a smaller head. */
  arrow(start: Vector3, along: Vector3, heads = 1): void {
    const length = along.length();
    const head = Math.min(kHeadLength * this.radius, length / (1 + heads));
    if (!(length > 0)) return;
    const unit = along.clone().divideScalar(length);
    this.put(this.shafts, start, unit, this.radius, length - head);
    for (let i = 1; i <= heads; ++i) {
      const foot = start.clone().addScaledVector(unit, length - i * head);
      this.put(this.heads, foot, unit, (kHeadRadius / kHeadLength) * head, head);
    }
  }

  dot(centre: Vector3, radius: number): void {
    this.put(this.dots, centre, kUp, radius, radius);
  }

  private put(copies: Copies, at: Vector3, along: Vector3, radius: number, length: number): void {
    const values = [at.x, at.y, at.z, along.x, along.y, along.z, length];
    if (!values.every(Number.isFinite)) return;
    const turn = new Quaternion().setFromUnitVectors(kUp, along.clone().normalize());
    copies.add(new Matrix4().compose(at, turn, new Vector3(radius, radius, length)));
  }
}
