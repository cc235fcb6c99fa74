// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <locale>
#include <regex>

#include "Messages.hpp"

namespace zelvik {
namespace {

TEST(Messages, HaveStampPlaceAndColourAndFatalOnesCallBack) {
  const auto before = ZelvikMsg::fatalCallback_;
  const auto matches = [](auto&& action, const std::string& rest) {
    const std::string stamp = R"(\[\d{4}:[01]\d:[0-3]\d:[0-2]\d:[0-5]\d:[0-6]\d )";
    testing::internal::CaptureStdout();
    action();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::regex_match(text, std::regex(stamp + rest + "\x1b\\[0m\n"))) << text;
  };
  const auto raw = [](const char* file, int severity) {
    std::stringstream message("text");
    ZelvikMsg().stream(file, 1234, message, severity);
  };
  int calls = 0;
  ZelvikMsg::fatalCallback_ = [&] { ++calls; };
  matches([] { MSG_INFO("mass is " << 1.5); }, R"(MessageTest\.cpp:\d+\] mass is 1\.5)");
  matches([] { MSG_WARN("careful"); }, "MessageTest\\.cpp:\\d+\\] \x1b\\[33mcareful");
  EXPECT_EQ(calls, 0);
  matches([] { MSG_FATAL("broken " << 7); }, "MessageTest\\.cpp:\\d+\\] \x1b\\[1;31mbroken 7");
  EXPECT_EQ(calls, 1);
  matches([&] { raw("/a/b/", 3); }, ":1234\\] text");
  ZelvikMsg::fatalCallback_ = nullptr;
  matches([] { EXPECT_THROW(MSG_FATAL("nobody"), std::bad_function_call); },
          "MessageTest\\.cpp:\\d+\\] \x1b\\[1;31mnobody");
  ZelvikMsg::fatalCallback_ = before;
  EXPECT_EXIT(MSG_FATAL("the end"), testing::ExitedWithCode(1), "");
}

TEST(Messages, ASinkTakesThePartsInsteadOfTheOutput) {
  const auto before = ZelvikMsg::fatalCallback_;
  std::string taken;
  ZelvikMsg::sink_ = [&](ZelvikMsg::Severity severity, const char* file, int line,
                         const std::string& text) {
    taken += std::to_string(severity) + "|" + file + "|" + std::to_string(line) + "|" + text + "\n";
  };
  ZelvikMsg::fatalCallback_ = [&] { taken += "fatal callback\n"; };
  testing::internal::CaptureStdout();
  for (const int severity : {0, 1, 2, 7}) {
    std::stringstream message("text");
    ZelvikMsg().stream("/a/World.cpp", 65, message, severity);
  }
  ZelvikMsg::sink_ = nullptr;
  ZelvikMsg::fatalCallback_ = before;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(taken,
            "0|World.cpp|65|text\n1|World.cpp|65|text\n2|World.cpp|65|text\nfatal callback\n"
            "0|World.cpp|65|text\n");
}

TEST(Messages, NumbersDoNotFollowTheLocaleOfTheHost) {
  struct German : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new German));
  const std::string told = messages::of([] { MSG_WARN("row:" << 1501 << " " << -2.5); });
  std::locale::global(before);
  EXPECT_EQ(told, "MessageTest.cpp: row:1501 -2.5");
}

}  // namespace
}  // namespace zelvik
