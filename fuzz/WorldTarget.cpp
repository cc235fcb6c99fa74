// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cctype>

#include "Harness.hpp"

// World files: a world that loads steps, and loads again after an export unless it holds what the
// format cannot give back (meshes, height maps).

namespace {

using zelvik::fuzz::run;
using zelvik::fuzz::runBothWays;
using zelvik::fuzz::scratchDirectory;
using zelvik::fuzz::Verdict;

/// Whether a size of generated terrain has more than two digits. Such terrain is honest work, not a
/// fault, and takes longer than an input may.
bool asksForLargeTerrain(const std::string& text) {
  for (const char* key : {"Sample", "Octaves"})
    for (size_t p = text.find(key); p != std::string::npos; p = text.find(key, p + 1)) {
      size_t digits = 0;
      for (size_t i = p; i < text.size() && i < p + 24; ++i)
        digits += std::isdigit(static_cast<unsigned char>(text[i])) != 0 ? 1 : 0;
      if (digits > 2) return true;
    }
  return false;
}

bool comesBack(const zelvik::World& world) {
  for (const zelvik::Object* object : world.getObjList())
    if (object->getObjectType() == zelvik::MESH || object->getObjectType() == zelvik::HEIGHTMAP)
      return false;
  return true;
}

void exportAndLoad(const std::string& file) {
  zelvik::World world(file);
  if (!comesBack(world)) return;
  zelvik::fuzz::step(world);
  world.exportToXml(scratchDirectory(), "exported.xml");
  const zelvik::World again(scratchDirectory() + "exported.xml");
  if (again.getObjList().size() != world.getObjList().size())
    zelvik::fuzz::fail("another number of objects after an export");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  using namespace zelvik;
  if (asksForLargeTerrain(fuzz::textOf(data, size))) return 0;
  const std::string file = fuzz::writeScratch("world.xml", data, size);
  const Verdict verdict = runBothWays([&] {
    World world(file);
    fuzz::step(world);
  });
  if (verdict == Verdict::REFUSED) return 0;
  if (run([&] { exportAndLoad(file); }, fuzz::OnFatal::THROW) == Verdict::REFUSED)
    fuzz::fail("an exported world does not load");
  return 0;
}
