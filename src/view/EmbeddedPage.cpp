// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "EmbeddedPage.hpp"

#ifdef ZELVIK_VIEWER_PAGE

// The assembler copies the bytes of the file: no generated source of several times their size.
asm(".section .rodata\n"
    ".hidden zelvikViewerPageBegin\n"
    ".hidden zelvikViewerPageEnd\n"
    ".global zelvikViewerPageBegin\n"
    ".global zelvikViewerPageEnd\n"
    "zelvikViewerPageBegin:\n"
    ".incbin \"" ZELVIK_VIEWER_PAGE
    "\"\n"
    "zelvikViewerPageEnd:\n"
    ".byte 0\n"
    ".text\n");

extern "C" {
extern const char zelvikViewerPageBegin[] __attribute__((visibility("hidden")));
extern const char zelvikViewerPageEnd[] __attribute__((visibility("hidden")));
}

std::string_view zelvik::view::embeddedPage() {
  return {zelvikViewerPageBegin,
          static_cast<std::size_t>(zelvikViewerPageEnd - zelvikViewerPageBegin)};
}

#else

std::string_view zelvik::view::embeddedPage() {
  return {};
}

#endif
