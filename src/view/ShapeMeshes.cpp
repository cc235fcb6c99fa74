// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "ShapeMeshes.hpp"

#include <Eigen/Geometry>
#include <cmath>
#include <numbers>

namespace zelvik::view {

namespace {

using Eigen::Vector3f;

constexpr int kSegments = 40;  // round the axis
constexpr int kArcSteps = 10;  // of a quarter circle
constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kCreaseCosine = 0.77f;  // faces that meet at less than 40 degrees are smooth
constexpr std::size_t kLargestCreased = 200000u;  // triangles; larger meshes are smooth throughout

/// A point of the outline that is turned about z, with the normal there. Where the outline has an
/// edge, two points lie in one place.
struct ProfilePoint {
  float radius, z;
  float normalRadius, normalZ;
};
using Profile = std::vector<ProfilePoint>;

/// Quarter circle from the angle `from` on, angles from the xy plane (rad).
void appendArc(Profile& profile, float radius, float z, float from) {
  for (int i = 0; i <= kArcSteps; ++i) {
    const float angle = from + 0.5f * kPi * static_cast<float>(i) / kArcSteps;
    const float c = std::cos(angle), s = std::sin(angle);
    profile.push_back({radius * c, z + radius * s, c, s});
  }
}

TriangleMesh revolve(const Profile& profile) {
  TriangleMesh mesh;
  for (const ProfilePoint& p : profile)
    for (int k = 0; k < kSegments; ++k) {
      const float angle = 2.0f * kPi * static_cast<float>(k) / kSegments;
      const float c = std::cos(angle), s = std::sin(angle);
      mesh.vertices.emplace_back(p.radius * c, p.radius * s, p.z);
      mesh.normals.emplace_back(p.normalRadius * c, p.normalRadius * s, p.normalZ);
    }
  constexpr auto segments = static_cast<std::uint32_t>(kSegments);
  for (std::uint32_t i = 0; i + 1 < profile.size(); ++i)
    for (std::uint32_t k = 0; k < segments; ++k) {
      const std::uint32_t a = i * segments + k, b = i * segments + (k + 1) % segments;
      mesh.indices.insert(mesh.indices.end(), {a, b, b + segments, a, b + segments, a + segments});
    }
  return mesh;
}

TriangleMesh roundShape(float radius, float halfLength) {
  Profile profile;
  appendArc(profile, radius, -halfLength, -0.5f * kPi);
  appendArc(profile, radius, halfLength, 0.0f);
  return revolve(profile);
}

TriangleMesh cylinder(float radius, float halfLength) {
  return revolve({{0.0f, -halfLength, 0.0f, -1.0f},
                  {radius, -halfLength, 0.0f, -1.0f},
                  {radius, -halfLength, 1.0f, 0.0f},
                  {radius, halfLength, 1.0f, 0.0f},
                  {radius, halfLength, 0.0f, 1.0f},
                  {0.0f, halfLength, 0.0f, 1.0f}});
}

/// Outline of a cone with its base at z; ends at the tip.
void appendCone(Profile& profile, float radius, float z, float length) {
  const float slant = std::sqrt(radius * radius + length * length);
  const float nr = length / slant, nz = radius / slant;
  profile.insert(profile.end(), {{0.0f, z, 0.0f, -1.0f},
                                 {radius, z, 0.0f, -1.0f},
                                 {radius, z, nr, nz},
                                 {0.0f, z + length, nr, nz}});
}

TriangleMesh box(const std::vector<double>& size) {
  TriangleMesh mesh;
  for (int axis = 0; axis < 3; ++axis)
    for (const float side : {-1.0f, 1.0f}) {
      const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
      const int u = (axis + 1) % 3, v = (axis + 2) % 3;
      for (int k = 0; k < 4; ++k) {
        Vector3f corner, normal = Vector3f::Zero();
        corner[axis] = side;
        corner[u] = (k == 1 || k == 2) ? side : -side;
        corner[v] = k >= 2 ? 1.0f : -1.0f;
        normal[axis] = side;
        for (int i = 0; i < 3; ++i)
          corner[i] *= 0.5f * static_cast<float>(size[static_cast<std::size_t>(i)]);
        mesh.vertices.push_back(corner);
        mesh.normals.push_back(normal);
      }
      for (const std::uint32_t k : {0u, 1u, 2u, 0u, 2u, 3u}) mesh.indices.push_back(first + k);
    }
  return mesh;
}

// ---- meshes ------------------------------------------------------------------------------------

Vector3f vertexOf(const MeshData& data, std::uint32_t index) {
  const std::size_t first = 3 * static_cast<std::size_t>(index);
  return {data.positions[first], data.positions[first + 1], data.positions[first + 2]};
}

/// Twice the area along the normal, per triangle.
std::vector<Vector3f> faceNormals(const MeshData& data) {
  std::vector<Vector3f> normals;
  normals.reserve(data.indices.size() / 3);
  for (std::size_t i = 0; i + 2 < data.indices.size(); i += 3) {
    const Vector3f a = vertexOf(data, data.indices[i]);
    const Vector3f ab = vertexOf(data, data.indices[i + 1]) - a;
    normals.push_back(ab.cross(vertexOf(data, data.indices[i + 2]) - a));
  }
  return normals;
}

TriangleMesh smoothMesh(const MeshData& data) {
  TriangleMesh mesh;
  const std::vector<Vector3f> faces = faceNormals(data);
  const auto count = static_cast<std::uint32_t>(data.positions.size() / 3);
  for (std::uint32_t i = 0; i < count; ++i) mesh.vertices.push_back(vertexOf(data, i));
  mesh.normals.assign(count, Vector3f::Zero());
  for (std::size_t i = 0; i < data.indices.size(); ++i)
    mesh.normals[data.indices[i]] += faces[i / 3];
  for (Vector3f& normal : mesh.normals) normal.normalize();
  mesh.indices = data.indices;
  return mesh;
}

/// Corners of triangles, sorted by the vertex where they lie: those of vertex v are
/// corners[start[v]] to corners[start[v + 1]].
struct CornersByVertex {
  std::vector<std::uint32_t> start, corners;
  explicit CornersByVertex(const MeshData& data)
      : start(data.positions.size() / 3 + 1, 0), corners(data.indices.size()) {
    for (const std::uint32_t vertex : data.indices) ++start[vertex + 1];
    for (std::size_t v = 1; v < start.size(); ++v) start[v] += start[v - 1];
    std::vector<std::uint32_t> next(start.begin(), start.end() - 1);
    for (std::uint32_t i = 0; i < data.indices.size(); ++i) corners[next[data.indices[i]]++] = i;
  }
};

/// Smooth across flat angles, sharp across others: each corner takes the mean of the faces round
/// its vertex that turn little from its own.
TriangleMesh creasedMesh(const MeshData& data) {
  TriangleMesh mesh;
  const std::vector<Vector3f> faces = faceNormals(data);
  const CornersByVertex around(data);
  for (std::uint32_t i = 0; i < data.indices.size(); ++i) {
    const std::uint32_t vertex = data.indices[i];
    const Vector3f own = faces[i / 3].normalized();
    Vector3f sum = Vector3f::Zero();
    for (std::uint32_t k = around.start[vertex]; k < around.start[vertex + 1]; ++k) {
      const Vector3f& face = faces[around.corners[k] / 3];
      if (face.normalized().dot(own) > kCreaseCosine) sum += face;
    }
    mesh.vertices.push_back(vertexOf(data, vertex));
    mesh.normals.push_back(sum.squaredNorm() > 0.0f ? sum.normalized() : own);
    mesh.indices.push_back(i);
  }
  return mesh;
}

float sizeAt(const Shape& shape, std::size_t i) {
  return static_cast<float>(shape.size[i]);
}

}  // namespace

TriangleMesh rod(double length, double radius) {
  return cylinder(static_cast<float>(radius), static_cast<float>(0.5 * length));
}

TriangleMesh arrow(double length, double radius) {
  const auto r = static_cast<float>(radius), l = static_cast<float>(length);
  const float head = std::min(5.0f * r, 0.6f * l);
  Profile profile{{0.0f, 0.0f, 0.0f, -1.0f},
                  {r, 0.0f, 0.0f, -1.0f},
                  {r, 0.0f, 1.0f, 0.0f},
                  {r, l - head, 1.0f, 0.0f}};
  appendCone(profile, 2.4f * r, l - head, head);
  return revolve(profile);
}

TriangleMesh trianglesOf(const Shape& shape, const Recording& recording) {
  switch (shape.kind) {
    case ShapeKind::SPHERE:
      return roundShape(sizeAt(shape, 0), 0.0f);
    case ShapeKind::BOX:
      return box(shape.size);
    case ShapeKind::CYLINDER:
      return cylinder(sizeAt(shape, 0), 0.5f * sizeAt(shape, 1));
    case ShapeKind::CAPSULE:
      return roundShape(sizeAt(shape, 0), 0.5f * sizeAt(shape, 1));
    case ShapeKind::CONE: {
      Profile profile;
      appendCone(profile, sizeAt(shape, 0), -0.5f * sizeAt(shape, 1), sizeAt(shape, 1));
      return revolve(profile);
    }
    case ShapeKind::MESH: {
      const MeshData& mesh = recording.meshes[shape.mesh];
      return mesh.indices.size() > 3 * kLargestCreased ? smoothMesh(mesh) : creasedMesh(mesh);
    }
    case ShapeKind::GROUND:
      break;
  }
  return {};
}

}  // namespace zelvik::view
