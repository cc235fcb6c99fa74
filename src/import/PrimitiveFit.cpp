// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "PrimitiveFit.hpp"

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "Findings.hpp"

namespace zelvik::model {

namespace {

using std::numbers::pi;

/// Covariance of the surface of the hull, triangles weighted by their area.
Eigen::Matrix3d surfaceCovariance(const ConvexHull& hull) {
  Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
  Eigen::Vector3d mean = Eigen::Vector3d::Zero();
  double area = 0.0;
  for (const auto& t : hull.mesh.triangles) {
    const Eigen::Vector3d a = hull.mesh.vertices[t[0]].e(), b = hull.mesh.vertices[t[1]].e(),
                          c = hull.mesh.vertices[t[2]].e(), middle = (a + b + c) / 3.0;
    const double weight = 0.5 * (b - a).cross(c - a).norm();
    // Second moment of a triangle: area/12 (a a' + b b' + c c' + 9 m m').
    sum += weight / 12.0 *
           (a * a.transpose() + b * b.transpose() + c * c.transpose() +
            9.0 * middle * middle.transpose());
    mean += weight * middle;
    area += weight;
  }
  mean /= area;
  return sum / area - mean * mean.transpose();
}

/// Principal axes of the surface, right-handed, as columns.
Mat33 principalAxes(const ConvexHull& hull) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(surfaceCovariance(hull));
  const Eigen::Matrix3d& vectors = solver.eigenvectors();
  Mat33 axes;
  for (std::size_t j = 0; j < 2; ++j)
    for (std::size_t i = 0; i < 3; ++i)
      axes(i, j) = vectors(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j));
  const Vec3 third =
      cross(Vec3{{axes(0, 0), axes(1, 0), axes(2, 0)}}, Vec3{{axes(0, 1), axes(1, 1), axes(2, 1)}});
  for (std::size_t i = 0; i < 3; ++i) axes(i, 2) = third[i];
  return axes;
}

/// Columns in another order, still right-handed: axis `first` becomes z.
Mat33 withAxisAsZ(const Mat33& axes, std::size_t first) {
  Mat33 turned;
  for (std::size_t j = 0; j < 3; ++j)
    for (std::size_t i = 0; i < 3; ++i) turned(i, (j + 2 - first) % 3) = axes(i, j);
  return turned;
}

std::vector<Vec3> inAxes(const std::vector<Vec3>& points, const Mat33& axes) {
  std::vector<Vec3> result;
  result.reserve(points.size());
  for (const Vec3& point : points) result.push_back(transposeMul(axes, point));
  return result;
}

struct Bounds {
  Vec3 lower, upper;
};

Bounds boundsOf(const std::vector<Vec3>& points) {
  Bounds bounds{points[0], points[0]};
  for (const Vec3& point : points)
    for (std::size_t i = 0; i < 3; ++i) {
      bounds.lower[i] = std::min(bounds.lower[i], point[i]);
      bounds.upper[i] = std::max(bounds.upper[i], point[i]);
    }
  return bounds;
}

/// Centre of a ball that holds all points, with nearly the least radius; of a disc along z with
/// `flat`. M. Badoiu, K. L. Clarkson: Smaller core-sets for balls, SODA 2003: steps towards the
/// farthest point, each shorter than the last, end within 1/sqrt(steps) of the best; in practice
/// far closer.
Vec3 ballCentre(const std::vector<Vec3>& points, bool flat, double& radius) {
  const auto flattened = [&](Vec3 v) {
    if (flat) v[2] = 0.0;
    return v;
  };
  const Bounds bounds = boundsOf(points);
  Vec3 centre = flattened(0.5 * (bounds.lower + bounds.upper)), best = centre;
  radius = std::numeric_limits<double>::infinity();
  for (int step = 1; step <= 400; ++step) {
    Vec3 farthest{};
    for (const Vec3& point : points) {
      const Vec3 v = flattened(point) - centre;
      if (squaredNorm(v) > squaredNorm(farthest)) farthest = v;
    }
    if (norm(farthest) < radius) {
      radius = norm(farthest);
      best = centre;
    }
    centre += (1.0 / (step + 1)) * farthest;
  }
  return best;
}

Primitive boxAlong(const Mat33& axes, const std::vector<Vec3>& points) {
  const Bounds bounds = boundsOf(points);
  const Vec3 size = bounds.upper - bounds.lower;
  Primitive box;
  box.shape = Shape::BOX;
  box.size = {size[0], size[1], size[2]};
  box.pose = {axes * (0.5 * (bounds.lower + bounds.upper)), axes};
  box.volume = size[0] * size[1] * size[2];
  return box;
}

Primitive sphereAround(const std::vector<Vec3>& points) {
  Primitive sphere;
  double radius = 0.0;
  sphere.shape = Shape::SPHERE;
  sphere.pose.position = ballCentre(points, false, radius);
  sphere.size = {radius};
  sphere.volume = 4.0 / 3.0 * pi * radius * radius * radius;
  return sphere;
}

