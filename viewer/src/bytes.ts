// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

/** What is wrong with a replay, in words for the person who opened the page. */
export class ReplayError extends Error {}

/** The bytes that a base64 text stands for; white space is ignored. */
export function bytesOfBase64(text: string): Uint8Array<ArrayBuffer> {
  let binary: string;
  try {
    binary = atob(text);
  } catch {
    throw new ReplayError('The recording is damaged: its text is not base64.');
  }
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

/** Unpacks zlib data. */
export async function inflate(bytes: Uint8Array<ArrayBuffer>): Promise<Uint8Array<ArrayBuffer>> {
  const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
  try {
    return new Uint8Array(await new Response(stream).arrayBuffer());
  } catch {
    throw new ReplayError('The recording is damaged or cut off: it cannot be unpacked.');
  }
}
