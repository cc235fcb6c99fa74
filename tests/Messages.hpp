// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik::messages {

enum class OnFatal { END, GO_ON };

/// The messages of `action`, each as "<source>: <text>", joined by line ends. A fatal message
/// either ends the action or lets it go on, as callers may.
template <typename Action>
std::string of(Action&& action, OnFatal onFatal = OnFatal::END) {
  struct End {};
  const auto callback = ZelvikMsg::fatalCallback_;
  ZelvikMsg::fatalCallback_ = [onFatal] {
    if (onFatal == OnFatal::END) throw End();
  };
  testing::internal::CaptureStdout();
  try {
    action();
  } catch (const End&) {
  }
  ZelvikMsg::fatalCallback_ = callback;
  static const std::regex frame("\\[\\S+ (\\S+):\\d+\\] (\x1b\\[[0-9;]+m)?([^\x1b]*)\x1b\\[0m\n");
  std::string text = std::regex_replace(testing::internal::GetCapturedStdout(), frame, "$1: $3\n");
  if (!text.empty()) text.pop_back();
  return text;
}

/// Expects that the messages of `action` contain `text`.
template <typename Action>
void expect(const std::string& text, Action&& action, OnFatal onFatal = OnFatal::END) {
  const std::string printed = of(action, onFatal);
  EXPECT_NE(printed.find(text), std::string::npos) << text << " is not in: " << printed;
}

/// The same for a fatal message after which the program goes on.
template <typename Action>
void refused(const std::string& text, Action&& action) {
  expect(text, action, OnFatal::GO_ON);
}

}  // namespace zelvik::messages
