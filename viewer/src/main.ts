// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { Address } from './address';
import { ReplayError } from './bytes';
import { Chart } from './chart';
import { Corner } from './corner';
import { byId } from './dom';
import { buildHeader, toggleOptions } from './header';
import { Help } from './help';
import { Inspector, followPicked } from './inspector';
import { type Actions, bindKeys } from './keyboard';
import { type Link, parseLink } from './link';
import { loadReplays } from './load';
import { fail } from './notice';
import { buildOptions } from './options';
import { onClick } from './picking';
import { Playback } from './playback';
import type { Replay } from './replay';
import { SceneView } from './scene';
import { type View, makeView } from './state';
import { bindTheme, preferredTheme } from './theme';
import { buildTransport } from './transport';

const root = document.documentElement;

function resize(scene: SceneView, width: number, height: number, pixelRatio: number): void {
  const canvas = byId('scene', HTMLCanvasElement);
  scene.resize(width, height, pixelRatio);
  canvas.style.width = `${width}px`;
  canvas.style.height = `${height}px`;
}

/** Takes the room that there is; false where there is none, as in a frame that is not shown yet. */
function fit(scene: SceneView): boolean {
  const { clientWidth, clientHeight } = byId('scene-area', HTMLElement);
  if (clientWidth === 0 || clientHeight === 0) return false;
  resize(scene, clientWidth, clientHeight, Math.min(devicePixelRatio, 2));
  return true;
}

interface Parts {
  replay: Replay;
  ghost: Replay | null;
  view: View;
  scene: SceneView;
}

/** Returns whether the camera still has to be placed once there is room. */
function buildControls({ replay, ghost, view, scene }: Parts, playback: Playback): boolean {
  const help = new Help();
  const address = new Address(replay, view, scene.eye);
  const actions: Actions = {
    frameAll: () => scene.frameAll(),
    follow: () => followPicked(view),
    copyLink: () => void address.copy(),
    toggleHelp: () => help.toggle(),
    toggleOptions,
    escape: () => view.set({ picked: -1 }),
  };
  buildOptions(replay, ghost !== null, view);
  buildHeader(replay, ghost, view, actions);
  buildTransport(replay, view, playback);
  new Chart(replay, ghost, view);
  new Inspector(replay, view);
  bindKeys(replay, view, playback, actions);
  // The controls have taken their room now, so that the scene knows its own.
  const isShown = fit(scene);
  const isRestored = address.restore();
  if (!isRestored) scene.frameAll();
  view.listen(() => address.touch());
  scene.eye.controls.addEventListener('change', () => address.touch());
  return !isShown && !isRestored;
}

/** Draws whenever something has changed, for as long as the page lives. */
function run(scene: SceneView, playback: Playback): void {
  const corner = new Corner();
  let before = performance.now();
  const tick = (now: number) => {
    playback.advance(Math.min((now - before) / 1000, 0.1));
    before = now;
    if (scene.refresh()) corner.update(scene.eye.camera, scene.grid.cell);
    requestAnimationFrame(tick);
  };
  requestAnimationFrame(tick);
}

function startPage(parts: Parts): void {
  const { replay, view, scene } = parts;
  const isLow = innerHeight < 480;
  byId('options', HTMLElement).hidden = innerWidth < 720 || isLow;
  view.set({ chart: !isLow });
  const playback = new Playback(replay, view);
  let isUnplaced = buildControls(parts, playback);
  new ResizeObserver(() => {
    if (!fit(scene)) return;
    if (isUnplaced) scene.frameAll();
    isUnplaced = false;
    scene.draw();
  }).observe(byId('scene-area', HTMLElement));
  onClick(byId('scene', HTMLCanvasElement), (x, y) => view.set({ picked: scene.bodyAt(x, y) }));
  run(scene, playback);
}

/** One frame without controls; the page says so when it stands. */
function showPicture(scene: SceneView, view: View, { state, camera, picture }: Link): void {
  const [width, height] = picture ?? [1280, 800];
  view.set(state);
  resize(scene, width, height, 1);
  if (camera) scene.eye.place = camera;
  else scene.frameAll();
  scene.draw();
}

async function start(): Promise<void> {
  const { replay, ghost } = await loadReplays();
  const link = parseLink(location.hash, replay.frames, replay.bodies.length);
  if (link.picture) root.dataset.mode = 'picture';
  const view = makeView(link.picture ? 'light' : preferredTheme());
  bindTheme(view);
  const scene = new SceneView(byId('scene', HTMLCanvasElement), replay, ghost, view);
  view.set({ followed: scene.framing.followed });
  if (link.picture) showPicture(scene, view, link);
  else startPage({ replay, ghost, view, scene });
  root.dataset.state = 'ready';
}

start().catch((problem: unknown) => {
  const isOurs = problem instanceof ReplayError;
  if (!isOurs) console.error(problem);
  fail(isOurs ? problem.message : `The page has a fault: ${String(problem)}`);
});
