// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// node build.mjs            dist/viewer.html: the page, with a mark where a recording goes
// node build.mjs --sample   the same, and dist/sample.html with a made-up recording
// node build.mjs --tests    the same, and the tests in build/

import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { deflateSync } from 'node:zlib';
import * as esbuild from 'esbuild';

const root = dirname(fileURLToPath(import.meta.url));
const read = (name) => readFileSync(join(root, 'src', name), 'utf8');
const kMark = '<!--ZELVIK-REPLAY-->';

/** Puts `text` in place of the one `mark`. */
function put(page, mark, text) {
  const parts = page.split(mark);
  if (parts.length !== 2) throw new Error(`${mark} stands ${parts.length - 1} times in the page`);
  return parts.join(text);
}

/** three.js asks for its licence to go along with every copy. */
function licence() {
  return readFileSync(join(root, 'node_modules/three/LICENSE'), 'utf8').trim();
}

async function bundle() {
  const result = await esbuild.build({
    entryPoints: [join(root, 'src/main.ts')],
    bundle: true,
    minify: true,
    format: 'iife',
    target: 'es2022',
    charset: 'utf8',
    legalComments: 'none',
    write: false,
  });
  return deflateSync(result.outputFiles[0].contents, { level: 9 }).toString('base64');
}

async function buildPage() {
  const minify = async (name, loader) =>
    (await esbuild.transform(read(name), { loader, minify: true, target: 'es2022' })).code.trim();
  let page = read('page.html').replace(/^\s+/gm, '');
  page = put(page, '<!--LICENCE-->', `<!--\nThis page holds three.js:\n${licence()}\n-->`);
  page = put(page, '/*STYLE*/', await minify('style.css', 'css'));
  page = put(page, '/*LOADER*/', await minify('loader.js', 'js'));
  page = put(page, '<!--VIEWER-->', await bundle());
  if (page.split(kMark).length !== 2) throw new Error(`the page needs one ${kMark}`);
  mkdirSync(join(root, 'dist'), { recursive: true });
  writeFileSync(join(root, 'dist/viewer.html'), page);
  console.log(`dist/viewer.html: ${Math.ceil(Buffer.byteLength(page) / 1000)} kB`);
}

async function buildForNode(names) {
  await esbuild.build({
    entryPoints: names.map((name) => join(root, 'tests', name)),
    outdir: join(root, 'build'),
    outExtension: { '.js': '.mjs' },
    bundle: true,
    packages: 'external',
    platform: 'node',
    format: 'esm',
    target: 'node18',
  });
}

await buildPage();
if (process.argv.includes('--sample')) {
  await buildForNode(['sample.ts']);
  await import(join(root, 'build/sample.mjs'));
}
if (process.argv.includes('--tests')) {
  await buildForNode(readdirSync(join(root, 'tests')).filter((name) => name.endsWith('.test.ts')));
}
