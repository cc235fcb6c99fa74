// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"
#include "Materials.hpp"

// Making a world, its parameters, and stepping.

namespace zelvik::python {

namespace {

void initWorld(WorldHandle* self, const std::optional<PathArgument>& file,
               std::optional<double> timeStep, const std::optional<ArrayLike>& gravity) {
  WorldHandle made;
  const std::shared_ptr<WorldState>& state = made.state;
  if (file)
    unlocked(state, [&] { state->world = std::make_unique<World>(file->text); });
  else
    state->world = std::make_unique<World>();
  if (timeStep) state->world->setTimeStep(checkPositive(*timeStep, "time_step"));
  if (gravity) state->world->setGravity(readVector<3>(*gravity, "gravity"));
  new (self) WorldHandle(std::move(made));
}

/// Steps between two looks at signals, so that Ctrl-C ends a long run.
constexpr size_t kStepsBetweenSignals = 200;

void integrate(WorldHandle& self, size_t steps) {
  World& world = self.get();
  self.state->isBetween = false;
  while (steps > 0) {
    const size_t count = std::min(steps, kStepsBetweenSignals);
    unlocked(self.state, [&] {
      for (size_t i = 0; i < count; ++i) world.integrate();
    });
    steps -= count;
    if (steps > 0 && PyErr_CheckSignals() != 0) throw nb::python_error();
  }
}

void integrate1(WorldHandle& self) {
  World& world = self.betweenSteps("integrate1");
  unlocked(self.state, [&] { world.integrate1(); });
  self.state->isBetween = true;
}

void integrate2(WorldHandle& self) {
  World& world = self.get();
  if (!self.state->isBetween) throwRuntimeError("integrate2: call integrate1 first");
  self.state->isBetween = false;
  unlocked(self.state, [&] { world.integrate2(); });
}

void exportToXml(WorldHandle& self, const PathArgument& file) {
  const World& world = self.get();
  const size_t slash = file.text.rfind('/');
  const bool isBare = slash == std::string::npos;
  const std::string directory = isBare ? "./" : file.text.substr(0, slash + 1);
  const std::string name = isBare ? file.text : file.text.substr(slash + 1);
  unlocked(self.state, [&] { world.exportToXml(directory, name); });
}

void bindParameters(nb::class_<WorldHandle>& world) {
  world
      .def_prop_rw(
          "gravity", [](const WorldHandle& self) { return toPython(self.get().getGravity()); },
          [](const WorldHandle& self, ArrayLike gravity) {
            self.get().setGravity(readVector<3>(gravity, "gravity"));
          },
          "Gravity (m/s^2, world axes), shape (3,); a copy. (0, 0, -9.81) at first.")
      .def_prop_rw(
          "time_step", [](const WorldHandle& self) { return self.get().getTimeStep(); },
          [](const WorldHandle& self, double dt) {
            self.betweenSteps("time_step").setTimeStep(checkPositive(dt, "time_step"));
          },
          "Time step (s), above 0; 0.005 at first.")
      .def_prop_rw(
          "erp", [](const WorldHandle& self) { return self.get().getERP(); },
          [](const WorldHandle& self, double erp) {
            self.get().setERP(checkFinite(erp, "erp"), self.get().getERP2());
          },
          "Share of the penetration that becomes separating velocity (1/s).")
      .def_prop_rw(
          "erp2", [](const WorldHandle& self) { return self.get().getERP2(); },
          [](const WorldHandle& self, double erp2) {
            self.get().setERP(self.get().getERP(), checkFinite(erp2, "erp2"));
          },
          "What is added to every coefficient of restitution.")
      .def_prop_rw(
          "warm_start", [](const WorldHandle& self) { return self.get().isWarmStarted(); },
          [](const WorldHandle& self, bool on) {
            self.betweenSteps("warm_start").setWarmStart(on);
          },
          "Whether each solve starts from the impulses of the step before instead of from zero.\n\n"
          "Off at first. Writing it, also the same value, forgets the impulses.")
      .def_prop_rw(
          "contact_surface_layer",
          [](const WorldHandle& self) { return self.get().getContactSurfaceLayer(); },
          [](const WorldHandle& self, double depth) { self.get().setContactSurfaceLayer(depth); },
          "Overlap that contacts keep (m); 1e-5 serves for robots and boxes, 0 (at first) is none.")
      .def(
          "set_contact_solver_param",
          [](const WorldHandle& self, double relaxation, int maxIterations, double threshold) {
            if (maxIterations < 1)
              throwValueError("max_iterations: expected at least 1, got " +
                              std::to_string(maxIterations));
            self.get().setContactSolverParam(checkFinite(relaxation, "relaxation"), 1.0, 1.0,
                                             maxIterations, checkFinite(threshold, "threshold"));
          },
          "relaxation"_a = 1.0, "max_iterations"_a = 150, "threshold"_a = 1e-8,
          "Set weight of a newly computed impulse, sweep limit and stopping error per contact.")
      .def(
          "set_default_material",
          [](const WorldHandle& self, double friction, double restitution, double threshold) {
            self.get().setDefaultMaterial(checkFinite(friction, "friction"),
                                          checkFinite(restitution, "restitution"),
                                          checkFinite(threshold, "restitution_threshold"));
          },
          "friction"_a, "restitution"_a = 0.0, "restitution_threshold"_a = 0.01,
          "Set what pairs with a name get that the table does not know.\n\n"
          "Parameters\n----------\n"
          "friction : float\n    Coefficient of friction, 0 or more.\n"
          "restitution : float\n    Coefficient of restitution, 0 to 1.\n"
          "restitution_threshold : float\n    Impact speed below which nothing bounces (m/s).")
      .def(
          "set_material_pair_prop",
          [](const WorldHandle& self, const std::string& a, const std::string& b, double friction,
             double restitution, double threshold) {
            self.get().setMaterialPairProp(a, b, checkFinite(friction, "friction"),
                                           checkFinite(restitution, "restitution"),
                                           checkFinite(threshold, "restitution_threshold"));
          },
          "a"_a, "b"_a, "friction"_a, "restitution"_a = 0.0, "restitution_threshold"_a = 0.01,
          "Set the properties of the pair (a, b), which is the same as (b, a).\n\n"
          "See Also\n--------\nset_default_material : units and ranges.")
      .def(
          "update_material_prop",
          [](const WorldHandle& self, const MaterialHandle& manager) {
            self.get().updateMaterialProp(manager.get());
          },
          "manager"_a, "Replace the material table by a copy.")
      .def_prop_ro(
          "material_manager",
          [](const WorldSelf& self) {
            return MaterialHandle{{nb::borrow(self.h)}, self.p->state, nullptr};
          },
          "The material table in force; writes go to the world.")
      .def_prop_rw(
          "broad_phase", [](const WorldHandle& self) { return self.get().getBroadPhase(); },
          [](const WorldHandle& self, World::BroadPhase kind) {
            self.betweenSteps("broad_phase").setBroadPhase(kind);
          },
          "How pairs that may touch are found; AUTO at first.");
}

}  // namespace

void bindWorld(nb::class_<WorldHandle>& world) {
  world.def("__init__", initWorld, "file"_a = nb::none(), nb::kw_only(), "time_step"_a = nb::none(),
            "gravity"_a = nb::none());
  bindParameters(world);
  world
      .def("integrate", integrate, "steps"_a = 1,
           "Advance by `steps` time steps.\n\n"
           "Other Python threads run meanwhile. Ctrl-C ends a long run between two steps.")
      .def("integrate1", integrate1,
           "First half of a step: collisions, contacts, mass matrices and Jacobians.\n\n"
           "Nothing has moved when it returns; contacts can be read and forces set. `integrate2`\n"
           "has to follow; nothing can be added, removed or placed in between.")
      .def("integrate2", integrate2,
           "Second half of a step: takes forces in, solves the contacts, moves the objects.")
      .def(
          "reset_history",
          [](const WorldHandle& self) { self.betweenSteps("reset_history").resetHistory(); },
          "Forget what the world remembers of its steps; time and step count are 0 again.\n\n"
          "A run that begins from a state that is set afterwards repeats another one from the\n"
          "same state to the last bit. Objects, parameters, state and targets stay.")
      .def("export_to_xml", exportToXml, "file"_a,
           "Write the present state as a world file, and beside it the robots made of text.\n\n"
           "A snapshot: materials, wires and appearances are not in it, and worlds with meshes or\n"
           "height maps cannot be read back. A file that cannot be written is a warning.\n\n"
           "Raises\n------\nFatalError\n    For a robot that was made of links.")
      .def_prop_ro(
          "world_time", [](const WorldHandle& self) { return self.get().getWorldTime(); },
          "Simulated time since construction, the world file's start or `reset_history` (s).")
      .def_prop_ro(
          "step_count", [](const WorldHandle& self) { return self.get().getStepCount(); },
          "Steps since construction or `reset_history`.")
      .def_prop_ro(
          "object_change_count",
          [](const WorldHandle& self) { return self.get().getObjectChangeCount(); },
          "Grows with every add and remove.")
      .def_prop_ro(
          "config_file", [](const WorldHandle& self) { return self.get().getConfigFile(); },
          "Normalised path of the world file; empty without one.")
      .def(
          "_repr_html_",
          [](nb::handle_t<WorldHandle> self) {
            return nb::module_::import_("zelvik._notebook").attr("world_html")(self);
          },
          nb::sig("def _repr_html_(self) -> str"))
      .def("__repr__", [](const WorldHandle& self) {
        const World& held = self.get();
        return nb::str("<World: {} objects, {} wires, t = {:.6g} s, time step {:.6g} s>")
            .format(held.getObjList().size(),
                    held.getStiffWires().size() + held.getCompliantWires().size(),
                    held.getWorldTime(), held.getTimeStep());
      });
}

}  // namespace zelvik::python
