// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zelvik/math.hpp>
#include <zelvik/object/BodyType.hpp>

namespace zelvik::contact {

struct Single3DContactProblem;

/// One object's view of a contact. Each moving side of a collision keeps one in its contact list.
struct Contact {
  Mat<3, 3> frame_;     ///< world to contact frame; rows: tangent, tangent, unit normal
  Mat<3, 1> position_;  ///< (m, world axes)
  Mat<3, 1> normal_;    ///< as given, towards the A side (world axes)
  Single3DContactProblem* contactProblem_ = nullptr;  ///< set by `World::integrate2`
  Mat<3, 3>* delassusPtr_ = nullptr;                  ///< its own block; read by nothing
  double impactVel_ = 0.0;      ///< normal velocity of this side's point before the solve (m/s)
  double depth_ = 0.0;          ///< signed distance, negative while penetrating (m)
  size_t contactIndex_ = 0;     ///< place in this object's list
  size_t pairObjectIndex_ = 0;  ///< world index of the other object
  /// Place of the twin in the other object's list; `kNone` if the other side is static and keeps no
  /// contacts.
  size_t pairContactIndex_ = 0;
  size_t contactProblemIndex_ = 0;  ///< place of the problem in the world's list
  size_t localBodyIndex_ = 0;       ///< body inside this object
  /// Shape of this object that touches: the place in `ArticulatedSystem::getCollisionBodies`, whose
  /// `colName` tells a foot from the shin that it was merged into, or in `Compound::getChildren`; 0
  /// for other objects, `kNone` for the end of a wire.
  size_t shapeIndex_ = kNone;
  size_t pairShapeIndex_ = kNone;  ///< the same of the other object
  bool selfCollision_ = false;     ///< has absorbed its twin on the same articulated system
  bool skip_ = false;              ///< is that twin
  bool objectA_ = true;            ///< whether this object is the first of the pair
  BodyType pairBodyType_ = BodyType::DYNAMIC;  ///< of the other side

  Contact() = default;

  /// Builds the frame from the normal: t1 is horizontal and t2 = n x t1; for a normal along z,
  /// t1 = x and t2 = (0, sign(nz), 0).
  Contact(const Mat<3, 1>& position, const Mat<3, 1>& normal, bool objectA, int contactProblemIndex,
          size_t contactIndex, size_t pairObjectIndex, BodyType pairBodyType,
          size_t pairContactIndex, size_t localBodyIndex, double depth)
      : Contact(frameOf(normal), position, normal, objectA, contactProblemIndex, contactIndex,
                pairObjectIndex, pairBodyType, pairContactIndex, localBodyIndex, depth) {}

  /// The same for a normal whose frame is known, see `frameOf`.
  Contact(const Mat<3, 3>& frame, const Mat<3, 1>& position, const Mat<3, 1>& normal, bool objectA,
          int contactProblemIndex, size_t contactIndex, size_t pairObjectIndex,
          BodyType pairBodyType, size_t pairContactIndex, size_t localBodyIndex, double depth)
      : frame_(frame),
        position_(position),
        normal_(normal),
        depth_(depth),
        contactIndex_(contactIndex),
        pairObjectIndex_(pairObjectIndex),
        pairContactIndex_(pairContactIndex),
        contactProblemIndex_(static_cast<size_t>(contactProblemIndex)),
        localBodyIndex_(localBodyIndex),
        objectA_(objectA),
        pairBodyType_(pairBodyType) {}

  /// Called by the world. @param own see `shapeIndex_` @param pair see `pairShapeIndex_`
  void setShapes(size_t own, size_t pair) {
    shapeIndex_ = own;
    pairShapeIndex_ = pair;
  }

  /// Impulse on this object from the last solve (N s, world axes). Valid between a step's
  /// `integrate2` and the next `integrate1`; zero before the contact has a problem. The twin of a
  /// self-collision reports the reaction of the merged contact.
  inline void getImpulse(Mat<3, 1>& impulseW) const;
  /// The same.
  void getImpulse(Eigen::Vector3d& impulseW) const {
    Vec3 impulse;
    getImpulse(impulse);
    impulseW = impulse;
  }

  /// World to contact frame for a normal (world axes, not zero).
  static Mat<3, 3> frameOf(const Mat<3, 1>& normal) {
    const double nx = normal[0], ny = normal[1], nz = normal[2];
    const double flat2 = nx * nx + ny * ny;
    const double scale = 1.0 / std::sqrt(flat2 + nz * nz);
    const Vec3 n = scale * normal;
    Vec3 t1{{1.0, 0.0, 0.0}}, t2{{0.0, n[2], 0.0}};
    if (nx != 0.0 || ny != 0.0) {
      const double flatScale = 1.0 / std::sqrt(flat2);
      t1 = {{flatScale * ny, -flatScale * nx, 0.0}};
      t2 = (scale * flatScale) * Vec3{{nx * nz, ny * nz, -flat2}};
    }
    return {{t1[0], t2[0], n[0], t1[1], t2[1], n[1], t1[2], t2[2], n[2]}};
  }
};

}  // namespace zelvik::contact

#include <zelvik/contact/Single3DContactProblem.hpp>

namespace zelvik::contact {

inline void Contact::getImpulse(Mat<3, 1>& impulseW) const {
  if (contactProblem_ == nullptr) {
    impulseW.setZero();
    return;
  }
  impulseW = transposeMul(frame_, contactProblem_->imp_);
  if (!objectA_) impulseW = -impulseW;
}

}  // namespace zelvik::contact
