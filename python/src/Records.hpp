// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nanobind/nanobind.h>

#include <string>
#include <vector>
#include <zelvik/World.hpp>

#include "Array.hpp"

// Records without behaviour are data classes in Python (zelvik/_records.py), read here attribute by
// attribute, so that they are changed, compared, copied and printed as Python's own.

namespace zelvik::python {

/// Argument: a record of `zelvik._records`, whose name signatures show.
#define ZELVIK_RECORD_ARGUMENT(Name) \
  struct Name##Record {              \
    nb::handle value;                \
  };
ZELVIK_RECORD_ARGUMENT(TerrainProperties)
ZELVIK_RECORD_ARGUMENT(CompoundChild)
ZELVIK_RECORD_ARGUMENT(Link)
ZELVIK_RECORD_ARGUMENT(JointSpring)
ZELVIK_RECORD_ARGUMENT(Camera)
#undef ZELVIK_RECORD_ARGUMENT

TerrainProperties readTerrain(nb::handle record);
Compound::CompoundObjectChild readCompoundChild(nb::handle record);
Child readLink(nb::handle record);
JointSpring readSpring(nb::handle record);
/// A `zelvik._records.Link` with everything below it.
nb::object makeLink(const Child& child);
nb::object makeVisual(const VisObject& shape);
nb::object makeSpring(const JointSpring& spring);
nb::object makeCompoundChild(const Compound::CompoundObjectChild& child);

/// An attribute of a record as a C++ value; TypeError that names both if it has another type.
template <typename T>
T field(nb::handle record, const char* name) {
  nb::object value = record.attr(name);
  T out;
  if (!nb::try_cast<T>(value, out))
    throwTypeError(nb::cast<std::string>(nb::str(record.type().attr("__name__"))) + "." + name +
                   ": a value of type " +
                   nb::cast<std::string>(nb::str(value.type().attr("__name__"))) + " does not fit");
  return out;
}

}  // namespace zelvik::python

#define ZELVIK_RECORD_CASTER(Name)                                                     \
  template <>                                                                          \
  struct nanobind::detail::type_caster<zelvik::python::Name##Record> {                 \
    NB_TYPE_CASTER(zelvik::python::Name##Record, const_name("zelvik._records." #Name)) \
    bool from_python(handle source, uint32_t, cleanup_list*) noexcept {                \
      value.value = source;                                                            \
      return true;                                                                     \
    }                                                                                  \
    static handle from_cpp(const zelvik::python::Name##Record& source, rv_policy,      \
                           cleanup_list*) noexcept {                                   \
      return source.value.inc_ref();                                                   \
    }                                                                                  \
  };
ZELVIK_RECORD_CASTER(TerrainProperties)
ZELVIK_RECORD_CASTER(CompoundChild)
ZELVIK_RECORD_CASTER(Link)
ZELVIK_RECORD_CASTER(JointSpring)
ZELVIK_RECORD_CASTER(Camera)
#undef ZELVIK_RECORD_CASTER
