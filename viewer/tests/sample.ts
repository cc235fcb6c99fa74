// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { madeRecording } from './made';
import { element } from './writer';

// Writes dist/sample.html: the page with the made-up scene and a slower walk as its ghost.

const here = dirname(fileURLToPath(import.meta.url));
const dist = join(here, '../dist');
const page = readFileSync(join(dist, 'viewer.html'), 'utf8');
const data =
  element(madeRecording()) + element(madeRecording(0.4, 'a slower walk'), 'zelvik-ghost');
writeFileSync(join(dist, 'sample.html'), page.replace('<!--ZELVIK-REPLAY-->', data));
console.log(`dist/sample.html: ${Math.ceil((page.length + data.length) / 1000)} kB`);
