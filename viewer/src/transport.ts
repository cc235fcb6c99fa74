// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { byId, el, iconButton, setIcon, setPressed, setText } from './dom';
import type { Playback } from './playback';
import type { Replay } from './replay';
import { type View, seek } from './state';
import { fixed } from './text';

const kSpeeds = [0.05, 0.1, 0.25, 0.5, 1, 2, 4];

/** Next slower or faster speed. */
export function changeSpeed(view: View, by: number): void {
  const at = kSpeeds.indexOf(view.value.speed);
  view.set({ speed: kSpeeds[Math.min(Math.max(at + by, 0), kSpeeds.length - 1)] });
}

/** Scrub bar and the buttons below it. */
export function buildTransport(replay: Replay, view: View, playback: Playback): void {
  byId('scrub-row', HTMLElement).append(scrubBar(replay, view));
  const row = byId('transport', HTMLElement);
  const step = (by: number) => () => seek(view, Math.floor(view.value.frame) + by, replay.frames);
  row.append(
    el(
      'div',
      { class: 'group' },
      iconButton('first', 'First frame', 'Home', step(-replay.frames)),
      iconButton('back', 'One frame back', '←', step(-1)),
      playButton(view, playback),
      iconButton('forward', 'One frame on', '→', step(1)),
      iconButton('last', 'Last frame', 'End', step(replay.frames)),
    ),
    clock(replay, view),
    el('div', { class: 'group end' }, speedChoice(view), loopButton(view), chartButton(view)),
  );
}

function scrubBar(replay: Replay, view: View): HTMLInputElement {
  const max = String(replay.frames - 1);
  const bar = el('input', { type: 'range', id: 'scrub', min: '0', max, step: '1', value: '0' });
  bar.setAttribute('aria-label', 'Time');
  bar.addEventListener('input', () => seek(view, Number(bar.value), replay.frames));
  view.listen(({ frame }) => {
    const whole = Math.floor(frame);
    if (Number(bar.value) !== whole) bar.value = String(whole);
    bar.style.setProperty('--done', String(whole / Math.max(replay.frames - 1, 1)));
    bar.setAttribute('aria-valuetext', `${fixed(replay.timeAt(whole), 2)} seconds`);
  });
  return bar;
}

function playButton(view: View, playback: Playback): HTMLButtonElement {
  const button = iconButton('play', 'Play', 'Space', () => playback.toggle());
  button.id = 'play';
  button.classList.add('primary');
  view.listen(({ playing }, changed) => {
    if (!changed.has('playing')) return;
    setIcon(button, playing ? 'pause' : 'play');
    button.setAttribute('aria-label', playing ? 'Pause' : 'Play');
    button.title = playing ? 'Pause (Space)' : 'Play (Space)';
  });
  return button;
}

function clock(replay: Replay, view: View): HTMLElement {
  const now = el('strong', { id: 'time' });
  const frame = el('span', { id: 'frame' });
  const end = el('span', { id: 'duration' }, ` / ${fixed(replay.timeAt(replay.frames - 1), 2)} s`);
  view.listen((state) => {
    const whole = Math.floor(state.frame);
    setText(now, fixed(replay.timeAt(whole), 2));
    setText(frame, `frame ${whole}`);
  });
  return el('div', { id: 'clock' }, now, end, frame);
}

function speedChoice(view: View): HTMLSelectElement {
  const options = kSpeeds.map((speed) => el('option', { value: String(speed) }, `${speed}×`));
  const choice = el('select', { id: 'speed', 'aria-label': 'Speed', title: 'Speed (− and +)' });
  choice.append(...options);
  choice.addEventListener('change', () => view.set({ speed: Number(choice.value) }));
  view.listen(({ speed }) => (choice.value = String(speed)));
  return choice;
}

function loopButton(view: View): HTMLButtonElement {
  const button = iconButton('loop', 'Loop', 'L', () => view.set({ loop: !view.value.loop }));
  view.listen(({ loop }) => setPressed(button, loop));
  return button;
}

function chartButton(view: View): HTMLButtonElement {
  const button = iconButton('chart', 'Chart', 'C', () => view.set({ chart: !view.value.chart }));
  view.listen(({ chart }) => {
    setPressed(button, chart);
    byId('chart', HTMLElement).hidden = !chart;
  });
  return button;
}
