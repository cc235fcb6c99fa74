// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "MeshCache.hpp"

#define XXH_INLINE_ALL
#include <unistd.h>
#include <xxhash.h>

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

namespace zelvik::model {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr const char* kDescription = "mesh.json";

fs::path defaultDirectory() {
  const char* cache = std::getenv("XDG_CACHE_HOME");
  if (cache != nullptr && cache[0] == '/') return fs::path(cache) / "zelvik";
  const char* home = std::getenv("HOME");
  return home != nullptr && home[0] == '/' ? fs::path(home) / ".cache/zelvik" : fs::path();
}

// ---- the description of an entry ----

Json toJson(const Vec3& v) {
  return {v[0], v[1], v[2]};
}

Vec3 vectorOf(const Json& json) {
  return {{json.at(0).get<double>(), json.at(1).get<double>(), json.at(2).get<double>()}};
}

Json toJson(const Primitive& primitive) {
  Json rotation = Json::array();
  for (double value : primitive.pose.rotation.v) rotation.push_back(value);
  return {{"shape", static_cast<int>(primitive.shape)},
          {"size", primitive.size},
          {"position", toJson(primitive.pose.position)},
          {"rotation", rotation},
          {"error", primitive.error}};
}

Primitive primitiveOf(const Json& json) {
  Primitive primitive;
  primitive.shape = static_cast<Shape::Type>(json.at("shape").get<int>());
  primitive.size = json.at("size").get<std::vector<double>>();
  primitive.pose.position = vectorOf(json.at("position"));
  for (std::size_t i = 0; i < 9; ++i)
    primitive.pose.rotation[i] = json.at("rotation").at(i).get<double>();
  primitive.error = json.at("error").get<double>();
  return primitive;
}

Json toJson(const ConvertedMesh& mesh) {
  Json parts = Json::array();
  for (const ConvertedPart& part : mesh.parts) {
    Json json = {{"file", fs::path(part.file).filename().string()}};
    if (part.color.has_value())
      json["color"] = {(*part.color)[0], (*part.color)[1], (*part.color)[2], (*part.color)[3]};
    parts.push_back(std::move(json));
  }
  const MeshEntry& entry = mesh.entry;
  Json json = {{"parts", parts},
               {"hull", mesh.isHull},
               {"flat", mesh.isFlat},
               {"hullCorners", mesh.hullCorners},
               {"error", mesh.error},
               {"texture", mesh.hasTexture},
               {"notFinite", mesh.notFinite},
               {"triangles", entry.triangles},
               {"partCount", entry.parts},
               {"corners", entry.corners},
               {"degenerate", entry.degenerate},
               {"openEdges", entry.openEdges},
               {"crowdedEdges", entry.crowdedEdges},
               {"lower", toJson(entry.lower)},
               {"upper", toJson(entry.upper)}};
  if (mesh.primitive.has_value()) json["primitive"] = toJson(*mesh.primitive);
  return json;
}

ConvertedPart partOf(const Json& json, const std::string& name) {
  ConvertedPart part;
  part.file = name + "/" + fs::path(json.at("file").get<std::string>()).filename().string();
  if (!json.contains("color")) return part;
  part.color.emplace();
  for (std::size_t i = 0; i < 4; ++i) (*part.color)[i] = json.at("color").at(i).get<double>();
  return part;
}

ConvertedMesh meshOf(const Json& json, const std::string& name) {
  ConvertedMesh mesh;
  for (const Json& part : json.at("parts")) mesh.parts.push_back(partOf(part, name));
  json.at("hull").get_to(mesh.isHull);
  json.at("flat").get_to(mesh.isFlat);
  json.at("hullCorners").get_to(mesh.hullCorners);
  json.at("error").get_to(mesh.error);
  json.at("texture").get_to(mesh.hasTexture);
  json.at("notFinite").get_to(mesh.notFinite);
  json.at("triangles").get_to(mesh.entry.triangles);
  json.at("partCount").get_to(mesh.entry.parts);
  json.at("corners").get_to(mesh.entry.corners);
  json.at("degenerate").get_to(mesh.entry.degenerate);
  json.at("openEdges").get_to(mesh.entry.openEdges);
  json.at("crowdedEdges").get_to(mesh.entry.crowdedEdges);
  mesh.entry.lower = vectorOf(json.at("lower"));
  mesh.entry.upper = vectorOf(json.at("upper"));
  if (json.contains("primitive")) mesh.primitive = primitiveOf(json.at("primitive"));
  mesh.entry.fromCache = true;
  return mesh;
}

/// Material files beside the mesh, by their name from its folder.
Json companionsOf(const fs::path& source, const std::vector<fs::path>& companions) {
  Json json = Json::object();
  for (const fs::path& file : companions) {
    const auto hash = hashOfFile(file);
    if (hash.has_value())
      json[file.lexically_normal().lexically_relative(source.parent_path()).string()] =
          hashText(*hash);
  }
  return json;
}

bool areUnchanged(const Json& companions, const fs::path& source) {
  for (const auto& [name, hash] : companions.items()) {
    const auto now = hashOfFile(source.parent_path() / name);
    if (!now.has_value() || hash != hashText(*now)) return false;
  }
  return true;
}

// ---- OBJ ----

void append(std::string& text, float value) {
  char buffer[32];
  text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

/// The part in the subset that the core reads.
std::string objText(const MeshPart& part) {
  std::string text;
  text.reserve(30 * part.vertices.size() + 20 * part.triangles.size());
  for (const Vec3& vertex : part.vertices) {
    text += 'v';
    for (double coordinate : vertex.v) {
      text += ' ';
      append(text, static_cast<float>(coordinate));
    }
    text += '\n';
  }
  for (const auto& triangle : part.triangles) {
    text += 'f';
    for (std::uint32_t index : triangle) text.append(" ").append(std::to_string(index + 1));
    text += '\n';
  }
  return text;
}

bool write(const fs::path& file, const std::string& text) {
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  return !stream.fail();
}

}  // namespace

ContentHash hashOf(const std::string& bytes) {
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return {hash.high64, hash.low64};
}

std::string hashText(const ContentHash& hash) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (std::uint64_t word : hash)
    for (int shift = 60; shift >= 0; shift -= 4) text += digits[word >> shift & 15];
  return text;
}

