// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <locale>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

std::function<void()> ZelvikMsg::fatalCallback_ = [] { std::exit(1); };

void ZelvikMsg::stream(const char* file, int line, std::stringstream& message, int severity) {
  const char* slash = std::strrchr(file, '/');
  const char* name = slash != nullptr ? slash + 1 : file;
  const char* colour = severity == WARN ? "\033[33m" : severity == FATAL ? "\033[1;31m" : "";
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());

  std::tm local{};
  localtime_r(&now, &local);

  std::stringstream out;
  out.imbue(std::locale::classic());
  out << "[" << std::setfill('0') << std::put_time(&local, "%Y:%m:%d:%X") << " "
      << std::setfill(' ') << name << ":" << line << "] ";
  out << colour << message.str() << "\033[0m\n";
  std::cout << out.str();
  if (severity == FATAL) fatalCallback_();
}

}  // namespace zelvik
