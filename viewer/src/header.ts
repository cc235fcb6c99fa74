// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, iconButton, setIcon, setPressed } from './dom';
import type { Actions } from './keyboard';
import type { Replay } from './replay';
import type { View } from './state';
import { fixed } from './text';

/** Title of the recording and the buttons beside it. */
export function buildHeader(
  replay: Replay,
  ghost: Replay | null,
  view: View,
  actions: Actions,
): void {
  document.title = replay.title ? `${replay.title} · zelvik` : 'zelvik replay';
  const facts = [replay.engine, `${replay.frames} frames`, `${fixed(replay.duration, 1)} s`];
  if (ghost) facts.push(`ghost: ${ghost.title || 'untitled'}`);
  byId('title', HTMLElement).append(
    el('h1', {}, replay.title || 'Replay'),
    el('p', {}, facts.filter(Boolean).join(' · ')),
  );
  byId('actions', HTMLElement).append(
    iconButton('frame', 'Show the whole scene', 'A', () => actions.frameAll()),
    iconButton('link', 'Copy a link to this view', 'K', () => actions.copyLink()),
    themeButton(view),
    iconButton('help', 'Help', '?', () => actions.toggleHelp()),
    optionsButton(actions),
  );
}

function themeButton(view: View): HTMLElement {
  const button = iconButton('moon', 'Dark theme', 'T', () =>
    view.set({ theme: view.value.theme === 'dark' ? 'light' : 'dark' }),
  );
  button.id = 'theme';
  view.listen(({ theme }, changed) => {
    if (!changed.has('theme')) return;
    setIcon(button, theme === 'dark' ? 'sun' : 'moon');
    setPressed(button, theme === 'dark');
  });
  return button;
}

function optionsButton(actions: Actions): HTMLElement {
  const button = iconButton('layers', 'Options', 'O', () => actions.toggleOptions());
  button.id = 'show-options';
  setPressed(button, !byId('options', HTMLElement).hidden);
  return button;
}

/** Opens or closes the options. */
export function toggleOptions(): void {
  const panel = byId('options', HTMLElement);
  panel.hidden = !panel.hidden;
  setPressed(byId('show-options', HTMLElement), !panel.hidden);
}
