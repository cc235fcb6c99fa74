// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

namespace zelvik::python {

namespace {

struct WireEnd {
  Object* object;
  size_t localIdx;
};

WireEnd endOf(const WorldSelf& self, const ObjectHandle& handle, size_t localIdx,
              const char* what) {
  Object& object = handle.get();
  if (handle.state != self.p->state)
    throwValueError(std::string(what) + ": " + describe(object) + " belongs to another world");
  const bool isRobot = object.getObjectType() == ObjectType::ARTICULATED_SYSTEM;
  const size_t count = isRobot ? static_cast<ArticulatedSystem&>(object).getBodyCount() : 1;
  if (localIdx >= count)
    throwIndexError(std::string(what) + ": body index " + std::to_string(localIdx) +
                    " is out of range, " + describe(object) + " has " + std::to_string(count) +
                    " bodies");
  return {&object, localIdx};
}

nb::object objectOf(const WireHandle& wire, Object* object) {
  return handleOf(wire.state, wire.owner, object);
}

}  // namespace

void bindWires(nb::module_& m, nb::class_<WorldHandle>& world) {
  nb::class_<WireHandle>(m, "LengthConstraint", nb::type_slots(collectorSlots<WireHandle>()),
                         "Ties a point of one body to a point of another by a length.")
      .def("__deepcopy__", twinOfWire, "memo"_a,
           nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> typing.Self"))
      .def_prop_rw(
          "name", [](const WireHandle& w) { return w.get().getName(); },
          [](const WireHandle& w, const std::string& name) { w.get().setName(name); },
          "For `World.get_wire`; need not be unique.")
      .def_prop_rw(
          "stretch_type", [](const WireHandle& w) { return w.get().getStretchType(); },
          [](const WireHandle& w, int type) {
            if (type < 0 || type > 2)
              throwValueError("stretch_type: expected 0, 1 or 2, got " + std::to_string(type));
            w.get().setStretchType(type);
          },
          "When the wire acts: 0 if its distance is above its length, as a rope; 1 (at first) if\n"
          "below, as a strut; 2 always.")
      .def_prop_ro(
          "is_active", [](const WireHandle& w) { return w.get().isActive(); },
          "Whether the wire acted in the last step.")
      .def_prop_ro(
          "stretch", [](const WireHandle& w) { return w.get().getStretch(); },
          "Distance minus length (m), of the last step.")
      .def_prop_ro(
          "distance", [](const WireHandle& w) { return w.get().getDistance(); },
          "Between the points (m), of the last step.")
      .def_prop_rw(
          "length", [](const WireHandle& w) { return w.get().getLength(); },
          [](const WireHandle& w, double length) { w.get().setLength(length); },
          "At rest (m); set it as a winch does.")
      .def_prop_rw(
          "local_pos1", [](const WireHandle& w) { return toPython(w.get().getLocalPos1()); },
          [](const WireHandle& w, ArrayLike p) {
            w.get().setLocalPos1(readVector<3>(p, "local_pos1"));
          },
          "Attachment point (m, frame of body 1), shape (3,); a copy.")
      .def_prop_rw(
          "local_pos2", [](const WireHandle& w) { return toPython(w.get().getLocalPos2()); },
          [](const WireHandle& w, ArrayLike p) {
            w.get().setLocalPos2(readVector<3>(p, "local_pos2"));
          },
          "Attachment point (m, frame of body 2), shape (3,); a copy.")
      .def_prop_ro(
          "norm", [](const WireHandle& w) { return toPython(w.get().getNorm()); },
          "Unit, from point 1 to point 2 (world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "p1", [](const WireHandle& w) { return toPython(w.get().getP1()); },
          "Point on body 1 (m, world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "p2", [](const WireHandle& w) { return toPython(w.get().getP2()); },
          "Point on body 2 (m, world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "body1", [](const WireHandle& w) { return objectOf(w, w.get().getBody1()); },
          nb::sig("def body1(self) -> Object | None"),
          "The first object; None once it has been removed.")
      .def_prop_ro(
          "body2", [](const WireHandle& w) { return objectOf(w, w.get().getBody2()); },
          nb::sig("def body2(self) -> Object | None"),
          "The second object; None once it has been removed.")
      .def_prop_ro(
          "local_idx1", [](const WireHandle& w) { return w.get().getLocalIdx1(); },
          "Body inside of the first object.")
      .def_prop_ro(
          "local_idx2", [](const WireHandle& w) { return w.get().getLocalIdx2(); },
          "Body inside of the second object.")
      .def("__repr__", [](const nb::pointer_and_handle<WireHandle>& w) {
        const nb::object type = w.h.type().attr("__name__");
        if (w.p->wire == nullptr) return nb::str("<{}, removed>").format(type);
        return nb::str("<{} {!r} of {} m>")
            .format(type, w.p->get().getName(), w.p->get().getLength());
      });

  nb::class_<StiffWireHandle, WireHandle>(
      m, "StiffLengthConstraint", nb::type_slots(collectorSlots<StiffWireHandle>()),
      "A wire that does not give: while active it is one more problem of the contact solver.");
  nb::class_<CompliantWireHandle, WireHandle>(m, "CompliantLengthConstraint",
                                              nb::type_slots(collectorSlots<CompliantWireHandle>()),
                                              "A spring between two bodies.")
      .def_prop_rw(
          "stiffness", [](const CompliantWireHandle& w) { return w.compliant().getStiffness(); },
          [](const CompliantWireHandle& w, double stiffness) {
            w.compliant().setStiffness(stiffness);
          },
          "(N/m)")
      .def_prop_ro(
          "tension1",
          [](const CompliantWireHandle& w) { return toPython(w.compliant().getTension1()); },
          "Force on body 1 (N, world axes), shape (3,), of the last step that it acted in.")
      .def_prop_ro(
          "tension2",
          [](const CompliantWireHandle& w) { return toPython(w.compliant().getTension2()); },
          "Force on body 2: the negative of the other.");

  world
      .def(
          "add_stiff_wire",
          [](const WorldSelf& self, const ObjectHandle& body1, ArrayLike pos1,
             const ObjectHandle& body2, ArrayLike pos2, double length, size_t localIdx1,
             size_t localIdx2) {
            World& held = self.p->betweenSteps("add_stiff_wire");
            const WireEnd a = endOf(self, body1, localIdx1, "body1");
            const WireEnd b = endOf(self, body2, localIdx2, "body2");
            StiffLengthConstraint* wire = held.addStiffWire(
                a.object, a.localIdx, readVector<3>(pos1, "pos1"), b.object, b.localIdx,
                readVector<3>(pos2, "pos2"), checkFinite(length, "length"));
            return Made<StiffWireHandle>{wireHandleOf(self.p->state, self.h, wire)};
          },
          "body1"_a, "pos1"_a, "body2"_a, "pos2"_a, "length"_a, nb::kw_only(), "local_idx1"_a = 0,
          "local_idx2"_a = 0,
          "Add a wire that holds its length in the contact solve.\n\n"
          "Parameters\n----------\nbody1, body2 : Object\n    Of this world.\n"
          "pos1, pos2 : array_like, shape (3,)\n    Attachment points (m, body frames).\n"
          "length : float\n    At rest (m).\n"
          "local_idx1, local_idx2 : int\n    Bodies inside of robots.\n\n"
          "Notes\n-----\nA new wire acts as a strut; a rope wants ``stretch_type = 0``.")
      .def(
          "add_compliant_wire",
          [](const WorldSelf& self, const ObjectHandle& body1, ArrayLike pos1,
             const ObjectHandle& body2, ArrayLike pos2, double length, double stiffness,
             size_t localIdx1, size_t localIdx2) {
            World& held = self.p->betweenSteps("add_compliant_wire");
            const WireEnd a = endOf(self, body1, localIdx1, "body1");
            const WireEnd b = endOf(self, body2, localIdx2, "body2");
            CompliantLengthConstraint* wire = held.addCompliantWire(
                a.object, static_cast<int>(a.localIdx), readVector<3>(pos1, "pos1"), b.object,
                static_cast<int>(b.localIdx), readVector<3>(pos2, "pos2"),
                checkFinite(length, "length"), checkFinite(stiffness, "stiffness"));
            return Made<CompliantWireHandle>{wireHandleOf(self.p->state, self.h, wire)};
          },
          "body1"_a, "pos1"_a, "body2"_a, "pos2"_a, "length"_a, "stiffness"_a, nb::kw_only(),
          "local_idx1"_a = 0, "local_idx2"_a = 0,
          "Add a wire that is a spring of `stiffness` (N/m); see `add_stiff_wire`.")
      .def(
          "get_wire",
          [](const WorldSelf& self, const std::string& name) {
            return wireHandleOf(self.p->state, self.h, self.p->get().getWire(name));
          },
          "name"_a, nb::sig("def get_wire(self, name: str) -> LengthConstraint | None"),
          "Get the first stiff wire of that name, else the first compliant one, else None.")
      .def(
          "get_constraint",
          [](const WorldSelf& self, const std::string& name) {
            return wireHandleOf(self.p->state, self.h, self.p->get().getConstraint(name));
          },
          "name"_a, nb::sig("def get_constraint(self, name: str) -> LengthConstraint | None"),
          "Get the first stiff wire of that name, else None.");
}

}  // namespace zelvik::python
