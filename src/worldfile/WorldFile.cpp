// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <filesystem>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/Path.hpp>
#include <zelvik/TextFile.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

namespace zelvik {

namespace {

using worldfile::Element;

constexpr char kDirectoryToken[] = "[THIS_DIR]";

std::string escapeForXml(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

/// Whether the file name that goes on at `begin`, up to its quote, has a step to a parent.
bool climbs(const std::string& text, size_t begin) {
  const size_t step = text.find("..", begin);
  return step != std::string::npos && step < text.find_first_of("'\"", begin);
}

/// A relative path cannot climb above the directory where it starts, see `Path`.
std::string absoluteOf(const std::string& directory) {
  if (directory.empty() || directory.front() == '/') return directory;  // of a file in the root
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(directory, error);
  return error ? directory : (absolute / "").lexically_normal().parent_path().string();
}

/// Replaces the token throughout, in attributes and comments alike. What is pasted is not looked at
/// again, so that a directory may itself be called like the token.
std::string pasteDirectory(const std::string& text, const std::string& directory) {
  const std::string pasted = escapeForXml(directory),
                    absolute = escapeForXml(absoluteOf(directory));
  std::string result;
  size_t begin = 0;
  for (size_t token = text.find(kDirectoryToken); token != std::string::npos;
       token = text.find(kDirectoryToken, begin)) {
    result.append(text, begin, token - begin);
    begin = token + sizeof kDirectoryToken - 1;
    result.append(climbs(text, begin) ? absolute : pasted);
  }
  return result.append(text, begin, std::string::npos);
}

std::string directoryOf(const Path& file) {
  const bool isBareName = file.getString().find('/') == std::string::npos;
  return isBareName ? "." : file.getDirectory().getString();
}

bool readGravity(World& world, const Element& root) {
  Mat<3, 1> value;
  for (const Element& gravity : root.getChildren("gravity")) {
    if (!gravity.readMust("value", value)) return false;
    world.setGravity(value);
    break;
  }
  return true;
}

bool readTimeStep(World& world, const Element& root) {
  double value = 0.0;
  for (const Element& timeStep : root.getChildren("timeStep")) {
    if (!timeStep.readMust("value", value)) return false;
    world.setTimeStep(value);
    break;
  }
  return true;
}

bool readErp(World& world, const Element& root) {
  double value = 0.0, value2 = 0.0;
  for (const Element& erp : root.getChildren("erp")) {
    if (!(erp.readMust("erp2", value2) && erp.readMust("erp", value))) return false;
    world.setERP(value, value2);
    break;
  }
  return true;
}

bool readMaterials(World& world, const Element& root) {
  const std::vector<Element> materials = root.getChildren("material");
  return materials.empty() || world.getMaterialManager().init(materials[0]);
}

/// Classes of objects are no longer supported; a file that has one is refused.
bool refuseObjectClasses(const Element& root) {
  const std::vector<Element> classes = root.getChildren("objectClass");
  if (classes.empty()) return true;
  MSG_FATAL("unrecognized object type in " << root.getSource() << " " << classes[0].getFullTree()
                                           << classes[0].getName());
  return false;
}

void readWorld(World& world, const Element& root) {
  if (!(root.isValid() && readMaterials(world, root) && readGravity(world, root) &&
        readTimeStep(world, root) && readErp(world, root) && refuseObjectClasses(root)))
    return;
  for (const Element& object : root.getFirstChildMust("objects").getChildren())
    if (!worldfile::readObject(world, object)) return;
}

}  // namespace

// Delegation makes the world whole first: an exception from the reading then runs the destructor.
World::World(const std::string& configFile) : World() {
  const LocaleGuard guard;
  const Path path(configFile);
  configFile_ = path.getString();
  if (configFile_.find("..") != std::string::npos) return;  // what is left of a refused path
  std::string text;  // stays empty for a file that cannot be read
  if (readTextFile(configFile_, text) == TextRead::REFUSED) return;
  readWorld(*this, Element(pasteDirectory(text, directoryOf(path)), "zelvik"));
}

}  // namespace zelvik
