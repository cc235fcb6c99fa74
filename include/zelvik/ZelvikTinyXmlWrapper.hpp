// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <tinyxml.h>

#include <string>
#include <utility>
#include <vector>
#include <zelvik/LocaleGuard.hpp>
#include <zelvik/NumberList.hpp>
#include <zelvik/Path.hpp>
#include <zelvik/TextFile.hpp>
#include <zelvik/XmlDepth.hpp>
#include <zelvik/math.hpp>
#include <zelvik/zlv_message_logger.hpp>

namespace zelvik {

/// Read access to one element of an XML document.
///
/// Optional reads tell absence by their result; mandatory ones report it with a fatal message that
/// says in which file and where. The wrapper that the constructor makes owns the document; those
/// that `getChildren` gives point into it and live no longer than it.
///
/// Where the fatal callback returns, a wrapper may stand for no element (`isValid` is false). It
/// has no children and no attributes, and its mandatory reads fail without a further message.
class ZelvikTinyXmlWrapper {
 public:
  /// Reads a file, or parses the argument itself if it holds a '<', and selects the first top
  /// element called `rootName`. Fatal: a file that cannot be read or parsed or is longer than
  /// `kLongestText`, a missing root, elements nested more than 1000 deep or with more than 1000
  /// attributes.
  ZelvikTinyXmlWrapper(const std::string& pathOrText, const std::string& rootName)
      : element_(nullptr) {
    const LocaleGuard guard;
    const bool isText = pathOrText.find('<') != std::string::npos;
    if (!(isText ? parseText(pathOrText) : loadFile(pathOrText))) return;
    tree_.push_back(rootName);
    element_ = doc_.FirstChildElement(rootName.c_str());
    if (element_ == nullptr)
      MSG_FATAL(pathOrText << " file does not contain node '" << rootName << "'");
  }

  /// The copy stands for the same element, in the document of the original.
  ZelvikTinyXmlWrapper(const ZelvikTinyXmlWrapper&) = default;
  /// Refers to the same element afterwards.
  ZelvikTinyXmlWrapper& operator=(const ZelvikTinyXmlWrapper&) = default;

  /// Whether it stands for an element.
  bool isValid() const { return element_ != nullptr; }
  /// Name of the element; empty for none.
  std::string getName() const { return element_ != nullptr ? element_->Value() : ""; }
  /// Name of the source, for messages: the path, or "\"URDF from a string\"" for any text.
  const std::string& getSource() const { return fileName_; }
  /// The parser's own element, null for none.
  TiXmlElement* getElement() const { return element_; }

  /// Child elements called `name`, in document order.
  std::vector<ZelvikTinyXmlWrapper> getChildren(const std::string& name) const {
    std::vector<ZelvikTinyXmlWrapper> children;
    TiXmlElement* child = element_ != nullptr ? element_->FirstChildElement(name.c_str()) : nullptr;
    for (; child != nullptr; child = child->NextSiblingElement(name.c_str()))
      children.push_back(ZelvikTinyXmlWrapper(*this, child));
    return children;
  }

  /// All child elements, in document order.
  std::vector<ZelvikTinyXmlWrapper> getChildren() const {
    std::vector<ZelvikTinyXmlWrapper> children;
    TiXmlElement* child = element_ != nullptr ? element_->FirstChildElement() : nullptr;
    for (; child != nullptr; child = child->NextSiblingElement())
      children.push_back(ZelvikTinyXmlWrapper(*this, child));
    return children;
  }

  /// As `getChildren(name)`; none is fatal.
  std::vector<ZelvikTinyXmlWrapper> getChildrenMust(const std::string& name) const {
    std::vector<ZelvikTinyXmlWrapper> children = getChildren(name);
    if (children.empty() && isValid())
      errorMessage(" does not contain a child called '" + name + "'");
    return children;
  }

  /// The first child element, whatever its name; none is fatal.
  ZelvikTinyXmlWrapper getFirstChildMust() const {
    TiXmlElement* child = element_ != nullptr ? element_->FirstChildElement() : nullptr;
    if (child == nullptr && isValid()) errorMessage(" does not contain a child");
    return ZelvikTinyXmlWrapper(*this, child);
  }

  /// The first child element called `name`; none is fatal.
  ZelvikTinyXmlWrapper getFirstChildMust(const std::string& name) const {
    const std::vector<ZelvikTinyXmlWrapper> children = getChildrenMust(name);
    return children.empty() ? ZelvikTinyXmlWrapper(*this, nullptr) : children[0];
  }

  /// Reads an attribute; false, with `out` untouched, if there is none.
  ///
  /// A `std::string` is copied. An `unsigned long` is converted as `std::stoul` does, exceptions
  /// included ("-1" wraps). A `Mat<n,1>` and a `VecDyn` are number lists (see `NumberList`), whose
  /// exceptions pass through; a `Mat<n,1>` wants exactly n entries, anything else is fatal; a
  /// `VecDyn` gets as many as there are, none for an empty text. Text of an `int` or `double` that
  /// is no number leaves `out` as it was.
  template <typename T>
  bool getAttributeIfExists(const std::string& name, T& out) const {
    if (text(name) == nullptr) return false;
    convert(name, out);
    return true;
  }