std::optional<ContentHash> hashOfFile(const fs::path& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  std::string bytes(fs::file_size(file, error), '\0');
  std::ifstream stream(file, std::ios::binary);
  if (error || !stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
    return std::nullopt;
  return hashOf(bytes);
}

MeshCache::MeshCache(const Options& options) {
  const fs::path base =
      options.cacheDirectory.empty() ? defaultDirectory() : fs::path(options.cacheDirectory);
  std::error_code error;
  if (!base.empty()) directory_ = fs::absolute(base / "meshes", error).lexically_normal();
}

std::optional<ConvertedMesh> MeshCache::find(const std::string& name,
                                             const fs::path& source) const {
  std::ifstream stream(directory_ / name / kDescription);
  if (!stream) return std::nullopt;
  try {
    const Json json = Json::parse(stream);
    if (!areUnchanged(json.at("companions"), source)) return std::nullopt;
    ConvertedMesh mesh = meshOf(json, name);
    for (const ConvertedPart& part : mesh.parts)
      if (!fs::is_regular_file(directory_ / part.file)) return std::nullopt;
    return mesh;
  } catch (const std::exception&) {  // an entry that was damaged is made again
    return std::nullopt;
  }
}

std::string MeshCache::keep(const std::string& name, const fs::path& source,
                            const std::vector<MeshPart>& parts,
                            const std::vector<fs::path>& companions, ConvertedMesh& mesh) const {
  if (directory_.empty()) return "there is no directory for converted meshes: HOME is not set";
  std::string problem = "converted meshes cannot be written to " + directory_.string();
  const fs::path temporary = directory_ / (name + "." + std::to_string(getpid()));
  std::error_code error;
  fs::remove_all(temporary, error);
  if (!fs::create_directories(temporary, error)) return problem;
  bool isWritten = true;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::string file = "part" + std::to_string(i) + ".obj";
    isWritten = isWritten && write(temporary / file, objText(parts[i]));
    mesh.parts.push_back({name + "/" + file, parts[i].color});
  }
  Json json = toJson(mesh);
  json["companions"] = companionsOf(source, companions);
  isWritten = isWritten && write(temporary / kDescription, json.dump(1));
  // An entry that is there already was made by another process, or is an outdated one.
  if (isWritten) fs::remove_all(directory_ / name, error);
  if (isWritten) fs::rename(temporary, directory_ / name, error);
  if (isWritten && !error) return "";
  fs::remove_all(temporary, error);
  return fs::is_regular_file(directory_ / name / kDescription, error) ? "" : problem;
}

}  // namespace zelvik::model
