// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <assimp/config.h>
#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/BaseImporter.h>
#include <assimp/DefaultIOSystem.h>
#include <algorithm>
#include <assimp/Importer.hpp>
#include <cctype>
#include <fstream>
#include <map>
#include <system_error>
#include <utility>
#include <zelvik/LocaleGuard.hpp>

#include "MeshData.hpp"

namespace zelvik::model {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBytesPerTriangle = 200;  // of the wordiest format, with room to spare
constexpr std::size_t kMaxNodes = 1'000'000;    // of a scene; instances of instances multiply

std::string extensionOf(const fs::path& file) {
  std::string text = file.extension().string();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

constexpr const char* kFormats[] = {".stl", ".obj", ".dae", ".ply"};

bool isKnownFormat(const std::string& extension) {
  return std::find(std::begin(kFormats), std::end(kFormats), extension) != std::end(kFormats);
}

/// Opens for reading what lies in the folder of the mesh or below, and remembers it.
class MeshFolder : public Assimp::DefaultIOSystem {
 public:
  MeshFolder(const fs::path& file, std::size_t largest)
      : folder_(file.parent_path()), largest_(largest) {}

  Assimp::IOStream* Open(const char* file, const char* mode) override {
    if (mode == nullptr || mode[0] != 'r' || !mayRead(file)) return nullptr;
    opened_.emplace_back(file);
    return DefaultIOSystem::Open(file, mode);
  }

  const std::vector<fs::path>& opened() const { return opened_; }

 private:
  bool mayRead(const char* file) const {
    std::error_code error;
    const fs::path relative =
        fs::path(file).lexically_normal().lexically_relative(folder_.lexically_normal());
    return !relative.empty() && *relative.begin() != ".." && fs::is_regular_file(file, error) &&
           fs::file_size(file, error) <= largest_;
  }

  fs::path folder_;
  std::size_t largest_;
  std::vector<fs::path> opened_;
};

/// Keeps the loaders of our formats: others would be tried on files that only claim to be ours.
void keepKnownLoaders(Assimp::Importer& importer) {
  for (std::size_t i = importer.GetImporterCount(); i-- > 0;) {
    Assimp::BaseImporter* loader = importer.GetImporter(i);
    const bool isKnown = std::any_of(
        std::begin(kFormats), std::end(kFormats),
        [&](const char* extension) { return importer.GetImporter(extension) == loader; });
    // The importer deletes only the loaders that it holds.
    if (!isKnown && importer.UnregisterLoader(loader) == AI_SUCCESS) delete loader;
  }
}

/// Colour of a material that says one.
std::optional<Vec4> colorOf(const aiMaterial& material) {
  aiColor4D color;
  if (material.Get(AI_MATKEY_COLOR_DIFFUSE, color) != AI_SUCCESS) return std::nullopt;
  const auto clamped = [](float value) {
    return std::isfinite(value) ? static_cast<double>(std::clamp(value, 0.0f, 1.0f)) : 0.7;
  };
  // What files say of transparency is too often the opposite of what they mean.
  return Vec4{{clamped(color.r), clamped(color.g), clamped(color.b), 1.0}};
}

/// Mean colour of the corners, as of scans.
std::optional<Vec4> vertexColorOf(const aiMesh& mesh) {
  if (!mesh.HasVertexColors(0) || mesh.mNumVertices == 0) return std::nullopt;
  Vec4 sum{};
  for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
    const aiColor4D& color = mesh.mColors[0][i];
    sum += Vec4{{color.r, color.g, color.b, 1.0}};
  }
  sum *= 1.0 / mesh.mNumVertices;
  for (std::size_t i = 0; i < 4; ++i) sum[i] = sum[i] >= 0.0 ? std::min(sum[i], 1.0) : 0.0;
  return sum;
}

/// Walks the nodes of a scene and gathers its triangles by colour.
class SceneReader {
 public:
  SceneReader(const aiScene& scene, bool hasColors, std::size_t largest, MeshData& mesh)
      : scene_(scene), hasColors_(hasColors), largest_(largest), mesh_(mesh) {}

  std::string read() {
    visit(*scene_.mRootNode, aiMatrix4x4());
    return problem_;
  }

