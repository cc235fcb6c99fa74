// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause

// Whole-body control by Jacobians: the quadruped stands without any joint targets. A wrench on the
// trunk is wished for, shared among the feet, and mapped to joint torques by the transposed
// Jacobians of the feet; the contacts then show the forces that were asked for.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>
#include <zelvik/World.hpp>

namespace {

const std::vector<std::string> kFeet{"LF", "RF", "LH", "RH"};

struct Foot {
  size_t body, frame;
};

struct Wish {
  double height, rate;  ///< of the trunk (m), (m/s)
};

/// Squats by 3 cm, twice in four seconds.
Wish wishAt(double t) {
  return {0.4427 + 0.03 * std::sin(M_PI * t), 0.03 * M_PI * std::cos(M_PI * t)};
}

std::vector<Foot> findFeet(const zelvik::ArticulatedSystem& robot) {
  std::vector<Foot> feet;
  for (const std::string& leg : kFeet)
    feet.push_back(
        {robot.getBodyIdx(leg + "_SHANK"), robot.getFrameIdxByName(leg + "_SHANK_TO_FOOT")});
  return feet;
}

/// Force that the ground is to give each foot (N, world axes): weight, a spring and a damper
/// to the wished height, springs against tilt, and dampers of other motion.
Eigen::Vector3d footForce(const zelvik::ArticulatedSystem& robot, double weight, const Wish& wish,
                          const Eigen::Vector3d& arm) {
  const auto q = robot.getGeneralizedCoordinate().e();
  const auto u = robot.getGeneralizedVelocity().e();
  const double roll = 2.0 * q[4], pitch = 2.0 * q[5];  // small angles of the quaternion
  const double vertical = weight + 2000.0 * (wish.height - q[2]) + 200.0 * (wish.rate - u[2]);
  const double rollMoment = -300.0 * roll - 20.0 * u[3];
  const double pitchMoment = -300.0 * pitch - 20.0 * u[4];
  const double levers = arm.x() * arm.x() + arm.y() * arm.y();
  return {-25.0 * u[0], -25.0 * u[1],
          0.25 * (vertical + (rollMoment * arm.y() - pitchMoment * arm.x()) / levers)};
}

/// Joint torques h - sum J^T f, where f is what the ground does to a foot; the base gets none.
Eigen::VectorXd torques(zelvik::ArticulatedSystem& robot, const std::vector<Foot>& feet,
                        double weight, const Wish& wish, std::vector<Eigen::Vector3d>& forces) {
  Eigen::VectorXd tau = robot.getNonlinearities().e();
  zelvik::Mat<3, 1> base;
  robot.getPosition(0, base);
  for (size_t i = 0; i < feet.size(); ++i) {
    zelvik::Mat<3, 1> position;
    zelvik::MatDyn jacobian(3, robot.getDOF());
    robot.getFramePosition(feet[i].frame, position);
    robot.getDenseJacobian(feet[i].body, position, jacobian);
    forces[i] = footForce(robot, weight, wish, (position - base).e());
    tau -= jacobian.e().transpose() * forces[i];
  }
  tau.head(6).setZero();
  return tau;
}

}  // namespace

int main() {
  zelvik::World world;
  world.setTimeStep(0.002);
  world.addGround();
  zelvik::ArticulatedSystem* robot = world.addArticulatedSystem(ZELVIK_MODEL_DIR "/quadruped.urdf");
  Eigen::VectorXd start(19);
  start << 0, 0, 0.4427, 1, 0, 0, 0, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2, 0, 0.6, -1.2;
  robot->setGeneralizedCoordinate(start);
  const std::vector<Foot> feet = findFeet(*robot);
  const double weight = 9.81 * robot->getCompositeMass()[0];
  std::vector<Eigen::Vector3d> wished(feet.size());

  for (int step = 1; step <= 2000; ++step) {
    const Wish wish = wishAt(world.getWorldTime());
    world.integrate1();
    robot->setGeneralizedForce(torques(*robot, feet, weight, wish, wished));
    world.integrate2();
    if (step % 250 == 0)
      std::printf("%3.1f s   wished height %.4f m, height %.4f m\n", world.getWorldTime(),
                  wish.height, robot->getGeneralizedCoordinate()[2]);
  }

  std::puts("foot   wished Fz (N)   contact Fz (N)");
  double worst = 0.0;
  for (size_t i = 0; i < feet.size(); ++i) {
    double measured = 0.0;
    for (const zelvik::contact::Contact& contact : robot->getContacts()) {
      zelvik::Mat<3, 1> impulse;
      contact.getImpulse(impulse);
      if (contact.localBodyIndex_ == feet[i].body) measured += impulse[2] / world.getTimeStep();
    }
    std::printf("%-6s %13.2f %16.2f\n", kFeet[i].c_str(), wished[i].z(), measured);
    worst = std::max(worst, std::abs(measured - wished[i].z()));
  }
  std::printf("largest difference %.2f N of %.2f N weight\n", worst, weight);
}
