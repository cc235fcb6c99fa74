// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <zelvik/Materials.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

void MaterialManager::checkFriction(const char* call, double friction) {
  if (friction >= 0.0 || toldOfFriction_) return;
  toldOfFriction_ = true;
  MSG_WARN(call << ": " << friction << " is no coefficient of friction. Told once");
}

void MaterialManager::setDefaultMaterialProperties(double friction, double restitution,
                                                   double restitutionThreshold) {
  checkFriction("setDefaultMaterial", friction);
  defaultProperties_.friction = friction;
  defaultProperties_.restitution = restitution;
  defaultProperties_.restitutionThreshold = restitutionThreshold;
}

void MaterialManager::setMaterialPairProp(const std::string& a, const std::string& b,
                                          double friction, double restitution,
                                          double restitutionThreshold) {
  checkFriction("setMaterialPairProp", friction);
  // Two statements: a name that is new gets its id before the second one.
  const unsigned int idA = idOf(a);
  const unsigned int idB = idOf(b);
  pairProperties_[pairKey(idA, idB)] = {friction, restitution, restitutionThreshold, 0.0};
}

const MaterialPairProperties& MaterialManager::getMaterialPairProp(const std::string& a,
                                                                   const std::string& b) {
  const auto entryA = materialIds_.find(a);
  if (entryA == materialIds_.end()) return defaultProperties_;
  const auto entryB = materialIds_.find(b);
  if (entryB == materialIds_.end()) return defaultProperties_;
  // Inserts the built-in values, not the default ones, for a pair that was never set.
  return pairProperties_[pairKey(entryA->second, entryB->second)];
}

// The same for both orders. Wraps at 32 bits.
unsigned int MaterialManager::pairKey(unsigned int idA, unsigned int idB) {
  return std::max(idA, idB) * 10000u + std::min(idA, idB);
}

unsigned int MaterialManager::idOf(const std::string& name) {
  const auto [entry, isNew] = materialIds_.try_emplace(name, materialCount_);
  if (isNew) ++materialCount_;
  return entry->second;
}

}  // namespace zelvik