 private:
  void visit(const aiNode& node, const aiMatrix4x4& parent) {
    if (++nodes_ > kMaxNodes) problem_ = "it holds more than a million parts";
    if (!problem_.empty()) return;
    const aiMatrix4x4 toScene = parent * node.mTransformation;
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
      append(*scene_.mMeshes[node.mMeshes[i]], toScene);
    for (unsigned i = 0; i < node.mNumChildren; ++i) visit(*node.mChildren[i], toScene);
  }

  MeshPart& partOf(const aiMesh& mesh) {
    std::optional<Vec4> color = vertexColorOf(mesh);
    if (!color.has_value() && hasColors_ && mesh.mMaterialIndex < scene_.mNumMaterials) {
      const aiMaterial& material = *scene_.mMaterials[mesh.mMaterialIndex];
      color = colorOf(material);
      if (material.GetTextureCount(aiTextureType_DIFFUSE) > 0) mesh_.hasTexture = true;
    }
    const auto isSame = [&](const MeshPart& part) {
      return part.color.has_value() == color.has_value() &&
             (!color.has_value() || squaredNorm(*part.color - *color) == 0.0);
    };
    const auto found = std::find_if(mesh_.parts.begin(), mesh_.parts.end(), isSame);
    if (found != mesh_.parts.end()) return *found;
    mesh_.parts.emplace_back().color = color;
    return mesh_.parts.back();
  }

  void append(const aiMesh& mesh, const aiMatrix4x4& toScene) {
    triangles_ += mesh.mNumFaces;
    if (triangles_ > largest_) {
      problem_ = "it holds more than " + std::to_string(largest_) + " triangles";
      return;
    }
    MeshPart& part = partOf(mesh);
    const auto offset = static_cast<std::uint32_t>(part.vertices.size());
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
      const aiVector3D v = toScene * mesh.mVertices[i];
      part.vertices.push_back({{v.x, v.y, v.z}});
    }
    const bool isMirrored = toScene.Determinant() < 0.0f;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
      const aiFace& face = mesh.mFaces[i];
      if (face.mNumIndices != 3) continue;  // points and lines
      const unsigned* index = face.mIndices;
      if (std::max({index[0], index[1], index[2]}) >= mesh.mNumVertices) continue;
      part.triangles.push_back({index[0] + offset, index[isMirrored ? 2 : 1] + offset,
                                index[isMirrored ? 1 : 2] + offset});
    }
  }

  const aiScene& scene_;
  bool hasColors_;
  std::size_t largest_;
  MeshData& mesh_;
  std::size_t nodes_ = 0, triangles_ = 0;
  std::string problem_;
};

/// Whether the materials of the scene are those of the file and not the loader's own.
bool hasOwnColors(const std::string& extension, const std::vector<fs::path>& companions) {
  return extension == ".dae" || (extension == ".obj" && !companions.empty());  // material files
}

std::string readScene(const fs::path& file, const std::string& extension, std::size_t largest,
                      MeshData& mesh) {
  Assimp::Importer importer;
  auto* folder = new MeshFolder(file, kBytesPerTriangle * largest);
  importer.SetIOHandler(folder);  // the importer owns it from here on
  keepKnownLoaders(importer);
  // Robots are described with z up, whatever a mesh says of itself.
  importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_IGNORE_UP_DIRECTION, true);
  const aiScene* scene = importer.ReadFile(file.string(), aiProcess_Triangulate);
  if (scene == nullptr || scene->mRootNode == nullptr) {
    const std::string reason = importer.GetErrorString();
    return reason.empty() ? "it cannot be read" : "it cannot be read: " + reason;
  }
  for (const fs::path& opened : folder->opened())
    if (opened != file) mesh.companions.push_back(opened);
  const bool hasColors = hasOwnColors(extension, mesh.companions);
  return SceneReader(*scene, hasColors, largest, mesh).read();
}

}  // namespace

std::string checkMeshFile(const fs::path& file, std::size_t largest) {
  if (!isKnownFormat(extensionOf(file))) return "only STL, OBJ, DAE and PLY are read";
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(file, error);
  if (error) return "it cannot be read: " + error.message();
  if (bytes <= kBytesPerTriangle * largest) return "";
  return "it is larger than a mesh of " + std::to_string(largest) + " triangles";
}

std::string readMeshFile(const fs::path& file, std::size_t largest, MeshData& mesh) {
  const LocaleGuard guard;
  std::string problem = readScene(file, extensionOf(file), largest, mesh);
  if (problem.empty() && mesh.triangleCount() == 0) problem = "it holds no triangles";
  return problem;
}

}  // namespace zelvik::model
