// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>
#include <zelvik/World.hpp>

#include "Array.hpp"

// Who owns what. Python's `World` and everything that comes out of it share one `WorldState`, which
// holds the world of the library. Python's objects and wires are handles: a pointer into that
// world, which becomes null when the world lets go of what it points to. So nothing that Python
// keeps can dangle: a handle of a removed object raises, and a view has memory that lives on.

namespace zelvik::python {

struct ObjectHandle;
struct WireHandle;

/// The vectors of a robot whose views Python holds. While the robot lives they are its own; when it
/// is removed their blocks move here, so that views stay good.
struct RobotMemory;

struct WorldState {
  std::unique_ptr<World> world;
  bool isBusy = false;     ///< a thread works in the library without the interpreter's lock
  bool isBetween = false;  ///< after `integrate1`, before `integrate2`
  // The handles that Python holds at present, for one handle per object.
  std::unordered_map<const Object*, PyObject*> objects;
  std::unordered_map<const LengthConstraint*, PyObject*> wires;
  std::unordered_map<const Object*, std::weak_ptr<RobotMemory>> memories;

  /// RuntimeError while another thread works with the world.
  void checkFree() const {
    if (isBusy) throwBusy();
  }
  /// The same, and between the halves of a step.
  void checkBetweenSteps(const char* operation) const {
    checkFree();
    if (isBetween) throwBetween(operation);
  }

 private:
  [[noreturn]] static void throwBusy();
  [[noreturn]] static void throwBetween(const char* operation);
};

/// Python's World.
struct WorldHandle {
  std::shared_ptr<WorldState> state = std::make_shared<WorldState>();

  World& get() const {
    state->checkFree();
    return *state->world;
  }
  World& betweenSteps(const char* operation) const {
    state->checkBetweenSteps(operation);
    return *state->world;
  }
};

/// `self` of a method of World that makes handles.
using WorldSelf = nb::pointer_and_handle<WorldHandle>;

/// Marks a world as busy and gives up the interpreter's lock, for as long as it lives; then hands
/// on what the library said.
class Unlocked {
 public:
  explicit Unlocked(const std::shared_ptr<WorldState>& state) : state_(state) {
    state_->checkFree();
    state_->isBusy = true;
    thread_ = PyEval_SaveThread();
  }
  ~Unlocked() {
    PyEval_RestoreThread(thread_);
    state_->isBusy = false;
  }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  std::shared_ptr<WorldState> state_;
  PyThreadState* thread_;
};

/// Runs `work` without the interpreter's lock.
template <typename Work>
auto unlocked(const std::shared_ptr<WorldState>& state, Work work) {
  if constexpr (std::is_void_v<decltype(work())>) {
    {
      const Unlocked guard(state);
      work();
    }
    flushMessages();
  } else {
    auto result = [&] {
      const Unlocked guard(state);
      return work();
    }();
    flushMessages();
    return result;
  }
}

/// Anything that belongs to a world and keeps Python's World alive by `owner`, a World or a handle.
struct Owned {
  nb::object owner;
};

/// Base of Python's objects of a world; `owner` is the World.
struct ObjectHandle : Owned {
  std::shared_ptr<WorldState> state;
  Object* object = nullptr;  ///< null once it has been removed

  ObjectHandle() = default;
  ObjectHandle(const ObjectHandle&) = delete;
  ObjectHandle& operator=(const ObjectHandle&) = delete;
  ~ObjectHandle() {
    if (object != nullptr) state->objects.erase(object);
  }

  /// The object; ReferenceError once it has been removed.
  Object& get() const {
    if (object == nullptr) throwRemoved();
    state->checkFree();
    return *object;
  }
  /// The same for what must not happen between the halves of a step.
  Object& betweenSteps(const char* operation) const {
    Object& found = get();
    state->checkBetweenSteps(operation);
    return found;
  }

