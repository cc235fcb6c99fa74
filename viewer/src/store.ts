// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

/** A state that others listen to. */
export class Store<T extends object> {
  private readonly listeners: ((state: Readonly<T>, changed: ReadonlySet<keyof T>) => void)[] = [];

  constructor(private state: T) {}

  get value(): Readonly<T> {
    return this.state;
  }

  /** Tells the listeners which fields have changed, if any has. */
  set(patch: Partial<T>): void {
    const keys = Object.keys(patch) as (keyof T)[];
    const changed = new Set(keys.filter((key) => patch[key] !== this.state[key]));
    if (changed.size === 0) return;
    this.state = { ...this.state, ...patch };
    for (const listener of this.listeners) listener(this.state, changed);
  }

  /** Calls `listener` now, with every field as changed, and after each change. */
  listen(listener: (state: Readonly<T>, changed: ReadonlySet<keyof T>) => void): void {
    this.listeners.push(listener);
    listener(this.state, new Set(Object.keys(this.state) as (keyof T)[]));
  }
}
