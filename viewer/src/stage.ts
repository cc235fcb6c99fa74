// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import {
  Color,
  DirectionalLight,
  HemisphereLight,
  PCFShadowMap,
  type PerspectiveCamera,
  Scene,
  Vector3,
  WebGLRenderer,
} from 'three';
import { ReplayError } from './bytes';
import type { Palette } from './theme';

/** Towards the key light. */
const kLight = new Vector3(0.45, -0.5, 1).normalize();
const kShadowTexels = 2048;

/** Renderer, scene and lights. */
export class Stage {
  readonly scene = new Scene();
  readonly renderer: WebGLRenderer;
  private readonly key = new DirectionalLight();
  private readonly fill = new HemisphereLight();

  constructor(canvas: HTMLCanvasElement) {
    this.renderer = makeRenderer(canvas);
    this.renderer.shadowMap.enabled = true;
    this.renderer.shadowMap.type = PCFShadowMap;
    this.key.castShadow = true;
    this.key.shadow.mapSize.set(kShadowTexels, kShadowTexels);
    this.key.shadow.radius = 2.5;
    this.fill.position.set(0, 0, 1);
    this.scene.add(this.key, this.key.target, this.fill);
  }

  paint(palette: Palette): void {
    this.scene.background = new Color(palette.background);
    this.key.intensity = palette.key;
    this.fill.intensity = palette.fill;
    this.fill.color.set(palette.sky);
    this.fill.groundColor.set(palette.bounce);
  }

  setShadows(on: boolean): void {
    this.key.castShadow = on;
  }

  /** Fits the drawing to its element. */
  resize(width: number, height: number, pixelRatio: number): void {
    this.renderer.setPixelRatio(pixelRatio);
    this.renderer.setSize(width, height, false);
  }

  render(camera: PerspectiveCamera, target: Vector3): void {
    this.aim(target, camera.position.distanceTo(target));
    this.renderer.render(this.scene, camera);
  }

  /** The light's view covers what the camera sees near its target, in steps of whole texels. */
  private aim(target: Vector3, distance: number): void {
    const half = 2 ** (Math.ceil(2 * Math.log2(distance)) / 2) * 0.8;
    const texel = (2 * half) / kShadowTexels;
    const snapped = target
      .clone()
      .divideScalar(16 * texel)
      .round()
      .multiplyScalar(16 * texel);
    this.key.target.position.copy(snapped);
    this.key.position.copy(snapped).addScaledVector(kLight, 4 * half);
    const view = this.key.shadow.camera;
    [view.left, view.right, view.bottom, view.top] = [-half, half, -half, half];
    [view.near, view.far] = [0.5 * half, 8 * half];
    view.updateProjectionMatrix();
    this.key.shadow.normalBias = 1.5 * texel;
    this.key.shadow.bias = -0.0004;
  }
}

function makeRenderer(canvas: HTMLCanvasElement): WebGLRenderer {
  try {
    return new WebGLRenderer({ canvas, antialias: true, preserveDrawingBuffer: true });
  } catch {
    throw new ReplayError('This browser cannot draw in three dimensions: it has no WebGL 2.');
  }
}
