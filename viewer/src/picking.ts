// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { type Camera, type Object3D, Raycaster, Vector2 } from 'three';

/** A press that moves further (pixels) or lasts longer (ms) is a drag. */
const kSlack = 6;
const kPatience = 600;

/** First mesh under a point of the element, given in pixels of the page. */
export function meshAt(
  element: HTMLElement,
  camera: Camera,
  roots: Object3D[],
  x: number,
  y: number,
): Object3D | null {
  const area = element.getBoundingClientRect();
  const point = new Vector2(
    (2 * (x - area.left)) / area.width - 1,
    1 - (2 * (y - area.top)) / area.height,
  );
  const ray = new Raycaster();
  ray.setFromCamera(point, camera);
  const hits = ray.intersectObjects(roots, true);
  return hits.find((hit) => isShown(hit.object))?.object ?? null;
}

/** Tells clicks and taps from drags. */
export function onClick(element: HTMLElement, act: (x: number, y: number) => void): void {
  let start: PointerEvent | null = null;
  element.addEventListener('pointerdown', (event) => {
    start = event.isPrimary && event.button === 0 ? event : null;
  });
  element.addEventListener('pointerup', (event) => {
    if (!start || event.pointerId !== start.pointerId) return;
    const way = Math.hypot(event.clientX - start.clientX, event.clientY - start.clientY);
    if (way <= kSlack && event.timeStamp - start.timeStamp <= kPatience) {
      act(event.clientX, event.clientY);
    }
    start = null;
  });
}

function isShown(object: Object3D): boolean {
  return object.visible && (object.parent === null || isShown(object.parent));
}
