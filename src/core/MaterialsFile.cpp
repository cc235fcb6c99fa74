// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Materials.hpp>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>

namespace zelvik {

namespace {

struct Properties {
  double friction = 0.0, restitution = 0.0, restitutionThreshold = 0.0;
};

/// False after a fatal message.
bool readProperties(const ZelvikTinyXmlWrapper& element, Properties& out) {
  return element.readMust("friction", out.friction) &&
         element.readMust("restitution", out.restitution) &&
         element.readMust("restitution_threshold", out.restitutionThreshold);
}

}  // namespace

MaterialManager::MaterialManager(const std::string& file) {
  const ZelvikTinyXmlWrapper root(file, "zelvik");
  const std::vector<ZelvikTinyXmlWrapper> materials = root.getChildrenMust("material");
  if (!materials.empty()) init(materials[0]);
}

bool MaterialManager::init(const ZelvikTinyXmlWrapper& material) {
  Properties p;
  const std::vector<ZelvikTinyXmlWrapper> defaults = material.getChildren("default");
  if (!defaults.empty()) {
    if (!readProperties(defaults[0], p)) return false;
    setDefaultMaterialProperties(p.friction, p.restitution, p.restitutionThreshold);
  }
  for (const ZelvikTinyXmlWrapper& pair : material.getChildren("pair_prop")) {
    std::string a, b;
    if (!(pair.readMust("name1", a) && pair.readMust("name2", b) && readProperties(pair, p)))
      return false;
    setMaterialPairProp(a, b, p.friction, p.restitution, p.restitutionThreshold);
  }
  return true;
}

}  // namespace zelvik
