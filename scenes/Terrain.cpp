// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Terrain.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "StandingRobot.hpp"

namespace zelvik::scenes {

namespace {

using std::numbers::pi;

/// Points on the surface of a body of revolution about z: rings of the given radii and heights.
void addRings(const std::vector<std::pair<double, double>>& profile, std::vector<Vec3>& points) {
  constexpr int kSegments = 48;
  for (const auto& [radius, z] : profile)
    for (int k = 0; k < kSegments; ++k) {
      const double angle = 2.0 * pi * k / kSegments;
      points.push_back({{radius * std::cos(angle), radius * std::sin(angle), z}});
    }
}

/// Profile of a capsule; a sphere is one of length 0, a flat end belongs to a cylinder.
std::vector<std::pair<double, double>> profileOf(double radius, double length, bool roundEnds) {
  constexpr int kSteps = 16;
  std::vector<std::pair<double, double>> profile;
  for (int i = 0; i <= kSteps; ++i) {
    const double s = static_cast<double>(i) / kSteps, angle = 0.5 * pi * s;
    profile.push_back({radius, (s - 0.5) * length});
    for (double end : {-1.0, 1.0})
      profile.push_back(roundEnds ? std::pair{radius * std::cos(angle),
                                              end * (0.5 * length + radius * std::sin(angle))}
                                  : std::pair{radius * s, end * 0.5 * length});
  }
  return profile;
}

/// Points of a triangle, edges included, on a grid of barycentric coordinates.
void addTriangle(const Vec3& a, const Vec3& b, const Vec3& c, std::vector<Vec3>& points) {
  constexpr int kSteps = 12;
  for (int i = 0; i <= kSteps; ++i)
    for (int j = 0; i + j <= kSteps; ++j) {
      const double u = static_cast<double>(i) / kSteps, v = static_cast<double>(j) / kSteps;
      points.push_back(a + u * (b - a) + v * (c - a));
    }
}

void addTriangles(const std::vector<float>& vertices, const std::vector<unsigned int>& indices,
                  const Vec3& scale, std::vector<Vec3>& points) {
  const auto vertex = [&](size_t k) {
    const float* p = &vertices[3 * indices[k]];
    return Vec3{{scale[0] * p[0], scale[1] * p[1], scale[2] * p[2]}};
  };
  for (size_t k = 0; k + 2 < indices.size(); k += 3)
    addTriangle(vertex(k), vertex(k + 1), vertex(k + 2), points);
}

std::string objText(const std::vector<float>& vertices, const std::vector<unsigned int>& indices) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  for (size_t i = 0; i + 2 < vertices.size(); i += 3)
    text << "v " << vertices[i] << ' ' << vertices[i + 1] << ' ' << vertices[i + 2] << '\n';
  for (size_t i = 0; i + 2 < indices.size(); i += 3)
    text << "f " << indices[i] + 1 << ' ' << indices[i + 1] + 1 << ' ' << indices[i + 2] + 1
         << '\n';
  return text.str();
}

Mat33 cubeInertia(double mass, double side) {
  Mat33 inertia{};
  for (int i = 0; i < 3; ++i) inertia(i, i) = mass * side * side / 6.0;
  return inertia;
}

}  // namespace

TerrainProperties hills(double size, double cell, double height, std::uint32_t seed) {
  TerrainProperties terrain;
  terrain.frequency = 0.3;
  terrain.xSize = terrain.ySize = size;
  terrain.zScale = height;
  terrain.fractalOctaves = 4;
  terrain.fractalLacunarity = 2.0;
  terrain.fractalGain = 0.35;
  terrain.xSamples = terrain.ySamples = static_cast<size_t>(std::lround(size / cell)) + 1;
  terrain.seed = seed;
  return terrain;
}

void cubeMesh(double side, std::vector<float>& vertices, std::vector<unsigned int>& indices) {
  const float h = static_cast<float>(0.5 * side);
  for (unsigned int k = 0; k < 8; ++k)
    for (unsigned int axis = 0; axis < 3; ++axis) vertices.push_back((k >> axis) & 1 ? h : -h);
  indices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
             2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
}

std::string cubeObj(double side) {
  std::vector<float> vertices;
  std::vector<unsigned int> indices;
  cubeMesh(side, vertices, indices);
  return objText(vertices, indices);
}

std::string sphereObj(double radius, int rings, int segments) {
  std::vector<float> vertices;
  std::vector<unsigned int> indices;
  const auto addVertex = [&](double theta, double phi) {
    vertices.push_back(static_cast<float>(radius * std::sin(theta) * std::cos(phi)));
    vertices.push_back(static_cast<float>(radius * std::sin(theta) * std::sin(phi)));
    vertices.push_back(static_cast<float>(radius * std::cos(theta)));
  };
  addVertex(0.0, 0.0);
  for (int i = 1; i < rings; ++i)
    for (int k = 0; k < segments; ++k) addVertex(pi * i / rings, 2.0 * pi * k / segments);
  addVertex(pi, 0.0);
  const auto index = [&](int ring, int k) {
    return static_cast<unsigned int>(1 + (ring - 1) * segments + k % segments);
  };
  const unsigned int last = static_cast<unsigned int>(vertices.size() / 3 - 1);
  for (int k = 0; k < segments; ++k) {
    indices.insert(indices.end(), {0, index(1, k), index(1, k + 1)});
    for (int i = 1; i + 1 < rings; ++i)
      indices.insert(indices.end(), {index(i, k), index(i + 1, k), index(i + 1, k + 1),  //
                                     index(i, k), index(i + 1, k + 1), index(i, k + 1)});
    indices.insert(indices.end(), {index(rings - 1, k), last, index(rings - 1, k + 1)});
  }
  return objText(vertices, indices);
}

