// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Theme, View } from './state';

/** Colours of the scene; those of the controls stand in style.css. */
export interface Palette {
  background: number;
  ground: number;
  line: number;
  lineStrength: number;
  sky: number;
  bounce: number;
  /** strength of the key light and of the light from all around */
  key: number;
  fill: number;
  sticking: number;
  sliding: number;
  open: number;
  force: number;
  torque: number;
  wire: number;
  slackWire: number;
  ghost: number;
  accent: number;
}

export const kPalettes: Record<Theme, Palette> = {
  light: {
    background: 0xeef1f4,
    ground: 0xe7ebef,
    line: 0x5d6b7a,
    lineStrength: 0.34,
    sky: 0xffffff,
    bounce: 0xc9c4bc,
    key: 2.1,
    fill: 1.5,
    sticking: 0x0d8f84,
    sliding: 0xdf5b20,
    open: 0x8a94a0,
    force: 0x2f62d9,
    torque: 0x8b45c9,
    wire: 0x31465c,
    slackWire: 0x9aa7b5,
    ghost: 0x3f74d6,
    accent: 0x2f62d9,
  },
  dark: {
    background: 0x14181d,
    ground: 0x262d35,
    line: 0xa3b4c6,
    lineStrength: 0.22,
    sky: 0xdfe8f2,
    bounce: 0x77726c,
    key: 1.5,
    fill: 1.2,
    sticking: 0x35cdbd,
    sliding: 0xff8a4c,
    open: 0x8793a0,
    force: 0x7ea6ff,
    torque: 0xc48bff,
    wire: 0xe3c07a,
    slackWire: 0x7d8894,
    ghost: 0x7ea6ff,
    accent: 0x7ea6ff,
  },
};

/** What the system asks for. */
export function preferredTheme(): Theme {
  return matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light';
}

/** Keeps the page's style in step with the view, and the view with the system. */
export function bindTheme(view: View): void {
  view.listen((state, changed) => {
    if (changed.has('theme')) document.documentElement.dataset.theme = state.theme;
  });
  matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () =>
    view.set({ theme: preferredTheme() }),
  );
}
