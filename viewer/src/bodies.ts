// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Group, Mesh, type MeshStandardMaterial, type Object3D, Quaternion, Vector3 } from 'three';
import type { Materials } from './materials';
import type { Body, Layer, Replay, Shape } from './replay';
import { Shapes } from './shapes';

/** How the surfaces of one recording look. */
export type Look = (
  shape: Shape,
  isTerrain: boolean,
  accent: number | null,
) => MeshStandardMaterial;

export function solidLook(materials: Materials): Look {
  return (shape, isTerrain, accent) => materials.of(shape, isTerrain, accent);
}

interface Part {
  shape: Shape;
  mesh: Mesh;
  shownIn: ReadonlySet<Layer>;
}

/** The bodies of a recording as groups of meshes. */
export class Bodies extends Group {
  private readonly groups = new Map<number, { group: Group; parts: Part[] }>();
  private readonly owners = new Map<Object3D, number>();
  private picked = -1;
  private accent = 0;

  /** `choose` says which bodies are drawn. */
  constructor(
    private readonly replay: Replay,
    private readonly look: Look,
    castsShadow: boolean,
    choose: (body: Body) => boolean,
  ) {
    super();
    const shapes = new Shapes(replay.meshes);
    for (const body of replay.bodies.filter(choose)) this.addBody(body, shapes, castsShadow);
  }

  /** Moves the bodies to where they are at a frame; hides those that are not there. */
  place(frame: number): void {
    for (const [index, { group }] of this.groups) {
      const pose = this.replay.bodies[index].pose(frame);
      group.visible = pose !== null;
      if (!pose) continue;
      group.position.set(...pose.position);
      group.quaternion.copy(quaternionOf(pose.quaternion));
    }
  }

  /** Shows visual or collision shapes. */
  setLayer(layer: Layer): void {
    for (const { parts } of this.groups.values()) {
      for (const part of parts) part.mesh.visible = part.shownIn.has(layer);
    }
  }

  /** Tints a body; -1 for none. */
  highlight(picked: number, accent: number): void {
    if (picked === this.picked && accent === this.accent) return;
    const before = this.picked;
    [this.picked, this.accent] = [picked, accent];
    this.dress(before);
    this.dress(picked);
  }

  /** Body that a mesh belongs to, or -1. */
  bodyOf(mesh: Object3D): number {
    return this.owners.get(mesh) ?? -1;
  }

  private dress(index: number): void {
    const accent = index === this.picked ? this.accent : null;
    const isTerrain = this.replay.bodies[index]?.type === 'heightmap';
    for (const { shape, mesh } of this.groups.get(index)?.parts ?? []) {
      mesh.material = this.look(shape, isTerrain, accent);
    }
  }

  private addBody(body: Body, shapes: Shapes, castsShadow: boolean): void {
    const group = new Group();
    const hasVisual = body.shapes.some((shape) => shape.layer === 'visual');
    const parts: Part[] = [];
    for (const shape of body.shapes) {
      const geometry = shapes.geometry(shape);
      if (!geometry) continue;
      const mesh = placed(new Mesh(geometry), shape);
      mesh.castShadow = castsShadow && shape.color[3] > 0.5;
      mesh.receiveShadow = castsShadow;
      parts.push({ shape, mesh, shownIn: layersOf(shape, hasVisual) });
      this.owners.set(mesh, body.index);
      group.add(mesh);
    }
    this.groups.set(body.index, { group, parts });
    this.dress(body.index);
    this.add(group);
  }
}

function layersOf(shape: Shape, bodyHasVisual: boolean): Set<Layer> {
  return new Set(bodyHasVisual ? [shape.layer] : ['visual', 'collision']);
}

function placed(mesh: Mesh, shape: Shape): Mesh {
  mesh.position.copy(new Vector3(...shape.position));
  mesh.quaternion.copy(quaternionOf(shape.quaternion));
  mesh.scale.copy(new Vector3(shape.scale[0], shape.scale[1], shape.scale[2]));
  return mesh;
}

function quaternionOf([w, x, y, z]: readonly number[]): Quaternion {
  return new Quaternion(x, y, z, w);
}