std::vector<Vec3> surfacePoints(const SingleBodyObject& body) {
  std::vector<Vec3> points;
  double radius = 0.0, length = 0.0;
  switch (body.getObjectType()) {
    case SPHERE:
      addRings(profileOf(dGeomSphereGetRadius(body.getCollisionObject()), 0.0, true), points);
      break;
    case CAPSULE:
      dGeomCapsuleGetParams(body.getCollisionObject(), &radius, &length);
      addRings(profileOf(radius, length, true), points);
      break;
    case CYLINDER:
      dGeomCylinderGetParams(body.getCollisionObject(), &radius, &length);
      addRings(profileOf(radius, length, false), points);
      break;
    case BOX: {
      std::vector<float> vertices;
      std::vector<unsigned int> indices;
      cubeMesh(1.0, vertices, indices);
      addTriangles(vertices, indices, static_cast<const Box&>(body).getDimensions(), points);
      break;
    }
    case MESH: {
      const Mesh& mesh = static_cast<const Mesh&>(body);
      addTriangles(mesh.getVertices(), mesh.getIndices(), {{1.0, 1.0, 1.0}}, points);
      break;
    }
    default:
      break;
  }
  return points;
}

double sinking(const HeightMap& terrain, const SingleBodyObject& body,
               const std::vector<Vec3>& pointsB) {
  double deepest = -1e9;
  for (const Vec3& pointB : pointsB) {
    Vec3 p, normal;
    body.getPosition(0, pointB, p);
    terrain.getNormal(p[0], p[1], normal);
    deepest = std::max(deepest, (terrain.getHeight(p[0], p[1]) - p[2]) * normal[2]);
  }
  return deepest;
}

BodiesOnTerrain::BodiesOnTerrain(double cell, const std::string& meshFile, std::uint32_t seed,
                                 bool exactContacts) {
  TerrainProperties properties = hills(8.0, cell, 0.8, seed);
  terrain = world.addHeightMap(0.0, 0.0, properties);
  terrain->setExactContacts(exactContacts);
  place(world.addBox(0.3, 0.25, 0.2, 2.0));
  place(world.addSphere(0.15, 2.0));
  place(world.addCapsule(0.1, 0.3, 2.0));
  place(world.addCylinder(0.12, 0.3, 2.0));
  place(world.addMesh(meshFile, 2.0, cubeInertia(2.0, 0.3), Vec3{}, 1.0));
}

/// Above the next place of the row, turned out of all axes.
void BodiesOnTerrain::place(SingleBodyObject* body) {
  const double x = 1.2 * (static_cast<double>(bodies.size()) - 2.0), y = 0.17;
  body->setOrientation(Eigen::Quaterniond(0.9, 0.3, 0.2, -0.1));
  body->setPosition(x, y, terrain->getHeight(x, y) + 0.4);
  // Round bodies would roll for ever.
  body->setAngularDamping({{0.05, 0.05, 0.05}});
  bodies.push_back(body);
  points_.push_back(surfacePoints(*body));
}

RobotOnTerrain::RobotOnTerrain(const std::string& urdf, double dt, bool exactContacts) {
  world.setTimeStep(dt);
  TerrainProperties properties = hills(20.0, 0.1, 0.5);
  terrain = world.addHeightMap(0.0, 0.0, properties);
  terrain->setExactContacts(exactContacts);
  robot = world.addArticulatedSystem(urdf);
  VecDyn pose = nominalPose(*robot);
  robot->setGeneralizedCoordinate(pose);
  robot->updateCollision();
  const double legs = -lowestPoint(*robot);
  double ground = -1e9;
  for (double x : {-0.25, 0.0, 0.25})
    for (double y : {-0.15, 0.0, 0.15}) ground = std::max(ground, terrain->getHeight(x, y));
  pose[2] = ground + legs;
  robot->setGeneralizedCoordinate(pose);
  robot->updateCollision();
  holdPoseByPd(*robot, pose);
}

double RobotOnTerrain::clearance() const {
  Vec3 p;
  robot->getPosition(0, p);
  return p[2] - terrain->getHeight(p[0], p[1]);
}

double RobotOnTerrain::tilt() const {
  Mat33 rotation;
  robot->getOrientation(0, rotation);
  return std::acos(std::clamp(rotation(2, 2), -1.0, 1.0));
}

double RobotOnTerrain::deepestFoot() const {
  double deepest = -1e9;
  for (const CollisionDefinition& body : robot->getCollisionBodies()) {
    if (dGeomGetClass(body.colObj) != dSphereClass) continue;
    const dReal* p = dGeomGetPosition(body.colObj);
    Vec3 normal;
    terrain->getNormal(p[0], p[1], normal);
    const double above = (p[2] - terrain->getHeight(p[0], p[1])) * normal[2];
    deepest = std::max(deepest, dGeomSphereGetRadius(body.colObj) - above);
  }
  return deepest;
}

}  // namespace zelvik::scenes
