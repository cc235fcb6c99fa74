// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Bodies, solidLook } from './bodies';
import { Eye } from './eye';
import { type Framing, frameReplay } from './framing';
import { Grid } from './grid';
import { Ground } from './ground';
import { Materials, ghostMaterial } from './materials';
import { Overlays } from './overlays';
import { meshAt } from './picking';
import type { Replay } from './replay';
import { Stage } from './stage';
import type { View, ViewState } from './state';
import { kPalettes } from './theme';

/** Everything in three dimensions: draws the view's state, and says what lies under a point. */
export class SceneView {
  readonly framing: Framing;
  readonly eye: Eye;
  readonly grid = new Grid();
  private readonly stage: Stage;
  private readonly ground: Ground;
  private readonly bodies: Bodies;
  private readonly overlays: Overlays;
  private readonly ghostMaterial = ghostMaterial();
  private readonly ghost: Bodies | null;
  private stale = true;

  constructor(
    private readonly canvas: HTMLCanvasElement,
    private readonly replay: Replay,
    private readonly ghostReplay: Replay | null,
    private readonly view: View,
  ) {
    this.framing = frameReplay(replay);
    this.stage = new Stage(canvas);
    this.eye = new Eye(replay, this.framing, canvas);
    this.ground = new Ground(replay, this.grid);
    this.bodies = new Bodies(replay, solidLook(new Materials(this.grid)), true, () => true);
    this.overlays = new Overlays(replay, this.framing.size);
    this.ghost = ghostReplay && this.makeGhost(ghostReplay);
    this.stage.scene.add(this.ground, this.bodies, this.overlays);
    if (this.ghost) this.stage.scene.add(this.ghost);
    view.listen((state, changed) => this.take(state, changed));
  }

  resize(width: number, height: number, pixelRatio: number): void {
    this.stage.resize(width, height, pixelRatio);
    this.eye.resize(width, height);
    this.stale = true;
  }

  frameAll(): void {
    this.eye.frameAll(this.view.value.followed, this.view.value.frame);
    this.stale = true;
  }

  /** Draws if anything has changed; says whether it did. */
  refresh(): boolean {
    const moved = this.eye.controls.update();
    if (!this.stale && !moved) return false;
    this.stale = false;
    this.draw();
    return true;
  }

  draw(): void {
    const target = this.eye.controls.target;
    this.grid.fit(this.eye.distance, target.x, target.y);
    this.ground.place(this.view.value.frame, target, this.eye.distance);
    this.eye.prepare();
    this.stage.render(this.eye.camera, target);
  }

  /** Index of the body under a point (pixels of the page), -1 for none. */
  bodyAt(x: number, y: number): number {
    const mesh = meshAt(this.canvas, this.eye.camera, [this.bodies, this.ground], x, y);
    return mesh ? Math.max(this.bodies.bodyOf(mesh), this.ground.bodyOf(mesh)) : -1;
  }

  private take(state: Readonly<ViewState>, changed: ReadonlySet<keyof ViewState>): void {
    const any = (...keys: (keyof ViewState)[]) => keys.some((key) => changed.has(key));
    const palette = kPalettes[state.theme];
    if (any('theme')) this.paint(state);
    if (any('followed')) this.eye.release();
    if (any('frame', 'followed')) this.eye.follow(state.followed, state.frame);
    if (any('frame')) this.place(state.frame);
    if (any('layer')) [this.bodies, this.ghost].forEach((bodies) => bodies?.setLayer(state.layer));
    if (any('picked', 'theme')) this.bodies.highlight(state.picked, palette.accent);
    if (any('show')) this.stage.setShadows(state.show.has('shadows'));
    if (any('show') && this.ghost) this.ghost.visible = state.show.has('ghost');
    if (any('frame', 'show')) this.overlays.update(state);
    this.stale = true;
  }

  private paint(state: Readonly<ViewState>): void {
    const palette = kPalettes[state.theme];
    for (const part of [this.stage, this.grid, this.ground, this.overlays]) part.paint(palette);
    this.ghostMaterial.color.set(palette.ghost);
  }

  private place(frame: number): void {
    this.bodies.place(frame);
    if (this.ghost && this.ghostReplay) {
      this.ghost.place(this.ghostReplay.frameAt(this.replay.timeAt(frame)));
    }
  }

  /** What stands still is the same in both recordings, so that a ghost has only what moves. */
  private makeGhost(replay: Replay): Bodies {
    const look = () => this.ghostMaterial;
    return new Bodies(replay, look, false, (body) => !body.isStatic);
  }
}
