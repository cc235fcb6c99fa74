// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Group, Quaternion, Vector3 } from 'three';
import { kSliding, kSticking, type Replay } from './replay';
import { Rods } from './rods';
import type { ViewState } from './state';
import type { Table } from './table';
import type { Palette } from './theme';

/** Contacts, forces, torques, wires and body frames of a frame. */
export class Overlays extends Group {
  private readonly sticking: Rods;
  private readonly sliding: Rods;
  private readonly open: Rods;
  private readonly forces: Rods;
  private readonly torques: Rods;
  private readonly wires: Rods;
  private readonly slackWires: Rods;
  private readonly axes: Rods[];
  private readonly metresPer: { impulse: number; force: number; torque: number };

  /** `size` (m) sets the length and the thickness of arrows. */
  constructor(
    private readonly replay: Replay,
    private readonly size: number,
  ) {
    super();
    const rods = (thickness: number, onTop: boolean) => {
      const made = new Rods(thickness * size, onTop);
      this.add(made);
      return made;
    };
    [this.sticking, this.sliding, this.open] = [
      rods(0.007, true),
      rods(0.007, true),
      rods(0.007, true),
    ];
    [this.forces, this.torques] = [rods(0.008, true), rods(0.008, true)];
    [this.wires, this.slackWires] = [rods(0.007, false), rods(0.004, false)];
    this.axes = [0xd8433b, 0x3f9a4a, 0x3b6fd8].map((color) => {
      const axis = rods(0.005, true);
      axis.paint(color);
      return axis;
    });
    const length = (table: Table, column: string) => (0.5 * size) / typicalLength(table, column);
    this.metresPer = {
      impulse: length(replay.contacts, 'impulse'),
      force: length(replay.forces, 'vector'),
      torque: length(replay.torques, 'vector'),
    };
  }

  paint(palette: Palette): void {
    this.sticking.paint(palette.sticking);
    this.sliding.paint(palette.sliding);
    this.open.paint(palette.open);
    this.forces.paint(palette.force);
    this.torques.paint(palette.torque);
    this.wires.paint(palette.wire);
    this.slackWires.paint(palette.slackWire);
  }

  update(state: Readonly<ViewState>): void {
    for (const child of this.children) if (child instanceof Rods) child.empty();
    const frame = Math.floor(state.frame);
    if (state.show.has('contacts')) this.drawContacts(frame);
    if (state.show.has('forces')) {
      this.drawVectors(this.replay.forces, frame, this.forces, this.metresPer.force, 1);
      this.drawVectors(this.replay.torques, frame, this.torques, this.metresPer.torque, 2);
    }
    if (state.show.has('wires')) this.drawWires(frame);
    if (state.show.has('frames')) this.drawFrames(state.frame);
  }

  /** A dot at each contact and its impulse on body a as an arrow. */
  private drawContacts(frame: number): void {
    const { contacts } = this.replay;
    const [begin, end] = contacts.range(frame);
    for (let row = begin; row < end; ++row) {
      const rods = this.rodsOf(contacts.column('state').scalar(row));
      const at = new Vector3(...contacts.column('position').vector(row));
      rods.dot(at, (rods === this.open ? 0.007 : 0.014) * this.size);
      rods.arrow(at, this.arrowOf(contacts, 'impulse', row, this.metresPer.impulse));
    }
  }

  private rodsOf(state: number): Rods {
    if (state === kSticking) return this.sticking;
    return state === kSliding ? this.sliding : this.open;
  }

  private drawVectors(table: Table, frame: number, rods: Rods, scale: number, heads: number): void {
    const [begin, end] = table.range(frame);
    for (let row = begin; row < end; ++row) {
      const at = new Vector3(...table.column('position').vector(row));
      rods.arrow(at, this.arrowOf(table, 'vector', row, scale), heads);
    }
  }

  /** Arrows end at 1.2 sizes, so that a blow does not leave the picture. */
  private arrowOf(table: Table, column: string, row: number, scale: number): Vector3 {
    const along = new Vector3(...table.column(column).vector(row)).multiplyScalar(scale);
    return along.clampLength(0, 1.2 * this.size);
  }

  private drawWires(frame: number): void {
    const { wires } = this.replay;
    const [begin, end] = wires.range(frame);
    for (let row = begin; row < end; ++row) {
      const rods = wires.column('state').scalar(row) === 1 ? this.wires : this.slackWires;
      const start = new Vector3(...wires.column('start').vector(row));
      rods.rod(start, new Vector3(...wires.column('end').vector(row)));
    }
  }

  private drawFrames(frame: number): void {
    for (const body of this.replay.bodies) {
      const pose = body.isStatic ? null : body.pose(frame);
      if (!pose) continue;
      const [w, x, y, z] = pose.quaternion;
      const turn = new Quaternion(x, y, z, w);
      this.axes.forEach((rods, axis) => {
        const along = new Vector3().setComponent(axis, 0.16 * this.size).applyQuaternion(turn);
        rods.rod(new Vector3(...pose.position), new Vector3(...pose.position).add(along));
      });
    }
  }
}

/** The 95th of 100 lengths in order; 1 where the table is empty. */
function typicalLength(table: Table, column: string): number {
  const lengths: number[] = [];
  const stride = Math.max(1, Math.floor(table.rows / 20000));
  for (let row = 0; row < table.rows; row += stride) {
    const length = Math.hypot(...table.column(column).vector(row));
    if (Number.isFinite(length) && length > 0) lengths.push(length);
  }
  lengths.sort((a, b) => a - b);
  return lengths[Math.floor(0.95 * (lengths.length - 1))] ?? 1;
}
