// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import type { Series } from './series';
import { short } from './text';

export interface PlotColors {
  sticking: string;
  sliding: string;
  height: string;
  ghost: string;
  line: string;
  text: string;
}

/** A band of the drawing (pixels). */
interface Band {
  left: number;
  width: number;
  top: number;
  bottom: number;
}

export interface Range {
  low: number;
  high: number;
}

/** Distance of the drawing from its element's sides (pixels): half a thumb of the scrub bar. */
export const kMargin = 8;
const kTitle = 17;
const kTicks = 15;

export function impulseRange(series: Series): Range {
  let high = 0;
  series.sticking.forEach((value, i) => (high = Math.max(high, value + series.sliding[i])));
  return { low: 0, high };
}

/** Of all finite heights, never narrower than a centimetre. */
export function heightRange(lists: Float64Array[]): Range {
  let [low, high] = [Infinity, -Infinity];
  for (const list of lists) {
    for (const value of list) {
      if (value < low) low = value;
      if (value > high) high = value;
    }
  }
  if (low > high) return { low: 0, high: 1 };
  const spare = Math.max(0.01 - (high - low), 0) / 2;
  return { low: low - spare, high: high + spare };
}

/** Draws impulses above heights; all lists hold a value a frame. */
export class Plot {
  constructor(
    private readonly context: CanvasRenderingContext2D,
    private readonly width: number,
    private readonly height: number,
    private readonly colors: PlotColors,
  ) {}

  /** Upper band: stacked areas, sticking below sliding. */
  impulses(series: Series, range: Range): void {
    const band = this.band(0);
    if (range.high === 0) return this.baseline(band);
    const total = series.sticking.map((value, i) => value + series.sliding[i]);
    this.area(band, total, range, this.colors.sliding);
    this.area(band, series.sticking, range, this.colors.sticking);
    this.baseline(band);
  }

  /** Lower band: a line, and that of the ghost dashed. */
  heights(own: Float64Array, ghost: Float64Array | null, range: Range): void {
    const band = this.band(1);
    this.baseline(band);
    if (ghost) this.line(band, ghost, range, this.colors.ghost, [4, 3]);
    this.line(band, own, range, this.colors.height, []);
  }

  /** Times (s) along the lower edge, at places from 0 to 1. */
  ticks(marks: { share: number; time: number }[]): void {
    const { context } = this;
    context.fillStyle = this.colors.text;
    context.font = '10px system-ui, sans-serif';
    for (const { share, time } of marks) {
      const text = `${short(time).replace(/\.?0+$/, '') || '0'} s`;
      const half = context.measureText(text).width / 2;
      const x = kMargin + share * (this.width - 2 * kMargin);
      const inside = Math.min(Math.max(x, half + 2), this.width - half - 2);
      context.fillText(text, inside - half, this.height - 3);
    }
  }

  private band(index: number): Band {
    const half = (this.height - kTicks) / 2;
    const top = index * half + kTitle;
    const bottom = (index + 1) * half - 2;
    return { left: kMargin, width: this.width - 2 * kMargin, top, bottom };
  }

  private baseline(band: Band): void {
    this.context.fillStyle = this.colors.line;
    this.context.fillRect(band.left, band.bottom, band.width, 1);
  }

  private area(band: Band, values: Float64Array, range: Range, color: string): void {
    const { context } = this;
    context.fillStyle = color;
    for (let x = 0; x < band.width; ++x) {
      const value = largest(values, x / band.width, (x + 1) / band.width);
      const top = level(band, value, range);
      if (value > 0) context.fillRect(band.left + x, top, 1, band.bottom - top);
    }
  }

  private line(
    band: Band,
    values: Float64Array,
    range: Range,
    color: string,
    dash: number[],
  ): void {
    const { context } = this;
    context.beginPath();
    let drawing = false;
    values.forEach((value, i) => {
      const x = band.left + (i / Math.max(values.length - 1, 1)) * band.width;
      const known = Number.isFinite(value);
      if (known && drawing) context.lineTo(x, level(band, value, range));
      else if (known) context.moveTo(x, level(band, value, range));
      drawing = known;
    });
    context.setLineDash(dash);
    context.strokeStyle = color;
    context.lineWidth = 1.5;
    context.lineJoin = 'round';
    context.stroke();
  }
}

function level(band: Band, value: number, { low, high }: Range): number {
  return band.bottom - ((value - low) / (high - low)) * (band.bottom - band.top);
}

/** Largest of the values whose places lie between two shares of the list; at least one is taken. */
function largest(values: Float64Array, from: number, to: number): number {
  const first = Math.round(from * (values.length - 1));
  const last = Math.max(first, Math.round(to * (values.length - 1)) - 1);
  let most = 0;
  for (let i = first; i <= last; ++i) if (values[i] > most) most = values[i];
  return most;
}
