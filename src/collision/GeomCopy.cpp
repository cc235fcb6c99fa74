// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/GeomCopy.hpp"

#include <cstring>
#include <zelvik/object/GeomRecord.hpp>

namespace zelvik {

dGeomID copyOfGeom(dGeomID source) {
  dVector4 p = {};
  switch (dGeomGetClass(source)) {
    case dSphereClass:
      return dCreateSphere(nullptr, dGeomSphereGetRadius(source));
    case dBoxClass:
      dGeomBoxGetLengths(source, p);
      return dCreateBox(nullptr, p[0], p[1], p[2]);
    case dCapsuleClass:
      dGeomCapsuleGetParams(source, &p[0], &p[1]);
      return dCreateCapsule(nullptr, p[0], p[1]);
    case dCylinderClass:
      dGeomCylinderGetParams(source, &p[0], &p[1]);
      return dCreateCylinder(nullptr, p[0], p[1]);
    case dPlaneClass:
      dGeomPlaneGetParams(source, p);
      return dCreatePlane(nullptr, p[0], p[1], p[2], p[3]);
    default:
      return nullptr;
  }
}

void copyGeomRecord(dGeomID source, dGeomID target) {
  const GeomRecord& from = geomRecord(source);
  GeomRecord& to = geomRecord(target);
  to.objectIdx = from.objectIdx;
  to.localBodyIdx = from.localBodyIdx;
  to.shapeIdx = from.shapeIdx;
  to.materialName = from.materialName;
  to.meshShape = from.meshShape;
  dGeomSetCategoryBits(target, dGeomGetCategoryBits(source));
  dGeomSetCollideBits(target, dGeomGetCollideBits(source));
  to.enabled = from.enabled;
  if (!from.enabled) dGeomDisable(target);
  if (dGeomGetClass(source) == dPlaneClass) return;
  std::memcpy(const_cast<dReal*>(dGeomGetPosition(target)), dGeomGetPosition(source),
              3 * sizeof(dReal));
  std::memcpy(const_cast<dReal*>(dGeomGetRotation(target)), dGeomGetRotation(source),
              12 * sizeof(dReal));
  dGeomMoved(target);
}

}  // namespace zelvik
