// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { ReplayError } from './bytes';

/** A JSON value of unknown form, read field by field; every refusal names the place. */
export class Json {
  constructor(
    private readonly value: unknown,
    private readonly place: string,
  ) {}

  static parse(text: string, place: string): Json {
    try {
      return new Json(JSON.parse(text), place);
    } catch {
      throw new ReplayError(`The recording is damaged: its ${place} is not JSON.`);
    }
  }

  has(key: string): boolean {
    return this.fields()[key] !== undefined;
  }

  get(key: string): Json {
    return new Json(this.fields()[key], `${this.place}.${key}`);
  }

  number(): number {
    return typeof this.value === 'number' ? this.value : this.refuse('a number');
  }

  /** A whole number from 0 to below `end`. */
  index(end = 2 ** 32): number {
    const value = this.number();
    if (!Number.isInteger(value) || value < 0 || value >= end) this.refuse(`an index below ${end}`);
    return value;
  }

  text(): string {
    return typeof this.value === 'string' ? this.value : this.refuse('a text');
  }

  flag(): boolean {
    return typeof this.value === 'boolean' ? this.value : this.refuse('true or false');
  }

  oneOf<T extends string>(choices: readonly T[]): T {
    return choices.find((choice) => choice === this.value) ?? this.refuse(choices.join(' or '));
  }

  list(): Json[] {
    if (!Array.isArray(this.value)) return this.refuse('a list');
    return this.value.map((item: unknown, i) => new Json(item, `${this.place}[${i}]`));
  }

  /** A list of exactly `length` numbers. */
  numbers(length: number): number[] {
    const items = this.list();
    if (items.length !== length) this.refuse(`${length} numbers`);
    return items.map((item) => item.number());
  }

  refuse(expected: string): never {
    throw new ReplayError(`The recording is damaged: ${this.place} is not ${expected}.`);
  }

  private fields(): Record<string, unknown> {
    if (typeof this.value !== 'object' || this.value === null) return this.refuse('an object');
    return this.value as Record<string, unknown>;
  }
}
