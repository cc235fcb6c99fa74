// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, iconButton } from './dom';
import { kKeys } from './keyboard';

/** The page of keys and gestures. */
export class Help {
  private readonly dialog = byId('help', HTMLDialogElement);

  constructor() {
    const list = el('dl');
    for (const [key, what] of kKeys) {
      list.append(el('dt', {}, ...key.split(' ').map(keyCap)), el('dd', {}, what));
    }
    this.dialog.append(
      iconButton('close', 'Close help', 'Esc', () => this.dialog.close()),
      el('h2', {}, 'Keys'),
      list,
      el('h2', {}, 'Mouse and fingers'),
      el('p', {}, 'Drag to orbit. Drag with the right button, or with two fingers, to pan.'),
      el('p', {}, 'Turn the wheel or pinch to zoom. Click a body to pick it, the chart to seek.'),
    );
    this.dialog.addEventListener('click', (event) => {
      if (event.target === this.dialog) this.dialog.close();
    });
  }

  toggle(): void {
    if (this.dialog.open) this.dialog.close();
    else this.dialog.showModal();
  }
}

function keyCap(key: string): Node {
  return key === 'to' ? document.createTextNode(' to ') : el('kbd', {}, key);
}
