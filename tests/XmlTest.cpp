// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <limits>
#include <zelvik/ZelvikTinyXmlWrapper.hpp>
#include <zelvik/ZelvikTinyXmlWriter.hpp>

#include "Messages.hpp"

namespace zelvik {
namespace {

using Xml = ZelvikTinyXmlWrapper;
using messages::OnFatal;

std::string temporaryFile(const std::string& name, const std::string& content) {
  const std::string path = testing::TempDir() + name;
  std::ofstream(path) << content;
  return path;
}

std::vector<double> listOf(const std::string& text) {
  const NumberList list(text);
  std::vector<double> values(list.count());
  list.read(values.data());
  return values;
}

TEST(NumberList, ReadsWhatTheFilesOfUsersHoldInLinearTime) {
  using V = std::vector<double>;
  const std::pair<const char*, V> good[] = {
      {"1 2 3", {1, 2, 3}}, {" 1, 2,  3 ", {1, 2, 3}},         {" 7", {7}},
      {"1 2,3", {1, 3}},    {"1e2,0x10,-.5", {100, 16, -0.5}}, {"1\t2", {1}},
      {"3junk,4", {3, 4}}};
  for (const auto& [text, values] : good) EXPECT_EQ(listOf(text), values) << text;
  for (const char* text : {"", " ", ",", "1,,2", "1,2,", "a b", "1 x"})
    EXPECT_THROW(listOf(text), std::invalid_argument) << text;
  EXPECT_THROW(listOf("1 1e999"), std::out_of_range);
  // Erasing at the front would move 10^12 bytes here and run into the time limit of the test.
  std::string text = "1.5";
  for (int i = 1; i < 500000; ++i) text += ", 1.5";
  EXPECT_EQ(listOf(text).size(), 500000u);
}

TEST(XmlDepth, SeesWhatTheParserWouldNest) {
  const std::pair<const char*, size_t> rows[] = {
      {"<a><b/><c><d></d></c></a>", 3},
      {"<a><!-- <x><y><z> --><b/></a>", 2},
      {"<a v='<x><y>' w=\"/>\"><b/></a>", 2},
      {"<?xml version='1.0'?><a><![CDATA[<x>]]></a>", 1},
      {"</a></a><a><b>", 2},
      {"<a><!-- open <b>", 1},
      {"<a>< b='><c>", 2},  // no element: quotes do not hide its '>'
      {"<?xml version=\"> <!-- \"?><a>", 1},
      {"<a>\xc3<!-- <b><c/>", 3},  // no comment: its '<' belongs to a broken character
  };
  for (const auto& [text, depth] : rows) EXPECT_EQ(xmlExtent(text).depth, depth) << text;
}

TEST(XmlExtent, CountsTheAttributesOfOneElement) {
  const std::string forty(40, '=');
  const std::pair<std::string, size_t> rows[] = {
      {"<a b='='><c d=\"'=\" e='\"=' f='3'/></a>", 3},
      {"<!-- <a b='' c=''> --><a b = ''></a b='' c=''>", 1},
      {"<a b='\xc3'/>" + forty, 2}};  // what a broken character hides is shared out among twenty
  for (const auto& [text, count] : rows) EXPECT_EQ(xmlExtent(text).attributes, count) << text;
}

TEST(XmlWrapper, FaultsSayWhereTheyAre) {
  const std::string where =
      "ZelvikTinyXmlWrapper.hpp: in '\"URDF from a string\"' at row:2 col:2, ";
  const struct {
    std::function<void(const Xml&)> use;
    std::string text;
  } rows[] = {
      {[](const Xml& c) { c.getAttributeMust<double>("k"); },
       where + "the node 'c' does not contain a attribute called 'k'"},
      {[](const Xml& c) { c.getChildrenMust("k"); },
       where + "the node 'c' does not contain a child called 'k'"},
      {[](const Xml& c) { c.getFirstChildMust(); },
       where + "the node 'c' does not contain a child"},
      {[](const Xml& c) { c.getAttributeMust<Vec3>("v"); },
       "ZelvikTinyXmlWrapper.hpp: Dimension mismatch. File: \"URDF from a string\", Attribute: "
       "r/c/v, at row:2 col:2 should have a dimension of 3"}};
  const Xml root("<r>\n <c v='1 2' n='x'/></r>", "r");
  for (const auto& row : rows)
    EXPECT_EQ(messages::of([&] { row.use(root.getChildren("c").at(0)); }), row.text);

  const auto load = [](const std::string& source) {
    return messages::of([&] { Xml(source, "r"); });
  };
  EXPECT_EQ(load("<s/>"), "ZelvikTinyXmlWrapper.hpp: <s/> file does not contain node 'r'");
  for (const std::string& path :
       {std::string("/no/such.xml"), testing::TempDir(), temporaryFile("broken.xml", "<r><c></r>")})
    EXPECT_EQ(load(path), "ZelvikTinyXmlWrapper.hpp: cannot read file: '" + path + "'");
  std::string deep = "<r>";
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  messages::expect("elements are nested deeper than 1000", [&] { Xml(deep, "r"); });
  std::string wide = "<r>\n<c";  // the parser compares each attribute with all others
  for (int i = 0; i < 20000; ++i) wide += " a" + std::to_string(i) + "=''";
  EXPECT_EQ(load(wide + "/></r>"),
            "ZelvikTinyXmlWrapper.hpp: in '\"URDF from a string\"' an element has more than 1000 "
            "attributes");
}

TEST(XmlWrapper, ReadsWhatIsThereInDocumentOrder) {
  const Xml root("<r i=' 12x' u='-1' s='a&lt;b' bad='abc' w=''><z/><a/><z/></r>", "r");
  EXPECT_EQ(root.getAttributeMust<int>("i"), 12);
  EXPECT_EQ(root.getAttributeMust<unsigned long>("u"), std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(root.getAttributeMust<std::string>("s"), "a<b");
  EXPECT_EQ(root.getAttributeMust<double>("bad"), 0.0);
  EXPECT_THROW(root.getAttributeMust<unsigned long>("bad"), std::invalid_argument);
  EXPECT_EQ(root.getAttributeMust<VecDyn>("w").size(), 0u);
  std::string names;
  for (const Xml& child : root.getChildren()) names += child.getName();
  EXPECT_EQ(names, "zaz");
}

TEST(XmlWrapper, SurvivesACallbackThatReturns) {
  const auto use = [] {
    const Xml missing("<s/>", "r");
    EXPECT_TRUE(missing.getChildrenMust("a").empty());
    EXPECT_EQ(missing.getFirstChildMust().getAttributeMust<Vec3>("v")[2], 0.0);
    EXPECT_EQ(Xml("<r v='1 2 3 4 5'/>", "r").getAttributeMust<Vec3>("v")[2], 0.0);
  };
  messages::refused("does not contain node 'r'", use);
}

TEST(XmlWriter, WhatIsWrittenReadsBackToItsDigits) {
  const std::string path = testing::TempDir() + "written.xml";
  const std::string output = messages::of([&] {
    ZelvikTinyXmlWriter writer("zelvik");
    for (unsigned long i = 0; i < 30; ++i) writer.getRoot().emplace("c").setAttribute("i", i);
    auto& last = writer.getRoot().emplace("last");
    last.setAttribute("v", Vec3{{1e-7, 2.0 / 3.0, -4e5}});
    last.emplace("deep").element_->SetDoubleAttribute("d", 1e6 / 3.0);
    writer.save(path);
    writer.save(path);  // nothing is linked twice
  });
  const std::string line = "ZelvikTinyXmlWriter.hpp: Saving world to: " + path;
  EXPECT_EQ(output, line + "\n" + line);
  const Xml root(path, "zelvik");
  ASSERT_EQ(root.getChildren("c").size(), 30u);
  EXPECT_EQ(root.getChildren("c")[29].getAttributeMust<unsigned long>("i"), 29u);
  const Xml last = root.getChildren("last").at(0);
  EXPECT_EQ(last.getAttributeMust<std::string>("v"), "0.000000, 0.666667, -400000.000000");
  EXPECT_EQ(last.getFirstChildMust().getAttributeMust<std::string>("d"), "333333");
  messages::expect("failed to save file: /no/such/x.xml. Make sure the directory exists",
                   [] { ZelvikTinyXmlWriter("r").save("/no/such/x.xml"); });
}

}  // namespace
}  // namespace zelvik
