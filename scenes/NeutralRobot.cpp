// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "NeutralRobot.hpp"

#include <Eigen/Eigenvalues>
#include <zelvik/World.hpp>

namespace zelvik::scenes {

namespace {

ModelShape shapeOf(const CollisionDefinition& body) {
  ModelShape shape;
  shape.position = body.offsetPosition;
  shape.rotation = body.offsetRotation;
  dVector3 sides;
  switch (dGeomGetClass(body.colObj)) {
    case dSphereClass:
      shape.size[0] = dGeomSphereGetRadius(body.colObj);
      break;
    case dBoxClass:
      shape.kind = ShapeKind::BOX;
      dGeomBoxGetLengths(body.colObj, sides);
      shape.size = {{sides[0], sides[1], sides[2]}};
      break;
    case dCapsuleClass:
      shape.kind = ShapeKind::CAPSULE;
      dGeomCapsuleGetParams(body.colObj, &shape.size[0], &shape.size[1]);
      break;
    default:
      shape.kind = ShapeKind::CYLINDER;
      dGeomCylinderGetParams(body.colObj, &shape.size[0], &shape.size[1]);
  }
  return shape;
}

void readJoint(const ArticulatedSystem& system, size_t i, ModelBody& body) {
  const size_t dof = system.getDofStart()[i];
  body.joint = system.getJointType(i);
  body.firstVelocity = dof;
  body.firstCoordinate = system.getGcStart()[i];
  body.damping = system.getJointDamping()[dof];
  body.rotorInertia = system.getRotorInertia()[dof];
  body.lower = system.getJointLimits()[dof][0];
  body.upper = system.getJointLimits()[dof][1];
  body.effort = system.getForceUpperLimit()[dof];
}

/// Pose in the parent, from the poses in the world at coordinate zero.
void readPlace(const ArticulatedSystem& system, size_t i, ModelBody& body) {
  Vec3 own, above;
  Mat33 R, parentR;
  const size_t parent = system.getParents()[i];
  system.getPosition(i, own);
  system.getOrientation(i, R);
  system.getPosition(parent, above);
  system.getOrientation(parent, parentR);
  body.parent = static_cast<int>(parent);
  body.position = transposeMul(parentR, own - above);
  body.rotation = transpose(parentR) * R;
  body.axis = transposeMul(R, system.getJointAxes()[i]);
}

}  // namespace

std::vector<ModelBody> flatModel(const RobotSetup& robot) {
  World world;
  ArticulatedSystem& system = *world.addArticulatedSystem(robot.urdf, ZELVIK_MODEL_DIR);
  VecDyn zero(system.getGeneralizedCoordinateDim());
  zero.setZero();
  zero[3] = 1.0;
  for (size_t i = 1; i < system.getBodyCount(); ++i)
    if (system.getJointType(i) == Joint::SPHERICAL) zero[system.getGcStart()[i]] = 1.0;
  system.setGeneralizedCoordinate(zero);
  std::vector<ModelBody> model(system.getBodyCount());
  for (size_t i = 0; i < model.size(); ++i) {
    ModelBody& body = model[i];
    body.name = system.getBodyNames()[i];
    body.mass = system.getMass(i);
    body.com = system.getBodyCom()[i];
    body.inertia = system.getBodyInertia()[i];
    if (i == 0) continue;
    readJoint(system, i, body);
    readPlace(system, i, body);
  }
  for (const CollisionDefinition& body : system.getCollisionBodies())
    model[body.localIdx].shapes.push_back(shapeOf(body));
  return model;
}

void principalAxes(const Mat33& inertia, Mat33& axes, Vec3& moments) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(inertia.e());
  Eigen::Matrix3d vectors = solver.eigenvectors();
  if (vectors.determinant() < 0.0) vectors.col(2) *= -1.0;
  axes.e() = vectors;
  moments.e() = solver.eigenvalues();
}

}  // namespace zelvik::scenes
