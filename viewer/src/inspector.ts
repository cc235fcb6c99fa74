// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, iconButton, setPressed, setText } from './dom';
import { velocityOf } from './motion';
import type { Body, Replay } from './replay';
import { contactsOf } from './series';
import type { View } from './state';
import { fixed, fixedList, short } from './text';

/** What is known of the picked body at the frame on show. */
export class Inspector {
  private readonly panel = byId('inspector', HTMLElement);
  private readonly heading = el('h2');
  private readonly kind = el('p');
  private readonly values = new Map<string, HTMLElement>();

  constructor(
    private readonly replay: Replay,
    private readonly view: View,
  ) {
    const close = iconButton('close', 'Close', 'Esc', () => view.set({ picked: -1 }));
    const list = el('dl');
    for (const name of ['position', 'orientation', 'velocity', 'turning', 'contacts']) {
      const value = el('dd', { id: `body-${name}` });
      this.values.set(name, value);
      list.append(el('dt', {}, name), value);
    }
    this.panel.append(close, this.heading, this.kind, list, this.followButton());
    view.listen(({ picked, frame }) => this.show(replay.bodies[picked], Math.floor(frame)));
  }

  private followButton(): HTMLElement {
    const button = el('button', { type: 'button', class: 'chip', id: 'follow' }, 'follow');
    button.title = 'Let the camera go along with this body (F)';
    button.addEventListener('click', () => followPicked(this.view));
    this.view.listen(({ picked, followed }) => setPressed(button, picked === followed));
    return button;
  }

  private show(body: Body | undefined, frame: number): void {
    this.panel.hidden = !body;
    if (!body) return;
    setText(this.heading, body.label);
    setText(this.kind, describe(body));
    const pose = body.pose(frame);
    const velocity = velocityOf(this.replay, body, frame);
    const there = (text: string | undefined) => text ?? 'not there';
    this.set('position', there(pose ? `${fixedList(pose.position, 3)} m` : undefined));
    this.set('orientation', there(pose ? fixedList(pose.quaternion, 3) : undefined));
    this.set('velocity', velocity ? `${fixedList(velocity.linear, 2)} m/s` : '–');
    this.set('turning', velocity ? `${fixedList(velocity.angular, 2)} rad/s` : '–');
    this.set('contacts', this.contacts(body, frame));
  }

  private contacts(body: Body, frame: number): string {
    const contacts = [...contactsOf(this.replay, frame, body)];
    if (contacts.length === 0) return 'none';
    const sum = contacts.reduce((total, contact) => total + contact.normalImpulse, 0);
    return `${contacts.length}, normal ${short(sum)} N s`;
  }

  private set(name: string, text: string): void {
    const element = this.values.get(name);
    if (element) setText(element, text);
  }
}

/** Follows the picked body, or nothing if it is followed already. */
export function followPicked(view: View): void {
  const { picked, followed } = view.value;
  view.set({ followed: picked === followed ? -1 : picked });
}

function describe(body: Body): string {
  const weight = body.isStatic ? 'fixed' : `${fixed(body.mass, 2)} kg`;
  return `${body.type}, ${weight}`;
}
