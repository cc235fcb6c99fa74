// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// Nesting of elements beyond which no document is parsed: deeper than any model, and far from
/// where the parser, which recurses, would overflow the stack.
constexpr std::size_t kDeepestXmlElement = 1000;

/// How far XML text goes, found without parsing: the parser recurses, so that a hostile document
/// would overflow the stack, and compares each attribute of an element with all others.
///
/// Never less than what the parser would meet. For a document that can be read in two ways (a '>'
/// in quotes in its declaration, a character of several bytes that breaks off) the depth is the
/// number of start tags, and the attributes are a twentieth of all '='.
struct XmlExtent {
  size_t depth = 0;       ///< deepest nesting of elements
  size_t attributes = 0;  ///< most attributes of one element
};

/// The extent of a document.
ZELVIK_API XmlExtent xmlExtent(const std::string& text);

}  // namespace zelvik
