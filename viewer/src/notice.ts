// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, setText } from './dom';

/** Puts a message in place of the scene. */
export function fail(message: string): void {
  const root = document.documentElement;
  root.dataset.state = 'failed';
  const card = el('div', { role: 'alert' }, el('h1', {}, 'This replay cannot be shown'));
  card.append(el('p', { id: 'failure' }, message));
  byId('failed', HTMLElement).replaceChildren(card);
}

let fading = 0;

/** Says something for two seconds. */
export function toast(message: string): void {
  const box = byId('toast', HTMLElement);
  setText(box, message);
  box.classList.add('shown');
  clearTimeout(fading);
  fading = window.setTimeout(() => box.classList.remove('shown'), 2000);
}
