// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/World.hpp>
#include <zelvik/object/GeomRecord.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "solver/ImpulseMemory.hpp"
#include "world/CollisionSpace.hpp"
#include "world/ObjectGeoms.hpp"
#include "world/StepContacts.hpp"

// Adding and removing objects: the list stays dense, and every geom knows its owner's place in it.

namespace zelvik {

/// The counter moves first: it also counts an object whose constructor throws.
template <typename T, typename... Args>
T* World::add(Args&&... args) {
  ++objectChangeCount_;
  auto object = std::make_unique<T>(std::forward<Args>(args)...);
  objectList_.push_back(object.get());
  object->setIndexInWorld(objectList_.size() - 1);
  object->setIdInWorld(objectChangeCount_);
  object->shareForceWarning(&toldOfForce_);
  return object.release();
}

template <typename T, typename... Args>
T* World::addWithGeom(const std::string& material, unsigned long group, unsigned long mask,
                      Args&&... args) {
  T* added = add<T>(std::forward<Args>(args)...);
  added->setMaterial(material);
  addCollisionObject(added->getCollisionObject(), 0, material, group, mask);
  return added;
}

/// Writes what a geom carries; the owner is the last object of the list.
void World::describeGeom(dGeomID geom, unsigned long localIdx, const std::string& material,
                         unsigned long group, unsigned long mask) {
  if (geom == nullptr) return;
  GeomRecord& record = geomRecord(geom);
  record.materialName = material;
  record.localBodyIdx = localIdx;
  record.objectIdx = objectList_.size() - 1;
  dGeomSetCategoryBits(geom, group);
  dGeomSetCollideBits(geom, mask);
}

void World::addCollisionObject(dGeomID geom, unsigned long localIdx, const std::string& material,
                               unsigned long group, unsigned long mask) {
  if (geom == nullptr) return;
  describeGeom(geom, localIdx, material, group, mask);
  dSpaceAdd(collision_->space(), geom);
}

Sphere* World::addSphere(double radius, double mass, const std::string& material,
                         unsigned long group, unsigned long mask) {
  return addWithGeom<Sphere>(material, group, mask, radius, mass);
}

Box* World::addBox(double x, double y, double z, double mass, const std::string& material,
                   unsigned long group, unsigned long mask) {
  return addWithGeom<Box>(material, group, mask, x, y, z, mass);
}

Cylinder* World::addCylinder(double radius, double height, double mass, const std::string& material,
                             unsigned long group, unsigned long mask) {
  return addWithGeom<Cylinder>(material, group, mask, radius, height, mass);
}

Capsule* World::addCapsule(double radius, double height, double mass, const std::string& material,
                           unsigned long group, unsigned long mask) {
  return addWithGeom<Capsule>(material, group, mask, radius, height, mass);
}

Ground* World::addGround(double height, const std::string& material, unsigned long mask) {
  return addWithGeom<Ground>(material, kGroundGroup, mask, height);
}

Compound* World::addCompound(const std::vector<Compound::CompoundObjectChild>& children,
                             double mass, Mat<3, 1> com, const Mat<3, 3>& inertia,
                             unsigned long group, unsigned long mask) {
  Compound* compound = add<Compound>(children, mass, com, inertia);
  const std::vector<dGeomID>& geoms = compound->getCollisionGeoms();
  for (size_t i = 0; i < geoms.size(); ++i)
    addCollisionObject(geoms[i], 0, children[i].material, group, mask);
  return compound;
}

Mesh* World::addMesh(const std::string& fileName, double mass, const Mat<3, 3>& inertia,
                     const Mat<3, 1>& com, double scale, const std::string& material,
                     unsigned long group, unsigned long mask) {
  // The mesh has put its geom into the space by itself.
  Mesh* mesh = add<Mesh>(fileName, collision_->space(), mass, inertia, com, scale);
  mesh->setMaterial(material);
  describeGeom(mesh->getCollisionObject(), 0, material, group, mask);
  return mesh;
}

Mesh* World::addMesh(const Mesh* source, const std::string& material, unsigned long group,
                     unsigned long mask) {
  if (source == nullptr) {
    MSG_FATAL("World::addMesh: Got a nullptr for the reference mesh");
    return nullptr;
  }
  return addMesh(source->getFileName(), source->getMass(0), source->getBodyInertia(),
                 source->getComOffset(), source->getScale(),
                 material.empty() ? source->getMaterial() : material, group, mask);
}

ConvexHull* World::addConvexHull(const std::vector<double>& corners,
                                 const std::vector<unsigned int>& triangles, double mass,
                                 const std::string& material, unsigned long group,
                                 unsigned long mask) {
  return addWithGeom<ConvexHull>(material, group, mask, corners, triangles, mass);
}

HeightMap* World::addHeightMap(unsigned long xSamples, unsigned long ySamples, double xSize,
                               double ySize, double centerX, double centerY,
                               const std::vector<double>& heights, const std::string& material,
                               unsigned long group, unsigned long mask) {
  return addWithGeom<HeightMap>(material, group, mask, xSamples, ySamples, xSize, ySize, centerX,
                                centerY, heights);
}

HeightMap* World::addHeightMap(const std::string& pngFile, double centerX, double centerY,
                               double xSize, double ySize, double heightScale, double heightOffset,
                               const std::string& material, unsigned long group,
                               unsigned long mask) {
  return addWithGeom<HeightMap>(material, group, mask, centerX, centerY, pngFile, xSize, ySize,
                                heightScale, heightOffset);
}

HeightMap* World::addHeightMap(const std::string& textFile, double centerX, double centerY,
                               const std::string& material, unsigned long group,
                               unsigned long mask) {
  return addWithGeom<HeightMap>(material, group, mask, centerX, centerY, textFile);
}

HeightMap* World::addHeightMap(double centerX, double centerY, TerrainProperties& terrain,
                               const std::string& material, unsigned long group,
                               unsigned long mask) {
  return addWithGeom<HeightMap>(material, group, mask, centerX, centerY, terrain);
}

HeightMap* World::addHeightMap(const HeightMap* source, unsigned long group, unsigned long mask) {
  if (source == nullptr) {
    MSG_FATAL("World::addHeightMap: Got a nullptr for the reference heightmap");
    return nullptr;
  }
  HeightMap* copy = addHeightMap(source->getXSamples(), source->getYSamples(), source->getXSize(),
                                 source->getYSize(), source->getCenterX(), source->getCenterY(),
                                 source->getHeightMap(), source->getMaterial(), group, mask);
  copy->setExactContacts(source->usesExactContacts());
  return copy;
}

ArticulatedSystem* World::addGeomsOf(ArticulatedSystem* system, unsigned long group,
                                     unsigned long mask) {
  for (const CollisionDefinition& body : system->getCollisionBodies())
    addCollisionObject(body.colObj, body.localIdx, std::string(body.getMaterial()), group, mask);
  return system;
}

ArticulatedSystem* World::addArticulatedSystem(const Child& child,
                                               const std::string& resourceDirectory,
                                               unsigned long group, unsigned long mask,
                                               ArticulatedSystemOption option) {
  return addGeomsOf(add<ArticulatedSystem>(child, resourceDirectory, option), group, mask);
}

ArticulatedSystem* World::addArticulatedSystem(const std::string& urdfPath,
                                               const std::string& resourceDirectory,
                                               const std::vector<std::string>& jointOrder,
                                               unsigned long group, unsigned long mask,
                                               ArticulatedSystemOption option) {
  return addGeomsOf(add<ArticulatedSystem>(urdfPath, resourceDirectory, jointOrder, option), group,
                    mask);
}

namespace {

/// Deletes wires of the object. The index advances in every case, so the wire that is moved into a
/// vacated slot is not looked at again; if it is a wire of the object it survives without bodies.
template <typename Wire>
void dropWires(std::vector<std::unique_ptr<Wire>>& wires, const Object* object) {
  for (size_t i = 0; i < wires.size(); ++i) {
    if (wires[i]->getBody1() != object && wires[i]->getBody2() != object) continue;
    if (i + 1 < wires.size()) wires[i] = std::move(wires.back());
    wires.pop_back();
  }
  for (auto& survivor : wires) survivor->releaseBody(object);
}

template <typename Wire>
void removeWire(std::vector<std::unique_ptr<Wire>>& wires, const Wire* wire) {
  for (size_t i = 0; i < wires.size(); ++i) {
    if (wires[i].get() != wire) continue;
    if (i + 1 < wires.size()) wires[i] = std::move(wires.back());
    wires.pop_back();
    return;
  }
}

/// Writes the owner's place on all geoms of an object.
void setOwnerOfGeoms(const Object& object, size_t index) {
  forEachGeom(object, [index](dGeomID geom) { geomRecord(geom).objectIdx = index; });
}

}  // namespace

void World::moveLastObjectTo(size_t index) {
  Object* last = objectList_.back();
  for (size_t& first : objectPairFirst_)
    if (first == last->getIndexInWorld()) first = index;
  setOwnerOfGeoms(*last, index);
  last->setIndexInWorld(index);
  objectList_[index] = last;
}

void World::removeObject(Object* object) {
  ++objectChangeCount_;
  size_t index = 0;
  while (index < objectList_.size() && objectList_[index] != object) ++index;
  if (index == objectList_.size()) {
    MSG_INFO("the object is already deleted");
    return;
  }
  dropWires(stiffWire_, object);
  dropWires(compliantWire_, object);
  for (size_t i = 0; i < objectPairFirst_.size();) {
    if (objectPairFirst_[i] != index) {
      ++i;
      continue;
    }
    objectPairFirst_[i] = objectPairFirst_.back();
    objectPairSecond_[i] = objectPairSecond_.back();
    objectPairFirst_.pop_back();
    objectPairSecond_.pop_back();
  }
  // The lists of the last `integrate1` stay readable, and a second half may still run on them.
  if (impulseMemory_ != nullptr) impulseMemory_->removeObject(index, objectList_.size() - 1);
  contacts_->release(*object);
  object->destroyCollisionBodies(collision_->space());
  delete object;
  if (index + 1 != objectList_.size()) moveLastObjectTo(index);
  objectList_.pop_back();
}

void World::removeObject(StiffLengthConstraint* wire) {
  ++objectChangeCount_;
  removeWire(stiffWire_, wire);
}

void World::removeObject(CompliantLengthConstraint* wire) {
  ++objectChangeCount_;
  removeWire(compliantWire_, wire);
}

}  // namespace zelvik
