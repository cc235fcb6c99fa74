// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { changeSpeed } from './transport';
import type { Playback } from './playback';
import type { Replay } from './replay';
import { type View, flip, kToggles, seek } from './state';

/** What the keys can set off beyond the view's state. */
export interface Actions {
  frameAll(): void;
  follow(): void;
  copyLink(): void;
  toggleHelp(): void;
  toggleOptions(): void;
  escape(): void;
}

/** Keys and what they do, for the help page. */
export const kKeys: [string, string][] = [
  ['Space', 'play or pause'],
  ['← →', 'one frame back or on; with Shift ten'],
  ['Home End', 'first or last frame'],
  ['− +', 'slower or faster'],
  ['L', 'loop'],
  ['A', 'show the whole scene'],
  ['F', 'follow the picked body'],
  ['Esc', 'pick nothing'],
  ['V', 'visual or collision shapes'],
  ['1 to 6', 'contacts, forces, wires, frames, shadows, ghost'],
  ['C', 'chart'],
  ['O', 'options'],
  ['T', 'light or dark'],
  ['K', 'copy a link to this view'],
  ['?', 'this page'],
];

export function bindKeys(replay: Replay, view: View, playback: Playback, actions: Actions): void {
  const bindings = {
    ...playKeys(replay, view, playback),
    ...viewKeys(view),
    ...actionKeys(actions),
  };
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || belongsToField(event)) return;
    const act = bindings[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    // An open dialog closes by Escape on its own, and only its own key acts behind it.
    if (!act || (event.key !== '?' && document.querySelector('dialog[open]'))) return;
    event.preventDefault();
    act(event);
  });
}

type Bindings = Record<string, (event: KeyboardEvent) => void>;

function playKeys(replay: Replay, view: View, playback: Playback): Bindings {
  const step = (sign: number) => (event: KeyboardEvent) =>
    seek(view, Math.floor(view.value.frame) + sign * (event.shiftKey ? 10 : 1), replay.frames);
  return {
    ' ': () => playback.toggle(),
    ArrowLeft: step(-1),
    ArrowRight: step(1),
    Home: () => seek(view, 0, replay.frames),
    End: () => seek(view, replay.frames - 1, replay.frames),
    '-': () => changeSpeed(view, -1),
    '+': () => changeSpeed(view, 1),
    '=': () => changeSpeed(view, 1),
  };
}

function viewKeys(view: View): Bindings {
  const state = () => view.value;
  const bindings: Bindings = {
    l: () => view.set({ loop: !state().loop }),
    c: () => view.set({ chart: !state().chart }),
    t: () => view.set({ theme: state().theme === 'dark' ? 'light' : 'dark' }),
    v: () => view.set({ layer: state().layer === 'visual' ? 'collision' : 'visual' }),
  };
  kToggles.forEach((name, i) => (bindings[String(i + 1)] = () => flip(view, name)));
  return bindings;
}

function actionKeys(actions: Actions): Bindings {
  return {
    a: () => actions.frameAll(),
    f: () => actions.follow(),
    k: () => actions.copyLink(),
    o: () => actions.toggleOptions(),
    '?': () => actions.toggleHelp(),
    Escape: () => actions.escape(),
  };
}

/** A list of choices needs its own keys, and a focused button its space bar. */
function belongsToField(event: KeyboardEvent): boolean {
  const target = event.target;
  if (target instanceof HTMLSelectElement) return true;
  return target instanceof HTMLButtonElement && event.key === ' ' && target.id !== 'play';
}
