// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/TextFile.hpp>
#include <zelvik/object/Mesh.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "object/MeshArrays.hpp"

namespace zelvik {

namespace {

/// What has been read of an OBJ file so far.
struct ObjContent {
  std::vector<float> vertices;
  std::vector<unsigned int> indices;
  size_t line = 0;
  // The largest index and where it stands: one comparison at the end checks them all, since a face
  // may stand before its vertices.
  unsigned int largestIndex = 0;
  int largestAsWritten = 0;
  size_t largestLine = 0;
};

/// Cuts the text up to the next blank off the front of `rest`; empty if nothing is left.
std::string takeField(std::string& rest) {
  const size_t blank = rest.find(' ');
  std::string field = rest.substr(0, blank);
  rest.erase(0, blank == std::string::npos ? blank : blank + 1);
  return field;
}

/// Reads three numbers; false if one of them is not finite as a float.
bool readVertex(std::string& rest, double scale, ObjContent& content) {
  for (int i = 0; i < 3; ++i) {
    const float value = static_cast<float>(std::stod(takeField(rest)) * scale);
    if (!std::isfinite(value)) return false;
    content.vertices.push_back(value);
  }
  return true;
}

unsigned int readIndex(const std::string& field, ObjContent& content) {
  const int written = std::stoi(field);
  const unsigned int index = static_cast<unsigned int>(written) - 1u;
  if (index >= content.largestIndex) {
    content.largestIndex = index;
    content.largestAsWritten = written;
    content.largestLine = content.line;
  }
  return index;
}

/// One face field without its texture and normal parts.
std::string takeFaceField(std::string& rest) {
  const std::string field = takeField(rest);
  return field.substr(0, field.find('/'));
}

void readFace(std::string& rest, ObjContent& content) {
  std::string field[4];
  for (std::string& text : field) text = takeFaceField(rest);
  const unsigned int a = readIndex(field[0], content), b = readIndex(field[1], content),
                     c = readIndex(field[2], content);
  content.indices.insert(content.indices.end(), {a, b, c});
  if (field[3].empty() || field[3] == field[2]) return;
  const unsigned int d = readIndex(field[3], content);
  content.indices.insert(content.indices.end(), {c, d, a});
}

/// Reads one line; false if it holds a coordinate that is not finite.
bool readLine(const std::string& line, double scale, ObjContent& content) {
  if (line.size() < 2 || line[1] != ' ' || (line[0] != 'v' && line[0] != 'f')) return true;
  const size_t first = line.find_first_not_of(' ', 1);
  std::string rest = first == std::string::npos ? std::string() : line.substr(first);
  if (!rest.empty() && rest.back() == '\r') rest.pop_back();
  if (line[0] == 'v') return readVertex(rest, scale, content);
  readFace(rest, content);
  return true;
}

/// Reads all lines; false after a fatal message.
bool readLines(const std::string& text, const std::string& fileName, double scale,
               ObjContent& content) {
  const LocaleGuard guard;
  std::string line;
  for (size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
    end = std::min(text.find('\n', begin), text.size());
    line.assign(text, begin, end - begin);
    ++content.line;
    if (readLine(line, scale, content)) continue;
    MSG_FATAL(fileName << ":" << content.line << ": the vertex '" << line
                       << "' has a coordinate that is not finite");
    return false;
  }
  return true;
}

/// Whether there are faces and all of them name vertices; otherwise a fatal message.
/// @param vertexCount with those that were there before the file
bool checkFaces(const ObjContent& content, const std::string& fileName, size_t vertexCount) {
  if (content.indices.empty()) {
    MSG_FATAL(fileName << " has no faces");
    return false;
  }
  if (content.largestIndex < vertexCount) return true;
  MSG_FATAL(fileName << ":" << content.largestLine << ": the vertex index "
                     << content.largestAsWritten << " is out of range, there are " << vertexCount
                     << " vertices");
  return false;
}

}  // namespace

bool Mesh::loadObj(const std::string& fileName, std::vector<float>& vertices,
                   std::vector<unsigned int>& indices, double scale) {
  const bool isThere = isReadable(fileName);
  if (isThere && fileName.substr(fileName.rfind('.') + 1) != "obj") {
    MSG_FATAL("Only obj files are supported for mesh collision bodies");
    return false;
  }
  std::string text;
  const TextRead read = isThere ? readTextFile(fileName, text) : TextRead::UNREADABLE;
  if (read == TextRead::UNREADABLE) MSG_FATAL(fileName << " is not found.");
  if (read != TextRead::DONE) return false;
  ObjContent content;
  if (!readLines(text, fileName, scale, content)) return false;
  if (!checkFaces(content, fileName, (vertices.size() + content.vertices.size()) / 3)) return false;
  vertices.insert(vertices.end(), content.vertices.begin(), content.vertices.end());
  indices.insert(indices.end(), content.indices.begin(), content.indices.end());
  return true;
}

void Mesh::dropUnusedVertices(std::vector<float>& vertices, std::vector<unsigned int>& indices) {
  dropUnusedCorners(vertices, indices);
}

}  // namespace zelvik
