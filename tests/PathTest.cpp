// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <tuple>
#include <zelvik/Path.hpp>

#include "Messages.hpp"

namespace zelvik {
namespace {

TEST(Paths, StepsAndSlashesAreNormalised) {
  for (const auto& [given, expected] :
       {std::pair{"", ""},
        {"a\\b", "a/b"},
        {"/a/b/../c", "/a/c"},
        {"/a/b/c/../../d", "/a/d"},
        {"/a//b", "/a/b"},
        {"/a////b", "/a/b"},
        {"/a/..", ""},
        {"\\a\\b\\..\\c", "/a/c"},
        {"/a/bb..c/d", "/ac/d"},  // dots inside a name take the component away
        {"/a/b..c/d", "c/d"},     // and the one before, if a single letter stands before them
        {"/a/./b", "/a/./b"},
        {"x/yy/../z", "x/z"},
        {"/a/b//../c", "/a/c"}})
    EXPECT_EQ(Path(given).getString(), expected) << given;
  EXPECT_EQ(Path("../a\\..//b", true).getString(), "../a/..//b");
}

TEST(Paths, ImpossibleStepsAreFatal) {
  for (const std::string given :
       {"../a", "/../a", "ab..", "a/..", "abc..", "aa/../b", "/a/../../b"}) {
    const std::string text = "Path.hpp: '" + given + "' is an invalid path";
    messages::expect(text, [&] { Path{given}; });
    // A callback that comes back must not leave the loop running.
    messages::refused(text, [&] { Path{given}; });
  }
}

TEST(Paths, DirectoriesAreCutOffAndSuffixesAppended) {
  for (const auto& [given, directory, top] : {std::tuple{"/a/b/c.urdf", "/a/b", "b"},
                                              {"b", "", "b"},
                                              {"/b", "", ""},
                                              {"/a/b/", "/a/b", "b"}}) {
    EXPECT_EQ(Path(given).getDirectory().getString(), directory) << given;
    EXPECT_EQ(Path(given).getTopDirectory().getString(), top) << given;
  }
  // Only the tail of a pair is taken.
  for (const auto& [suffix, expected] :
       {std::pair{"/b.xml", "/a/b.xml"}, {"x/", "/a/"}, {"/../b", "/a/../b"}})
    EXPECT_EQ((Path("/a") + suffix).getString(), expected);
}

}  // namespace
}  // namespace zelvik
