// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Handles.hpp"

#include <algorithm>

namespace zelvik::python {

void WorldState::throwBusy() {
  throwRuntimeError("another thread is working with this world; a world serves one at a time");
}

void WorldState::throwBetween(const char* operation) {
  throwRuntimeError(std::string(operation) +
                    ": not between integrate1 and integrate2; finish the step first");
}

void ObjectHandle::throwRemoved() const {
  throw Removed("this object has been removed from its world");
}

const char* pythonNameOf(ObjectType type) {
  static const char* const names[] = {
      "Sphere",   "Box",       "Cylinder",          "Cone",   "Capsule",   "Mesh", "Ground",
      "Compound", "HeightMap", "ArticulatedSystem", "Object", "ConvexHull"};
  return names[std::min<size_t>(type, std::size(names) - 1)];
}

std::string describe(const Object& object) {
  const std::string type = pythonNameOf(object.getObjectType());
  return object.getName().empty() ? type : type + " '" + object.getName() + "'";
}

const VecDyn& vectorOf(const ArticulatedSystem& robot, RobotVector which) {
  switch (which) {
    case RobotVector::COORDINATE:
      return robot.getGeneralizedCoordinate();
    case RobotVector::VELOCITY:
      return robot.getGeneralizedVelocity();
    case RobotVector::FORCE:
      return robot.getGeneralizedForce();
    case RobotVector::FEED_FORWARD:
      return robot.getFeedForwardForce();
    case RobotVector::P_GAIN:
      return robot.getPGain();
    case RobotVector::D_GAIN:
      return robot.getDGain();
    case RobotVector::P_TARGET:
      return robot.getPTarget();
    case RobotVector::D_TARGET:
      return robot.getDTarget();
    case RobotVector::LOWER_LIMIT:
      return robot.getForceLowerLimit();
    case RobotVector::UPPER_LIMIT:
      return robot.getForceUpperLimit();
    case RobotVector::DAMPING:
      return robot.getJointDamping();
    case RobotVector::FRICTION:
      return robot.getJointFriction();
    case RobotVector::ROTOR_INERTIA:
      return robot.getRotorInertia();
    default:
      return robot.getNonlinearities();
  }
}

Array RobotHandle::view(RobotVector which) {
  const ArticulatedSystem& system = robot();
  nb::object& view = views[static_cast<size_t>(which)];
  if (view.is_valid()) return {view};
  if (memory == nullptr) {
    std::weak_ptr<RobotMemory>& known = state->memories[object];
    memory = known.lock();
    if (memory == nullptr) known = memory = std::make_shared<RobotMemory>(RobotMemory{state, {}});
  }
  const VecDyn& v = vectorOf(system, which);
  // Not the handle itself: numpy's arrays are hidden from the garbage collector.
  const nb::capsule keeper(new std::shared_ptr<RobotMemory>(memory), [](void* p) noexcept {
    delete static_cast<std::shared_ptr<RobotMemory>*>(p);
  });
  view = viewOf(v.v, v.n, keeper).value;
  return {view};
}

namespace {

/// A Python object of the handle's type, which lives inside of it.
template <typename Handle>
std::pair<nb::object, Handle*> make() {
  nb::object instance = nb::inst_alloc(nb::type<Handle>());
  Handle* handle = new (nb::inst_ptr<Handle>(instance)) Handle;
  nb::inst_mark_ready(instance);
  return {std::move(instance), handle};
}

std::pair<nb::object, ObjectHandle*> makeOfType(ObjectType type) {
  switch (type) {
    case ObjectType::SPHERE:
      return make<ShapeHandle<Sphere>>();
    case ObjectType::BOX:
      return make<ShapeHandle<Box>>();
    case ObjectType::CYLINDER:
      return make<ShapeHandle<Cylinder>>();
    case ObjectType::CAPSULE:
      return make<ShapeHandle<Capsule>>();
    case ObjectType::MESH:
      return make<ShapeHandle<Mesh>>();
    case ObjectType::HULL:
      return make<ShapeHandle<ConvexHull>>();
    case ObjectType::GROUND:
      return make<ShapeHandle<Ground>>();
    case ObjectType::COMPOUND:
      return make<ShapeHandle<Compound>>();
    case ObjectType::HEIGHTMAP:
      return make<ShapeHandle<HeightMap>>();
    case ObjectType::ARTICULATED_SYSTEM:
      return make<RobotHandle>();
    default:
      throwRuntimeError("an object of a type that Python does not know");
  }
}

template <typename Map, typename Key>
nb::object findHandle(const Map& map, Key* key) {
  const auto found = map.find(key);
  return found == map.end() ? nb::object() : nb::borrow(found->second);
}

bool isStiff(const WorldState& state, const LengthConstraint* wire) {
  const auto& stiff = state.world->getStiffWires();
  return std::any_of(stiff.begin(), stiff.end(),
                     [&](const auto& held) { return held.get() == wire; });
}

/// Empties the handles of wires that the world has let go of.
void dropRemovedWires(WorldState& state) {
  const auto isHeld = [&](const LengthConstraint* wire) {
    const auto& compliant = state.world->getCompliantWires();
    return isStiff(state, wire) ||
           std::any_of(compliant.begin(), compliant.end(),
                       [&](const auto& held) { return held.get() == wire; });
  };
  for (auto entry = state.wires.begin(); entry != state.wires.end();) {
    if (isHeld(entry->first)) {
      ++entry;
      continue;
    }
    nb::inst_ptr<WireHandle>(entry->second)->wire = nullptr;
    entry = state.wires.erase(entry);
  }
}

/// Moves the vectors that views stand on out of a robot that is about to go.
void keepVectors(WorldState& state, const Object* object) {
  const auto known = state.memories.find(object);
  if (known == state.memories.end()) return;
  if (const std::shared_ptr<RobotMemory> memory = known->second.lock()) {
    const auto& robot = static_cast<const ArticulatedSystem&>(*object);
    for (size_t i = 0; i < kRobotVectors; ++i)
      memory->kept.push_back(
          std::move(const_cast<VecDyn&>(vectorOf(robot, static_cast<RobotVector>(i)))));
  }
  state.memories.erase(known);
}

}  // namespace

nb::object handleOf(const std::shared_ptr<WorldState>& state, nb::handle world, Object* object) {
  if (object == nullptr) return nb::none();
  if (nb::object known = findHandle(state->objects, object); known.is_valid()) return known;
  auto [instance, handle] = makeOfType(object->getObjectType());
  handle->owner = nb::borrow(world);
  handle->state = state;
  handle->object = object;
  state->objects[object] = instance.ptr();
  return instance;
}

nb::object wireHandleOf(const std::shared_ptr<WorldState>& state, nb::handle world,
                        LengthConstraint* wire) {
  if (wire == nullptr) return nb::none();
  if (nb::object known = findHandle(state->wires, wire); known.is_valid()) return known;
  std::pair<nb::object, WireHandle*> made;
  if (isStiff(*state, wire))
    made = make<StiffWireHandle>();
  else
    made = make<CompliantWireHandle>();
  made.second->owner = nb::borrow(world);
  made.second->state = state;
  made.second->wire = wire;
  state->wires[wire] = made.first.ptr();
  return made.first;
}

void removeObject(WorldHandle& world, ObjectHandle& handle) {
  Object& object = handle.get();
  if (handle.state != world.state)
    throwValueError("remove_object: " + describe(object) + " belongs to another world");
  WorldState& state = *world.state;
  state.checkBetweenSteps("remove_object");
  keepVectors(state, &object);
  handle.object = nullptr;
  state.objects.erase(&object);
  state.world->removeObject(&object);
  dropRemovedWires(state);
}

void removeWire(WorldHandle& world, WireHandle& handle) {
  LengthConstraint& wire = handle.get();
  if (handle.state != world.state)
    throwValueError("remove_object: the wire belongs to another world");
  world.state->checkBetweenSteps("remove_object");
  World& held = *world.state->world;
  if (isStiff(*world.state, &wire))
    held.removeObject(static_cast<StiffLengthConstraint*>(&wire));
  else
    held.removeObject(static_cast<CompliantLengthConstraint*>(&wire));
  dropRemovedWires(*world.state);
}

}  // namespace zelvik::python
