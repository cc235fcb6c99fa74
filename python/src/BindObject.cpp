// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

// What all objects of a world have in common.

namespace zelvik::python {

namespace {

/// The object, after a look at the body index, which the library does not check everywhere.
Object& withBody(const ObjectHandle& handle, size_t localIdx, const char* operation) {
  Object& object = handle.get();
  const bool isRobot = object.getObjectType() == ObjectType::ARTICULATED_SYSTEM;
  const size_t count = isRobot ? static_cast<ArticulatedSystem&>(object).getBodyCount() : 1;
  if (localIdx >= count)
    throwIndexError(std::string(operation) + ": body index " + std::to_string(localIdx) +
                    " is out of range, " + describe(object) + " has " + std::to_string(count) +
                    (count == 1 ? " body" : " bodies"));
  return object;
}

void bindForces(nb::class_<ObjectHandle>& object) {
  object
      .def(
          "set_external_force",
          [](const ObjectHandle& self, ArrayLike force, size_t localIdx,
             const std::optional<ArrayLike>& point) {
            Object& held = withBody(self, localIdx, "set_external_force");
            const Mat<3, 1> f = readVector<3>(force, "force");
            if (point)
              held.setExternalForce(localIdx, readVector<3>(*point, "point"), f);
            else
              held.setExternalForce(localIdx, f);
          },
          "force"_a, "local_idx"_a = 0, "point"_a = nb::none(),
          "Add a force for the next step.\n\n"
          "Parameters\n----------\nforce : array_like, shape (3,)\n    (N, world axes)\n"
          "local_idx : int\n    Body inside of a robot; 0 for single bodies.\n"
          "point : array_like, shape (3,), optional\n    Where it acts (m, body frame); by default "
          "the centre of mass.")
      .def(
          "set_external_torque",
          [](const ObjectHandle& self, ArrayLike torque, size_t localIdx) {
            withBody(self, localIdx, "set_external_torque")
                .setExternalTorque(localIdx, readVector<3>(torque, "torque"));
          },
          "torque"_a, "local_idx"_a = 0,
          "Add a torque (N m, world axes), shape (3,), for the next step.")
      .def(
          "clear_external_forces_and_torques",
          [](const ObjectHandle& self) { self.get().clearExternalForcesAndTorques(); },
          "Empty the lists of external forces and torques.")
      .def_prop_ro(
          "vis_forces",
          [](const ObjectHandle& self) { return toPython(self.get().getVisForces()); },
          "External forces of the last step that had any (N, world axes), shape (n, 3).")
      .def_prop_ro(
          "vis_force_positions",
          [](const ObjectHandle& self) { return toPython(self.get().getVisForcePositions()); },
          "Where they act (m, world axes), shape (n, 3).")
      .def_prop_ro(
          "vis_torques",
          [](const ObjectHandle& self) { return toPython(self.get().getVisTorques()); },
          "External torques likewise (N m, world axes), shape (n, 3).")
      .def_prop_ro(
          "vis_torque_positions",
          [](const ObjectHandle& self) { return toPython(self.get().getVisTorquePositions()); },
          "Where they are to be drawn (m, world axes), shape (n, 3).");
}

}  // namespace

void bindObject(nb::class_<ObjectHandle>& object) {
  object
      .def_prop_ro(
          "world", [](const ObjectHandle& self) { return self.owner; },
          nb::sig("def world(self) -> World"), "The world that it is, or was, part of.")
      .def_prop_ro(
          "is_removed", [](const ObjectHandle& self) { return self.object == nullptr; },
          "Whether it has been removed from its world; the only thing left to ask then.")
      .def_prop_rw(
          "name", [](const ObjectHandle& self) { return self.get().getName(); },
          [](const ObjectHandle& self, const std::string& name) { self.get().setName(name); },
          "For `World.get_object`; empty at first, need not be unique.")
      .def_prop_ro(
          "object_type", [](const ObjectHandle& self) { return self.get().getObjectType(); },
          "What kind of object this is.")
      .def_prop_ro(
          "index_in_world", [](const ObjectHandle& self) { return self.get().getIndexInWorld(); },
          "Place in `World.objects`; changes when an earlier object is removed.")
      .def_prop_ro(
          "id_in_world", [](const ObjectHandle& self) { return self.get().getIdInWorld(); },
          "Differs for all objects that the world ever held.")
      .def_prop_ro(
          "shape_change_count",
          [](const ObjectHandle& self) { return self.get().getShapeChangeCount(); },
          "Grows when the size or the place of a shape changes.")
      .def_prop_ro(
          "body_type", [](const ObjectHandle& self) { return self.get().getBodyType(); },
          "How the object takes part in a step.")
      .def(
          "get_mass",
          [](const ObjectHandle& self, size_t i) {
            return withBody(self, i, "get_mass").getMass(i);
          },
          "local_idx"_a = 0, "Get the mass of a body (kg).")
      .def(
          "get_position",
          [](const ObjectHandle& self, size_t i, const std::optional<ArrayLike>& point) {
            const Object& held = withBody(self, i, "get_position");
            Mat<3, 1> out;
            if (point)
              held.getPosition(i, readVector<3>(*point, "point"), out);
            else
              held.getPosition(i, out);
            return toPython(out);
          },
          "local_idx"_a = 0, "point"_a = nb::none(),
          "Get where a body, or a point of it, is (m, world axes), shape (3,).\n\n"
          "Without `point` (m, body frame): the centre of mass of a single body, the frame origin\n"
          "(the joint) of a body of a robot.")
      .def(
          "get_velocity",
          [](const ObjectHandle& self, size_t i) {
            Mat<3, 1> out;
            withBody(self, i, "get_velocity").getVelocity(i, out);
            return toPython(out);
          },
          "local_idx"_a = 0,
          "Get the velocity of that point (m/s, world axes), shape (3,).\n\n"
          "Of a robot: as of the last step.")
      .def(
          "get_orientation",
          [](const ObjectHandle& self, size_t i) {
            Mat<3, 3> R;
            withBody(self, i, "get_orientation").getOrientation(i, R);
            return toPython(R);
          },
          "local_idx"_a = 0, "Get the rotation matrix body to world, shape (3, 3).")
      .def(
          "get_body_type",
          [](const ObjectHandle& self, size_t i) {
            return withBody(self, i, "get_body_type").getBodyType(i);
          },
          "local_idx"_a = 0, "Get how a body takes part in a step.")
      .def("__deepcopy__", twinOfObject, "memo"_a,
           nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> typing.Self"))
      .def("__repr__", [](const ObjectHandle& self) -> std::string {
        if (self.object == nullptr) return "<removed object>";
        const Object& held = self.get();
        return "<" + describe(held) + ", object " + std::to_string(held.getIndexInWorld()) + ">";
      });
  bindForces(object);
}

}  // namespace zelvik::python
