// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

/** Paths on a field of 24 x 24, drawn as outlines. */
export const kIcons = {
  play: 'M8 5.5v13l10.5-6.5z',
  pause: 'M8.5 5.5v13M15.5 5.5v13',
  back: 'M15.5 6l-8 6 8 6z',
  forward: 'M8.5 6l8 6-8 6z',
  first: 'M6.5 6v12M17.5 6l-8 6 8 6z',
  last: 'M17.5 6v12M6.5 6l8 6-8 6z',
  loop: 'M5 11a6 6 0 0 1 6-5h7M15.5 3.5L18 6l-2.5 2.5M19 13a6 6 0 0 1-6 5H6M8.5 20.5L6 18l2.5-2.5',
  chart: 'M4 19.5h16M5 15.5l4.5-5 4 3.5 5.5-8',
  sun: 'M12 8.2a3.8 3.8 0 1 0 0 7.6a3.8 3.8 0 1 0 0-7.6M12 3v2M12 19v2M3 12h2M19 12h2M5.6 5.6L7 7M17 17l1.4 1.4M5.6 18.4L7 17M17 7l1.4-1.4',
  moon: 'M19.5 14.2A8 8 0 0 1 9.8 4.5a8 8 0 1 0 9.7 9.7z',
  link: 'M10 14a4 4 0 0 0 5.7 0l3-3a4 4 0 0 0-5.7-5.7l-1 1M14 10a4 4 0 0 0-5.7 0l-3 3a4 4 0 0 0 5.7 5.7l1-1',
  help: 'M9.3 9.2a2.8 2.8 0 1 1 4 2.5c-.8.4-1.3 1-1.3 1.8v.5M12 17.2v.1',
  layers: 'M12 4l8.5 4.5L12 13 3.5 8.5zM3.5 12.5L12 17l8.5-4.5M3.5 16.2L12 20.7l8.5-4.5',
  frame: 'M4 9V4h5M15 4h5v5M20 15v5h-5M9 20H4v-5',
  close: 'M6.5 6.5l11 11M17.5 6.5l-11 11',
} as const;
export type IconName = keyof typeof kIcons;
