// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <zelvik/contact/Contact.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/Object.hpp>

namespace zelvik {

/// What a point of contact does in a step.
enum class ContactMotion {
  OPEN,   ///< no force
  STICK,  ///< the force is inside of the friction cone
  SLIP,   ///< the force is on it
  IMPACT  ///< the surfaces came together faster than 0.05 m/s
};

/// One point of a touch. Everything is of the step that was made (world axes); "onto" and "of" mean
/// side 0 of its touch.
struct ContactPoint {
  Mat<3, 1> position{};  ///< (m)
  Mat<3, 1> normal{};    ///< unit, towards side 0
  Mat<3, 1> force{};     ///< on side 0, friction included: impulse over time step (N)
  Mat<3, 1> slip{};  ///< velocity of side 0 relative to side 1, along the surface, after it (m/s)
  double approach = 0.0;  ///< speed at which the surfaces came together before it (m/s)
  double depth = 0.0;     ///< of the overlap, before it (m)
  /// Shapes that touch, of sides 0 and 1: places in `ArticulatedSystem::getCollisionBodies` or
  /// `Compound::getChildren`, 0 for other objects.
  size_t shapes[2] = {0, 0};
  ContactMotion motion = ContactMotion::OPEN;  ///< see `ContactMotion`
};

/// Two bodies that touch.
struct Touch {
  const Object* objects[2] = {nullptr, nullptr};  ///< of sides 0 and 1
  size_t bodies[2] = {0, 0};                      ///< inside of the objects
  size_t first = 0;                               ///< of its points, in `ContactReport::getPoints`
  size_t count = 0;                               ///< points
  bool begins = false;  ///< whether they did not touch in the report before
  Mat<3, 1> force{};    ///< on side 0; on side 1 the negative (N)
  Mat<3, 1> moment{};   ///< the same about the origin of the world (N m)
  /// Centre of pressure: mean of the points by normal force, or all alike where there is none (m).
  Mat<3, 1> centre{};

  /// Torque on side 0 about a point (N m, world axes).
  Mat<3, 1> getTorqueAbout(const Mat<3, 1>& pointW) const { return moment - cross(pointW, force); }
};

/// Two bodies that touched, by `Object::getIdInWorld` and their places inside of the objects: one
/// of the objects may be gone.
struct EndedTouch {
  size_t objectIds[2] = {0, 0};  ///< the smaller one first
  size_t bodies[2] = {0, 0};     ///< inside of the objects
};

/// One side of contacts that are looked for: what is left as it is fits all.
struct ContactFilter {
  const Object* object = nullptr;  ///< null: any
  size_t body = kNone;             ///< inside of the object
  std::string shape{};     ///< name of a robot's collision shape, link or body, or of an object
  std::string material{};  ///< of the shape
};

/// Contacts taken together.
struct ContactSum {
  size_t count = 0;    ///< points
  Mat<3, 1> force{};   ///< on the side that was looked for (N, world axes)
  Mat<3, 1> moment{};  ///< the same about the origin of the world (N m)
  Mat<3, 1> centre{};  ///< of pressure, see `Touch::centre` (m)
};

/// The contacts of a step, for people: `World::getContactReport`. Wires are not in it.
class ZELVIK_API ContactReport {
 public:
  /// Pairs of bodies that touch, in the order of the objects.
  const std::vector<Touch>& getTouches() const { return touches_; }
  /// Points of all touches, those of a touch together.
  const std::vector<ContactPoint>& getPoints() const { return points_; }
  /// Pairs of bodies that touched in the report before and do not any more.
  const std::vector<EndedTouch>& getEnded() const { return ended_; }

  /// All points whose one side fits `on`, and the other `by`. Of points that do so both ways round
  /// side 0 is taken.
  ContactSum sumUp(const ContactFilter& on, const ContactFilter& by = {}) const;
  /// Force of all contacts on an object (N, world axes).
  Mat<3, 1> getForce(const Object& object) const;
  /// Force of all contacts on one body of it (N, world axes).
  Mat<3, 1> getForce(const Object& object, size_t body) const;
  /// The same on what has this name: a collision shape of a robot ("foot/0"), all shapes of a link
  /// ("foot", also where it was merged into its parent), or a body. Zero if nothing has.
  Mat<3, 1> getForce(const Object& object, const std::string& name) const;
  /// Name of a side of a touch: of the object, or of the body of a robot.
  static const std::string& getName(const Touch& touch, size_t side);
  /// Name of the shape of a point: of a robot's collision shape, otherwise of the object.
  static const std::string& getShapeName(const Touch& touch, const ContactPoint& point,
                                         size_t side);
  /// Material of the shape of a point.
  static const std::string& getMaterial(const Touch& touch, const ContactPoint& point, size_t side);

 private:
  friend class World;
  /// Two bodies, the smaller object id first.
  struct Pair {
    size_t ids[2], bodies[2];
    bool operator<(const Pair& b) const;
  };

  /// @param dt time step that the impulses are of (s)
  void write(const std::vector<Object*>& objects, double dt);
  void appendContacts(const std::vector<Object*>& objects, size_t index, double dt);
  size_t touchOf(size_t begin, const Object* const (&objects)[2], const size_t (&bodies)[2]);
  void sortPoints();
  static void sumUpTouch(Touch& touch, const ContactPoint* points);
  void compareWithLast();
  static bool fits(const ContactFilter& filter, const Touch& touch, const ContactPoint& point,
                   size_t side);

  std::vector<Touch> touches_;
  std::vector<ContactPoint> points_, unsorted_;
  std::vector<size_t> touchOfPoint_;  ///< of `unsorted_`
  std::vector<EndedTouch> ended_;
  std::vector<Pair> pairs_, lastPairs_;  ///< sorted
  std::vector<Pair> unsortedPairs_;
};

/// What contacts did to a body since `World::startContactHistory`, as learning wants it.
struct BodyContactHistory {
  Mat<3, 1> impulse{};             ///< sum of all contacts (N s, world axes)
  double largestForce = 0.0;       ///< of a step: norm of the sum of its contacts (N)
  bool touches = false;            ///< in the last step
  double timeInContact = 0.0;      ///< since it began to touch; 0 in the air (s)
  double timeInAir = 0.0;          ///< since it ceased to touch; 0 on the ground (s)
  double lastTimeInContact = 0.0;  ///< that ended last (s)
  double lastTimeInAir = 0.0;      ///< likewise
};

}  // namespace zelvik
