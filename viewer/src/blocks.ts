// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { ReplayError } from './bytes';
import { Json } from './json';

const kEncodings = ['f32', 'u32', 'delta'] as const;

interface Block {
  offset: number;
  count: number;
  encoding: (typeof kEncodings)[number];
  channels: number;
}

/** The arrays of numbers behind the header; docs/replay-format.md says how they are stored. */
export class Blocks {
  private readonly blocks: Block[];

  /** `bytes` begins with the first block. */
  constructor(
    private readonly bytes: Uint8Array<ArrayBuffer>,
    list: Json,
  ) {
    this.blocks = list.list().map((entry) => this.check(entry));
  }

  floats(index: Json): Float32Array {
    const block = this.find(index, 'f32');
    return new Float32Array(this.copy(block));
  }

  indices(index: Json): Uint32Array {
    const block = this.find(index, 'u32');
    return new Uint32Array(this.copy(block));
  }

  /** The values of a `delta` block: `channels` runs of `rows` values. */
  integers(index: Json, channels: number, rows: number): Int32Array {
    const block = this.find(index, 'delta');
    if (block.channels !== channels || block.count !== channels * rows) {
      index.refuse(`a block of ${channels} x ${rows} values`);
    }
    return sumUp(this.bytes.subarray(block.offset, block.offset + 4 * block.count), rows);
  }

  private check(entry: Json): Block {
    const encoding = entry.get('encoding').oneOf(kEncodings);
    const block: Block = {
      offset: entry.get('offset').index(),
      count: entry.get('count').index(),
      encoding,
      channels: encoding === 'delta' ? entry.get('channels').index() : 1,
    };
    if (block.offset + 4 * block.count > this.bytes.length) {
      throw new ReplayError('The recording is cut off: a block of numbers is missing.');
    }
    return block;
  }

  private find(index: Json, encoding: Block['encoding']): Block {
    const block = this.blocks[index.index(this.blocks.length)];
    return block.encoding === encoding ? block : index.refuse(`a block of ${encoding}`);
  }

  private copy(block: Block): ArrayBuffer {
    return this.bytes.slice(block.offset, block.offset + 4 * block.count).buffer;
  }
}

/** Four planes of bytes back to runs of values: join, undo zigzag, add up the differences. */
function sumUp(planes: Uint8Array, rows: number): Int32Array {
  const count = planes.length / 4;
  const values = new Int32Array(count);
  for (let i = 0; i < count; ++i) {
    const word =
      planes[i] |
      (planes[i + count] << 8) |
      (planes[i + 2 * count] << 16) |
      (planes[i + 3 * count] << 24);
    const difference = (word >>> 1) ^ -(word & 1);
    values[i] = i % rows === 0 ? difference : (values[i - 1] + difference) | 0;
  }
  return values;
}
