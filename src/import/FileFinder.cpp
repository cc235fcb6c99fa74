// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "FileFinder.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace zelvik::model {

namespace {

namespace fs = std::filesystem;

bool isFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

bool isFolder(const fs::path& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

bool startsWith(std::string_view text, std::string_view begin) {
  return text.substr(0, begin.size()) == begin;
}

int hexDigit(char letter) {
  if (letter >= '0' && letter <= '9') return letter - '0';
  const int lower = std::tolower(static_cast<unsigned char>(letter));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Replaces %20 and its like, as in addresses.
std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isCode = text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
                        hexDigit(text[i + 2]) >= 0;
    result +=
        isCode ? static_cast<char>(16 * hexDigit(text[i + 1]) + hexDigit(text[i + 2])) : text[i];
    if (isCode) i += 2;
  }
  return result;
}

/// Whether `..` leads out of the folder that the path starts in.
bool leavesFolder(const fs::path& path) {
  const fs::path normal = path.lexically_normal();
  return !normal.empty() && *normal.begin() == "..";
}

/// The name that a `package.xml` gives, empty for none.
std::string packageNameIn(const fs::path& folder) {
  const fs::path file = folder / "package.xml";
  std::error_code error;
  if (!isFile(file) || fs::file_size(file, error) > 1'000'000) return "";
  std::ifstream stream(file);
  std::ostringstream text;
  text << stream.rdbuf();
  const std::string xml = text.str();
  const std::size_t begin = xml.find("<name>");
  if (begin == std::string::npos) return "";
  const std::size_t end = xml.find("</name>", begin);
  if (end == std::string::npos) return "";
  std::string name = xml.substr(begin + 6, end - begin - 6);
  name.erase(std::remove_if(name.begin(), name.end(),
                            [](unsigned char letter) { return std::isspace(letter) != 0; }),
             name.end());
  return name;
}

fs::path withoutSlash(const fs::path& folder) {
  return folder.has_filename() ? folder : folder.parent_path();
}

/// The folders of a list such as ROS_PACKAGE_PATH, each with `below` appended.
void appendList(const char* variable, const char* below, std::vector<fs::path>& folders) {
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe): read only
  if (value == nullptr) return;
  std::istringstream list(value);
  for (std::string folder; std::getline(list, folder, ':');)
    if (!folder.empty()) folders.push_back(withoutSlash(fs::path(folder) / below));
}

std::vector<fs::path> foldersAbove(fs::path folder) {
  std::vector<fs::path> folders;
  for (; folders.empty() || folder != folders.back(); folder = folder.parent_path())
    folders.push_back(folder);
  return folders;
}

bool take(const fs::path& path, FoundFile& found) {
  const fs::path normal = path.lexically_normal();
  found.tried.push_back(normal.string());
  if (isFile(normal)) found.path = normal;
  return !found.path.empty();
}

/// The first path looked for that is there when capital letters do not count.
bool takeWithoutCase(FoundFile& found) {
  for (const std::string& path : found.tried) {
    found.path = findWithoutCase(path);
    if (found.path.empty()) continue;
    found.remark = "the file is called " + found.path.string() + ", with other capital letters";
    return true;
  }
  return false;
}

}  // namespace

fs::path findWithoutCase(const fs::path& path) {
  const auto equals = [](const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
             return std::tolower(x) == std::tolower(y);
           });
  };
  fs::path found = path.root_path();
  for (const fs::path& part : path.relative_path()) {
    std::error_code error;
    if (fs::exists(found / part, error)) {
      found /= part;
      continue;
    }
    // Of several the first by name, so that the order of the folder does not matter.
    std::string best;
    for (fs::directory_iterator entry(found.empty() ? "." : found, error), end; entry != end;
         entry.increment(error)) {
      if (error) break;
      const std::string name = entry->path().filename().string();
      if (equals(name, part.string()) && (best.empty() || name < best)) best = name;
    }
    if (best.empty()) return {};
    found /= best;
  }
  return isFile(found) ? found : fs::path();
}

FileFinder::FileFinder(Path directory, const Options& options) : directory_(std::move(directory)) {
  for (const std::string& folder : options.packageDirectories)
    packageFolders_.push_back(withoutSlash(folder));
  appendList("ROS_PACKAGE_PATH", "", packageFolders_);
  appendList("AMENT_PREFIX_PATH", "share", packageFolders_);
}

void FileFinder::addPackageFolders(const Path& folder, const std::string& package,
                                   std::vector<Path>& folders) const {
  if (folder.filename() == package || packageNameIn(folder) == package) folders.push_back(folder);
  if (isFolder(folder / package)) folders.push_back(folder / package);
}

/// Folders that the package may be, most likely first.
std::vector<fs::path> FileFinder::foldersOf(const std::string& package) const {
  std::vector<Path> folders;
  for (const Path& folder : packageFolders_) addPackageFolders(folder, package, folders);
  const std::vector<Path> above = foldersAbove(directory_);
  for (const Path& folder : above) addPackageFolders(folder, package, folders);
  // A package whose folder goes by another name, as in a copy of it.
  for (const Path& folder : above)
    if (isFile(folder / "package.xml")) folders.push_back(folder);
  return folders;
}

FoundFile FileFinder::findInPackage(const std::string& package, const Path& rest) const {
  FoundFile found;
  if (leavesFolder(rest)) {
    found.refused = "it leads out of the package '" + package + "'";
    return found;
  }
  const std::vector<Path> folders = foldersOf(package);
  for (const Path& folder : folders)
    if (take(folder / rest, found)) return found;
  if (takeWithoutCase(found)) return found;
  if (found.tried.empty()) {
    for (const Path& folder : packageFolders_) found.tried.push_back((folder / package).string());
    found.tried.push_back("the folders above " + directory_.string());
  }
  return found;
}

/// The package that the robot file belongs to; empty without one.
fs::path FileFinder::packageAbove() const {
  for (const Path& folder : foldersAbove(directory_))
    if (isFile(folder / "package.xml")) return folder;
  return {};
}

FoundFile FileFinder::find(const std::string& name) const {
  for (const char* scheme : {"package://", "model://"}) {
    if (!startsWith(name, scheme)) continue;
    const std::string path = name.substr(std::string_view(scheme).size());
    const std::size_t slash = std::min(path.find('/'), path.size());
    return findInPackage(path.substr(0, slash),
                         Path(path.substr(std::min(slash + 1, path.size()))));
  }
  FoundFile found;
  Path path(name);
  if (startsWith(name, "file:")) {
    std::string rest = decoded(name.substr(5));
    if (startsWith(rest, "//localhost/")) rest.erase(0, 11);
    rest.erase(0, startsWith(rest, "//") ? 2 : 0);
    path = rest;
  } else if (name.find("://") != std::string::npos) {
    found.refused = "addresses of this kind are not read";
    return found;
  }
  const bool isAbsolute = path.is_absolute();
  if (!take(isAbsolute ? path : directory_ / path, found) && !takeWithoutCase(found)) return found;
  const Path package = packageAbove();
  if (isAbsolute)
    found.remark = "an absolute path is found on this machine only";
  else if (!package.empty() && leavesFolder(found.path.lexically_relative(package)))
    found.remark = "it leads out of the package " + package.string();
  return found;
}

}  // namespace zelvik::model
