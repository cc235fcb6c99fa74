// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <unordered_map>
#include <zelvik/export.hpp>

namespace zelvik {

class ZelvikTinyXmlWrapper;

/// What two surfaces do to each other.
struct MaterialPairProperties {
  double friction = 0.8;               ///< coefficient of friction, 0 or more
  double restitution = 0.0;            ///< coefficient of restitution, 0 to 1
  double restitutionThreshold = 0.01;  ///< impact speed below which nothing bounces (m/s)
  double reserved = 0.0;               ///< read by nothing
};

/// Table of friction and restitution by pairs of material names.
///
/// A friction below 0.0001 selects the frictionless branch of the solver, which solves the normal
/// alone with the inverse of the whole contact block; bodies with several coupled contacts want a
/// friction of at least 0.0001.
class ZELVIK_API MaterialManager {
 public:
  MaterialManager() = default;
  /// Reads a material file: the root element "zelvik" with a child "material".
  /// Fatal if the file cannot be read or has no such element.
  explicit MaterialManager(const std::string& file);

  /// Reads one "material" element: at most one "default", any number of "pair_prop".
  /// A missing attribute is fatal.
  /// @return false after a fatal message
  bool init(const ZelvikTinyXmlWrapper& material);

  // A friction below 0 or no number is stored and warned of, once per manager.

  /// What pairs with an unknown name get.
  void setDefaultMaterialProperties(double friction, double restitution,
                                    double restitutionThreshold);

  /// Sets the properties of the pair (a, b), which is the same as (b, a).
  void setMaterialPairProp(const std::string& a, const std::string& b, double friction,
                           double restitution, double restitutionThreshold);

  /// The default properties if either name is unknown. Two known names that were never paired give
  /// the built-in values 0.8, 0, 0.01 whatever the default is, and their record enters the table;
  /// so the call is not const. The reference is good while the manager lives.
  const MaterialPairProperties& getMaterialPairProp(const std::string& a, const std::string& b);

 private:
  void checkFriction(const char* call, double friction);
  static unsigned int pairKey(unsigned int idA, unsigned int idB);
  unsigned int idOf(const std::string& name);

  std::unordered_map<unsigned int, MaterialPairProperties> pairProperties_;
  std::unordered_map<std::string, unsigned int> materialIds_;
  MaterialPairProperties defaultProperties_;
  bool toldOfFriction_ = false;
  unsigned int materialCount_ = 0;  ///< the next free id; ids of 10000 and more would collide
};

}  // namespace zelvik
