// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/XmlDepth.hpp>

namespace zelvik {

namespace {

/// Position after the next `token` from `begin` on, or the end of the text.
size_t positionAfter(const std::string& text, const char* token, size_t length, size_t begin) {
  const size_t found = text.find(token, begin);
  return found == std::string::npos ? text.size() : found + length;
}

/// A start tag: where its '>' stands, and how many '=' it has; quoted values may hold others.
struct StartTag {
  size_t end = 0;
  size_t attributes = 0;
};

StartTag readStartTag(const std::string& text, size_t begin) {
  StartTag tag{text.size(), 0};
  char quote = 0;
  for (size_t i = begin; i < text.size(); ++i) {
    const char c = text[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '=') {
      ++tag.attributes;
    } else if (c == '>') {
      tag.end = i;
      break;
    }
  }
  return tag;
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Whether the '<' at `begin` opens an element. The parser takes every byte that is not ASCII for a
/// letter, and what begins otherwise for an unknown tag, which ends at the next '>', quoted or not.
bool opensElement(const std::string& text, size_t begin) {
  if (begin + 1 >= text.size()) return true;
  const char c = text[begin + 1];
  return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 127;
}

/// Whether a declaration at `begin` holds a '>' in quotes. Where it ends then depends on the names
/// of its attributes.
bool isAmbiguousDeclaration(const std::string& text, size_t begin) {
  if (text.compare(begin, 2, "<?") != 0) return false;
  return text.find('>', begin) < readStartTag(text, begin).end;
}

/// Whether a character of several bytes breaks off. The parser skips as many bytes as the first one
/// promises, a '<' or a quote among them; or it does not, depending on the encoding and the place.
bool hasBrokenCharacters(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char lead = static_cast<unsigned char>(text[i]);
    const size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    for (size_t k = 1; k < length && i + k < text.size(); ++k)
      if (static_cast<unsigned char>(text[i + k]) < 0x80) return true;
  }
  return false;
}

/// Takes all that may be a start tag, hidden by quotes or comments or not, for one inside the
/// other: no nesting is deeper.
XmlExtent widestExtent(const std::string& text) {
  constexpr size_t kSharers = 20;  // all attributes in one element are unlikely, and slow only
  XmlExtent extent;
  for (size_t i = text.find('<'); i < text.size(); i = text.find('<', i + 1))
    extent.depth += opensElement(text, i) ? 1 : 0;
  extent.attributes = static_cast<size_t>(std::count(text.begin(), text.end(), '=')) / kSharers;
  return extent;
}

}  // namespace

XmlExtent xmlExtent(const std::string& text) {
  if (hasBrokenCharacters(text)) return widestExtent(text);
  XmlExtent extent;
  size_t depth = 0;
  for (size_t i = text.find('<'); i < text.size(); i = text.find('<', i)) {
    if (text.compare(i, 4, "<!--") == 0) {
      i = positionAfter(text, "-->", 3, i + 4);
    } else if (text.compare(i, 9, "<![CDATA[") == 0) {
      i = positionAfter(text, "]]>", 3, i + 9);
    } else if (isAmbiguousDeclaration(text, i)) {
      return widestExtent(text);
    } else if (!opensElement(text, i)) {
      if (text.compare(i, 2, "</") == 0) depth -= depth > 0;
      i = positionAfter(text, ">", 1, i + 1);
    } else {
      const StartTag tag = readStartTag(text, i);
      extent.depth = std::max(extent.depth, depth + 1);
      extent.attributes = std::max(extent.attributes, tag.attributes);
      if (tag.end > i && text[tag.end - 1] != '/') ++depth;
      i = tag.end;
    }
  }
  return extent;
}

}  // namespace zelvik
