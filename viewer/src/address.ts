// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Eye } from './eye';
import { formatLink, parseLink } from './link';
import { toast } from './notice';
import type { Replay } from './replay';
import type { View } from './state';

const kPause = 400;

/** Keeps the part of the address behind `#` in step with the view, in both directions. */
export class Address {
  private timer = 0;
  private written = '';

  constructor(
    private readonly replay: Replay,
    private readonly view: View,
    private readonly eye: Eye,
  ) {
    addEventListener('hashchange', () => {
      if (location.hash !== this.written) this.restore();
    });
  }

  /** Takes over what the address says; returns whether it places the camera. */
  restore(): boolean {
    const { state, camera } = parseLink(
      location.hash,
      this.replay.frames,
      this.replay.bodies.length,
    );
    this.view.set({ playing: false, ...state });
    if (!camera) return false;
    this.eye.place = camera;
    this.eye.follow(this.view.value.followed, this.view.value.frame);
    return true;
  }

  /** Writes the address once the view has been still for a moment. */
  touch(): void {
    clearTimeout(this.timer);
    if (!this.view.value.playing) this.timer = window.setTimeout(() => this.write(), kPause);
  }

  async copy(): Promise<void> {
    this.write();
    try {
      await navigator.clipboard.writeText(location.href);
      toast('The link is copied.');
    } catch {
      toast('The link stands in the address bar.');
    }
  }

  private write(): void {
    this.written = formatLink(this.view, this.eye.place);
    history.replaceState(null, '', this.written);
  }
}
