// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zelvik/EigenArguments.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>

namespace zelvik {

class Object;
class StateArchive;

/// Ties a point of one body to a point of another by a length; base of both kinds of wire.
///
/// A new wire acts only while its points are closer than its length, like a strut; a rope wants
/// the stretch type 0. The bodies are not owned and have to outlive the wire; the two points must
/// not meet, since the direction between them is then not a number.
class ZELVIK_API LengthConstraint {
 public:
  /// @param localIdx1,localIdx2 bodies inside the objects
  /// @param localPos1,localPos2 attachment points (m, body frames)
  /// @param length rest length (m)
  LengthConstraint(Object* body1, unsigned long localIdx1, Mat<3, 1> localPos1, Object* body2,
                   unsigned long localIdx2, Mat<3, 1> localPos2, double length);

  /// Computes everything that depends on the poses; the world calls it once per step.
  void update();

  /// Lets go of both bodies if `body` is one of them; called by the world before it deletes a body
  /// whose wire it keeps. The wire never acts again, and its bodies are null.
  void releaseBody(const Object* body);

  /// Called by `World::clone`: the ends of a copy, in the same bodies of other objects.
  void rejoin(Object* body1, Object* body2) {
    body1_ = body1;
    body2_ = body2;
  }
  /// See `Object::visitState`: the length, and what the last `update` computed.
  void visitState(StateArchive& archive);

  /// Name for `World::getWire`; need not be unique.
  void setName(const std::string& name) { name_ = name; }
  /// The name.
  const std::string& getName() const { return name_; }
  /// When the wire acts: 0 if its distance is above its length, 1 (initially) if below, 2 always.
  /// Other values leave it as it is.
  void setStretchType(int type) { stretchType_ = type; }
  /// See `setStretchType`.
  int getStretchType() const { return stretchType_; }
  /// Rest length (m) from the next step on, as a winch. Fatal and not stored unless finite and at
  /// least 0: "LengthConstraint::setLength: the length must be finite and at least 0, but is
  /// *length*".
  void setLength(double length);
  ///@{
  /// Moves an attachment point (m, body frame), from the next step on.
  void setLocalPos1(const Mat<3, 1>& localPos) { localPos1_ = localPos; }
  void setLocalPos2(const Mat<3, 1>& localPos) { localPos2_ = localPos; }
  template <typename Derived, typename = IfVector3<Derived>>
  void setLocalPos1(const Eigen::MatrixBase<Derived>& localPos) {
    readArgument(localPos, "setLocalPos1", localPos1_);
  }
  template <typename Derived, typename = IfVector3<Derived>>
  void setLocalPos2(const Eigen::MatrixBase<Derived>& localPos) {
    readArgument(localPos, "setLocalPos2", localPos2_);
  }
  ///@}
  const Mat<3, 1>& getLocalPos1() const { return localPos1_; }  ///< (m, frame of body 1)
  const Mat<3, 1>& getLocalPos2() const { return localPos2_; }  ///< (m, frame of body 2)
  /// Whether the wire acts, by the last `update`.
  bool isActive() const { return active_; }

  double getStretch() const { return stretch_; }    ///< distance minus length (m)
  double getDistance() const { return distance_; }  ///< between the points (m)
  double getLength() const { return length_; }      ///< at rest (m)
  const Mat<3, 1>& getNorm() const {
    return norm_;
  }  ///< unit, from point 1 to point 2 (world axes)
  const Mat<3, 1>& getP1() const { return worldPos1_; }  ///< (m, world axes)
  const Mat<3, 1>& getP2() const { return worldPos2_; }  ///< (m, world axes)
  /// Null once the body has been removed.
  Object* getBody1() const { return body1_; }
  /// Null once the body has been removed.
  Object* getBody2() const { return body2_; }
  /// Body inside of the first object.
  size_t getLocalIdx1() const { return localIdx1_; }
  /// Body inside of the second object.
  size_t getLocalIdx2() const { return localIdx2_; }

 protected:
  std::string name_;            ///< see `setName`
  Mat<3, 1> localPos1_;         ///< (m, body frame)
  Object* body1_;               ///< not owned
  Mat<3, 1> localPos2_;         ///< (m, body frame)
  Object* body2_;               ///< not owned
  Mat<3, 1> worldPos1_{};       ///< (m, world axes) computed by `update`
  size_t localIdx1_;            ///< body inside of `body1_`
  Mat<3, 1> worldPos2_{};       ///< (m, world axes) computed by `update`
  size_t localIdx2_;            ///< body inside of `body2_`
  Mat<3, 1> norm_{};            ///< computed by `update`
  double length_;               ///< (m): state, since it may be a winch's
  double distance_ = 0.0;       ///< (m) computed by `update`
  double stretch_ = 0.0;        ///< (m) computed by `update`
  double initialLength_ = 0.0;  ///< (m) of a compliant wire
  int stretchType_ = 1;         ///< see `setStretchType`
  bool active_ = false;         ///< computed by `update`: state, for other stretch types
};

}  // namespace zelvik
