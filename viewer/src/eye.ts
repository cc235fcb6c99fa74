// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { PerspectiveCamera, Vector3 } from 'three';
import { OrbitControls } from 'three/examples/jsm/controls/OrbitControls.js';
import type { Framing } from './framing';
import type { CameraPlace } from './link';
import type { Replay } from './replay';

const kDirection = new Vector3(0.78, -1.25, 0.55).normalize();

/** The camera: orbits, pans, zooms, and goes along with a body. */
export class Eye {
  readonly camera = new PerspectiveCamera(32, 1, 0.01, 1000);
  readonly controls: OrbitControls;
  private anchor: Vector3 | null = null;

  constructor(
    private readonly replay: Replay,
    private readonly framing: Framing,
    element: HTMLElement,
  ) {
    this.camera.up.set(0, 0, 1);
    this.controls = new OrbitControls(this.camera, element);
    this.controls.enableDamping = !matchMedia('(prefers-reduced-motion: reduce)').matches;
    this.controls.dampingFactor = 0.14;
    this.controls.maxPolarAngle = 0.62 * Math.PI;
  }

  get distance(): number {
    return this.camera.position.distanceTo(this.controls.target);
  }

  get place(): CameraPlace {
    return { position: this.camera.position.toArray(), target: this.controls.target.toArray() };
  }

  set place({ position, target }: CameraPlace) {
    this.camera.position.set(...position);
    this.controls.target.set(...target);
    this.anchor = null;
    this.controls.update();
  }

  /** Shows the whole scene; a followed body that has moved on takes the view with it. */
  frameAll(followed: number, frame: number): void {
    const centre = new Vector3(...this.framing.centre);
    const body = this.replay.bodies[followed];
    const start = body && this.replay.bodies[followed].pose(body.first)?.position;
    const now = body?.pose(frame)?.position;
    const isHome = followed === this.framing.followed;
    if (start && now && isHome) centre.add(new Vector3(...now)).sub(new Vector3(...start));
    this.look(centre, this.framing.radius);
  }

  /** Keeps the distance to body `followed` at a frame; -1 for none. */
  follow(followed: number, frame: number): void {
    const position = this.replay.bodies[followed]?.pose(frame)?.position;
    if (!position) {
      this.anchor = null;
      return;
    }
    const now = new Vector3(...position);
    if (this.anchor) {
      const way = now.clone().sub(this.anchor);
      this.camera.position.add(way);
      this.controls.target.add(way);
    }
    this.anchor = now;
  }

  /** Forgets where the followed body was, so that the camera stays where it is. */
  release(): void {
    this.anchor = null;
  }

  resize(width: number, height: number): void {
    this.camera.aspect = width / Math.max(height, 1);
    this.camera.updateProjectionMatrix();
  }

  /** Fits the range of depths to the distance. */
  prepare(): void {
    const distance = Math.max(this.distance, 1e-3);
    this.camera.near = distance / 100;
    this.camera.far = distance * 60;
    this.camera.updateProjectionMatrix();
    this.camera.updateMatrixWorld();
  }

  private look(centre: Vector3, radius: number): void {
    const half = Math.tan((this.camera.fov * Math.PI) / 360) * Math.min(1, this.camera.aspect);
    const distance = (0.92 * radius) / Math.sin(Math.atan(half));
    this.controls.target.copy(centre);
    this.camera.position.copy(centre).addScaledVector(kDirection, distance);
    this.controls.update();
  }
}
