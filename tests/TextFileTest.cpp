// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <thread>
#include <zelvik/TextFile.hpp>
#include <zelvik/World.hpp>

#include "Messages.hpp"
#include "TemporaryDirectory.hpp"

// What all readers of text have in common: where the text comes from, and how much of it.

namespace zelvik {
namespace {

namespace fs = std::filesystem;

const TemporaryDirectory temporary;

struct InDirectory {
  const fs::path before = fs::current_path();
  explicit InDirectory(const fs::path& path) { fs::current_path(path); }
  ~InDirectory() { fs::current_path(before); }
};

// The file has no content on the disk; what is endless is read up to the limit.
TEST(TextFiles, TooLongOnesAreRefusedByEveryReader) {
  World world;
  const std::pair<std::string, std::function<void(const std::string&)>> readers[] = {
      {"robot.urdf", [&](const std::string& file) { world.addArticulatedSystem(file); }},
      {"world.xml", [](const std::string& file) { World{file}; }},
      {"material.xml", [](const std::string& file) { MaterialManager{file}; }},
      {"mesh.obj", [&](const std::string& f) { world.addMesh(f, 1, Mat33::identity(), {}, 1); }},
      {"map.txt", [&](const std::string& file) { world.addHeightMap(file, 0.0, 0.0); }}};
  for (const auto& [name, read] : readers) {
    const std::string file = temporary.write(name, "");
    fs::resize_file(file, kLongestText + 1);
    const std::string told = messages::of([&, &use = read] { use(file); });
    EXPECT_EQ(told, "TextFile.cpp: " + file + " is longer than 268435456 bytes");
    fs::remove(file);
  }
  messages::expect("/dev/zero is longer than 268435456 bytes", [] { World{"/dev/zero"}; });
}

// A second look would wait for a second writer for ever.
TEST(TextFiles, APipeIsReadOnce) {
  const std::string pipe = temporary.path + "pipe.urdf";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ofstream(pipe) << "<?xml version='1.0'?>\r\n<robot name='r'>\r<link name='base'><inertial>"
                           "<mass value='1'/><inertia ixx='1' iyy='1' izz='1'/></inertial></link>"
                           "</robot>";
  });
  World world;
  EXPECT_EQ(messages::of(
                [&] { EXPECT_EQ(world.addArticulatedSystem(pipe)->getBodyNames().at(0), "base"); }),
            "");
  writer.join();
}

TEST(TextFiles, ABareNameFindsItsMeshesBesideIt) {
  temporary.write("gem.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\nf 1 3 4\n");
  temporary.write("bare.urdf",
                  "<robot name='r'><link name='a'><inertial><mass value='1'/><inertia ixx='1' "
                  "iyy='1' izz='1'/></inertial><collision><geometry><mesh filename='gem.obj'/>"
                  "</geometry></collision></link></robot>");
  const InDirectory inside(temporary.path);
  World world;
  EXPECT_EQ(messages::of([&] {
              const ArticulatedSystem* robot = world.addArticulatedSystem("bare.urdf");
              EXPECT_EQ(robot->getResourceDirectory(), ".");
              EXPECT_EQ(robot->getModelTopDirectory(), "bare.urdf");
              EXPECT_EQ(robot->getCollisionBodies().size(), 1u);
            }),
            "");
}

TEST(TextFiles, OurWorldsLoadFromAnyDirectory) {
  const fs::path worlds = fs::path(ZELVIK_MODEL_DIR) / "worlds";
  const auto told = [](const fs::path& directory, const fs::path& file) {
    const InDirectory inside(directory);
    return messages::of([&] { World{fs::relative(file).string()}; });
  };
  for (const auto& entry : fs::directory_iterator(worlds)) {
    for (fs::path directory = worlds;; directory = directory.parent_path()) {
      EXPECT_EQ(told(directory, entry.path()), "") << entry.path() << " in " << directory;
      if (directory == directory.root_path()) break;
    }
  }
}

}  // namespace
}  // namespace zelvik
