// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <tinyxml.h>

#include <filesystem>
#include <string>

#include "Findings.hpp"

namespace zelvik::model {

/// The document of a robot.
struct Source {
  std::string file;                 ///< as given; empty for text
  std::filesystem::path directory;  ///< of the file; the working directory for text
  std::string text;                 ///< of the document, xacro expanded
  TiXmlDocument document;           ///< parsed
};

/// Whether the argument is the document itself.
inline bool isText(const std::string& fileOrText) {
  return fileOrText.find('<') != std::string::npos;
}

/// Reads and parses the document; false after an error. Its root element is `robot`.
bool readSource(const std::string& fileOrText, Source& source, Findings& findings);

/// Replaces xacro by what the command `xacro` makes of the file; false after an error.
bool expandXacro(Source& source, Findings& findings);

}  // namespace zelvik::model
