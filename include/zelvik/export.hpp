// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Marks what the shared library offers; everything else has hidden visibility.
#define ZELVIK_API __attribute__((visibility("default")))
