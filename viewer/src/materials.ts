// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Color, DoubleSide, MeshStandardMaterial } from 'three';
import type { Grid } from './grid';
import type { Shape } from './replay';

/** Materials of the shapes, one for each look. */
export class Materials {
  private readonly made = new Map<string, MeshStandardMaterial>();

  constructor(private readonly grid: Grid) {}

  /** `accent`: the colour that a picked body is tinted with, or null. */
  of(shape: Shape, isTerrain: boolean, accent: number | null): MeshStandardMaterial {
    const isMesh = shape.kind === 'mesh';
    const key = `${shape.color.join(' ')} ${isMesh} ${isTerrain} ${accent ?? ''}`;
    const known = this.made.get(key);
    if (known) return known;
    const material = surface(shape.color, isMesh);
    if (accent !== null) tint(material, new Color(accent));
    if (isTerrain) this.grid.drawOn(material, 'body');
    this.made.set(key, material);
    return material;
  }
}

function tint(material: MeshStandardMaterial, accent: Color): void {
  material.color.lerp(accent, 0.72);
  material.emissive.copy(accent).multiplyScalar(0.18);
}

/** Meshes have flat facets, as the contacts feel them, and are open or wound either way. */
function surface(color: number[], isMesh: boolean): MeshStandardMaterial {
  const [r, g, b, opacity] = color;
  return new MeshStandardMaterial({
    color: new Color().setRGB(r, g, b, 'srgb'),
    roughness: 0.62,
    metalness: 0.02,
    flatShading: isMesh,
    side: DoubleSide,
    shadowSide: DoubleSide,
    transparent: opacity < 1,
    opacity,
  });
}

/** The one look of all bodies of a ghost. Where both recordings agree, the solid body wins. */
export function ghostMaterial(): MeshStandardMaterial {
  return new MeshStandardMaterial({
    transparent: true,
    opacity: 0.34,
    roughness: 0.8,
    polygonOffset: true,
    polygonOffsetFactor: 1.5,
    polygonOffsetUnits: 4,
  });
}
