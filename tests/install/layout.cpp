// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Prints sizes, alignments and places of members of the public classes. Every build of it has to
// print the same, or caller and library would read each other's memory wrongly.
#include <cstddef>
#include <cstdio>
#include <zelvik/World.hpp>
#include <zelvik/object/Cone.hpp>

namespace {

template <typename T>
void print(const char* name) {
  std::printf("%s %zu %zu\n", name, sizeof(T), alignof(T));
}

}  // namespace

#define PRINT(type) print<zelvik::type>(#type)
#define PRINT_MEMBER(type, member) \
  std::printf(#type "::" #member " %zu\n", offsetof(zelvik::type, member))

int main() {
  PRINT(Vec3);
  PRINT(VecDyn);
  PRINT(MatDyn);
  PRINT(SparseJacobian);
  PRINT(World);
  PRINT(MaterialManager);
  PRINT(Object);
  PRINT(SingleBodyObject);
  PRINT(Sphere);
  PRINT(Box);
  PRINT(Cylinder);
  PRINT(Capsule);
  PRINT(Cone);
  PRINT(Ground);
  PRINT(Compound);
  PRINT(Compound::CompoundObjectChild);
  PRINT(Mesh);
  PRINT(ConvexHull);
  PRINT(HeightMap);
  PRINT(TerrainProperties);
  PRINT(ArticulatedSystem);
  PRINT(Child);
  PRINT(Joint);
  PRINT(StiffLengthConstraint);
  PRINT(CompliantLengthConstraint);
  PRINT(RayHit);
  PRINT(RayHitList);
  PRINT(contact::Contact);
  PRINT(contact::Single3DContactProblem);
  PRINT(contact::BisectionContactSolver);
  PRINT_MEMBER(contact::Contact, depth_);
  PRINT_MEMBER(contact::Contact, pairObjectIndex_);
  PRINT_MEMBER(contact::Single3DContactProblem, mu_);
  PRINT_MEMBER(contact::Single3DContactProblem, rank_);
  PRINT_MEMBER(RayHitList, count);
}
