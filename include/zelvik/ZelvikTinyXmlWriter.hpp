// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <tinyxml.h>

#include <string>
#include <utility>
#include <vector>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/Path.hpp>
#include <zelvik/math.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

/// One element of an XML document under construction, with its children.
///
/// Lists of numbers are written here, with six digits after the point. Single doubles go through
/// `SetDoubleAttribute` of `element_`, which writes six significant digits; both are the format of
/// our files.
class ZelvikTinyXmlWriterElement {
 public:
  /// An element without attributes and children.
  explicit ZelvikTinyXmlWriterElement(const std::string& name)
      : element_(new TiXmlElement(name.c_str())) {
    children_.reserve(20);
  }
  /// Leaves `other` without an element.
  ZelvikTinyXmlWriterElement(ZelvikTinyXmlWriterElement&& other) noexcept
      : element_(std::exchange(other.element_, nullptr)), children_(std::move(other.children_)) {}
  ZelvikTinyXmlWriterElement(const ZelvikTinyXmlWriterElement&) = delete;
  ZelvikTinyXmlWriterElement& operator=(const ZelvikTinyXmlWriterElement&) = delete;
  ~ZelvikTinyXmlWriterElement() {
    children_.clear();  // those that are linked die with this element
    if (element_ != nullptr && !isLinked()) delete element_;
  }

  /// Appends a child. The reference stays good while its first 20 siblings are added.
  ZelvikTinyXmlWriterElement& emplace(const std::string& name) {
    children_.emplace_back(name);
    return children_.back();
  }

  ///@{
  /// Writes one attribute; several numbers are separated by ", ".
  ZelvikTinyXmlWriterElement& setAttribute(const std::string& name, unsigned long value) {
    element_->SetAttribute(name.c_str(), std::to_string(value).c_str());
    return *this;
  }
  ZelvikTinyXmlWriterElement& setAttribute(const std::string& name, Mat<3, 1> value) {
    return setList(name, value.data(), 3);
  }
  ZelvikTinyXmlWriterElement& setAttribute(const std::string& name, Mat<4, 1> value) {
    return setList(name, value.data(), 4);
  }
  ZelvikTinyXmlWriterElement& setAttribute(const std::string& name, VecDyn value) {
    return setList(name, value.data(), value.size());
  }
  ///@}

  /// Links the whole subtree below this element; what is linked already is left as it is.
  void link() {
    for (ZelvikTinyXmlWriterElement& child : children_) {
      if (!child.isLinked()) element_->LinkEndChild(child.element_);
      child.link();
    }
  }

  /// Whether the element hangs below its parent, which then owns it.
  bool isLinked() const { return element_->Parent() != nullptr; }

  TiXmlElement* element_;  ///< owned until it is linked to its parent

 private:
  ZelvikTinyXmlWriterElement& setList(const std::string& name, const double* values, size_t count) {
    const LocaleGuard guard;
    std::string list;
    for (size_t i = 0; i < count; ++i) {
      if (i > 0) list += ", ";
      list += std::to_string(values[i]);  // "%f"
    }
    element_->SetAttribute(name.c_str(), list.c_str());
    return *this;
  }

  std::vector<ZelvikTinyXmlWriterElement> children_;
};

/// An XML document under construction: a declaration and one root element.
class ZelvikTinyXmlWriter {
 public:
  /// A document with an empty root element.
  explicit ZelvikTinyXmlWriter(const std::string& rootName) {
    doc_.LinkEndChild(new TiXmlDeclaration("1.0", "", ""));
    elements_.emplace_back(rootName);
  }

  ZelvikTinyXmlWriter(const ZelvikTinyXmlWriter&) = delete;
  ZelvikTinyXmlWriter& operator=(const ZelvikTinyXmlWriter&) = delete;

  /// The root element.
  ZelvikTinyXmlWriterElement& getRoot() { return elements_.back(); }

  /// Links everything and writes the file. A failure is a warning, and the caller is told nothing
  /// more; a full disk goes unnoticed.
  void save(const std::string& path) {
    const LocaleGuard guard;
    const Path target(path);
    MSG_INFO("Saving world to: " << target.getString());
    for (ZelvikTinyXmlWriterElement& element : elements_) {
      element.link();
      if (!element.isLinked()) doc_.LinkEndChild(element.element_);
    }
    if (!doc_.SaveFile(target.getString().c_str()))
      MSG_WARN("failed to save file: " << target.getString() << ". Make sure the directory exists");
  }

 private:
  TiXmlDocument doc_;
  std::vector<ZelvikTinyXmlWriterElement> elements_;  ///< dies before `doc_`, which owns the linked
};

}  // namespace zelvik
