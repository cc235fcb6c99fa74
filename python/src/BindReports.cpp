// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/ContactReport.hpp>
#include <zelvik/Ledger.hpp>
#include <zelvik/Watch.hpp>

#include "Bindings.hpp"

// What a world tells of its steps: books of energy and momentum, contacts, what went wrong.

namespace zelvik::python {

namespace {

/// Python's contact report, which asks the world anew in each call; `owner` is the World.
struct ReportHandle : Owned {
  std::shared_ptr<WorldState> state;

  const ContactReport& get() const {
    state->checkFree();
    return state->world->getContactReport();
  }
};

/// A touch with its points, copied; the objects are Python's.
struct TouchCopy {
  Touch touch;
  std::vector<ContactPoint> points;
  nb::object sides[2];
};

const Object& objectOf(const ReportHandle& self, const ObjectHandle& handle) {
  const Object& object = handle.get();
  if (handle.state != self.state)
    throwValueError("contact_report: " + describe(object) + " belongs to another world");
  return object;
}

/// A member of a record as a read-only property; vectors become arrays.
template <auto member, typename Class>
void field(Class& record, const char* name, const char* doc) {
  record.def_prop_ro(
      name,
      [](const typename Class::Type& self) {
        if constexpr (std::is_same_v<std::decay_t<decltype(self.*member)>, Mat<3, 1>>)
          return toPython(self.*member);
        else
          return self.*member;
      },
      doc);
}

void bindLedger(nb::module_& m, nb::class_<WorldHandle>& world) {
  using Account = LedgerAccount;
  nb::enum_<Account::Cause>(m, "LedgerCause", "What moves energy and momentum.")
      .value("GRAVITY", Account::GRAVITY, "Momentum only.")
      .value("ACTUATION", Account::ACTUATION, "Joint forces, after force limits.")
      .value("DAMPING", Account::DAMPING, "Of joints, and drag of single bodies.")
      .value("NORMAL", Account::NORMAL, "Contacts along their normals.")
      .value("FRICTION", Account::FRICTION, "Contacts along their tangents.")
      .value("LIMITS", Account::LIMITS, "Of joints: work only.")
      .value("WIRES", Account::WIRES, "Wires.")
      .value("EXTERNAL", Account::EXTERNAL, "Forces and torques that a caller set.")
      .value("BASE", Account::BASE, "What holds a fixed base.")
      .value("INTEGRATION", Account::INTEGRATION, "What remains: the error of the scheme.");

  nb::class_<LedgerBalance> balance(m, "LedgerBalance", nb::is_final(),
                                    "Energy (J) and momentum (world axes) at one moment.");
  field<&LedgerBalance::kinetic>(balance, "kinetic", "Rotors included (J).");
  field<&LedgerBalance::gravity>(balance, "gravity", "Zero at the origin of the world (J).");
  field<&LedgerBalance::springs>(balance, "springs", "Of joints, zero at rest (J).");
  field<&LedgerBalance::wires>(balance, "wires", "Of compliant wires that act (J).");
  field<&LedgerBalance::momentum>(balance, "momentum", "(N s), shape (3,).");
  field<&LedgerBalance::spin>(balance, "spin",
                              "Angular momentum about the origin (N m s), shape (3,).");
  balance.def_prop_ro("energy", &LedgerBalance::energy, "Sum of the four (J).");

  nb::class_<LedgerEntry> entry(m, "LedgerEntry", nb::is_final(),
                                "What one cause has done in a step.");
  field<&LedgerEntry::work>(entry, "work", "(J)");
  field<&LedgerEntry::impulse>(entry, "impulse", "(N s, world axes), shape (3,).");
  field<&LedgerEntry::twist>(entry, "twist",
                             "Angular impulse about the origin (N m s), shape (3,).");

  nb::class_<Account> account(
      m, "LedgerAccount", nb::is_final(),
      "Energy and momentum before and after a step, and what changed them.\n\n"
      "`account[LedgerCause.FRICTION]` is an entry; `after - before` is the "
      "sum of all. Accounts\nof consecutive steps add up by `+=`.");
  field<&Account::before>(account, "before", "Before the step.");
  field<&Account::after>(account, "after", "After the step.");
  account
      .def(
          "__getitem__", [](const Account& self, Account::Cause cause) { return self[cause]; },
          "cause"_a)
      .def(
          "__iadd__", [](Account& self, const Account& next) { return self += next; }, "next"_a,
          nb::sig("def __iadd__(self, next: LedgerAccount) -> LedgerAccount"));

  nb::class_<Ledger> ledger(m, "Ledger", nb::is_final(), "The books of a step; a copy.");
  field<&Ledger::whole>(ledger, "whole", "Of all dynamic objects and the wires.");
  field<&Ledger::objects>(ledger, "objects",
                          "By `Object.index_in_world`; zeros for those that are not dynamic.");
  world
      .def(
          "set_ledger", [](const WorldHandle& self, bool on) { self.get().setLedger(on); },
          "on"_a = true, "Keep books of energy and momentum in each step from now on, or stop.")
      .def_prop_ro(
          "ledger", [](const WorldHandle& self) { return self.get().getLedger(); },
          "The books of the last step; zeros while `set_ledger` is off. A copy.");
}

void bindWatch(nb::module_& m, nb::class_<WorldHandle>& world) {
  using Report = WatchReport;
  nb::enum_<Report::Finding>(m, "Finding", "What a watch finds.")
      .value("NOT_FINITE", Report::NOT_FINITE, "A velocity or coordinate.")
      .value("ENERGY", Report::ENERGY, "From nowhere.")
      .value("DEPTH", Report::DEPTH, "Of an overlap.")
      .value("SPEED", Report::SPEED, "Of a body or joint.")
      .value("UNSOLVED", Report::UNSOLVED, "Contacts, for many steps.");

  nb::class_<Report> report(m, "WatchReport", nb::is_final(),
                            "What a watch has found; `str` tells it in words. A copy.");
  field<&Report::finding>(report, "finding", "Kind of finding.");
  field<&Report::step>(report, "step", "`World.step_count` after the step.");
  field<&Report::time>(report, "time", "`World.world_time` after it (s).");
  field<&Report::timeStep>(report, "time_step", "(s)");
  field<&Report::objectName>(report, "object_name", "Empty for a finding of the solver.");
  field<&Report::bodyName>(report, "body_name", "Of a robot.");
  field<&Report::jointName>(report, "joint_name", "Above that body.");
  field<&Report::quantity>(report, "quantity", "With its unit.");
  field<&Report::value>(report, "value", "Of the quantity.");
  field<&Report::limit>(report, "limit", "Of the quantity.");
  field<&Report::lastCoordinates>(report, "last_coordinates", "Of the object, before the step.");
  field<&Report::lastVelocities>(report, "last_velocities", "Of the object, before the step.");
  field<&Report::acted>(report, "acted", "Contacts and limits of the object in the step.");
  field<&Report::causes>(report, "causes", "What may be behind it, the likeliest first.");
  const auto place = [&report](const char* name, size_t Report::*member, const char* doc) {
    report.def_prop_ro(
        name,
        [member](const Report& self) {
          return self.*member == kNone ? std::nullopt : std::optional<size_t>(self.*member);
        },
        doc);
  };
  place("object", &Report::object, "`Object.index_in_world`; None for a finding of the solver.");
  place("body", &Report::body, "Index inside of the object.");
  report.def("to_text", &Report::toText, "Tell it in several lines.")
      .def("__str__", &Report::toText)
      .def("to_json", &Report::toJson,
           "Give it as one JSON object; numbers that are not finite are null.");

  const WatchLimits usual;
  world
      .def(
          "set_watch",
          [](const WorldHandle& self, double energyGain, double energyShare, double depth,
             double speed, double rate, size_t unsolvedSteps) {
            WatchLimits limits{energyGain, energyShare, depth, speed, rate, unsolvedSteps};
            self.get().setWatch(limits);
          },
          nb::kw_only(), "energy_gain"_a = usual.energyGain, "energy_share"_a = usual.energyShare,
          "depth"_a = usual.depth, "speed"_a = usual.speed, "rate"_a = usual.rate,
          "unsolved_steps"_a = usual.unsolvedSteps,
          "Look after each step whether something has gone wrong, until it has.\n\n"
          "One warning then tells what, where and why it may be; `watch_report` keeps it. Values "
          "that\nare not finite are always found; a limit of infinity is not looked for.\n\n"
          "Parameters\n----------\n"
          "energy_gain : float\n    Energy of an object that appears from nowhere in a step (J).\n"
          "energy_share : float\n    The same as a share of its kinetic energy; both have to be "
          "passed.\n"
          "depth : float\n    Of an overlap (m).\n"
          "speed, rate : float\n    Of a body or joint (m/s), (rad/s).\n"
          "unsolved_steps : int\n    In a row in which the solver stops at its limit; 0: not "
          "counted.")
      .def(
          "clear_watch", [](const WorldHandle& self) { self.get().clearWatch(); },
          "Watch no more, and forget what was found.")
      .def_prop_ro(
          "watch_report",
          [](const WorldHandle& self) {
            const Report* found = self.get().getWatchReport();
            return found ? std::optional<Report>(*found) : std::nullopt;
          },
          "What the watch has found; None while it has not.");
}

std::vector<TouchCopy> touchesOf(const ReportHandle& self) {
  const ContactReport& report = self.get();
  std::vector<TouchCopy> touches;
  for (const Touch& touch : report.getTouches()) {
    TouchCopy& copy = touches.emplace_back();
    copy.touch = touch;
    const auto begin = report.getPoints().begin() + static_cast<std::ptrdiff_t>(touch.first);
    copy.points.assign(begin, begin + static_cast<std::ptrdiff_t>(touch.count));
    for (size_t side = 0; side < 2; ++side)
      copy.sides[side] = handleOf(self.state, self.owner, const_cast<Object*>(touch.objects[side]));
  }
  return touches;
}

ContactFilter filterOf(const ReportHandle& self, const ObjectHandle* object,
                       std::optional<size_t> body, const std::string& shape,
                       const std::string& material) {
  ContactFilter filter;
  if (object != nullptr) filter.object = &objectOf(self, *object);
  if (body) filter.body = *body;
  filter.shape = shape;
  filter.material = material;
  return filter;
}

void bindContactRecords(nb::module_& m) {
  nb::enum_<ContactMotion>(m, "ContactMotion", "What a point of contact does in a step.")
      .value("OPEN", ContactMotion::OPEN, "No force.")
      .value("STICK", ContactMotion::STICK, "The force is inside of the friction cone.")
      .value("SLIP", ContactMotion::SLIP, "The force is on it.")
      .value("IMPACT", ContactMotion::IMPACT, "The surfaces came together faster than 0.05 m/s.");

  nb::class_<ContactPoint> point(
      m, "ContactPoint", nb::is_final(),
      "A point of a touch, of the step that was made (world axes), as side 0 sees it; a copy.");
  field<&ContactPoint::position>(point, "position", "(m), shape (3,).");
  field<&ContactPoint::normal>(point, "normal", "Unit, towards side 0, shape (3,).");
  field<&ContactPoint::force>(point, "force", "On side 0, friction included (N), shape (3,).");
  field<&ContactPoint::slip>(point, "slip",
                             "Of side 0 relative to side 1, along the surface (m/s), shape (3,).");
  field<&ContactPoint::approach>(point, "approach", "Speed before it (m/s).");
  field<&ContactPoint::depth>(point, "depth", "Of the overlap, before it (m).");
  field<&ContactPoint::motion>(point, "motion", "What it does.");

  nb::class_<TouchCopy> touch(m, "Touch", nb::is_final(), "Two bodies that touch; a copy.");
  field<&TouchCopy::points>(touch, "points", "Its points.");
  touch
      .def_prop_ro(
          "objects", [](const TouchCopy& t) { return nb::make_tuple(t.sides[0], t.sides[1]); },
          nb::sig("def objects(self) -> tuple[Object, Object]"), "Sides 0 and 1.")
      .def_prop_ro(
          "bodies",
          [](const TouchCopy& t) { return std::pair(t.touch.bodies[0], t.touch.bodies[1]); },
          "Indices inside of the objects.")
      .def_prop_ro(
          "begins", [](const TouchCopy& t) { return t.touch.begins; },
          "Whether they did not touch in the report that was asked for before.")
      .def_prop_ro(
          "force", [](const TouchCopy& t) { return toPython(t.touch.force); },
          "On side 0 (N, world axes), shape (3,).")
      .def_prop_ro(
          "centre", [](const TouchCopy& t) { return toPython(t.touch.centre); },
          "Centre of pressure (m, world axes), shape (3,).")
      .def(
          "get_torque_about",
          [](const TouchCopy& t, const ArrayLike& point) {
            return toPython(t.touch.getTorqueAbout(readVector<3>(point, "point")));
          },
          "point"_a, "Get the torque on side 0 about a point (N m, world axes), shape (3,).");

  nb::class_<ContactSum> sum(m, "ContactSum", nb::is_final(), "Contacts taken together; a copy.");
  field<&ContactSum::count>(sum, "count", "Points.");
  field<&ContactSum::force>(sum, "force", "On the side looked for (N, world axes), shape (3,).");
  field<&ContactSum::moment>(sum, "moment",
                             "The same about the origin of the world (N m), shape (3,).");
  field<&ContactSum::centre>(sum, "centre", "Of pressure (m), shape (3,).");

  using History = BodyContactHistory;
  nb::class_<History> history(
      m, "BodyContactHistory", nb::is_final(),
      "What contacts did to a body since `World.start_contact_history`; a copy.");
  field<&History::impulse>(history, "impulse", "Sum (N s, world axes), shape (3,).");
  field<&History::largestForce>(history, "largest_force", "Of a step (N).");
  field<&History::touches>(history, "touches", "In the last step.");
  field<&History::timeInContact>(history, "time_in_contact", "Since it began to touch (s).");
  field<&History::timeInAir>(history, "time_in_air", "Since it ceased to touch (s).");
  field<&History::lastTimeInContact>(history, "last_time_in_contact", "That ended last (s).");
  field<&History::lastTimeInAir>(history, "last_time_in_air", "That ended last (s).");
}

void bindContactReport(nb::module_& m, nb::class_<WorldHandle>& world) {
  bindContactRecords(m);
  nb::class_<ReportHandle>(
      m, "ContactReport", nb::is_final(), nb::type_slots(collectorSlots<ReportHandle>()),
      "The contacts of the last step, for people: who touches whom, with which force.\n\n"
      "Always that of the world's last step. Wires are not in it.")
      .def_prop_ro("touches", touchesOf, "Pairs of bodies that touch.")
      .def_prop_ro(
          "ended",
          [](const ReportHandle& self) {
            std::vector<std::pair<size_t, size_t>> ended;
            for (const EndedTouch& touch : self.get().getEnded())
              ended.emplace_back(touch.objectIds[0], touch.objectIds[1]);
            return ended;
          },
          "`Object.id_in_world` of pairs that touched in the report asked for before and do not "
          "any more.")
      .def(
          "get_force",
          [](const ReportHandle& self, const ObjectHandle& object,
             const std::optional<std::string>& name) {
            const Object& found = objectOf(self, object);
            return toPython(name ? self.get().getForce(found, *name) : self.get().getForce(found));
          },
          "object"_a, "name"_a = nb::none(),
          "Get the force of all contacts on an object (N, world axes), shape (3,).\n\n"
          "With `name`, on a collision shape, link or body of a robot; zero if nothing has it.")
      .def(
          "sum_up",
          [](const ReportHandle& self, const ObjectHandle* object, std::optional<size_t> body,
             const std::string& shape, const std::string& material, const ObjectHandle* by,
             const std::string& byMaterial) {
            return self.get().sumUp(filterOf(self, object, body, shape, material),
                                    filterOf(self, by, std::nullopt, "", byMaterial));
          },
          nb::kw_only(), "object"_a.none() = nb::none(), "body"_a = nb::none(), "shape"_a = "",
          "material"_a = "", "by"_a.none() = nb::none(), "by_material"_a = "",
          "Sum up the points whose one side fits the first four arguments, and the other `by`.\n\n"
          "What is left out fits all.");
  world
      .def_prop_ro(
          "contact_report",
          [](const WorldSelf& self) {
            ReportHandle report;
            report.owner = nb::borrow(self.h);
            report.state = self.p->state;
            return report;
          },
          "Who touches whom, forces, slip, what begins and ends.")
      .def(
          "set_contact_history",
          [](const WorldHandle& self, bool on) { self.get().setContactHistory(on); }, "on"_a = true,
          "Follow the contacts of every body in each step from now on, or stop.")
      .def(
          "start_contact_history",
          [](const WorldHandle& self) { self.get().startContactHistory(); },
          "Begin an interval: sums and largest values are 0 again, times go on.")
      .def(
          "get_contact_history",
          [](const WorldHandle& self, const ObjectHandle& object, size_t body) {
            if (object.state != self.state)
              throwValueError("get_contact_history: " + describe(object.get()) +
                              " belongs to another world");
            return self.get().getContactHistory(object.get(), body);
          },
          "object"_a, "body"_a = 0, "Get what contacts did to a body since then.");
}

}  // namespace

void bindReports(nb::module_& m, nb::class_<WorldHandle>& world) {
  bindLedger(m, world);
  bindWatch(m, world);
  bindContactReport(m, world);
}

}  // namespace zelvik::python
