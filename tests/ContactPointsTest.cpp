// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <zelvik/World.hpp>

// Points of contact between shapes: whether they are there in every pose, how deep they say the
// shapes overlap, and what bodies do on them.

namespace zelvik {
namespace {

enum class Ground { PLANE, BOX, CYLINDER, DYNAMIC_BOX, MAP };

/// A flat ground at height 0.
void addFlat(World& world, Ground ground) {
  world.setTimeStep(0.005);
  world.setDefaultMaterial(0.8, 0.0, 0.01);
  SingleBodyObject* body = nullptr;
  switch (ground) {
    case Ground::PLANE:
      world.addGround();
      return;
    case Ground::MAP:
      world.addHeightMap(101, 101, 50.0, 50.0, 0.0, 0.0, std::vector<double>(101 * 101, 0.0));
      return;
    case Ground::DYNAMIC_BOX:
      world.addGround(-0.5);
      world.addBox(1.0, 1.0, 0.5, 1.0)->setPosition(0.0, 0.0, -0.25);
      return;
    case Ground::BOX:
      body = world.addBox(60.0, 60.0, 1.0, 1.0);
      break;
    case Ground::CYLINDER:
      body = world.addCylinder(1.0, 1.0, 1.0);
      break;
  }
  body->setPosition(0.0, 0.0, -0.5);
  body->setBodyType(BodyType::STATIC);
}

void layAlongY(SingleBodyObject* body, double height) {
  body->setPosition(0.0, 0.0, height);
  body->setOrientation(std::sqrt(0.5), std::sqrt(0.5), 0.0, 0.0);
}

TEST(ContactPoints, CapsulesAndCylindersRest) {
  for (const Ground ground : {Ground::PLANE, Ground::BOX, Ground::CYLINDER, Ground::DYNAMIC_BOX})
    for (const bool isCapsule : {true, false}) {
      World world;
      addFlat(world, ground);
      SingleBodyObject* body = nullptr;
      if (isCapsule)
        body = world.addCapsule(0.1, 0.4, 1.0);
      else
        body = world.addCylinder(0.1, 0.4, 1.0);
      layAlongY(body, 0.1);
      for (int k = 0; k < 1000; ++k) world.integrate();
      EXPECT_NEAR(body->getBodyPosition()[2], 0.1, 1e-3) << static_cast<int>(ground) << isCapsule;
      EXPECT_NEAR(body->getRotationMatrix()(2, 2), 0.0, 1e-3);
    }
}

TEST(ContactPoints, RoundShapesRollWithoutLossAndHops) {
  for (const Ground ground : {Ground::PLANE, Ground::BOX, Ground::MAP})
    for (const bool isCapsule : {true, false}) {
      World world;
      addFlat(world, ground);
      SingleBodyObject* body = nullptr;
      if (isCapsule)
        body = world.addCapsule(0.05, 0.1, 1.0);
      else
        body = world.addCylinder(0.05, 0.1, 1.0);
      layAlongY(body, 0.05);
      body->setVelocity(3.0, 0.0, 0.0, 0.0, 3.0 / 0.05, 0.0);
      double highest = 0.0;
      for (int k = 0; k < 600; ++k) {
        world.integrate();
        highest = std::max(highest, body->getBodyPosition()[2]);
      }
      EXPECT_NEAR(body->getLinearVelocity()[0], 3.0, 0.003) << static_cast<int>(ground);
      EXPECT_LT(highest, 0.0501) << static_cast<int>(ground) << isCapsule;
    }
}

// Rolling on its edge and wobbling until it lies. What it sinks meanwhile is of the order of the
// step, some 0.05 m/s for one point of contact alone.
TEST(ContactPoints, ADiscDoesNotWorkItsWayDown) {
  for (const Ground ground : {Ground::PLANE, Ground::BOX, Ground::MAP}) {
    World world;
    addFlat(world, ground);
    Cylinder* disc = world.addCylinder(0.2, 0.02, 1.0);
    const Eigen::Quaterniond tilt(Eigen::AngleAxisd(1.0, Eigen::Vector3d::UnitX()));
    disc->setPose(Eigen::Vector3d(0.0, 0.0, 0.2 * std::sin(1.0) + 0.01 * std::cos(1.0)), tilt);
    disc->setVelocity(Eigen::Vector3d(3.0, 0.0, 0.0),
                      Eigen::Vector3d(15.0 * (tilt * Eigen::Vector3d::UnitZ())));
    for (int k = 0; k < 600; ++k) {
      world.integrate();
      const double cosine = std::fabs(disc->getRotationMatrix()(2, 2));
      const double sine = std::sqrt(std::max(1.0 - cosine * cosine, 0.0));
      ASSERT_GT(disc->getBodyPosition()[2] - 0.2 * sine - 0.01 * cosine, -0.02)
          << static_cast<int>(ground) << " step " << k;
    }
    EXPECT_NEAR(disc->getBodyPosition()[2], 0.01, 1.5e-3) << static_cast<int>(ground);
  }
}

struct Solid {
  char kind = 0;  // 'b'ox, 'c'apsule, cylinder 'y', 's'phere, 'h'ull: an octahedron
  Vec3 size;      // half sides, or radius, half length, or half diagonals
  Eigen::Vector3d place = Eigen::Vector3d::Zero();
  Eigen::Quaterniond pose = Eigen::Quaterniond::Identity();

