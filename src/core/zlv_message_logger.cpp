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

namespace {

void print(const char* name, int line, const std::string& text, ZelvikMsg::Severity severity) {
  const char* colour = severity == ZelvikMsg::WARN    ? "\033[33m"
                       : severity == ZelvikMsg::FATAL ? "\033[1;31m"
                                                      : "";
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  localtime_r(&now, &local);

  std::stringstream out;
  out.imbue(std::locale::classic());
  out << "[" << std::setfill('0') << std::put_time(&local, "%Y:%m:%d:%X") << " "
      << std::setfill(' ') << name << ":" << line << "] ";
  out << colour << text << "\033[0m\n";
  std::cout << out.str();
}

}  // namespace

std::function<void()> ZelvikMsg::fatalCallback_ = [] { std::exit(1); };
ZelvikMsg::Sink ZelvikMsg::sink_;

void ZelvikMsg::stream(const char* file, int line, std::stringstream& message, int severity) {
  const char* slash = std::strrchr(file, '/');
  const char* name = slash != nullptr ? slash + 1 : file;
  const Severity kind = severity == WARN ? WARN : severity == FATAL ? FATAL : INFO;
  if (sink_)
    sink_(kind, name, line, message.str());
  else
    print(name, line, message.str(), kind);
  if (kind == FATAL) fatalCallback_();
}

}  // namespace zelvik