  /// Reads an attribute; absence is fatal, and then the result is zero or empty. `T` is `int`,
  /// `unsigned long`, `double`, `std::string`, `Mat<3,1>`, `Mat<4,1>` or `VecDyn`. Text of an `int`
  /// or `double` that is no number gives 0.
  template <typename T>
  T getAttributeMust(const std::string& name) const {
    T value{};
    readMust(name, value);
    return value;
  }

  /// As `getAttributeMust`, for readers that stop at the first fault: false after a fatal message.
  template <typename T>
  bool readMust(const std::string& name, T& out) const {
    if (text(name) != nullptr) return convert(name, out);
    if (isValid()) errorMessage(" does not contain a attribute called '" + name + "'");
    return false;
  }

  /// As `getAttributeIfExists`, for readers that stop at the first fault: false after a fatal
  /// message only; an absent attribute is fine.
  template <typename T>
  bool readIfPresent(const std::string& name, T& out) const {
    return text(name) == nullptr || convert(name, out);
  }

  /// Names from the root down to this element, each followed by "/".
  std::string getFullTree() const {
    std::string path;
    for (const std::string& name : tree_) path += name + "/";
    return path;
  }

  /// Fatal message: where this element stands, then `message` with nothing between.
  void errorMessage(const std::string& message) const {
    MSG_FATAL("in '" << fileName_ << "' at row:" << row() << " col:" << column() << ", the node '"
                     << getName() << "'" << message);
  }

 private:
  static constexpr size_t kMaxAttributes = 1000;
  static constexpr size_t kLongestPath = 4096;  ///< of Linux; more is some file's content

  ZelvikTinyXmlWrapper(const ZelvikTinyXmlWrapper& parent, TiXmlElement* element)
      : element_(element), fileName_(parent.fileName_), tree_(parent.tree_) {
    tree_.push_back(getName());
  }

  bool parseText(const std::string& xml) {
    fileName_ = "\"URDF from a string\"";
    if (!isModest(xml)) return false;
    doc_.Parse(xml.c_str(), nullptr, TIXML_ENCODING_UTF8);
    return true;
  }

  /// The parser is never shown a file, only its text: it would open a pipe a second time, and take
  /// the size of a directory for that of a file.
  bool loadFile(const std::string& path) {
    if (path.size() > kLongestPath) {
      MSG_FATAL("cannot read file: '" << path << "'");
      return false;
    }
    fileName_ = Path(path).getString();
    std::string xml;
    const TextRead read = readTextFile(path, xml);
    if (read == TextRead::REFUSED) return false;
    if (read == TextRead::DONE) {
      if (!isModest(xml)) return false;
      makeLineEndsPlain(xml);
      doc_.Parse(xml.c_str());
      if (!doc_.Error()) return true;
    }
    MSG_FATAL("cannot read file: '" << path << "'");
    return false;
  }

  /// As the parser does with files: a carriage return, followed by a line feed or not, ends a
  /// line.
  static void makeLineEndsPlain(std::string& text) {
    size_t to = 0;
    for (size_t from = 0; from < text.size(); ++from) {
      const bool isReturn = text[from] == '\r';
      if (isReturn && from + 1 < text.size() && text[from + 1] == '\n') ++from;
      text[to++] = isReturn ? '\n' : text[from];
    }
    text.resize(to);
  }

  bool isModest(const std::string& xml) const {
    const XmlExtent extent = xmlExtent(xml);
    if (extent.depth > kDeepestXmlElement) {
      MSG_FATAL("in '" << fileName_ << "' elements are nested deeper than " << kDeepestXmlElement);
      return false;
    }
    if (extent.attributes > kMaxAttributes) {
      MSG_FATAL("in '" << fileName_ << "' an element has more than " << kMaxAttributes
                       << " attributes");
      return false;
    }
    return true;
  }

  const char* text(const std::string& name) const {
    return element_ != nullptr ? element_->Attribute(name.c_str()) : nullptr;
  }
  int row() const { return element_ != nullptr ? element_->Row() : 0; }
  int column() const { return element_ != nullptr ? element_->Column() : 0; }

  // Conversions of an attribute that exists; false after a fatal message.
  bool convert(const std::string& name, std::string& out) const {
    out = text(name);
    return true;
  }
  bool convert(const std::string& name, unsigned long& out) const {
    out = std::stoul(text(name));
    return true;
  }
  bool convert(const std::string& name, int& out) const {
    element_->Attribute(name.c_str(), &out);
    return true;
  }
  bool convert(const std::string& name, double& out) const {
    const LocaleGuard guard;
    element_->Attribute(name.c_str(), &out);
    return true;
  }
  bool convert(const std::string& name, VecDyn& out) const {
    if (*text(name) == 0) {
      out.resize(0);
      return true;
    }
    const NumberList list(text(name));
    out.resize(list.count());
    list.read(out.data());
    return true;
  }
  template <unsigned long n>
  bool convert(const std::string& name, Mat<n, 1>& out) const {
    const NumberList list(text(name));
    if (list.count() == n) {
      list.read(out.data());
      return true;
    }
    MSG_FATAL("Dimension mismatch. File: " << fileName_ << ", Attribute: " << getFullTree() << name
                                           << ", at row:" << row() << " col:" << column()
                                           << " should have a dimension of " << n);
    return false;
  }

  TiXmlDocument doc_;      ///< empty in all but the wrapper that loaded it
  TiXmlElement* element_;  ///< not owned
  std::string fileName_;   ///< for messages
  std::vector<std::string> tree_;
};

}  // namespace zelvik
