// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <numeric>
#include <zelvik/rotation.hpp>

#include "Bindings.hpp"
#include "Records.hpp"

// Joints, bodies, frames and shapes of a robot, by name or index.

namespace zelvik::python {

namespace {

/// One of several of a robot; `owner` is the robot's handle.
struct Part : Owned {
  size_t index = 0;

  RobotHandle& handle() const { return *nb::inst_ptr<RobotHandle>(owner); }
  ArticulatedSystem& robot() const { return handle().robot(); }
};

struct BodyPart : Part {
  static constexpr const char* kKind = "body";
  static std::vector<std::string> names(const ArticulatedSystem& r) { return r.getBodyNames(); }
};

struct JointPart : Part {
  static constexpr const char* kKind = "joint";
  static std::vector<std::string> names(const ArticulatedSystem& r) { return r.getJointNames(); }
  /// A fixed base has no joint of its own.
  size_t body() const { return index + robot().getBodyCount() - robot().getJointNames().size(); }
  size_t firstCoordinate() const { return robot().getGcStart()[body()]; }
  size_t firstVelocity() const { return robot().getDofStart()[body()]; }
  Joint::Type type() const { return robot().getJointType(body()); }
  void checkSingle(const char* what) const {
    if (velocityCount(type()) != 1)
      throwTypeError(std::string(what) + ": the joint '" + robot().getJointNames()[index] +
                     "' has several; use its slices");
  }
};

struct FramePart : Part {
  static constexpr const char* kKind = "frame";
  static std::vector<std::string> names(const ArticulatedSystem& r) {
    std::vector<std::string> out;
    for (const CoordinateFrame& frame : r.getFrames()) out.push_back(frame.name);
    return out;
  }
  const CoordinateFrame& frame() const { return robot().getFrames()[index]; }
};

struct ShapePart : Part {
  static constexpr const char* kKind = "collision body";
  static std::vector<std::string> names(const ArticulatedSystem& r) {
    std::vector<std::string> out;
    for (const CollisionDefinition& shape : r.getCollisionBodies()) out.push_back(shape.colName);
    return out;
  }
  CollisionDefinition& shape() const { return robot().getCollisionBodies()[index]; }
};

/// All of one kind: a sequence whose entries are found by name, too.
template <typename T>
struct PartList : Owned {
  const ArticulatedSystem& robot() const { return nb::inst_ptr<RobotHandle>(owner)->robot(); }
  T at(size_t index) const {
    T part;
    part.owner = owner;
    part.index = index;
    return part;
  }
};

template <typename T>
T partAt(const PartList<T>& list, Py_ssize_t index) {
  const auto count = static_cast<Py_ssize_t>(T::names(list.robot()).size());
  const Py_ssize_t place = index < 0 ? index + count : index;
  if (place < 0 || place >= count)
    throwIndexError(std::string(T::kKind) + " " + std::to_string(index) +
                    " is out of range, there are " + std::to_string(count));
  return list.at(static_cast<size_t>(place));
}

template <typename T>
T partNamed(const PartList<T>& list, const std::string& name) {
  const std::vector<std::string> names = T::names(list.robot());
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return list.at(static_cast<size_t>(found - names.begin()));
  std::string known;
  for (const std::string& each : names) known += (known.empty() ? "" : ", ") + each;
  throwKeyError(std::string("no ") + T::kKind + " is called '" + name + "', there are " + known);
}

template <typename T>
nb::class_<T> bindPart(nb::module_& m, RobotClass& robot, const char* name, const char* property,
                       const char* doc, const char* propertyDoc) {
  nb::class_<T> part(m, name, nb::is_final(), nb::type_slots(collectorSlots<T>()), doc);
  part.def_prop_ro(
          "robot", [](const T& p) { return p.owner; },
          nb::sig("def robot(self) -> ArticulatedSystem"), "The robot that it is part of.")
      .def_prop_ro(
          "index", [](const T& p) { return p.index; }, "Place in the robot's list.")
      .def(
          "__eq__",
          [](const T& a, nb::handle b) {
            T* other = nullptr;
            return nb::try_cast<T*>(b, other) && other != nullptr && a.index == other->index &&
                   a.owner.is(other->owner);
          },
          nb::arg().none(), nb::sig("def __eq__(self, arg: object, /) -> bool"))
      .def("__hash__",
           [](const T& p) {
             return static_cast<Py_ssize_t>(nb::hash(p.owner)) * 31 +
                    static_cast<Py_ssize_t>(p.index);
           })
      .def(
          "__deepcopy__",
          [](const T& p, const nb::dict& memo) {
            T twin;
            twin.owner = twinOfOwner(p, memo);
            twin.index = p.index;
            return twin;
          },
          "memo"_a, nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> typing.Self"))
      .def("__repr__", [name = std::string(name)](const T& p) {
        return "<" + name + " '" + T::names(p.robot())[p.index] + "', " + std::to_string(p.index) +
               " of its robot>";
      });

  using List = PartList<T>;
  const std::string list = std::string(name) + "List";
  nb::class_<List>(m, list.c_str(), nb::is_final(), nb::type_slots(collectorSlots<List>()),
                   "A sequence whose entries are found by name, too.")
      .def("__len__", [](const List& self) { return T::names(self.robot()).size(); })
      .def("__getitem__", partAt<T>, "index"_a)
      .def("__getitem__", partNamed<T>, "name"_a)
      .def(
          "__contains__",
          [](const List& self, const std::string& wanted) {
            const std::vector<std::string> names = T::names(self.robot());
            return std::find(names.begin(), names.end(), wanted) != names.end();
          },
          "name"_a)
      .def(
          "__iter__",
          [](const List& self) {
            nb::list all;
            for (size_t i = 0; i < T::names(self.robot()).size(); ++i)
              all.append(nb::cast(self.at(i)));
            return nb::iter(all);
          },
          nb::sig(("def __iter__(self) -> collections.abc.Iterator[" + std::string(name) + "]")
                      .c_str()))
      .def_prop_ro(
          "names", [](const List& self) { return T::names(self.robot()); },
          "Names in the order of the entries.")
      .def(
          "__deepcopy__",
          [](const List& self, const nb::dict& memo) { return List{{twinOfOwner(self, memo)}}; },
          "memo"_a, nb::sig("def __deepcopy__(self, memo: dict[int, object], /) -> typing.Self"))
      .def("__repr__", [list](const List& self) {
        std::string text;
        for (const std::string& each : T::names(self.robot()))
          text += (text.empty() ? "" : ", ") + each;
        return "<" + list + ": " + text + ">";
      });
  robot.def_prop_ro(
      property,
      [](nb::pointer_and_handle<RobotHandle> self) {
        self.p->robot();
        return List{{nb::borrow(self.h)}};
      },
      propertyDoc);
  return part;
}

BodyPart bodyOf(const Part& part, size_t index) {
  BodyPart body;
  body.owner = part.owner;
  body.index = index;
  return body;
}

Array quaternionOf(const Mat<3, 3>& R) {
  Mat<4, 1> q;
  rotMatToQuat(R, q);
  return toPython(q);
}

/// Reads a vector of the body, world axes, by a member function with an output.
Array bodyVector(const BodyPart& b, void (ArticulatedSystem::*getter)(size_t, Mat<3, 1>&) const) {
  Mat<3, 1> out;
  (b.robot().*getter)(b.index, out);
  return toPython(out);
}

void bindBodyPart(nb::class_<BodyPart>& body) {
  body.def_prop_ro("name", [](const BodyPart& b) { return b.robot().getBodyNames()[b.index]; })
      .def_prop_rw(
          "mass", [](const BodyPart& b) { return b.robot().getMass(b.index); },
          [](const BodyPart& b, double mass) {
            b.handle().robotBetweenSteps("mass").setMass(b.index, checkFinite(mass, "mass"));
          },
          "(kg); setting it leaves the inertia as it is.")
      .def_prop_rw(
          "com", [](const BodyPart& b) { return toPython(b.robot().getBodyCom()[b.index]); },
          [](const BodyPart& b, ArrayLike com) {
            b.handle().robotBetweenSteps("com").setBodyCom(b.index, readVector<3>(com, "com"));
          },
          "Centre of mass (m, body axes), shape (3,); a copy. The inertia about it stays.")
      .def_prop_rw(
          "inertia",
          [](const BodyPart& b) { return toPython(b.robot().getBodyInertia()[b.index]); },
          [](const BodyPart& b, ArrayLike inertia) {
            b.handle().robotBetweenSteps("inertia").setBodyInertia(b.index,
                                                                   readMatrix(inertia, "inertia"));
          },
          "About the centre of mass (kg m^2, body axes), shape (3, 3), symmetric; a copy.")
      .def_prop_ro(
          "position",
          [](const BodyPart& b) {
            Mat<3, 1> out;
            b.robot().getPosition(b.index, out);
            return toPython(out);
          },
          "Frame origin, which is the joint (m, world axes), shape (3,).")
      .def_prop_ro(
          "com_position",
          [](const BodyPart& b) { return toPython(b.robot().getComPositions()[b.index]); },
          "Centre of mass (m, world axes), shape (3,).")
      .def_prop_ro(
          "rotation_matrix",
          [](const BodyPart& b) {
            Mat<3, 3> R;
            b.robot().getOrientation(b.index, R);
            return toPython(R);
          },
          "Body to world, shape (3, 3).")
      .def_prop_ro(
          "orientation",
          [](const BodyPart& b) {
            Mat<3, 3> R;
            b.robot().getOrientation(b.index, R);
            return quaternionOf(R);
          },
          "Unit quaternion w, x, y, z, body to world, shape (4,).")
      .def_prop_ro(
          "velocity",
          [](const BodyPart& b) { return bodyVector(b, &ArticulatedSystem::getVelocity); },
          "Of the frame origin (m/s, world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "angular_velocity",
          [](const BodyPart& b) { return bodyVector(b, &ArticulatedSystem::getAngularVelocity); },
          "(rad/s, world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "parent",
          [](const BodyPart& b) -> std::optional<BodyPart> {
            const size_t parent = b.robot().getParents()[b.index];
            if (parent == kNone) return {};
            return bodyOf(b, parent);
          },
          "The body above; None for the root.")
      .def_prop_ro(
          "children",
          [](const BodyPart& b) {
            std::vector<BodyPart> out;
            for (const size_t child : b.robot().getChildren()[b.index])
              out.push_back(bodyOf(b, child));
            return out;
          },
          "The bodies that hang on it.")
      .def_prop_ro(
          "joint_type", [](const BodyPart& b) { return b.robot().getJointType(b.index); },
          "Of the joint above the body.")
      .def_prop_ro(
          "joint_axis",
          [](const BodyPart& b) { return toPython(b.robot().getJointAxes()[b.index]); },
          "Axis of the joint above (unit, world axes), shape (3,).")
      .def_prop_ro(
          "composite_mass", [](const BodyPart& b) { return b.robot().getCompositeMass()[b.index]; },
          "Of the body and all below it (kg).");
}

void bindJointPart(nb::class_<JointPart>& joint) {
  joint.def_prop_ro("name", [](const JointPart& j) { return j.robot().getJointNames()[j.index]; })
      .def_prop_ro("type", [](const JointPart& j) { return j.type(); })
      .def_prop_ro(
          "body", [](const JointPart& j) { return bodyOf(j, j.body()); },
          "The body below the joint.")
      .def_prop_ro(
          "coordinate_slice",
          [](const JointPart& j) {
            const auto first = static_cast<Py_ssize_t>(j.firstCoordinate());
            const auto count = static_cast<Py_ssize_t>(coordinateCount(j.type()));
            return nb::slice(nb::int_(first), nb::int_(first + count), nb::int_(1));
          },
          nb::sig("def coordinate_slice(self) -> slice[int, int, int]"),
          "Its part of the robot's coordinates, as in ``q[joint.coordinate_slice]``.")
      .def_prop_ro(
          "velocity_slice",
          [](const JointPart& j) {
            const auto first = static_cast<Py_ssize_t>(j.firstVelocity());
            const auto count = static_cast<Py_ssize_t>(velocityCount(j.type()));
            return nb::slice(nb::int_(first), nb::int_(first + count), nb::int_(1));
          },
          nb::sig("def velocity_slice(self) -> slice[int, int, int]"),
          "Its part of the robot's velocities, gains and forces.")
      .def_prop_rw(
          "position",
          [](const JointPart& j) {
            j.checkSingle("position");
            return j.robot().getGeneralizedCoordinate()[j.firstCoordinate()];
          },
          [](const JointPart& j, double position) {
            j.checkSingle("position");
            ArticulatedSystem& r = j.handle().robotBetweenSteps("position");
            VecDyn gc = r.getGeneralizedCoordinate();
            gc[j.firstCoordinate()] = checkFinite(position, "position");
            r.setGeneralizedCoordinate(gc);
          },
          "Angle (rad) or displacement (m). Setting it places the robot.")
      .def_prop_rw(
          "velocity",
          [](const JointPart& j) {
            j.checkSingle("velocity");
            return j.robot().getGeneralizedVelocity()[j.firstVelocity()];
          },
          [](const JointPart& j, double velocity) {
            j.checkSingle("velocity");
            VecDyn gv = j.robot().getGeneralizedVelocity();
            gv[j.firstVelocity()] = checkFinite(velocity, "velocity");
            j.robot().setGeneralizedVelocity(gv);
          },
          "(rad/s or m/s)")
      .def_prop_ro(
          "force",
          [](const JointPart& j) {
            j.checkSingle("force");
            return j.robot().getGeneralizedForce()[j.firstVelocity()];
          },
          "Control and damping of the last step, after limits (N or N m).")
      .def_prop_ro(
          "limits",
          [](const JointPart& j) -> std::optional<std::pair<double, double>> {
            const JointLimit& limit = j.robot().getJointLimits()[j.firstVelocity()];
            if (limit[0] == limit[1]) return {};
            return std::pair<double, double>{limit[0], limit[1]};
          },
          "Lower and upper limit (rad or m); None without.");
}

void bindFramePart(nb::class_<FramePart>& frame) {
  frame
      .def_prop_ro(
          "name", [](const FramePart& f) { return f.frame().name; }, "Of the joint.")
      .def_prop_ro(
          "body", [](const FramePart& f) { return bodyOf(f, f.frame().parentId); },
          "The body that it is fixed in.")
      .def_prop_ro(
          "body_name", [](const FramePart& f) { return f.frame().bodyName; },
          "Of the link at the far side of the joint.")
      .def_prop_ro("joint_type", [](const FramePart& f) { return f.frame().jointType; })
      .def_prop_ro(
          "position_in_body", [](const FramePart& f) { return toPython(f.frame().position); },
          "(m, body frame), shape (3,).")
      .def_prop_ro(
          "rotation_in_body", [](const FramePart& f) { return toPython(f.frame().orientation); },
          "Rotation matrix frame to body, shape (3, 3).")
      .def_prop_ro(
          "position",
          [](const FramePart& f) {
            Mat<3, 1> out;
            f.robot().getFramePosition(f.index, out);
            return toPython(out);
          },
          "Origin (m, world axes), shape (3,).")
      .def_prop_ro(
          "rotation_matrix",
          [](const FramePart& f) {
            Mat<3, 3> R;
            f.robot().getFrameOrientation(f.index, R);
            return toPython(R);
          },
          "Frame to world, shape (3, 3).")
      .def_prop_ro(
          "orientation",
          [](const FramePart& f) {
            Mat<3, 3> R;
            f.robot().getFrameOrientation(f.index, R);
            return quaternionOf(R);
          },
          "Unit quaternion w, x, y, z, frame to world, shape (4,).")
      .def_prop_ro(
          "velocity",
          [](const FramePart& f) {
            Mat<3, 1> out;
            f.robot().getFrameVelocity(f.index, out);
            return toPython(out);
          },
          "Of the origin (m/s, world axes), shape (3,), of the last step.")
      .def_prop_ro(
          "angular_velocity",
          [](const FramePart& f) {
            Mat<3, 1> out;
            f.robot().getFrameAngularVelocity(f.index, out);
            return toPython(out);
          },
          "(rad/s, world axes), shape (3,), of the last step.");
}

void bindShapePart(nb::class_<ShapePart>& shape) {
  shape.def_prop_ro("name", [](const ShapePart& s) { return s.shape().colName; })
      .def_prop_ro(
          "body", [](const ShapePart& s) { return bodyOf(s, s.shape().localIdx); },
          "The body that it is fixed in.")
      .def_prop_rw(
          "material",
          [](const ShapePart& s) {
            // A shape that was refused has no geom to keep it with.
            return s.shape().colObj == nullptr ? std::string() : s.shape().getMaterial();
          },
          [](const ShapePart& s, const std::string& name) {
            if (s.shape().colObj != nullptr) s.shape().setMaterial(name);
          },
          "Name that the material table knows.")
      .def_prop_rw(
          "position_offset", [](const ShapePart& s) { return toPython(s.shape().offsetPosition); },
          [](const ShapePart& s, ArrayLike p) {
            s.handle()
                .robotBetweenSteps("position_offset")
                .setCollisionObjectPositionOffset(s.index, readVector<3>(p, "position_offset"));
          },
          "(m, body frame), shape (3,); a copy.")
      .def_prop_rw(
          "rotation_offset", [](const ShapePart& s) { return toPython(s.shape().offsetRotation); },
          [](const ShapePart& s, ArrayLike R) {
            s.handle()
                .robotBetweenSteps("rotation_offset")
                .setCollisionObjectOrientationOffset(s.index, readMatrix(R, "rotation_offset"));
          },
          "Rotation matrix shape to body, shape (3, 3); a copy.")
      .def(
          "set_shape_parameters",
          [](const ShapePart& s, ArrayLike parameters) {
            s.handle()
                .robotBetweenSteps("set_shape_parameters")
                .setCollisionObjectShapeParameters(s.index, readList(parameters, "parameters"));
          },
          "parameters"_a,
          "Set the size, as `ShapeType` says (m).\n\nRaises\n------\nFatalError\n    For a wrong "
          "number of values and for values that are no sizes.");
}

}  // namespace

void bindRobotParts(nb::module_& m, RobotClass& robot) {
  auto body = bindPart<BodyPart>(m, robot, "Body", "bodies", "A body of a robot.",
                                 "Bodies by index or name, in depth-first order.");
  auto joint = bindPart<JointPart>(
      m, robot, "Joint", "joints", "A joint of a robot that moves.",
      "Joints that move by index or name, as in ``robot.joints[\"LF_KFE\"].position``; a floating "
      "base is the first, \"ROOT\".");
  auto frame = bindPart<FramePart>(m, robot, "CoordinateFrame", "frames",
                                   "A named frame fixed in a body of a robot.",
                                   "Every joint's frame, those of fixed joints included.");
  auto shape =
      bindPart<ShapePart>(m, robot, "CollisionDefinition", "collision_bodies",
                          "A collision shape of a robot.", "Collision shapes by index or name.");
  bindBodyPart(body);
  bindJointPart(joint);
  bindFramePart(frame);
  bindShapePart(shape);
  robot
      .def_prop_ro(
          "vis_objects",
          [](const RobotHandle& self) {
            nb::list out;
            for (const VisObject& each : self.robot().getVisObjects()) out.append(makeVisual(each));
            return out;
          },
          nb::sig("def vis_objects(self) -> list[zelvik._records.VisualShape]"),
          "The visual shapes of the model; copies.")
      .def_prop_ro(
          "vis_col_objects",
          [](const RobotHandle& self) {
            nb::list out;
            for (const VisObject& each : self.robot().getVisColObjects())
              out.append(makeVisual(each));
            return out;
          },
          nb::sig("def vis_col_objects(self) -> list[zelvik._records.VisualShape]"),
          "The collision shapes for a renderer, parallel to `collision_bodies`; copies.");
}

}  // namespace zelvik::python
