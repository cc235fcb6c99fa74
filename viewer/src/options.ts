// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, setPressed } from './dom';
import type { Replay } from './replay';
import { type Toggle, type View, flip } from './state';

/** What is drawn: shapes, overlays, a body by name. */
export function buildOptions(replay: Replay, hasGhost: boolean, view: View): void {
  const panel = byId('options', HTMLElement);
  panel.append(
    layerChoice(view),
    el('div', { class: 'chips' }, ...toggles(replay, hasGhost, view)),
  );
  panel.append(bodyChoice(replay, view));
}

function layerChoice(view: View): HTMLElement {
  const choice = el('div', { class: 'segments', role: 'group', 'aria-label': 'Shapes' });
  for (const layer of ['visual', 'collision'] as const) {
    const hint = `Show the ${layer} shapes (V changes)`;
    const button = el('button', { type: 'button', title: hint, id: `layer-${layer}` }, layer);
    button.addEventListener('click', () => view.set({ layer }));
    view.listen((state) => setPressed(button, state.layer === layer));
    choice.append(button);
  }
  return choice;
}

/** Overlays that the recording holds; the others would be switches without effect. */
function toggles(replay: Replay, hasGhost: boolean, view: View): HTMLElement[] {
  const made: HTMLElement[] = [];
  if (replay.contacts.rows > 0) {
    made.push(toggle(view, 'contacts', '1', swatch('stick'), 'stick', swatch('slide'), 'slide'));
  }
  if (replay.forces.rows + replay.torques.rows > 0) {
    made.push(toggle(view, 'forces', '2', swatch('force')));
  }
  if (replay.wires.rows > 0) made.push(toggle(view, 'wires', '3', swatch('wire')));
  made.push(toggle(view, 'frames', '4'), toggle(view, 'shadows', '5'));
  if (hasGhost) made.push(toggle(view, 'ghost', '6', swatch('ghost')));
  return made;
}

function toggle(view: View, name: Toggle, key: string, ...legend: (Node | string)[]): HTMLElement {
  const button = el('button', { type: 'button', class: 'chip', id: `show-${name}` }, name);
  button.title = `Show ${name} (${key})`;
  if (legend.length > 0) button.append(el('span', { class: 'legend' }, ...legend));
  button.addEventListener('click', () => flip(view, name));
  view.listen(({ show }) => setPressed(button, show.has(name)));
  return button;
}

function swatch(name: string): HTMLElement {
  return el('i', { class: 'swatch', style: `--swatch: var(--${name})` });
}

function bodyChoice(replay: Replay, view: View): HTMLElement {
  const choice = el('select', { id: 'body', 'aria-label': 'Body' });
  choice.append(el('option', { value: '-1' }, 'no body picked'));
  for (const body of replay.bodies) {
    choice.append(el('option', { value: String(body.index) }, body.label));
  }
  choice.addEventListener('change', () => view.set({ picked: Number(choice.value) }));
  view.listen(({ picked }) => (choice.value = String(picked)));
  return choice;
}
