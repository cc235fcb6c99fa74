// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>

#include "Bindings.hpp"

// What a world holds and tells: objects, wires, rays, contact problems, the solver's effort.

namespace zelvik::python {

namespace {

/// A hit, copied out of the world's list.
struct RayHitCopy : Owned {
  nb::object object;
  Mat<3, 1> positionW{}, normalW{};
  double distance = 0.0;
};

int traverseHit(PyObject* self, visitproc visit, void* arg) {
  if (const int status = traverseOwner<RayHitCopy>(self, visit, arg)) return status;
  if (nb::inst_ready(self)) Py_VISIT(nb::inst_ptr<RayHitCopy>(self)->object.ptr());
  return 0;
}

int clearHit(PyObject* self) {
  if (nb::inst_ready(self)) nb::inst_ptr<RayHitCopy>(self)->object.reset();
  return clearOwner<RayHitCopy>(self);
}

const PyType_Slot hitSlots[] = {{Py_tp_traverse, reinterpret_cast<void*>(traverseHit)},
                                {Py_tp_clear, reinterpret_cast<void*>(clearHit)},
                                {0, nullptr}};

std::vector<RayHitCopy> rayTest(const WorldSelf& self, ArrayLike start, ArrayLike direction,
                                double length, unsigned long mask) {
  World& world = self.p->get();
  const Mat<3, 1> from = readVector<3>(start, "start");
  const Mat<3, 1> along = readVector<3>(direction, "direction");
  const RayHitList& list =
      *unlocked(self.p->state, [&] { return &world.rayTest(from, along, length, false, mask); });
  std::vector<RayHitCopy> hits;
  hits.reserve(list.count);
  for (size_t i = 0; i < list.count; ++i) {
    const RayHit& hit = list.hits[i];
    RayHitCopy copy;
    copy.owner = nb::borrow(self.h);
    copy.object = handleOf(self, hit.object);
    copy.positionW = hit.position;
    copy.normalW = {{hit.geom.normal[0], hit.geom.normal[1], hit.geom.normal[2]}};
    copy.distance = hit.geom.depth;
    hits.push_back(std::move(copy));
  }
  std::stable_sort(hits.begin(), hits.end(),
                   [](const auto& a, const auto& b) { return a.distance < b.distance; });
  return hits;
}

/// The solver of a world, for reading.
struct SolverView : Owned {
  std::shared_ptr<WorldState> state;
  contact::BisectionContactSolver& get() const {
    state->checkFree();
    return state->world->getContactSolver();
  }
};

nb::dict contactProblems(const WorldHandle& self) {
  const contact::ContactProblemList& problems = self.get().getContactProblems();
  std::vector<double> positions, impulses, depths, frictions;
  std::vector<unsigned> ranks;
  for (const contact::Single3DContactProblem& p : problems) {
    positions.insert(positions.end(), p.position_.v, p.position_.v + 3);
    impulses.insert(impulses.end(), p.imp_.v, p.imp_.v + 3);
    depths.push_back(p.depth_);
    frictions.push_back(p.mu_);
    ranks.push_back(p.rank_);
  }
  nb::dict out;
  out["position"] = copyTable(positions.data(), problems.size(), 3).value;
  out["impulse"] = copyTable(impulses.data(), problems.size(), 3).value;
  out["depth"] = copyVector(depths.data(), depths.size()).value;
  out["friction"] = copyVector(frictions.data(), frictions.size()).value;
  out["rank"] = nb::module_::import_("numpy").attr("array")(nb::cast(ranks), "uint32");
  return out;
}

template <typename Wires>
nb::list listOf(const WorldSelf& self, const Wires& wires) {
  nb::list out;
  for (const auto& wire : wires) out.append(wireHandleOf(self.p->state, self.h, wire.get()));
  return out;
}

nb::list listObjects(const WorldSelf& self) {
  nb::list out;
  for (Object* object : self.p->get().getObjList()) out.append(handleOf(self, object));
  return out;
}

}  // namespace

void bindWorldQueries(nb::module_& m, nb::class_<WorldHandle>& world) {
  nb::class_<RayHitCopy>(m, "RayHit", nb::type_slots(hitSlots),
                         "One point where a ray meets a shape.")
      .def_prop_ro(
          "object", [](const RayHitCopy& hit) { return hit.object; },
          nb::sig("def object(self) -> Object"), "Whose shape was hit.")
      .def_prop_ro(
          "position", [](const RayHitCopy& hit) { return toPython(hit.positionW); },
          "(m, world axes), shape (3,).")
      .def_prop_ro(
          "normal", [](const RayHitCopy& hit) { return toPython(hit.normalW); },
          "Unit, out of the shape (world axes), shape (3,).")
      .def_ro("distance", &RayHitCopy::distance, "From the start of the ray (m).")
      .def("__repr__", [](const RayHitCopy& hit) {
        return nb::str("<RayHit of {} at {} m>").format(nb::repr(hit.object), hit.distance);
      });

  nb::class_<SolverView>(m, "ContactSolver", nb::type_slots(collectorSlots<SolverView>()),
                         "Effort and parameters of a world's contact solver, for reading.")
      .def_prop_ro(
          "loop_counter", [](const SolverView& s) { return s.get().getLoopCounter(); },
          "Sweeps of the last solve.")
      .def_prop_ro(
          "error_history",
          [](const SolverView& s) {
            const auto& history = s.get().getErrorHistory();
            const auto count = static_cast<size_t>(std::max(s.get().getLoopCounter(), 0));
            return copyVector(history.data(), std::min(count, history.size()));
          },
          "Sum of squared residuals of each sweep of the last solve (m^2/s^2), shape "
          "(loop_counter,); a copy.")
      .def_prop_ro(
          "threshold", [](const SolverView& s) { return s.get().getThreshold(); },
          "Stopping error per contact (m^2/s^2).")
      .def_prop_ro(
          "max_iterations", [](const SolverView& s) { return s.get().getMaxIterations(); },
          "Sweep limit.")
      .def("__repr__", [](const SolverView& s) {
        return nb::str("<ContactSolver: {} sweeps in the last solve, at most {}>")
            .format(s.get().getLoopCounter(), s.get().getMaxIterations());
      });

  world
      .def_prop_ro("objects", listObjects, nb::sig("def objects(self) -> list[Object]"),
                   "All objects by world index; a new list.")
      .def_prop_ro(
          "stiff_wires",
          [](const WorldSelf& self) { return listOf(self, self.p->get().getStiffWires()); },
          nb::sig("def stiff_wires(self) -> list[StiffLengthConstraint]"),
          "All stiff wires in the order in which they were added; a new list.")
      .def_prop_ro(
          "compliant_wires",
          [](const WorldSelf& self) { return listOf(self, self.p->get().getCompliantWires()); },
          nb::sig("def compliant_wires(self) -> list[CompliantLengthConstraint]"),
          "All compliant wires in the order in which they were added; a new list.")
      .def(
          "__iter__", [](const WorldSelf& self) { return nb::iter(listObjects(self)); },
          nb::sig("def __iter__(self) -> collections.abc.Iterator[Object]"),
          "All objects by world index.")
      .def("__len__", [](const WorldHandle& self) { return self.get().getObjList().size(); })
      .def("__bool__", [](const WorldHandle&) { return true; })
      .def(
          "get_object",
          [](const WorldSelf& self, const std::string& name) {
            return handleOf(self, self.p->get().getObject(name));
          },
          "name"_a, nb::sig("def get_object(self, name: str) -> Object | None"),
          "Get the first object of that name, or None.")
      .def("ray_test", rayTest, "start"_a, "direction"_a,
           "length"_a = std::numeric_limits<double>::infinity(), "mask"_a = kAllMask,
           nb::sig("def ray_test(self, start: numpy.typing.ArrayLike, direction: "
                   "numpy.typing.ArrayLike, length: float = float('inf'), mask: int = "
                   "18446744073709551615) -> list[RayHit]"),
           "Cast a ray.\n\n"
           "Parameters\n----------\nstart, direction : array_like, shape (3,)\n"
           "    (m, world axes); the direction need not be of unit length.\n"
           "length : float\n    (m), may be infinite.\n"
           "mask : int\n    Groups that the ray sees; the ray itself is of group 1.\n\n"
           "Returns\n-------\nlist of RayHit\n    At most 200, the nearest first.")
      .def_prop_ro(
          "contact_solver",
          [](const WorldSelf& self) {
            return SolverView{{nb::borrow(self.h)}, self.p->state};
          },
          "The contact solver with sweeps and residuals of the last step.")
      .def_prop_ro(
          "contact_problems", contactProblems,
          nb::sig("def contact_problems(self) -> dict[str, numpy.typing.NDArray[typing.Any]]"),
          "What the solver saw in the last step: contacts, stiff wires and joint limits.\n\n"
          "Copies with one row a problem: \"position\" (n, 3) (m, world axes), \"impulse\" (n, 3)\n"
          "(N s, contact frame: tangent, tangent, normal), \"depth\" (n,) (m, negative while\n"
          "penetrating), \"friction\" (n,), \"rank\" (n,): 0 to 3 a contact, 4 a wire, 5 a joint\n"
          "limit.");
}

}  // namespace zelvik::python
