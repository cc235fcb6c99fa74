// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Unpacks the viewer, which stands in the page as base64 of zlib data, and runs it.
(async () => {
  try {
    const text = document.getElementById('zelvik-viewer').textContent;
    const packed = new Blob([Uint8Array.from(atob(text), (c) => c.charCodeAt(0))]);
    const stream = packed.stream().pipeThrough(new DecompressionStream('deflate'));
    const script = document.createElement('script');
    script.textContent = await new Response(stream).text();
    document.body.append(script);
  } catch (problem) {
    document.documentElement.dataset.state = 'failed';
    document.getElementById('failed').textContent =
      `This browser cannot unpack the replay; one of the year 2023 or later can. (${problem})`;
  }
})();
