// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Source.hpp"

#include <fstream>
#include <sstream>
#include <system_error>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/XmlDepth.hpp>

namespace zelvik::model {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxBytes = std::size_t{256} << 20;

bool readFile(const std::string& file, Source& source, Findings& findings) {
  std::error_code error;
  const fs::path path(file);
  if (!fs::exists(path, error)) {
    findings.error("file-not-found", {}, "there is no file " + file);
    return false;
  }
  if (!fs::is_regular_file(path, error)) {
    findings.error("file-unreadable", {}, file + " is no file");
    return false;
  }
  if (fs::file_size(path, error) > kMaxBytes) {
    findings.error("file-too-large", {}, file + " holds more than 256 MiB");
    return false;
  }
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  if (!stream) {
    findings.error("file-unreadable", {}, file + " cannot be read");
    return false;
  }
  source.file = file;
  source.directory = fs::absolute(path, error).parent_path();
  source.text = std::move(text).str();
  return true;
}

bool parse(Source& source, Findings& findings) {
  if (xmlExtent(source.text).depth > kDeepestXmlElement) {
    findings.error("xml", {},
                   "elements are nested more than " + std::to_string(kDeepestXmlElement) + " deep");
    return false;
  }
  source.document.Parse(source.text.c_str(), nullptr, TIXML_ENCODING_UTF8);
  if (!source.document.Error()) return true;
  const Place place{source.document.ErrorRow(), source.document.ErrorCol(), ""};
  findings.error("xml", place, std::string("this is no XML: ") + source.document.ErrorDesc());
  return false;
}

/// Whether something is left for xacro to expand. Files that it has made name it in comments only.
bool hasXacro(const TiXmlElement& element) {
  if (element.ValueStr().compare(0, 6, "xacro:") == 0) return true;
  for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
       attribute = attribute->Next())
    if (attribute->ValueStr().find("${") != std::string::npos) return true;
  for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement())
    if (hasXacro(*child)) return true;
  return false;
}

}  // namespace

bool readSource(const std::string& fileOrText, Source& source, Findings& findings) {
  const LocaleGuard guard;
  if (isText(fileOrText)) {
    std::error_code error;
    source.text = fileOrText;
    source.directory = fs::current_path(error);
  } else if (!readFile(fileOrText, source, findings)) {
    return false;
  }
  if (!parse(source, findings)) return false;
  const TiXmlElement* root = source.document.RootElement();
  if (root != nullptr && hasXacro(*root)) {
    source.document.Clear();
    if (!expandXacro(source, findings) || !parse(source, findings)) return false;
    root = source.document.RootElement();
  }
  if (root != nullptr && root->ValueStr() == "robot") return true;
  const std::string name = root != nullptr ? "<" + root->ValueStr() + ">" : "nothing";
  findings.error("no-robot", {}, "the root element is " + name + ", not <robot>",
                 name == "<mujoco>" || name == "<sdf>" ? "Only URDF is read." : "");
  return false;
}

}  // namespace zelvik::model
