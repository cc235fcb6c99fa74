// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Materials.hpp"

#include "Bindings.hpp"

namespace zelvik::python {

void bindMaterials(nb::module_& m) {
  nb::class_<MaterialPairProperties>(m, "MaterialPairProperties",
                                     "What two surfaces do to each other; a copy from the table.")
      .def_ro("friction", &MaterialPairProperties::friction, "Coefficient of friction, 0 or more.")
      .def_ro("restitution", &MaterialPairProperties::restitution, "0 to 1.")
      .def_ro("restitution_threshold", &MaterialPairProperties::restitutionThreshold,
              "Impact speed below which nothing bounces (m/s).")
      .def("__repr__", [](const MaterialPairProperties& p) {
        return nb::str(
                   "MaterialPairProperties(friction={}, restitution={}, "
                   "restitution_threshold={})")
            .format(p.friction, p.restitution, p.restitutionThreshold);
      });

  nb::class_<MaterialHandle>(
      m, "MaterialManager", nb::type_slots(collectorSlots<MaterialHandle>()),
      "Table of friction and restitution by pairs of material names.\n\n"
      "A table of its own, empty or read from a file, for `World.update_material_prop`; or that "
      "of\n"
      "a world, `World.material_manager`, which writes through.\n\n"
      "Parameters\n----------\n"
      "file : path, optional\n    A file with the root element \"zelvik\" and a child "
      "\"material\".\n\n"
      "Raises\n------\nFatalError\n    If the file cannot be read.")
      .def(
          "__init__",
          [](MaterialHandle* self, const std::optional<PathArgument>& file) {
            std::shared_ptr<MaterialManager> own;
            if (file)
              own = std::make_shared<MaterialManager>(file->text);
            else
              own = std::make_shared<MaterialManager>();
            new (self) MaterialHandle{{}, nullptr, own};
          },
          "file"_a = nb::none())
      .def(
          "set_default_material_properties",
          [](const MaterialHandle& self, double friction, double restitution, double threshold) {
            self.get().setDefaultMaterialProperties(checkFinite(friction, "friction"),
                                                    checkFinite(restitution, "restitution"),
                                                    checkFinite(threshold, "threshold"));
          },
          "friction"_a, "restitution"_a = 0.0, "restitution_threshold"_a = 0.01,
          "Set what pairs with an unknown name get.")
      .def(
          "set_material_pair_prop",
          [](const MaterialHandle& self, const std::string& a, const std::string& b,
             double friction, double restitution, double threshold) {
            self.get().setMaterialPairProp(a, b, checkFinite(friction, "friction"),
                                           checkFinite(restitution, "restitution"),
                                           checkFinite(threshold, "threshold"));
          },
          "a"_a, "b"_a, "friction"_a, "restitution"_a = 0.0, "restitution_threshold"_a = 0.01,
          "Set the properties of the pair (a, b), which is the same as (b, a).")
      .def(
          "get_material_pair_prop",
          [](const MaterialHandle& self, const std::string& a, const std::string& b) {
            return MaterialPairProperties(self.get().getMaterialPairProp(a, b));
          },
          "a"_a, "b"_a,
          "Get the properties of a pair: the default ones if either name is unknown.\n\n"
          "Two known names that were never paired give 0.8, 0 and 0.01.")
      .def("__repr__", [](const MaterialHandle& self) {
        return self.own ? "<MaterialManager>" : "<MaterialManager of a World>";
      });
}

}  // namespace zelvik::python
