// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Vector } from './track';
import { type Toggle, type View, type ViewState, kToggles } from './state';

/** Where the camera stands and what it looks at (m, world). */
export interface CameraPlace {
  position: Vector;
  target: Vector;
}

/** What the part of the address behind `#` says; what it does not say is undefined. */
export interface Link {
  state: Partial<ViewState>;
  camera?: CameraPlace;
  /** Width and height of a picture without controls (pixels). */
  picture?: [number, number];
}

export function parseLink(hash: string, frames: number, bodies: number): Link {
  const fields = new URLSearchParams(hash.replace(/^#/, ''));
  const state: Partial<ViewState> = {};
  const frame = numbers(fields.get('frame'), 1);
  if (frame) state.frame = Math.min(Math.max(Math.round(frame[0]), 0), frames - 1);
  const layer = fields.get('layer');
  if (layer === 'visual' || layer === 'collision') state.layer = layer;
  const theme = fields.get('theme');
  if (theme === 'light' || theme === 'dark') state.theme = theme;
  const show = fields.get('show');
  if (show !== null) state.show = toggles(show);
  const picked = numbers(fields.get('body'), 1);
  if (picked) state.picked = bodyIndex(picked[0], bodies);
  const followed = numbers(fields.get('follow'), 1);
  if (followed) state.followed = bodyIndex(followed[0], bodies);
  return {
    state,
    camera: cameraOf(fields.get('camera')),
    picture: pictureSize(fields.get('picture')),
  };
}

/** The hash that restores the view. */
export function formatLink(view: View, camera: CameraPlace): string {
  const { frame, layer, show, picked, followed, theme } = view.value;
  const place = [...camera.position, ...camera.target].map((x) => Number(x.toFixed(3)));
  const fields = [
    `frame=${Math.floor(frame)}`,
    `camera=${place.join(',')}`,
    `follow=${followed}`,
    `layer=${layer}`,
    `show=${[...show].join(',')}`,
    `theme=${theme}`,
  ];
  if (picked >= 0) fields.push(`body=${picked}`);
  return `#${fields.join('&')}`;
}

function numbers(text: string | null, count: number): number[] | undefined {
  const values = (text ?? '').split(',').map((part) => (part.trim() ? Number(part) : NaN));
  return values.length === count && values.every(Number.isFinite) ? values : undefined;
}

/** `640x400` as numbers; any other text but none gives a common size. */
function pictureSize(text: string | null): [number, number] | undefined {
  if (text === null) return undefined;
  const found = /^(\d{1,4})x(\d{1,4})$/.exec(text);
  return found ? [Number(found[1]), Number(found[2])] : [1280, 800];
}

function cameraOf(text: string | null): CameraPlace | undefined {
  const v = numbers(text, 6);
  if (!v || Math.hypot(v[0] - v[3], v[1] - v[4], v[2] - v[5]) < 1e-6) return undefined;
  return { position: [v[0], v[1], v[2]], target: [v[3], v[4], v[5]] };
}

function toggles(text: string): Set<Toggle> {
  const names = text.split(',');
  return new Set(kToggles.filter((name) => names.includes(name)));
}

function bodyIndex(value: number, bodies: number): number {
  return Number.isInteger(value) && value >= 0 && value < bodies ? value : -1;
}
