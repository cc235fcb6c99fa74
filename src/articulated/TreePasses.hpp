// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <vector>
#include <zelvik/object/ArticulatedSystem/TreeDescription.hpp>

#include "core/LaneAlgebra.hpp"

namespace zelvik {

/// How a tree as a whole moves (world axes), rotors left out.
struct TreeMotion {
  Vec3 massMoment;  ///< mass times centre of mass (kg m)
  Vec3 momentum;    ///< (N s)
  Vec3 spin;        ///< angular momentum about the origin of the world (N m s)
  double kinetic;   ///< (J)
};

/// The passes over the bodies of an articulated system, four bodies at a time.
///
/// Bodies of equal depth do not depend on each other. They are taken in quads of up to four, one
/// body to a lane, so that the four legs of a robot cost as much as one; quads are sorted by
/// depth, and a recursion over bodies is a loop over quads. Lanes without a body repeat the first
/// one without its mass: they add nothing to any sum. Quad 0 is the root, the same in all lanes.
///
/// A joint is what its velocities do to its body: velocity k turns it about an axis through the
/// joint, `turn[k]`, or slides it along one, `slide`. So all types of joints share one formula.
class TreePasses {
 public:
  static constexpr size_t kSpareValues = 2 * kLanes;

  /// Reads the first, writes the second; both outlive the passes.
  TreePasses(const TreeDescription& tree, BodyKinematics& kinematics);

  /// Copies masses, centres of mass and inertias of the bodies; after every change of them.
  void loadMassProperties();
  /// Poses of all bodies. @param gc coordinates; a fixed root stays as it is
  void updateKinematics(const double* gc);
  /// Packed rows of the mass matrix, without rotor inertia, and `kSpareValues` after them that
  /// take what belongs to no body.
  void computeMassRows(double* rows);
  /// Velocities of all bodies, and h. @param gv velocities
  void computeNonlinearities(const Vec3& gravity, const double* gv, VecDyn& h);
  /// Sums over all bodies, at the poses of the last `updateKinematics`. @param gv velocities
  TreeMotion computeMotion(const double* gv);
  /// Mass times centre of mass of a tree with a floating root, of the last `computeMassRows` (kg
  /// m).
  Vec3 massMoment() const { return getLane(bodies_[0].moment, 0); }
  /// Inertias and composite bodies of the last `computeMassRows` to the arrays of the system.
  void writeCompositeBodies(std::vector<Mat33>& inertia, std::vector<Mat33>& compositeInertia,
                            std::vector<Vec3>& moment, std::vector<Vec3>& com) const;

 private:
  /// Numbers of up to four bodies. Axes are those of the world where nothing else is said.
  struct Bodies {
    // Constant.
    Lanes33 fixedPart, cosinePart, sinePart;  ///< body to parent: fixed + cos q cosine + sin q sine
    Lanes3 offsetP, axisP;                    ///< joint position and axis, parent axes
    Lanes turns, slides, balls;               ///< 1 for the type of the joint, otherwise 0
    Lanes3 comB;
    LanesSymmetric inertiaB;
    Lanes mass, compositeMass;
    Lanes divisor;  ///< `compositeMass`, 1 without a body
    // Kinematics.
    Lanes33 R;
    Lanes3 position, comOffset, com;
    Lanes3 offset;   ///< from the parent's origin
    Lanes3 turn[3];  ///< per velocity of the joint; zero where it has none
    Lanes3 slide;
    // Mass matrix.
    LanesSymmetric inertia, compositeInertia;
    Lanes3 moment, compositeCom;
    // Nonlinear terms.
    Lanes3 v, omega, a, alpha, force, torque;
  };

  /// Where four bodies stand: quad and lane of each.
  struct Places {
    bool lanesMatch;  ///< each in its own lane of `quad[0]`
    size_t quad[kLanes], lane[kLanes];
  };

  struct Quad {
    size_t count;              ///< bodies
    size_t body[kLanes];       ///< lanes without a body repeat the first
    size_t width;              ///< most velocities of a joint
    bool hasSlides, hasBalls;  ///< whether a joint is prismatic, spherical
    Places parents;
    size_t gc[kLanes];          ///< first coordinates
    size_t gv[3][kLanes];       ///< velocities; the first again where a joint has no more
    size_t row[3][kLanes];      ///< starts of their packed rows
    size_t stepBegin, stepEnd;  ///< in `steps_`
    size_t targetCount;         ///< of `targets_`, four to an entry of M
  };

  /// The joints at one height on the way from the joints of a quad to the root, their own first.
  struct Step {
    Places joints;
    size_t width;
  };

  /// Sums of `TreeMotion`, of the bodies of each lane; `work` is twice the kinetic energy.
  struct MotionSums {
    Lanes3 moment, momentum, spin;
    Lanes work;
  };

  void sortIntoQuads();
  Quad makeQuad(const size_t* bodies, size_t count);
  Places placesOf(const size_t* bodies, size_t count) const;
  void setJoint(size_t body, size_t lane, Bodies& bodies) const;
  void buildSteps(Quad& quad);
  size_t target(size_t bodyI, size_t k, size_t bodyJ, size_t l) const;

  template <typename Get>
  Lanes3 gather(const Places& places, Get&& get) const;
  template <typename Value>
  void addToParents(const Quad& quad, const Value& value, Value Bodies::*field);

  void placeRoot(const double* gc);
  void placeQuad(const Quad& quad, const double* gc, Bodies& bodies);
  void setBallRotations(const Quad& quad, const double* gc, Lanes33& local) const;
  void gatherMoments();
  void gatherInertia(const Quad& quad, Bodies& bodies);
  const std::uint32_t* writeRows(const Quad& quad, const Bodies& bodies,
                                 const std::uint32_t* target, double* rows) const;
  void writeRowOfOne(const Quad& quad, const Bodies& bodies, const Lanes3& force,
                     const Lanes3& moment, const std::uint32_t* target, double* rows) const;
  void writeBaseColumns(const Quad& quad, size_t k, const Lanes3& force, const Lanes3& moment,
                        double* rows) const;
  void writeRootRows(double* rows);
  void startRoot(const Vec3& gravity, const double* gv);
  void propagateVelocities(const Quad& quad, const double* gv, Bodies& bodies);
  static void computeWrench(Bodies& bodies);
  void projectWrenches(VecDyn& h) const;
  void moveQuad(const Quad& quad, const double* gv, Bodies& bodies) const;
  static void addMotion(const Bodies& bodies, MotionSums& sums);

  const TreeDescription& tree_;
  BodyKinematics& kinematics_;
  AlignedVector<Bodies> bodies_;
  std::vector<Quad> quads_;
  std::vector<Step> steps_;
  std::vector<std::uint32_t> targets_;   ///< places of the entries of M in the order of `writeRows`
  std::vector<size_t> quadOf_, laneOf_;  ///< per body
  bool hasSlides_ = false;               ///< whether any joint is prismatic
};

}  // namespace zelvik
