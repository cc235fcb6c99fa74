// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Handles.hpp"

// One function a source; `Module.cpp` calls them in the order in which types need each other.
// Names: snake_case of the C++ name; a getter without arguments is a property, and a setter of one
// value with a getter is that property's.

namespace zelvik::python {

using namespace nb::literals;

using RobotClass = nb::class_<RobotHandle, ObjectHandle>;

void bindEnums(nb::module_& m);
void bindMaterials(nb::module_& m);
void bindObject(nb::class_<ObjectHandle>& object);
void bindBodies(nb::module_& m);
void bindTerrain(nb::module_& m);
void bindRobot(RobotClass& robot);
void bindRobotParts(nb::module_& m, RobotClass& robot);
void bindRobotDynamics(RobotClass& robot);
void bindContacts(nb::module_& m, nb::class_<ObjectHandle>& object);
void bindWires(nb::module_& m, nb::class_<WorldHandle>& world);
void bindWorld(nb::class_<WorldHandle>& world);
void bindWorldObjects(nb::class_<WorldHandle>& world);
void bindWorldQueries(nb::module_& m, nb::class_<WorldHandle>& world);
void bindStates(nb::module_& m, nb::class_<WorldHandle>& world);
void bindReports(nb::module_& m, nb::class_<WorldHandle>& world);
void bindRecorder(nb::module_& m);
void bindUrdf(nb::module_& m);

///@{
/// For `copy.deepcopy`, which copies the world along: the same object, wire or owner in the copy.
nb::object twinOfObject(const ObjectHandle& self, const nb::dict& memo);
nb::object twinOfWire(const WireHandle& self, const nb::dict& memo);
nb::object twinOfOwner(const Owned& self, const nb::dict& memo);
///@}

/// Collision group and mask of the add functions, each with the library's default.
constexpr unsigned long kDefaultGroup = World::kDefaultGroup;
constexpr unsigned long kGroundGroup = World::kGroundGroup;
constexpr unsigned long kAllMask = World::kAllMask;

}  // namespace zelvik::python
