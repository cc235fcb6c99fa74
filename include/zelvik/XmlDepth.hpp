// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/export.hpp>

namespace zelvik {

/// Deepest nesting of elements in XML text, found without parsing: the parser recurses and a
/// hostile document would overflow the stack. Never less than what the parser would reach.
ZELVIK_API size_t xmlNestingDepth(const std::string& text);

}  // namespace zelvik
