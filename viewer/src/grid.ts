// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Color, type MeshStandardMaterial } from 'three';
import type { Palette } from './theme';

/** What the lines are drawn on: a body, the plane without end, or nothing but themselves. */
export type Surface = 'body' | 'plane' | 'air';

/** Lines at whole multiples of a length along x and y, drawn onto ground and terrain. */
export class Grid {
  private readonly uniforms = {
    gridCell: { value: 1 },
    gridColor: { value: new Color() },
    gridStrength: { value: 0.3 },
    gridHaze: { value: new Color() },
    gridRange: { value: 10 },
    gridCentre: { value: { x: 0, y: 0 } },
  };

  /** Side of the small squares (m). */
  get cell(): number {
    return this.uniforms.gridCell.value;
  }

  paint(palette: Palette): void {
    this.uniforms.gridColor.value.set(palette.line);
    this.uniforms.gridHaze.value.set(palette.background);
    this.uniforms.gridStrength.value = palette.lineStrength;
  }

  /** Fits squares and haze to a camera `distance` (m) away from what it looks at. */
  fit(distance: number, x: number, y: number): void {
    const power = Math.floor(Math.log10(Math.max(distance, 1e-3) * 0.45));
    this.uniforms.gridCell.value = Number((10 ** power).toPrecision(1));
    this.uniforms.gridRange.value = distance;
    this.uniforms.gridCentre.value = { x, y };
  }

  /** Adds the lines, and for what has no end the haze in which it fades. */
  drawOn(material: MeshStandardMaterial, surface: Surface): void {
    material.onBeforeCompile = (shader) => {
      Object.assign(shader.uniforms, this.uniforms);
      shader.vertexShader = `varying vec3 gridPosition;\n${shader.vertexShader}`.replace(
        '#include <begin_vertex>',
        `#include <begin_vertex>
        gridPosition = (modelMatrix * vec4(position, 1.0)).xyz;`,
      );
      shader.fragmentShader = `${kFunctions}\n${shader.fragmentShader}`.replace(
        '#include <opaque_fragment>',
        `${kCode[surface]}\n#include <opaque_fragment>`,
      );
    };
    material.customProgramCacheKey = () => `grid ${surface}`;
  }
}

/** Coverage of lines `width` pixels wide; they fade where they would lie closer than 6 pixels. */
const kFunctions = `
  varying vec3 gridPosition;
  uniform float gridCell, gridStrength, gridRange;
  uniform vec3 gridColor, gridHaze;
  uniform vec2 gridCentre;
  float gridLines(vec2 p, float cell, float width) {
    vec2 pixel = max(fwidth(p) / cell, vec2(1e-6));
    vec2 away = abs(fract(p / cell + 0.5) - 0.5) / pixel;
    vec2 line = clamp(0.5 * width + 0.5 - away, 0.0, 1.0) * clamp(0.17 / pixel - 0.4, 0.0, 1.0);
    return max(line.x, line.y);
  }`;

const kCover = `
  float gridCover = max(0.5 * gridLines(gridPosition.xy, gridCell, 1.0),
                        gridLines(gridPosition.xy, 10.0 * gridCell, 1.4));
  float gridReach = length(gridPosition.xy - gridCentre) / gridRange;
  float gridAway = smoothstep(1.5, 9.0, gridReach);`;

const kLines = `
  outgoingLight = mix(outgoingLight, gridColor, gridStrength * gridCover);`;

const kCode: Record<Surface, string> = {
  body: `${kCover} ${kLines}
    outgoingLight = mix(outgoingLight, gridHaze, 0.9 * smoothstep(2.5, 14.0, gridReach));`,
  plane: `${kCover} ${kLines} outgoingLight = mix(outgoingLight, gridHaze, gridAway);`,
  air: `${kCover} outgoingLight = gridColor;
    diffuseColor.a = gridStrength * gridCover * (1.0 - gridAway);`,
};
