// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { type Browser, type BrowserContextOptions, type Page, chromium } from 'playwright-core';
import { Replay } from '../src/replay';
import { bytesOfBase64, inflate } from '../src/bytes';
import { element } from './writer';

export const here = dirname(fileURLToPath(import.meta.url));
const kArguments =
  '--no-sandbox --disable-quic --no-first-run --disable-background-networking ' +
  '--disable-component-update --disable-sync --use-gl=angle --use-angle=swiftshader ' +
  '--enable-unsafe-swiftshader';

/** Chromium, and pages in files of its own folder. */
export class Chromium {
  private browser!: Browser;
  private readonly folder = mkdtempSync(join(tmpdir(), 'viewer-'));
  private files = 0;

  async start(): Promise<void> {
    const executablePath = process.env['CHROMIUM'] ?? '/usr/bin/chromium';
    this.browser = await chromium.launch({ executablePath, args: kArguments.split(' ') });
  }

  async stop(): Promise<void> {
    await this.browser.close();
    rmSync(this.folder, { recursive: true });
  }

  /** The page with these elements in place of its mark; returns the file's name. */
  write(...elements: string[]): string {
    const page = readFileSync(join(here, '../dist/viewer.html'), 'utf8');
    const file = join(this.folder, `page-${this.files++}.html`);
    writeFileSync(file, page.replace('<!--ZELVIK-REPLAY-->', elements.join('')));
    return file;
  }

  writeRecording(container: Buffer, ghost?: Buffer): string {
    return this.write(element(container), ghost ? element(ghost, 'zelvik-ghost') : '');
  }

  /** Opens a file and waits until it is ready, or says that it cannot be shown. */
  async open(file: string, hash = '', options: BrowserContextOptions = {}): Promise<Viewer> {
    const context = await this.browser.newContext({
      viewport: { width: 960, height: 640 },
      reducedMotion: 'reduce',
      ...options,
    });
    const viewer = new Viewer(await context.newPage());
    await viewer.goTo(`${pathToFileURL(file).href}${hash}`);
    return viewer;
  }
}

/** A page that is open, with all that it complained about. */
export class Viewer {
  readonly complaints: string[] = [];
  readonly requests: string[] = [];

  constructor(readonly page: Page) {
    page.on('console', (message) => {
      if (message.type() !== 'log') this.complaints.push(message.text());
    });
    page.on('pageerror', (error) => this.complaints.push(String(error)));
    page.on('request', (request) => this.requests.push(request.url()));
  }

  async goTo(address: string): Promise<void> {
    await this.page.goto(address);
    await this.page.waitForSelector('html:not([data-state=loading])', { timeout: 60000 });
  }

  async close(): Promise<void> {
    await this.page.context().close();
  }

  async frame(): Promise<number> {
    return Number((await this.text('#frame')).replace('frame ', ''));
  }

  async text(selector: string): Promise<string> {
    return (await this.page.textContent(selector)) ?? '';
  }

  async click(selector: string): Promise<void> {
    await this.page.click(selector);
  }

  async press(key: string): Promise<void> {
    await this.page.keyboard.press(key);
  }

  async isPressed(selector: string): Promise<boolean> {
    return (await this.page.getAttribute(selector, 'aria-pressed')) === 'true';
  }

  async width(): Promise<number> {
    return this.page.evaluate(() => document.documentElement.scrollWidth);
  }

  /** Clicks at a share of the width and height of an element. */
  async clickAt(selector: string, x: number, y: number): Promise<void> {
    const box = await this.page.locator(selector).boundingBox();
    if (!box) throw new Error(`${selector} is not on the page`);
    await this.page.mouse.click(box.x + x * box.width, box.y + y * box.height);
  }

  /** The drawing as the browser shows it, once two in a row agree. */
  async drawing(): Promise<string> {
    const shoot = () =>
      this.page.evaluate(
        () =>
          new Promise<string>((done) =>
            requestAnimationFrame(() =>
              requestAnimationFrame(() =>
                done(document.querySelector<HTMLCanvasElement>('#scene')?.toDataURL() ?? ''),
              ),
            ),
          ),
      );
    let before = await shoot();
    for (;;) {
      const now = await shoot();
      if (now === before) return now;
      before = now;
    }
  }
}

/** The recording that a finished page holds. */
export async function replayOf(file: string): Promise<Replay> {
  const found = /id="zelvik-replay">([^<]*)</.exec(readFileSync(file, 'utf8'));
  if (!found) throw new Error(`${file} holds no recording`);
  return new Replay(await inflate(bytesOfBase64(found[1])));
}
