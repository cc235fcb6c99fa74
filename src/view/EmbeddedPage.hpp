// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string_view>

namespace zelvik::view {

/// The page that shows replays, as `viewer/` builds it; empty if it was not built.
std::string_view embeddedPage();

}  // namespace zelvik::view
