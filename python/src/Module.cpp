// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

using namespace zelvik::python;  // NOLINT: the macro below opens no namespace of its own

NB_MODULE(_core, m) {
  m.attr("VERSION") = ZELVIK_VERSION;
  installMessageSink(m);
  bindEnums(m);

  // The types stand before what makes them, for signatures.
  nb::class_<ObjectHandle> object(
      m, "Object", nb::type_slots(collectorSlots<ObjectHandle>()),
      "Base of everything that a `World` holds and steps; made by its add functions.\n\n"
      "Operations with a `local_idx` take the body inside of a robot, 0 for single bodies.");
  nb::class_<WorldHandle> world(
      m, "World", nb::is_weak_referenceable(),
      "A simulation: owns every object, every wire, the contact solver and the material table.\n\n"
      "Parameters\n----------\nfile : path, optional\n    A world file; otherwise the world is "
      "empty.\ntime_step : float, optional\n    (s)\ngravity : array_like, shape (3,), optional\n  "
      "  (m/s^2, world axes)\n\n"
      "Notes\n-----\nLengths in m, masses in kg, times in s, world axes; quaternions are w, x, y, "
      "z.\nA world serves one thread at a time; other worlds run beside it on other threads.\n\n"
      "Raises\n------\nFatalError\n    For every fault in the file.");
  bindObject(object);
  bindMaterials(m);
  bindContacts(m, object);
  bindBodies(m);
  bindTerrain(m);
  nb::class_<RobotHandle, ObjectHandle> robot(
      m, "ArticulatedSystem", nb::is_final(), nb::type_slots(collectorSlots<RobotHandle>()),
      "A robot: a tree of rigid bodies joined by joints, on a fixed or a floating base.\n\n"
      "The equation of motion is M du/dt + h = tau with the mass matrix M, the velocities u and "
      "the\nnonlinear terms h. Vectors of the robot are read-only arrays on its own memory: they "
      "show each\nstep as it comes. Setting the property writes.");
  bindRobot(robot);
  bindRobotParts(m, robot);
  bindRobotDynamics(robot);
  bindWires(m, world);
  bindWorldQueries(m, world);
  bindWorld(world);
  bindWorldObjects(world);
  bindStates(m, world);
  bindReports(m, world);
  bindRecorder(m);
  bindUrdf(m);
}
