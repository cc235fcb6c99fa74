// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/urdf.hpp>

#include "Bindings.hpp"
#include "Records.hpp"

namespace zelvik::python {

void bindUrdf(nb::module_& m) {
  m.def(
      "read_urdf_tree",
      [](const PathArgument& urdf, const std::vector<std::string>& jointOrder) {
        urdf::UrdfTree tree;
        {
          const nb::gil_scoped_release release;
          tree = urdf::readUrdfTree(urdf.text, jointOrder);
        }
        flushMessages();
        // Where a fixed base stands is that of its joint in the world, as of trees made by hand.
        if (tree.root.jointType == Joint::FIXED) tree.root.jointPosition = tree.fixedBasePosition;
        return makeLink(tree.root);
      },
      "urdf"_a, "joint_order"_a = nb::make_tuple(),
      nb::sig("def read_urdf_tree(urdf: str | os.PathLike[str], joint_order: "
              "collections.abc.Sequence[str] = ()) -> zelvik._records.Link"),
      "Read URDF, a file or text that holds a \"<\", into a tree of `Link`.\n\n"
      "Children of a link come in the order of `joint_order`, and where that names none of them, "
      "in\nthe order in which their joints stand in the file.\n\n"
      "Raises\n------\nFatalError\n    For every fault in the file.");
}

}  // namespace zelvik::python
