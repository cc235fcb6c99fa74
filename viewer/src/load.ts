// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { ReplayError, bytesOfBase64, inflate } from './bytes';
import { Replay } from './replay';

/** The recording in the element with this id; null where the page has no such element. */
export async function loadReplay(id: string): Promise<Replay | null> {
  const text = document.getElementById(id)?.textContent;
  if (text === undefined || text === null) return null;
  return new Replay(await inflate(bytesOfBase64(text)));
}

/** The page's recording and its ghost. */
export async function loadReplays(): Promise<{ replay: Replay; ghost: Replay | null }> {
  const replay = await loadReplay('zelvik-replay');
  if (!replay) throw new ReplayError('This page holds no recording.');
  return { replay, ghost: await loadReplay('zelvik-ghost') };
}
