// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/XmlDepth.hpp>

namespace zelvik {

namespace {

/// Position behind the next `token` from `begin` on, or the end of the text.
size_t behind(const std::string& text, const char* token, size_t length, size_t begin) {
  const size_t found = text.find(token, begin);
  return found == std::string::npos ? text.size() : found + length;
}

/// Position of the '>' that ends the start tag at `begin`; quoted values may hold others.
size_t endOfStartTag(const std::string& text, size_t begin) {
  char quote = 0;
  for (size_t i = begin; i < text.size(); ++i) {
    const char c = text[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return i;
    }
  }
  return text.size();
}

}  // namespace

size_t xmlNestingDepth(const std::string& text) {
  size_t depth = 0, deepest = 0;
  for (size_t i = text.find('<'); i < text.size(); i = text.find('<', i)) {
    if (text.compare(i, 4, "<!--") == 0) {
      i = behind(text, "-->", 3, i + 4);
    } else if (text.compare(i, 9, "<![CDATA[") == 0) {
      i = behind(text, "]]>", 3, i + 9);
    } else if (text.compare(i, 2, "<!") == 0 || text.compare(i, 2, "<?") == 0) {
      i = behind(text, ">", 1, i + 2);
    } else if (text.compare(i, 2, "</") == 0) {
      depth -= depth > 0;
      i = behind(text, ">", 1, i + 2);
    } else {
      const size_t end = endOfStartTag(text, i);
      deepest = std::max(deepest, depth + 1);
      if (end > i && text[end - 1] != '/') ++depth;
      i = end;
    }
  }
  return deepest;
}

}  // namespace zelvik
