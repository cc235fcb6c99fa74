// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Harness.hpp"

// URDF text: a robot that loads steps on a plane, and an exported world with it loads again. Of
// text that is no whole document as much is taken as could be parsed, while such a file is refused;
// so an export is asked for only of what is taken as a file, too.

namespace {

using zelvik::fuzz::run;
using zelvik::fuzz::runBothWays;
using zelvik::fuzz::scratchDirectory;
using zelvik::fuzz::Verdict;

size_t dofOfRobot(const zelvik::World& world) {
  const auto* robot = dynamic_cast<const zelvik::ArticulatedSystem*>(world.getObjList().back());
  return robot != nullptr ? robot->getDOF() : ~size_t{0};
}

void stepRobot(const std::string& text) {
  zelvik::World world;
  world.addGround();
  world.addArticulatedSystem(text, scratchDirectory());
  zelvik::fuzz::step(world);
}

void exportAndLoad(const std::string& text) {
  zelvik::World world;
  world.addGround();
  world.addArticulatedSystem(text, scratchDirectory());
  world.exportToXml(scratchDirectory(), "exported.xml");
  const zelvik::World again(scratchDirectory() + "exported.xml");
  if (dofOfRobot(again) != dofOfRobot(world)) zelvik::fuzz::fail("another robot after an export");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  const std::string text = fuzz::textOf(data, size);
  if (text.find('<') == std::string::npos) return 0;  // the name of a file
  if (runBothWays([&] { stepRobot(text); }) == Verdict::REFUSED) return 0;
  // Bytes beyond ASCII are read in another encoding from a file than from text.
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return 0;
  const std::string file = fuzz::writeScratch("given.urdf", data, size);
  if (runBothWays([&] { stepRobot(file); }) == Verdict::REFUSED) return 0;
  if (run([&] { exportAndLoad(text); }, fuzz::OnFatal::THROW) == Verdict::REFUSED)
    fuzz::fail("an exported world does not load");
  return 0;
}
