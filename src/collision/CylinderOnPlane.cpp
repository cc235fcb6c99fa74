// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "collision/CylinderOnPlane.hpp"

#include <utility>
#include <zelvik/math.hpp>

namespace zelvik {

int completeCylinderOnPlane(dGeomID o1, dGeomID o2, dContactGeom* points) {
  dGeomID cylinder = o1, plane = o2;
  if (dGeomGetClass(cylinder) == dPlaneClass) std::swap(cylinder, plane);
  if (dGeomGetClass(cylinder) != dCylinderClass || dGeomGetClass(plane) != dPlaneClass) return 1;

  dReal radius, length;
  dGeomCylinderGetParams(cylinder, &radius, &length);
  dVector4 parameters;  // n . x = offset
  dGeomPlaneGetParams(plane, parameters);
  const Vec3 nW{{parameters[0], parameters[1], parameters[2]}};
  const dReal *p = dGeomGetPosition(cylinder), *R = dGeomGetRotation(cylinder);
  const Vec3 axisW{{R[2], R[6], R[10]}};

  const double cosTilt = dot(axisW, nW);
  const Vec3 uphillW = nW - cosTilt * axisW;  // in the plane of the cap
  const double sinTilt = norm(uphillW);
  if (!(sinTilt > 1e-12)) return 1;
  const Vec3 acrossW = (radius / sinTilt) * cross(axisW, uphillW);
  const Vec3 centerW = Vec3{{p[0], p[1], p[2]}} - ((cosTilt < 0.0 ? -0.5 : 0.5) * length) * axisW;

  int count = 1;
  for (const Vec3& fromCenter : {acrossW, -acrossW, (radius / sinTilt) * uphillW}) {
    const Vec3 rimW = centerW + fromCenter;
    const double depth = parameters[3] - dot(nW, rimW);
    if (!(depth > 0.0)) continue;
    dContactGeom& point = points[count++] = points[0];
    for (size_t i = 0; i < 3; ++i) point.pos[i] = rimW[i];
    point.depth = depth;
  }
  return count;
}

}  // namespace zelvik
