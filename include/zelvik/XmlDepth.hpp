// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// Deepest nesting of elements in XML text, found without parsing: the parser recurses and a
/// hostile document would overflow the stack. Never less than what the parser would reach; for a
/// document that can be read in two ways (a '>' in quotes in its declaration, a character of
/// several bytes that breaks off) it is the number of start tags.
ZELVIK_API size_t xmlNestingDepth(const std::string& text);

}  // namespace zelvik
