// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <iterator>
#include <utility>
#include <zelvik/object/ArticulatedSystem/JointAndBodies.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "model/TreeWalk.hpp"

namespace zelvik {

namespace {

// Indexed by joint type minus 1: revolute, prismatic, spherical, floating.
constexpr size_t kCoordinates[4] = {1, 1, 4, 7};
constexpr size_t kVelocities[4] = {1, 1, 3, 6};

size_t countOf(const size_t (&table)[4], Joint::Type type) {
  const size_t row = static_cast<size_t>(static_cast<std::int64_t>(type) - 1);
  return row < 4 ? table[row] : 0;
}

/// Empties the list without recursion: what hangs below a node joins the list before it goes.
void takeApart(std::vector<Child>& nodes) {
  while (!nodes.empty()) {
    Child node = std::move(nodes.back());
    nodes.pop_back();
    for (std::vector<Child>* list : {&node.childrenMovable, &node.childrenFixed}) {
      std::move(list->begin(), list->end(), std::back_inserter(nodes));
      list->clear();
    }
  }
}

}  // namespace

size_t coordinateCount(Joint::Type type) {
  return countOf(kCoordinates, type);
}

size_t velocityCount(Joint::Type type) {
  return countOf(kVelocities, type);
}

VisObject::VisObject(Shape::Type shapeType, const std::vector<double>& sizes,
                     const Mat<3, 1>& position, const Mat<3, 3>& rotation, const Mat<4, 1>& rgba,
                     const Mat<3, 1>& meshScale, const std::string& meshFile,
                     const std::string& objectName, const std::string& materialName)
    : shape(shapeType),
      size(sizes),
      offset(position),
      rot(rotation),
      color(rgba),
      scale(meshScale),
      meshFileName(meshFile),
      name(objectName),
      material(materialName) {
  if ((shape == Shape::MESH || shape == Shape::HULL) && meshFileName.empty())
    MSG_FATAL("Provide a valid mesh file name");
}

const std::string& CollisionDefinition::getMaterial() const {
  static const std::string none;
  return colObj == nullptr ? none : geomRecord(colObj).materialName;
}

void CollisionDefinition::setMaterial(const std::string& material) {
  if (colObj == nullptr) {
    MSG_FATAL("CollisionDefinition::setMaterial: the collision object '"
              << colName << "' has no geom that could carry the material '" << material << "'");
    return;
  }
  geomRecord(colObj).materialName = material;
}

Child::Child(const Child& other) : JointAndBody(other) {
  struct Copy {
    const Child* from;
    Child* to;
  };
  std::vector<Copy> open = {{&other, this}};
  while (!open.empty()) {
    const Copy copy = open.back();
    open.pop_back();
    for (std::vector<Child> Child::*list : {&Child::childrenMovable, &Child::childrenFixed}) {
      const std::vector<Child>& from = copy.from->*list;
      std::vector<Child>& to = copy.to->*list;
      to.resize(from.size());
      for (size_t i = 0; i < from.size(); ++i) {
        static_cast<JointAndBody&>(to[i]) = from[i];
        open.push_back({&from[i], &to[i]});
      }
    }
  }
}

Child& Child::operator=(const Child& other) {
  Child copy(other);
  return *this = std::move(copy);
}

Child::~Child() {
  takeApart(childrenMovable);
  takeApart(childrenFixed);
}

size_t Child::numberOfBodiesFromHere() const {
  size_t count = 0;
  forEachMovable(*this, [&](const Child&) { ++count; });
  return count;
}

size_t Child::numberOfGCFromHere() const {
  size_t count = 0;
  forEachMovable(*this, [&](const Child& node) { count += coordinateCount(node.jointType); });
  return count;
}

size_t Child::numberOfDOFFromHere() const {
  size_t count = 0;
  forEachMovable(*this, [&](const Child& node) { count += velocityCount(node.jointType); });
  return count;
}

}  // namespace zelvik
