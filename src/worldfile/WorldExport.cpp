// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "worldfile/WorldExport.hpp"

#include <zelvik/LocaleGuard.hpp>

namespace zelvik {

namespace {

using worldexport::Writer;

bool wasRefused(const Path& path) {
  return path.getString().find("..") != std::string::npos;
}

void writeParameters(const World& world, Writer& root) {
  root.emplace("gravity").setAttribute("value", world.getGravity());
  root.emplace("timeStep").element_->SetDoubleAttribute("value", world.getTimeStep());
  TiXmlElement& erp = *root.emplace("erp").element_;
  erp.SetDoubleAttribute("erp", world.getERP());
  erp.SetDoubleAttribute("erp2", world.getERP2());
}

/// Nothing may be written over the world itself or over a robot that it names.
std::set<std::string> takenFiles(const World& world, const Path& target) {
  std::set<std::string> taken{target.getString()};
  for (const Object* object : world.getObjList())
    if (object->getObjectType() == ARTICULATED_SYSTEM)
      taken.insert(static_cast<const ArticulatedSystem*>(object)->getModelPath());
  return taken;
}

}  // namespace

void World::exportToXml(const std::string& dir, const std::string& fileName) const {
  const LocaleGuard guard;
  const Path directory(dir);
  if (wasRefused(directory)) return;
  const Path target(directory.getString() + fileName);
  if (wasRefused(target)) return;

  ZelvikTinyXmlWriter writer("zelvik");
  Writer& root = writer.getRoot();
  root.element_->SetAttribute("version", "1.0");
  writeParameters(*this, root);
  Writer& objects = root.emplace("objects");
  worldexport::Files files{directory, takenFiles(*this, target)};
  for (size_t i = 0; i < objectList_.size(); ++i) {
    const Object& object = *objectList_[i];
    const std::string name =
        object.getName().empty() ? "unnamed_" + std::to_string(i) : object.getName();
    Writer& element = objects.emplace(objectTypeToString(object.getObjectType()));
    if (!worldexport::writeObject(object, files, name, element)) return;
  }
  writer.save(target.getString());
}

}  // namespace zelvik
