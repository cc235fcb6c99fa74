// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"

namespace zelvik::python {

namespace {

using Map = ShapeHandle<HeightMap>;

/// One value per point of two arrays, or of two numbers.
template <size_t n, typename Value>
nb::object sample(ArrayLike x, ArrayLike y, Value value) {
  const nb::module_ numpy = nb::module_::import_("numpy");
  const nb::object pair = numpy.attr("broadcast_arrays")(x.value, y.value);
  const std::vector<double> xs = readList({numpy.attr("ravel")(pair[0])}, "x");
  const std::vector<double> ys = readList({numpy.attr("ravel")(pair[1])}, "y");
  std::vector<double> out;
  out.reserve(n * xs.size());
  for (size_t i = 0; i < xs.size(); ++i) {
    const Mat<n, 1> v = value(xs[i], ys[i]);
    out.insert(out.end(), v.v, v.v + n);
  }
  nb::object shape = pair[0].attr("shape");
  if constexpr (n > 1) shape = shape + nb::make_tuple(n);
  return copyVector(out.data(), out.size()).value.attr("reshape")(shape);
}

}  // namespace

void bindTerrain(nb::module_& m) {
  nb::class_<Map, SingleBodyHandle>(
      m, "HeightMap", nb::is_final(), nb::type_slots(collectorSlots<Map>()),
      "Terrain: a static body made of a regular grid of heights.\n\n"
      "Sample (row j, column i) stands at x = center_x - x_size/2 + i x_size/(x_samples - 1) and\n"
      "likewise in y. Each cell is split along the diagonal from (i, j) to (i+1, j+1).")
      .def(
          "get_height",
          [](const Map& self, double x, double y) { return self.shape().getHeight(x, y); }, "x"_a,
          "y"_a,
          "Get the height of the surface at a point (m, world axes).\n\n"
          "Beyond the edges the nearest border value. The map counts as standing where it was "
          "made.")
      .def(
          "get_heights",
          [](const Map& self, ArrayLike x, ArrayLike y) {
            const HeightMap& map = self.shape();
            return Array{sample<1>(
                x, y, [&](double px, double py) { return Mat<1, 1>{{map.getHeight(px, py)}}; })};
          },
          "x"_a, "y"_a,
          "Get the heights at many points (m, world axes); `x` and `y` are broadcast together.")
      .def(
          "get_normal",
          [](const Map& self, double x, double y) {
            Mat<3, 1> n;
            self.shape().getNormal(x, y, n);
            return toPython(n);
          },
          "x"_a, "y"_a, "Get the unit normal at a point (world axes), shape (3,).")
      .def(
          "get_normals",
          [](const Map& self, ArrayLike x, ArrayLike y) {
            const HeightMap& map = self.shape();
            return Array{sample<3>(x, y, [&](double px, double py) {
              Mat<3, 1> n;
              map.getNormal(px, py, n);
              return n;
            })};
          },
          "x"_a, "y"_a, "Get the unit normals at many points (world axes), shape (..., 3).")
      .def_prop_ro(
          "heights",
          [](const Map& self) {
            const HeightMap& map = self.shape();
            return copyTable(map.getHeightMap().data(), map.getYSamples(), map.getXSamples());
          },
          "(m), shape (y_samples, x_samples); a copy. Row 0 at low y.")
      .def_prop_ro(
          "center_x", [](const Map& self) { return self.shape().getCenterX(); }, "(m, world axes)")
      .def_prop_ro(
          "center_y", [](const Map& self) { return self.shape().getCenterY(); }, "(m, world axes)")
      .def_prop_ro(
          "x_size", [](const Map& self) { return self.shape().getXSize(); }, "(m)")
      .def_prop_ro(
          "y_size", [](const Map& self) { return self.shape().getYSize(); }, "(m)")
      .def_prop_ro(
          "x_samples", [](const Map& self) { return self.shape().getXSamples(); }, "Columns.")
      .def_prop_ro(
          "y_samples", [](const Map& self) { return self.shape().getYSamples(); }, "Rows.")
      .def_prop_rw(
          "exact_contacts", [](const Map& self) { return self.shape().usesExactContacts(); },
          [](const Map& self, bool exact) { self.shape().setExactContacts(exact); },
          "Whether contacts are found on the triangles themselves, as at first.")
      .def_prop_ro(
          "is_turned", [](const Map& self) { return self.shape().isTurned(); },
          "Whether it is turned by no multiple of a right angle.");
}

}  // namespace zelvik::python