  Eigen::Vector3d support(const Eigen::Vector3d& d) const {
    const Eigen::Vector3d e = pose.conjugate() * d;
    if (kind == 'h') {
      int axis = 0;
      const Eigen::Vector3d reach = Eigen::Vector3d(size.e()).cwiseProduct(e).cwiseAbs();
      reach.maxCoeff(&axis);
      const double half = std::copysign(size[static_cast<size_t>(axis)], e[axis]);
      return place + pose * (half * Eigen::Vector3d::Unit(axis));
    }
    if (kind == 's') return place + size[0] * d.normalized();
    Eigen::Vector3d p(0.0, 0.0, std::copysign(size[1], e[2]));
    if (kind == 'b')
      for (int i = 0; i < 3; ++i) p[i] = std::copysign(size[static_cast<size_t>(i)], e[i]);
    if (kind == 'c') p += size[0] * e.normalized();
    if (kind == 'y' && e.head<2>().norm() > 0.0) p.head<2>() += size[0] * e.head<2>().normalized();
    return place + pose * p;
  }
  SingleBodyObject* addTo(World& world) const {
    SingleBodyObject* body = nullptr;
    if (kind == 'b')
      body = world.addBox(2.0 * size[0], 2.0 * size[1], 2.0 * size[2], 1.0);
    else if (kind == 'c')
      body = world.addCapsule(size[0], 2.0 * size[1], 1.0);
    else if (kind == 'y')
      body = world.addCylinder(size[0], 2.0 * size[1], 1.0);
    else if (kind == 's')
      body = world.addSphere(size[0], 1.0);
    else
      body = world.addConvexHull(
          {size[0], 0, 0, -size[0], 0, 0, 0, size[1], 0, 0, -size[1], 0, 0, 0, size[2], 0, 0,
           -size[2]},
          {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5}, 1.0);
    body->setPose(place, pose);
    return body;
  }
};

/// Overlap along n, which points into a (m).
double overlapAlong(const Solid& a, const Solid& b, const Eigen::Vector3d& n) {
  return n.dot(b.support(n) - a.support(-n));
}

/// The least overlap over all directions, by walks downhill from many of them.
double leastOverlap(const Solid& a, const Solid& b, std::mt19937& random) {
  std::normal_distribution<double> normal;
  const auto draw = [&] { return Eigen::Vector3d(normal(random), normal(random), normal(random)); };
  double least = 1e300;
  for (int start = 0; start < 40; ++start) {
    Eigen::Vector3d n = draw().normalized();
    double here = overlapAlong(a, b, n);
    for (double step = 0.5; step > 1e-5; step *= 0.75)
      for (int trial = 0; trial < 8; ++trial) {
        const Eigen::Vector3d other = (n + step * draw()).normalized();
        const double there = overlapAlong(a, b, other);
        if (there < here) n = other, here = there;
      }
    least = std::min(least, here);
  }
  return least;
}

/// Contacts of the first of two bodies.
std::vector<contact::Contact> touch(const Solid& a, const Solid& b) {
  World world;
  SingleBodyObject* body = a.addTo(world);
  b.addTo(world);
  world.integrate1();
  return body->getContacts();
}

TEST(ContactPoints, TouchesOfRandomPosesAreFoundAndAsDeepAsTheyAre) {
  std::mt19937 random(5);
  std::normal_distribution<double> normal;
  std::uniform_real_distribution<double> uniform(0.05, 0.3);
  const auto randomPose = [&] {
    return Eigen::Quaterniond(normal(random), normal(random), normal(random), normal(random))
        .normalized();
  };
  for (const char* kinds : {"yy", "yb", "cb", "cy", "yc", "hh", "bh", "hs", "ch", "hy"})
    for (int trial = 0; trial < 40; ++trial) {
      Solid a;
      a.kind = kinds[0];
      a.size = {{uniform(random), uniform(random), uniform(random)}};
      Solid b = a;
      b.kind = kinds[1];
      b.size = {{uniform(random), uniform(random), uniform(random)}};
      a.pose = randomPose();
      b.pose = randomPose();
      // The points that face each other along some direction are 5 mm into each other.
      const Eigen::Vector3d d = (randomPose() * Eigen::Vector3d::UnitX());
      a.place = b.support(d) - a.support(-d) - 0.005 * d;
      const double least = leastOverlap(a, b, random);
      if (least < 1e-4) continue;
      const auto contacts = touch(a, b);
      ASSERT_FALSE(contacts.empty()) << kinds << trial << " " << least;
      // Where corners and rims meet, many directions are nearly as short a way out as the shortest.
      double deepest = 0.0;
      for (const auto& contact : contacts) {
        deepest = std::max(deepest, -contact.depth_);
        const Eigen::Vector3d n(contact.normal_.e());
        const double along = overlapAlong(a, b, contact.objectA_ ? n : Eigen::Vector3d(-n));
        EXPECT_LT(-contact.depth_, 1.001 * along + 1e-9) << kinds << trial;
        EXPECT_LT(along, 2.5 * least) << kinds << trial;
      }
      EXPECT_GT(deepest, 0.5 * least) << kinds << trial;

      // The other way round: the same points.
      const auto mirrored = touch(b, a);
      ASSERT_EQ(mirrored.size(), contacts.size()) << kinds << trial;
      for (const auto& contact : contacts) {
        double nearest = 1e300;
        for (const auto& other : mirrored)
          nearest = std::min(nearest, norm(other.position_ - contact.position_));
        EXPECT_LT(nearest, 1e-9) << kinds << trial;
      }
    }
}

}  // namespace
}  // namespace zelvik