 private:
  [[noreturn]] void throwRemoved() const;
};

struct SingleBodyHandle : ObjectHandle {
  SingleBodyObject& body() const { return static_cast<SingleBodyObject&>(get()); }
  SingleBodyObject& bodyBetweenSteps(const char* operation) const {
    return static_cast<SingleBodyObject&>(betweenSteps(operation));
  }
};

template <typename T>
struct ShapeHandle : SingleBodyHandle {
  T& shape() const { return static_cast<T&>(get()); }
  T& shapeBetweenSteps(const char* operation) const {
    return static_cast<T&>(betweenSteps(operation));
  }
};

/// The vectors that have views, in the order of `RobotHandle::views`.
enum class RobotVector : size_t {
  COORDINATE,
  VELOCITY,
  FORCE,
  FEED_FORWARD,
  P_GAIN,
  D_GAIN,
  P_TARGET,
  D_TARGET,
  LOWER_LIMIT,
  UPPER_LIMIT,
  DAMPING,
  FRICTION,
  ROTOR_INERTIA,
  NONLINEARITIES,
  COUNT
};
constexpr size_t kRobotVectors = static_cast<size_t>(RobotVector::COUNT);

const VecDyn& vectorOf(const ArticulatedSystem& robot, RobotVector which);

struct RobotMemory {
  std::shared_ptr<WorldState> state;
  std::vector<VecDyn> kept;
};

struct RobotHandle : ObjectHandle {
  std::shared_ptr<RobotMemory> memory;
  nb::object views[kRobotVectors];

  ArticulatedSystem& robot() const { return static_cast<ArticulatedSystem&>(get()); }
  ArticulatedSystem& robotBetweenSteps(const char* operation) const {
    return static_cast<ArticulatedSystem&>(betweenSteps(operation));
  }
  /// A read-only array on a vector of the robot, made once.
  Array view(RobotVector which);
};

/// Base of Python's wires; `owner` is the World.
struct WireHandle : Owned {
  std::shared_ptr<WorldState> state;
  LengthConstraint* wire = nullptr;  ///< null once it has been removed

  WireHandle() = default;
  WireHandle(const WireHandle&) = delete;
  WireHandle& operator=(const WireHandle&) = delete;
  ~WireHandle() {
    if (wire != nullptr) state->wires.erase(wire);
  }
  LengthConstraint& get() const {
    if (wire == nullptr) throw Removed("this wire has been removed from its world");
    state->checkFree();
    return *wire;
  }
};

struct StiffWireHandle : WireHandle {};
struct CompliantWireHandle : WireHandle {
  CompliantLengthConstraint& compliant() const {
    return static_cast<CompliantLengthConstraint&>(get());
  }
};

/// Python's handle of an object: the one that it has already, or a new one. None for null.
nb::object handleOf(const std::shared_ptr<WorldState>& state, nb::handle world, Object* object);
inline nb::object handleOf(const WorldSelf& self, Object* object) {
  return handleOf(self.p->state, self.h, object);
}
/// The same with the type that is known, for signatures.
template <typename Handle>
struct Made {
  nb::object value;
};
nb::object wireHandleOf(const std::shared_ptr<WorldState>& state, nb::handle world,
                        LengthConstraint* wire);

/// Takes an object out of its world; its handle and those of wires that go with it become empty.
void removeObject(WorldHandle& world, ObjectHandle& handle);
void removeWire(WorldHandle& world, WireHandle& handle);

/// Name of a type as Python has it.
const char* pythonNameOf(ObjectType type);
/// `"Sphere 'ball'"`, or `"Sphere"` if it has no name.
std::string describe(const Object& object);

// Slots for the garbage collector: a World may hold, in attributes of a subclass, what holds it.
template <typename T>
int traverseOwner(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  if (!nb::inst_ready(self)) return 0;
  PyObject* owner = nb::inst_ptr<T>(self)->owner.ptr();
  Py_VISIT(owner);
  return 0;
}
template <typename T>
int clearOwner(PyObject* self) {
  if (nb::inst_ready(self)) nb::inst_ptr<T>(self)->owner.reset();
  return 0;
}
template <typename T>
const PyType_Slot* collectorSlots() {
  static const PyType_Slot slots[] = {{Py_tp_traverse, reinterpret_cast<void*>(traverseOwner<T>)},
                                      {Py_tp_clear, reinterpret_cast<void*>(clearOwner<T>)},
                                      {0, nullptr}};
  return slots;
}

}  // namespace zelvik::python

namespace nanobind::detail {

/// Shows the type of the handle in signatures.
template <typename Handle>
struct type_caster<zelvik::python::Made<Handle>> {
  using Value = zelvik::python::Made<Handle>;
  static constexpr auto Name = make_caster<Handle>::Name;
  template <typename>
  using Cast = Value;
  static handle from_cpp(const Value& source, rv_policy, cleanup_list*) noexcept {
    return source.value.inc_ref();
  }
};

}  // namespace nanobind::detail