Primitive cylinderAlong(const Mat33& axes, const std::vector<Vec3>& points) {
  const Bounds bounds = boundsOf(points);
  double radius = 0.0;
  Vec3 centre = ballCentre(points, true, radius);
  centre[2] = 0.5 * (bounds.lower[2] + bounds.upper[2]);
  const double length = bounds.upper[2] - bounds.lower[2];
  Primitive cylinder;
  cylinder.shape = Shape::CYLINDER;
  cylinder.size = {radius, length};
  cylinder.pose = {axes * centre, axes};
  cylinder.volume = pi * radius * radius * length;
  return cylinder;
}

/// The ends of the axis lie as far in as the points leave room for the caps.
Primitive capsuleAlong(const Mat33& axes, const std::vector<Vec3>& points) {
  double radius = 0.0;
  Vec3 centre = ballCentre(points, true, radius);
  double lower = std::numeric_limits<double>::infinity(), upper = -lower;
  for (const Vec3& point : points) {
    const double dx = point[0] - centre[0], dy = point[1] - centre[1];
    const double room = std::sqrt(std::max(0.0, radius * radius - dx * dx - dy * dy));
    lower = std::min(lower, point[2] + room);
    upper = std::max(upper, point[2] - room);
  }
  if (upper < lower) lower = upper = 0.5 * (lower + upper);
  centre[2] = 0.5 * (lower + upper);
  Primitive capsule;
  capsule.shape = Shape::CAPSULE;
  capsule.size = {radius, upper - lower};
  capsule.pose = {axes * centre, axes};
  capsule.volume = pi * radius * radius * (upper - lower + 4.0 / 3.0 * radius);
  return capsule;
}

/// How far the primitive reaches in the direction u (m).
double support(const Primitive& primitive, const Vec3& u) {
  const Vec3 v = transposeMul(primitive.pose.rotation, u);
  const std::vector<double>& size = primitive.size;
  double reach = dot(primitive.pose.position, u);
  const double flat = std::hypot(v[0], v[1]);
  switch (primitive.shape) {
    case Shape::BOX:
      for (std::size_t i = 0; i < 3; ++i) reach += 0.5 * size[i] * std::fabs(v[i]);
      break;
    case Shape::CYLINDER:
      reach += size[0] * flat + 0.5 * size[1] * std::fabs(v[2]);
      break;
    case Shape::CAPSULE:
      reach += size[0] + 0.5 * size[1] * std::fabs(v[2]);
      break;
    default:
      reach += size[0];
  }
  return reach;
}

double distanceBetween(const Primitive& primitive, const ConvexHull& hull) {
  constexpr int count = 500;
  double largest = 0.0;
  for (int i = 0; i < count; ++i) {  // a spiral of equal steps over the sphere
    const double z = 1.0 - (2.0 * i + 1.0) / count, angle = i * pi * (3.0 - std::sqrt(5.0));
    const double r = std::sqrt(1.0 - z * z);
    const Vec3 u{{r * std::cos(angle), r * std::sin(angle), z}};
    double reach = -std::numeric_limits<double>::infinity();
    for (const Vec3& corner : hull.mesh.vertices) reach = std::max(reach, dot(u, corner));
    largest = std::max(largest, std::fabs(support(primitive, u) - reach));
  }
  return largest;
}

}  // namespace

Primitive fitPrimitive(const ConvexHull& hull) {
  const std::vector<Vec3>& corners = hull.mesh.vertices;
  std::vector<Primitive> tries{sphereAround(corners)};
  for (const Mat33& axes : {Mat33::identity(), principalAxes(hull)}) {
    tries.push_back(boxAlong(axes, inAxes(corners, axes)));
    for (std::size_t i = 0; i < 3; ++i) {
      const Mat33 turned = withAxisAsZ(axes, i);
      const std::vector<Vec3> points = inAxes(corners, turned);
      tries.push_back(cylinderAlong(turned, points));
      tries.push_back(capsuleAlong(turned, points));
    }
  }
  Primitive best =
      *std::min_element(tries.begin(), tries.end(),
                        [](const Primitive& a, const Primitive& b) { return a.volume < b.volume; });
  // What is round all over is a ball, not a capsule of next to no length.
  if (tries.front().volume < 1.01 * best.volume) best = tries.front();
  best.error = distanceBetween(best, hull);
  return best;
}

std::string primitiveText(Shape::Type shape, const std::vector<double>& size) {
  const auto number = [&](std::size_t i) { return numberText(size[i]); };
  switch (shape) {
    case Shape::BOX:
      return "box " + number(0) + " x " + number(1) + " x " + number(2) + " m";
    case Shape::CYLINDER:
      return "cylinder of radius " + number(0) + " m, length " + number(1) + " m";
    case Shape::CAPSULE:
      return "capsule of radius " + number(0) + " m, length " + number(1) + " m";
    default:
      return "sphere of radius " + number(0) + " m";
  }
}

}  // namespace zelvik::model
