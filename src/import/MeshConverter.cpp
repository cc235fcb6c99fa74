// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "MeshConverter.hpp"

#include <cmath>
#include <fstream>
#include <system_error>
#include <utility>

#include "ConvexHull.hpp"
#include "Numbers.hpp"

namespace zelvik::model {

namespace {

namespace fs = std::filesystem;

constexpr int kVersion = 1;                // of what is kept; raise it when conversion changes
constexpr double kFarthest = 1e6;          // (m) of a corner; the core goes to 9e7
constexpr std::size_t kHeadBytes = 65536;  // of a Collada file, where its axes stand

/// The text of `<up_axis>`, empty for none.
std::string upAxisOf(const fs::path& file) {
  const std::string extension = file.extension().string();
  if (extension != ".dae" && extension != ".DAE") return "";
  std::string head(kHeadBytes, '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(head.data(), static_cast<std::streamsize>(head.size()));
  const std::size_t begin = head.find("<up_axis>");
  const std::size_t end = head.find("</up_axis>");
  if (begin == std::string::npos || end == std::string::npos || end < begin + 9) return "";
  return head.substr(begin + 9, end - begin - 9);
}

void setEntry(const MeshData& mesh, const MeshHealth& health, MeshEntry& entry) {
  entry.triangles = mesh.triangleCount();
  entry.parts = mesh.parts.size();
  entry.corners = health.corners;
  entry.degenerate = health.degenerate;
  entry.openEdges = health.openEdges;
  entry.crowdedEdges = health.crowdedEdges;
  entry.lower = health.lower;
  entry.upper = health.upper;
}

bool isTooFar(const MeshHealth& health) {
  for (std::size_t i = 0; i < 3; ++i)
    if (health.lower[i] < -kFarthest || health.upper[i] > kFarthest) return true;
  return false;
}

/// A quarter turn about x: y becomes z.
void turnUp(MeshData& mesh) {
  for (MeshPart& part : mesh.parts)
    for (Vec3& vertex : part.vertices) vertex = {{vertex[0], -vertex[2], vertex[1]}};
}

ConvertedMesh failed(std::string problem) {
  ConvertedMesh mesh;
  mesh.problem = std::move(problem);
  return mesh;
}

}  // namespace

MeshConverter::MeshConverter(const Options& options) : options_(options), cache_(options) {}

const MeshConverter::Contents& MeshConverter::contentsOf(const fs::path& file) {
  const auto [entry, isNew] = contents_.try_emplace(file.string());
  if (!isNew) return entry->second;
  entry->second.problem = checkMeshFile(file, options_.largestMesh);
  if (!entry->second.problem.empty()) return entry->second;
  const auto hash = hashOfFile(file);
  if (hash.has_value())
    entry->second.hash = *hash;
  else
    entry->second.problem = "it cannot be read";
  entry->second.upAxis = upAxisOf(file);
  return entry->second;
}

bool MeshConverter::turnsUp(const fs::path& file) {
  return options_.turnUpAxis && contentsOf(file).upAxis == "Y_UP";
}

std::string MeshConverter::nameOf(const fs::path& file, const Vec3& scale, MeshUse use) {
  std::string text = hashText(contentsOf(file).hash) + file.extension().string();
  const auto append = [&](const std::string& value) { text.append(" ").append(value); };
  for (double factor : scale.v) append(exactText(factor));
  append(std::to_string(static_cast<int>(use)));
  append(std::to_string(kVersion));
  if (turnsUp(file)) append("turned");
  if (use == MeshUse::HULL) append(std::to_string(options_.largestHull));
  return hashText(hashOf(text));
}

/// What the use makes of the triangles; `parts` are those to be written.
ConvertedMesh MeshConverter::shapeOf(const MeshData& mesh, MeshUse use,
                                     std::vector<MeshPart>& parts) const {
  ConvertedMesh converted;
  if (use == MeshUse::VISUAL) {
    parts = mesh.parts;
    return converted;
  }
  MeshPart all = mergedParts(mesh);
  const bool wantsHull = use == MeshUse::HULL || use == MeshUse::PRIMITIVE;
  constexpr std::size_t allCorners = static_cast<std::size_t>(-1);
  if (wantsHull) {
    ConvexHull hull = convexHull(all.vertices, use == MeshUse::HULL
                                                   ? std::max<std::size_t>(options_.largestHull, 4)
                                                   : allCorners);
    converted.isFlat = hull.isEmpty();
    if (!hull.isEmpty() && use == MeshUse::PRIMITIVE) {
      converted.primitive = fitPrimitive(hull);
      converted.error = converted.primitive->error;
      return converted;
    }
    if (!hull.isEmpty()) {
      converted.isHull = true;
      converted.hullCorners = hull.mesh.vertices.size();
      converted.error = hull.error;
      all = std::move(hull.mesh);
    }
  }
  parts.push_back(std::move(all));
  return converted;
}

ConvertedMesh MeshConverter::make(const fs::path& file, const Vec3& scale, MeshUse use,
                                  const std::string& name) {
  MeshData mesh;
  std::string problem = readMeshFile(file, options_.largestMesh, mesh);
  if (!problem.empty()) return failed(std::move(problem));
  if (turnsUp(file)) turnUp(mesh);
  MeshHealth health;
  mendMesh(scale, mesh, health);
  if (mesh.parts.empty()) return failed("none of its triangles has an area");
  if (isTooFar(health)) return failed("it is more than 1000 km large");
  std::vector<MeshPart> parts;
  ConvertedMesh converted = shapeOf(mesh, use, parts);
  setEntry(mesh, health, converted.entry);
  converted.hasTexture = mesh.hasTexture;
  converted.notFinite = health.notFinite;
  converted.problem = cache_.keep(name, file, parts, mesh.companions, converted);
  return converted;
}

ConvertedMesh MeshConverter::convert(const fs::path& file, const Vec3& scale, MeshUse use) {
  const Contents& contents = contentsOf(file);
  if (!contents.problem.empty()) return failed(contents.problem);
  const std::string name = nameOf(file, scale, use);
  std::optional<ConvertedMesh> known = cache_.find(name, file);
  ConvertedMesh mesh = known.has_value() ? std::move(*known) : make(file, scale, use, name);
  mesh.upAxis = contents.upAxis;
  mesh.entry.path = file.string();
  return mesh;
}

}  // namespace zelvik::model
