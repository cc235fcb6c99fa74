// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Replay } from './replay';
import type { View } from './state';

/** Moves the frame on while the view is playing. */
export class Playback {
  constructor(
    private readonly replay: Replay,
    private readonly view: View,
  ) {}

  /** Starts, from the beginning if the end is reached; stops on a whole frame. */
  toggle(): void {
    const { playing, frame } = this.view.value;
    if (playing) return this.view.set({ playing: false, frame: Math.floor(frame) });
    const atEnd = frame >= this.replay.frames - 1;
    this.view.set({ playing: this.replay.frames > 1, frame: atEnd ? 0 : frame });
  }

  /** Lets `seconds` pass. */
  advance(seconds: number): void {
    const { playing, frame, speed, loop } = this.view.value;
    if (!playing) return;
    const time = this.replay.timeAt(frame) + seconds * speed;
    const last = this.replay.frames - 1;
    if (time < this.replay.times[last]) this.view.set({ frame: this.replay.frameAt(time) });
    else if (loop) this.view.set({ frame: 0 });
    else this.view.set({ frame: last, playing: false });
  }
}
