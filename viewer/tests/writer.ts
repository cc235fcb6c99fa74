// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { deflateSync } from 'node:zlib';

type Numbers = ArrayLike<number>;

/** A column or a track as the header describes it. */
export interface Stored {
  block: number;
  unit: number;
}

/** Builds a container as docs/replay-format.md describes it. */
export class Writer {
  private readonly chunks: Buffer[] = [];
  private readonly blocks: object[] = [];
  private offset = 0;

  floats(values: Numbers): number {
    const bytes = Buffer.from(Float32Array.from(values).buffer);
    return this.add(bytes, { count: values.length, encoding: 'f32' });
  }

  indices(values: Numbers): number {
    const bytes = Buffer.from(Uint32Array.from(values).buffer);
    return this.add(bytes, { count: values.length, encoding: 'u32' });
  }

  /** Runs of whole numbers, one for each channel. */
  integers(runs: number[][]): number {
    const words = runs.flatMap((run) => run.map((x, i) => zigzag(x - (i > 0 ? run[i - 1] : 0))));
    const planes = Buffer.alloc(4 * words.length);
    words.forEach((word, i) => {
      for (let k = 0; k < 4; ++k) planes[k * words.length + i] = (word >>> (8 * k)) & 255;
    });
    return this.add(planes, { count: words.length, encoding: 'delta', channels: runs.length });
  }

  /** Runs of real numbers; what is not finite gets its own mark. */
  reals(runs: number[][], unit: number): Stored {
    const whole = (x: number) => (Number.isFinite(x) ? Math.round(x / unit) : -(2 ** 31));
    return { block: this.integers(runs.map((run) => run.map(whole))), unit };
  }

  /** Rows of a list for each frame; every row gives the numbers of each column. */
  table(frames: Record<string, number[]>[][], units: Record<string, number>): object {
    const rows = frames.flat();
    const counts = this.integers([frames.map((list) => list.length)]);
    const columns = Object.entries(units).map(([name, unit]) => {
      const channels = rows[0]?.[name].length ?? 0;
      const runs = Array.from({ length: channels }, (_, k) => rows.map((row) => row[name][k]));
      return [name, this.reals(runs, unit)];
    });
    return { counts, rows: rows.length, ...Object.fromEntries(columns) };
  }

  container(header: object, version = 1): Buffer {
    const text = Buffer.from(JSON.stringify({ ...header, blocks: this.blocks }));
    const start = Buffer.alloc(12);
    start.write('ZLVR');
    start.writeUInt32LE(version, 4);
    start.writeUInt32LE(text.length, 8);
    const padding = Buffer.alloc((4 - (text.length % 4)) % 4);
    return Buffer.concat([start, text, padding, ...this.chunks]);
  }

  private add(bytes: Buffer, block: object): number {
    this.blocks.push({ offset: this.offset, ...block });
    this.chunks.push(bytes);
    this.offset += bytes.length;
    return this.blocks.length - 1;
  }
}

function zigzag(difference: number): number {
  const d = difference | 0;
  return ((d << 1) ^ (d >> 31)) >>> 0;
}

/** The element that a page holds a container in. */
export function element(container: Buffer, id = 'zelvik-replay'): string {
  return `<script type="text/plain" id="${id}">${deflateSync(container).toString('base64')}</script>`;
}
