// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/math.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

void refuseSize(const char* operation, size_t rows, size_t cols, size_t givenRows,
                size_t givenCols) {
  MSG_FATAL(operation << ": " << rows << " x " << cols << " values are needed, " << givenRows
                      << " x " << givenCols << " are given");
}

}  // namespace zelvik
