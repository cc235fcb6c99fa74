// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Blocks } from './blocks';
import { Json } from './json';
import { type Vector, realOf } from './track';

/** One quantity of a table: a few numbers a row. */
export class Column {
  constructor(
    private readonly values: Int32Array,
    private readonly unit: number,
    private readonly rows: number,
  ) {}

  scalar(row: number, channel = 0): number {
    return realOf(this.values[channel * this.rows + row], this.unit);
  }

  vector(row: number): Vector {
    return [this.scalar(row, 0), this.scalar(row, 1), this.scalar(row, 2)];
  }
}

/** Rows of several columns, some rows for each frame. */
export class Table {
  private readonly begins: Uint32Array;
  private readonly columns = new Map<string, Column>();

  /** `channels` says for each column how many numbers it holds a row. An empty object has no rows. */
  constructor(json: Json, blocks: Blocks, frames: number, channels: Record<string, number>) {
    const filled = json.has('counts');
    const rows = filled ? json.get('rows').index() : 0;
    const counts = filled ? blocks.integers(json.get('counts'), 1, frames) : new Int32Array(frames);
    this.begins = runningSum(counts);
    if (this.begins[frames] !== rows || counts.some((n) => n < 0)) json.refuse('a whole table');
    for (const [name, n] of Object.entries(channels)) {
      this.columns.set(name, readColumn(json, name, blocks, n, rows));
    }
  }

  /** Rows of a frame: from the first number to before the second. */
  range(frame: number): [number, number] {
    return [this.begins[frame], this.begins[frame + 1]];
  }

  get rows(): number {
    return this.begins[this.begins.length - 1];
  }

  column(name: string): Column {
    const column = this.columns.get(name);
    if (!column) throw new Error(`no column ${name}`);
    return column;
  }
}

function readColumn(json: Json, name: string, blocks: Blocks, channels: number, rows: number) {
  if (rows === 0) return new Column(new Int32Array(0), 1, 0);
  const column = json.get(name);
  const values = blocks.integers(column.get('block'), channels, rows);
  return new Column(values, column.get('unit').number(), rows);
}

function runningSum(counts: Int32Array): Uint32Array {
  const begins = new Uint32Array(counts.length + 1);
  for (let i = 0; i < counts.length; ++i) begins[i + 1] = begins[i] + counts[i];
  return begins;
}
