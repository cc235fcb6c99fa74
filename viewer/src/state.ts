// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Layer } from './replay';
import { Store } from './store';

export const kToggles = ['contacts', 'forces', 'wires', 'frames', 'shadows', 'ghost'] as const;
export type Toggle = (typeof kToggles)[number];
export type Theme = 'light' | 'dark';

/** All that the person in front of the page can change, but for the camera. */
export interface ViewState {
  /** Frame on show, with a fraction while playing. */
  frame: number;
  playing: boolean;
  /** Seconds of the recording a second. */
  speed: number;
  loop: boolean;
  layer: Layer;
  show: ReadonlySet<Toggle>;
  /** Index of the picked body and of the one that the camera follows; -1 for none. */
  picked: number;
  followed: number;
  theme: Theme;
  chart: boolean;
}

export type View = Store<ViewState>;

export function makeView(theme: Theme): View {
  return new Store<ViewState>({
    frame: 0,
    playing: false,
    speed: 1,
    loop: false,
    layer: 'visual',
    show: new Set(kToggles.filter((name) => name !== 'frames')),
    picked: -1,
    followed: -1,
    theme,
    chart: true,
  });
}

export function flip(view: View, name: Toggle): void {
  const show = new Set(view.value.show);
  if (!show.delete(name)) show.add(name);
  view.set({ show });
}

/** Shows a whole frame and stops; frames outside of the recording become its ends. */
export function seek(view: View, frame: number, frames: number): void {
  const whole = Math.min(Math.max(Math.round(frame), 0), frames - 1);
  view.set({ frame: whole, playing: false });
}
