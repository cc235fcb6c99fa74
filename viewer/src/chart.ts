// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, setText } from './dom';
import { kMargin, Plot, type PlotColors, type Range, heightRange, impulseRange } from './plot';
import type { Body, Replay } from './replay';
import { type Series, counterpart, heights, mainBody, seriesOf } from './series';
import { type View, seek } from './state';
import { fixed, short } from './text';

/** Contact impulses and a height over time; a click seeks. */
export class Chart {
  private readonly root = byId('chart', HTMLElement);
  private readonly canvas = el('canvas', { 'aria-hidden': 'true' });
  private readonly cursor = el('div', { class: 'cursor' });
  private readonly impulseText = el('p', { class: 'reading' });
  private readonly heightText = el('p', { class: 'reading lower' });
  private series!: Series;
  private ghostHeights: Float64Array | null = null;
  private ranges!: { impulse: Range; height: Range };
  private tracked: Body | null = null;

  constructor(
    private readonly replay: Replay,
    private readonly ghost: Replay | null,
    private readonly view: View,
  ) {
    this.root.append(this.canvas, this.cursor, this.impulseText, this.heightText);
    this.bindPointer();
    new ResizeObserver(() => this.draw()).observe(this.root);
    view.listen((state, changed) => {
      if (changed.has('picked')) this.gather(state.picked);
      if (changed.has('picked') || changed.has('theme')) this.draw();
      this.point(Math.floor(state.frame));
    });
  }

  private gather(index: number): void {
    const { replay, ghost } = this;
    const picked = replay.bodies[index] ?? null;
    this.tracked = picked ?? mainBody(replay);
    this.series = seriesOf(replay, this.tracked, picked);
    this.ghostHeights = this.tracked && ghost ? this.heightsOfGhost(ghost, this.tracked) : null;
    const lists = this.ghostHeights
      ? [this.series.height, this.ghostHeights]
      : [this.series.height];
    this.ranges = { impulse: impulseRange(this.series), height: heightRange(lists) };
  }

  /** Of the same body in the ghost, at the times of this recording. */
  private heightsOfGhost(ghost: Replay, body: Body): Float64Array {
    const there = heights(ghost, counterpart(body, ghost));
    const end = ghost.times[ghost.frames - 1];
    return Float64Array.from(this.replay.times, (time) =>
      time >= ghost.times[0] && time <= end ? there[Math.round(ghost.frameAt(time))] : NaN,
    );
  }

  private draw(): void {
    const { clientWidth: width, clientHeight: height } = this.root;
    const context = this.canvas.getContext('2d');
    if (!context || width === 0 || height === 0) return;
    const ratio = Math.min(devicePixelRatio, 2);
    [this.canvas.width, this.canvas.height] = [width * ratio, height * ratio];
    context.scale(ratio, ratio);
    const plot = new Plot(context, width, height, this.colors());
    plot.impulses(this.series, this.ranges.impulse);
    plot.heights(this.series.height, this.ghostHeights, this.ranges.height);
    plot.ticks(this.ticks(width));
    this.point(Math.floor(this.view.value.frame));
  }

  private colors(): PlotColors {
    const style = getComputedStyle(document.documentElement);
    const color = (name: string) => style.getPropertyValue(`--${name}`).trim();
    return {
      sticking: color('stick'),
      sliding: color('slide'),
      height: color('text'),
      ghost: color('ghost'),
      line: color('edge'),
      text: color('faint'),
    };
  }

  private ticks(width: number): { share: number; time: number }[] {
    const { replay } = this;
    const wanted = replay.duration / Math.max(2, width / 110);
    const power = 10 ** Math.floor(Math.log10(wanted || 1));
    const step = [1, 2, 5, 10].map((n) => n * power).find((n) => n >= wanted) ?? 10 * power;
    const first = Math.ceil(replay.times[0] / step);
    const count = Math.floor(replay.times[replay.frames - 1] / step + 1e-9) - first + 1;
    return Array.from({ length: Math.max(count, 0) }, (_, i) => {
      const time = (first + i) * step;
      return { time, share: replay.frameAt(time) / Math.max(replay.frames - 1, 1) };
    });
  }

  /** Moves the cursor and reads the values below it. */
  private point(frame: number): void {
    const share = frame / Math.max(this.replay.frames - 1, 1);
    const width = this.root.clientWidth - 2 * kMargin;
    this.cursor.style.transform = `translateX(${kMargin + share * width}px)`;
    const { impulse, height } = this.ranges;
    const sum = (x: Float64Array) => fixed(x[frame], 3);
    const { sticking, sliding } = this.series;
    const values = `stick ${sum(sticking)}, slide ${sum(sliding)} N s`;
    const most = impulse.high > 0 ? `${values} · up to ${short(impulse.high)}` : 'none';
    setText(this.impulseText, `contact impulse: ${most}`);
    const name = this.tracked?.label ?? 'nothing';
    const at = fixed(this.series.height[frame], 3);
    const span = `${fixed(height.low, 2)} to ${fixed(height.high, 2)}`;
    setText(this.heightText, `height of ${name}: ${at} m · ${span}`);
  }

  private bindPointer(): void {
    const go = (event: PointerEvent) => {
      const area = this.root.getBoundingClientRect();
      const share = (event.clientX - area.left - kMargin) / (area.width - 2 * kMargin);
      seek(this.view, share * (this.replay.frames - 1), this.replay.frames);
    };
    this.root.addEventListener('pointerdown', (event) => {
      this.root.setPointerCapture(event.pointerId);
      go(event);
    });
    this.root.addEventListener('pointermove', (event) => {
      if (this.root.hasPointerCapture(event.pointerId)) go(event);
    });
  }
}
