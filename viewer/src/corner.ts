// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { type Camera, Vector3 } from 'three';
import { byId, setText } from './dom';
import { lengthText } from './text';

const kReach = 15;

/** The world's axes as the camera sees them, and the side of a square of the grid. */
export class Corner {
  private readonly scale = byId('scale', HTMLElement);
  private readonly marks = [...document.querySelectorAll<SVGGElement>('#axes g')];

  update(camera: Camera, cell: number): void {
    setText(this.scale, `grid ${lengthText(cell)}`);
    this.marks.forEach((mark, axis) => {
      const seen = new Vector3()
        .setComponent(axis, kReach)
        .transformDirection(camera.matrixWorldInverse);
      const [x, y] = [kReach * seen.x, -kReach * seen.y];
      const line = mark.querySelector('line');
      line?.setAttribute('x2', x.toFixed(2));
      line?.setAttribute('y2', y.toFixed(2));
      const text = mark.querySelector('text');
      text?.setAttribute('x', (1.45 * x).toFixed(2));
      text?.setAttribute('y', (1.45 * y).toFixed(2));
    });
  }
}
