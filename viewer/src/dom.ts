// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { kIcons, type IconName } from './icons';

type Child = Node | string;

/** An element with attributes and children. */
export function el<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  attributes: Record<string, string> = {},
  ...children: Child[]
): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

/** The element of the page with this id. */
export function byId<T extends HTMLElement>(id: string, type: new () => T): T {
  const element = document.getElementById(id);
  if (!(element instanceof type)) throw new Error(`the page lacks #${id}`);
  return element;
}

/** A button with a picture; `hint` is its name and `key` the key that does the same. */
export function iconButton(icon: IconName, hint: string, key: string, act: () => void) {
  const title = key ? `${hint} (${key})` : hint;
  const button = el('button', { type: 'button', class: 'icon', 'aria-label': hint, title });
  setIcon(button, icon);
  button.addEventListener('click', act);
  return button;
}

export function setIcon(button: HTMLElement, icon: IconName): void {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('viewBox', '0 0 24 24');
  svg.setAttribute('aria-hidden', 'true');
  const path = document.createElementNS('http://www.w3.org/2000/svg', 'path');
  path.setAttribute('d', kIcons[icon]);
  svg.append(path);
  button.replaceChildren(svg);
}

/** Sets a text without touching the page where it stays the same. */
export function setText(element: HTMLElement, text: string): void {
  if (element.textContent !== text) element.textContent = text;
}

export function setPressed(button: HTMLElement, pressed: boolean): void {
  button.setAttribute('aria-pressed', String(pressed));
}
