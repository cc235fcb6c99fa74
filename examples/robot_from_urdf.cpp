// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// A robot from URDF text: what becomes of its links, and the forces with which it touches the
// ground. An argument names a URDF file to be read in its place.

#include <cstdio>
#include <string>
#include <zelvik/World.hpp>

namespace {

/// A lamp: a foot, an arm that hangs on a hinge, and a bulb fixed to the arm.
const char* const kLamp = R"(
<robot name="lamp">
  <link name="foot">
    <inertial><mass value="2"/><inertia ixx="0.02" iyy="0.02" izz="0.03" ixy="0" ixz="0" iyz="0"/></inertial>
    <collision><geometry><box size="0.3 0.3 0.06"/></geometry></collision>
  </link>
  <link name="arm">
    <inertial>
      <origin xyz="0 0 0.2"/><mass value="0.5"/>
      <inertia ixx="0.007" iyy="0.007" izz="0.0002" ixy="0" ixz="0" iyz="0"/>
    </inertial>
    <collision>
      <origin xyz="0 0 0.21"/><geometry><cylinder radius="0.02" length="0.36"/></geometry>
    </collision>
  </link>
  <link name="bulb">
    <inertial><mass value="0.1"/><inertia ixx="1e-4" iyy="1e-4" izz="1e-4" ixy="0" ixz="0" iyz="0"/></inertial>
    <collision><geometry><sphere radius="0.05"/></geometry></collision>
  </link>
  <joint name="hinge" type="revolute">
    <parent link="foot"/><child link="arm"/>
    <origin xyz="0 0 0.03"/><axis xyz="0 1 0"/>
    <limit lower="-0.6" upper="0.6" effort="10"/><dynamics damping="0.05"/>
  </joint>
  <joint name="socket" type="fixed">
    <parent link="arm"/><child link="bulb"/><origin xyz="0 0 0.45"/>
  </joint>
</robot>)";

void describe(const zelvik::ArticulatedSystem& robot) {
  std::printf("%zu bodies, %zu coordinates, %zu velocities\n", robot.getBodyCount(),
              robot.getGeneralizedCoordinateDim(), robot.getDOF());
  std::puts("body              parent   mass (kg)   first velocity");
  for (size_t i = 0; i < robot.getBodyCount(); ++i) {
    const size_t parent = robot.getParents()[i], first = robot.getDofStart()[i];
    std::printf("%-16s %7s %11.3f %16s\n", robot.getBodyNames()[i].c_str(),
                parent == zelvik::kNone ? "-" : std::to_string(parent).c_str(), robot.getMass(i),
                first == zelvik::kNone ? "-" : std::to_string(first).c_str());
  }
  std::puts("frame             on body   goes to");
  for (const zelvik::CoordinateFrame& frame : robot.getFrames())
    std::printf("%-16s %8s   %s\n", frame.name.c_str(), frame.parentName.c_str(),
                frame.bodyName.c_str());
}

/// Forces of the last step on each body, from the impulses of the contacts.
void printContacts(const zelvik::World& world, const zelvik::ArticulatedSystem& robot) {
  double vertical = 0.0;
  for (const zelvik::contact::Contact& contact : robot.getContacts()) {
    if (contact.skip_) continue;  // the second record of a contact of the robot with itself
    zelvik::Mat<3, 1> force;
    contact.getImpulse(force);  // on this robot (N s, world axes)
    force *= 1.0 / world.getTimeStep();
    std::printf("%-16s touches object %zu at (%6.3f %6.3f %6.3f) with (%7.3f %7.3f %7.3f) N\n",
                robot.getBodyNames()[contact.localBodyIndex_].c_str(), contact.pairObjectIndex_,
                contact.position_[0], contact.position_[1], contact.position_[2], force[0],
                force[1], force[2]);
    vertical += force[2];
  }
  double mass = 0.0;
  for (size_t i = 0; i < robot.getBodyCount(); ++i) mass += robot.getMass(i);
  std::printf("together %.3f N upwards, the weight is %.3f N\n", vertical, 9.81 * mass);
}

}  // namespace

int main(int argc, char** argv) {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.addGround();
  zelvik::ArticulatedSystem* robot =
      argc > 1 ? world.addArticulatedSystem(argv[1])
               : world.addArticulatedSystem(kLamp, ".");  // text: say where mesh files would be
  describe(*robot);

  // A floating base begins with position and quaternion; coordinates not given keep their value.
  if (robot->getJointType(0) == zelvik::Joint::FLOATING)
    robot->setGeneralizedCoordinate({0.0, 0.0, 1.0, 1.0, 0.0, 0.0, 0.0});
  for (int step = 0; step < 3000; ++step) world.integrate();
  std::printf("after %.0f s:\n", world.getWorldTime());
  printContacts(world, *robot);
}
