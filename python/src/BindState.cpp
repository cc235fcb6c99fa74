// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/State.hpp>

#include "Bindings.hpp"

// Moments of a world, and copies of worlds with what belongs to them.

namespace zelvik::python {

namespace {

const char* const kSaveDoc =
    "Save this moment: all that the next step depends on, apart from parameters.\n\n"
    "Parameters\n----------\ninto : State, optional\n    Its memory is used again and it is "
    "returned; by default a new one is made.\n\n"
    "Raises\n------\nFatalError\n    With `BroadPhase.QUADTREE`, whose order nobody can restore.";

const char* const kRestoreDoc =
    "Go back to a saved moment.\n\n"
    "The world then continues to the last bit as the one that was saved, if it was built by the\n"
    "same calls and has the same parameters, materials, shapes and gains, which are no part of a\n"
    "state. Views follow. Contacts are empty until the next step.\n\n"
    "Raises\n------\nFatalError\n    For a state of a world of another structure; nothing has "
    "changed then.";

const char* const kCloneDoc =
    "Make a world of its own with the same objects, wires, parameters and state.\n\n"
    "It continues to the last bit as this one does. Objects and wires have the same places in\n"
    "their lists. `copy.deepcopy` does the same, also for attributes of a subclass, and gives the\n"
    "twins of objects, wires and joints that are copied along: `copy.deepcopy((world, robot))`.";

State stateOf(const nb::bytes& bytes) {
  return State::fromBytes(bytes.data(), bytes.size());
}

nb::bytes bytesOf(const State& state) {
  return nb::bytes(state.getBytes().data(), state.getBytes().size());
}

nb::object deepCopy(nb::handle thing, const nb::dict& memo) {
  return nb::module_::import_("copy").attr("deepcopy")(thing, memo);
}

/// A clone as an instance of `type`, which is World or derived from it.
nb::object cloneAs(nb::handle type, const WorldHandle& self) {
  const World& world = self.betweenSteps("clone");
  std::unique_ptr<World> made = unlocked(self.state, [&] { return world.clone(); });
  nb::object instance = nb::inst_alloc(type);
  auto* handle = new (nb::inst_ptr<WorldHandle>(instance)) WorldHandle;
  handle->state->world = std::move(made);
  nb::inst_mark_ready(instance);
  return instance;
}

nb::object deepCopyWorld(const WorldSelf& self, nb::dict memo) {
  nb::object twin = cloneAs(self.h.type(), *self.p);
  // Before the attributes, which may hold objects of this world.
  memo[nb::int_(reinterpret_cast<std::uintptr_t>(self.h.ptr()))] = twin;
  if (nb::hasattr(self.h, "__dict__"))
    twin.attr("__dict__").attr("update")(deepCopy(self.h.attr("__dict__"), memo));
  return twin;
}

}  // namespace

nb::object twinOfObject(const ObjectHandle& self, const nb::dict& memo) {
  const size_t index = self.get().getIndexInWorld();
  const nb::object world = deepCopy(self.owner, memo);
  const std::shared_ptr<WorldState>& state = nb::inst_ptr<WorldHandle>(world)->state;
  return handleOf(state, world, state->world->getObjList()[index]);
}

nb::object twinOfWire(const WireHandle& self, const nb::dict& memo) {
  const LengthConstraint* wire = &self.get();
  const nb::object world = deepCopy(self.owner, memo);
  const std::shared_ptr<WorldState>& state = nb::inst_ptr<WorldHandle>(world)->state;
  const auto find = [&](const auto& wires, const auto& twins) -> LengthConstraint* {
    for (size_t i = 0; i < wires.size(); ++i)
      if (wires[i].get() == wire) return twins[i].get();
    return nullptr;
  };
  LengthConstraint* twin = find(self.state->world->getStiffWires(), state->world->getStiffWires());
  if (twin == nullptr)
    twin = find(self.state->world->getCompliantWires(), state->world->getCompliantWires());
  return wireHandleOf(state, world, twin);
}

nb::object twinOfOwner(const Owned& self, const nb::dict& memo) {
  return deepCopy(self.owner, memo);
}

void bindStates(nb::module_& m, nb::class_<WorldHandle>& world) {
  nb::class_<State> state(
      m, "State", nb::is_final(),
      "A moment of a world, made by `World.save_state`: a value that can be compared, copied,\n"
      "pickled and sent.\n\nParameters\n----------\nbytes : bytes, optional\n    What `to_bytes` "
      "gave; empty without.\n\nRaises\n------\nFatalError\n    For bytes that are no state, of "
      "another version, or damaged.");
  state.def(nb::init<>())
      .def(
          "__init__", [](State* self, const nb::bytes& bytes) { new (self) State(stateOf(bytes)); },
          "bytes"_a)
      .def_static("from_bytes", stateOf, "bytes"_a, "Make the state that gave these bytes.")
      .def("to_bytes", bytesOf, "Give the state as bytes (docs/state-format.md).")
      .def("__bytes__", bytesOf)
      .def("__len__", [](const State& self) { return self.getBytes().size(); })
      .def_prop_ro("is_empty", &State::isEmpty, "Whether it holds no moment, as at first.")
      .def_prop_ro(
          "hash", &State::getHash,
          "Hash of all values (64 bits): equal for states equal to the last bit; 0 for an\n"
          "empty one.")
      .def(
          "__eq__",
          [](const State& a, nb::handle b) {
            State* other = nullptr;
            return nb::try_cast<State*>(b, other) && other != nullptr && a == *other;
          },
          nb::arg().none(), nb::sig("def __eq__(self, arg: object, /) -> bool"))
      .def(
          "__hash__",
          [](const State&) -> Py_ssize_t {
            throwTypeError("unhashable type: 'State', since save_state(into=...) writes into it");
          },
          nb::sig("def __hash__(self) -> typing.NoReturn"))
      .def("__copy__", [](const State& self) { return State(self); })
      .def(
          "__deepcopy__", [](const State& self, const nb::dict&) { return State(self); }, "memo"_a,
          nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> State"))
      .def(
          "__reduce__",
          [](nb::pointer_and_handle<State> self) {
            return nb::make_tuple(self.h.type(), nb::make_tuple(bytesOf(*self.p)));
          },
          nb::sig("def __reduce__(self) -> tuple[type[State], tuple[bytes]]"))
      .def("__repr__", [](const State& self) {
        return nb::str("<State: {} bytes, hash {:#018x}>")
            .format(self.getBytes().size(), self.getHash());
      });
  state.attr("VERSION") = State::kVersion;

  world
      .def(
          "save_state",
          [](const WorldHandle& self, nb::handle into) {
            nb::object state = into.is_none() ? nb::cast(State()) : nb::borrow(into);
            self.betweenSteps("save_state").saveState(nb::cast<State&>(state));
            return state;
          },
          "into"_a = nb::none(),
          nb::sig("def save_state(self, into: State | None = None) -> State"), kSaveDoc)
      .def(
          "restore_state",
          [](const WorldHandle& self, const State& state) {
            self.betweenSteps("restore_state").restoreState(state);
          },
          "state"_a, kRestoreDoc)
      .def_prop_ro(
          "state_hash",
          [](const WorldHandle& self) { return self.betweenSteps("state_hash").getStateHash(); },
          "`State.hash` of the present moment.")
      .def_prop_ro(
          "is_between_halves", [](const WorldHandle& self) { return self.get().isBetweenHalves(); },
          "Whether `integrate1` has run and `integrate2` has not.")
      .def(
          "clone", [](const WorldSelf& self) { return cloneAs(nb::type<WorldHandle>(), *self.p); },
          nb::sig("def clone(self) -> World"), kCloneDoc)
      .def("__deepcopy__", deepCopyWorld, "memo"_a,
           nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> typing.Self"))
      .def(
          "__reduce_ex__",
          [](const WorldHandle&, int) -> nb::object {
            throwTypeError(
                "cannot pickle 'World': pickle its save_state(), build a world by the same calls "
                "and restore it there; for a copy in this process there is clone()");
          },
          nb::arg().noconvert(),
          nb::sig("def __reduce_ex__(self, protocol: typing.SupportsIndex, /) -> str | "
                  "tuple[object, ...]"));
}

}  // namespace zelvik::python
