// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

namespace zelvik::python {

namespace {

/// A contact of an object, copied; `owner` is the World.
struct ContactCopy : Owned {
  std::shared_ptr<WorldState> state;
  contact::Contact contact;
  Mat<3, 1> impulseW{};
  size_t pairId = kNone;  ///< `Object::getIdInWorld` of the other side
};

nb::object pairOf(const ContactCopy& c) {
  c.state->checkFree();
  for (Object* object : c.state->world->getObjList())
    if (object->getIdInWorld() == c.pairId) return handleOf(c.state, c.owner, object);
  return nb::none();
}

std::optional<size_t> indexOf(size_t index) {
  if (index == kNone) return {};
  return index;
}

std::vector<ContactCopy> contactsOf(const ObjectHandle& self) {
  const Object& object = self.get();
  const std::vector<Object*>& objects = self.state->world->getObjList();
  std::vector<ContactCopy> out;
  out.reserve(object.getContacts().size());
  for (const contact::Contact& contact : object.getContacts()) {
    ContactCopy copy;
    copy.owner = self.owner;
    copy.state = self.state;
    contact.getImpulse(copy.impulseW);
    if (contact.pairObjectIndex_ < objects.size())
      copy.pairId = objects[contact.pairObjectIndex_]->getIdInWorld();
    copy.contact = contact;
    copy.contact.contactProblem_ = nullptr;  // of the world's list, which the next step clears
    copy.contact.delassusPtr_ = nullptr;
    out.push_back(std::move(copy));
  }
  return out;
}

}  // namespace

void bindContacts(nb::module_& m, nb::class_<ObjectHandle>& object) {
  nb::class_<ContactCopy>(m, "Contact", nb::is_final(),
                          nb::type_slots(collectorSlots<ContactCopy>()),
                          "One object's view of a contact; a copy that stays as it is.")
      .def_prop_ro(
          "position", [](const ContactCopy& c) { return toPython(c.contact.position_); },
          "(m, world axes), shape (3,).")
      .def_prop_ro(
          "normal", [](const ContactCopy& c) { return toPython(c.contact.normal_); },
          "Unit, towards the A side (world axes), shape (3,).")
      .def_prop_ro(
          "frame", [](const ContactCopy& c) { return toPython(c.contact.frame_); },
          "Rotation matrix world to contact frame, shape (3, 3); rows: tangent, tangent, "
          "normal.")
      .def_prop_ro(
          "impulse", [](const ContactCopy& c) { return toPython(c.impulseW); },
          "On this object in the last step (N s, world axes), shape (3,).")
      .def_prop_ro(
          "depth", [](const ContactCopy& c) { return c.contact.depth_; },
          "Signed distance, negative while penetrating (m).")
      .def_prop_ro(
          "impact_vel", [](const ContactCopy& c) { return c.contact.impactVel_; },
          "Normal velocity of this side's point before the solve (m/s).")
      .def_prop_ro(
          "local_body_index", [](const ContactCopy& c) { return c.contact.localBodyIndex_; },
          "Body inside of this object.")
      .def_prop_ro(
          "shape_index", [](const ContactCopy& c) { return indexOf(c.contact.shapeIndex_); },
          "Place of the shape among those of this object; None where it has none.")
      .def_prop_ro(
          "pair_shape_index",
          [](const ContactCopy& c) { return indexOf(c.contact.pairShapeIndex_); },
          "The same of the other side.")
      .def_prop_ro("pair_object", pairOf, nb::sig("def pair_object(self) -> Object | None"),
                   "The other side; None once it has been removed.")
      .def_prop_ro(
          "pair_body_type", [](const ContactCopy& c) { return c.contact.pairBodyType_; },
          "How the other side takes part in a step.")
      .def_prop_ro(
          "object_a", [](const ContactCopy& c) { return c.contact.objectA_; },
          "Whether this object is the A side of the pair.")
      .def_prop_ro(
          "self_collision", [](const ContactCopy& c) { return c.contact.selfCollision_; },
          "Whether it stands for both sides of a contact of a robot with itself.")
      .def_prop_ro(
          "skip", [](const ContactCopy& c) { return c.contact.skip_; },
          "Whether it does not act: the twin of a contact of a robot with itself, or one "
          "with an object that has been removed.")
      .def("__repr__", [](const ContactCopy& c) {
        return nb::str("<Contact of body {}, depth {} m, impulse {} N s>")
            .format(c.contact.localBodyIndex_, c.contact.depth_, toPython(c.impulseW).value);
      });
  object.def_prop_ro("contacts", contactsOf,
                     "Contacts of the present step, from `World.integrate1` on; copies.");
}

}  // namespace zelvik::python
