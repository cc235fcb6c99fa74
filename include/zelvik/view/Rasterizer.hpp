// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Eigen/Core>
#include <array>
#include <cstdint>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/view/Picture.hpp>

namespace zelvik::view {

/// Triangles with a normal per vertex, in the frame of whatever they belong to (m).
struct TriangleMesh {
  std::vector<Eigen::Vector3f> vertices;  ///< (m)
  std::vector<Eigen::Vector3f> normals;   ///< parallel to `vertices`, of unit length
  std::vector<std::uint32_t> indices;     ///< three per triangle
};

/// How a mesh is painted. Both sides of a triangle are.
struct Surface {
  std::array<float, 3> color{{0.7f, 0.7f, 0.7f}};  ///< red, green, blue, 0 to 1 (sRGB)
  bool hasGrid = false;                            ///< lines over x and y, as on the ground
  bool isLit = true;                               ///< otherwise the colour as it is
  bool castsShadow = true;                         ///< on what lies farther from the sun
};

/// A pinhole camera, upright (world axes, m).
struct View {
  Vec3 eyeW{};               ///< where it stands
  Vec3 targetW{};            ///< what it looks at
  double fieldOfView = 0.6;  ///< over the height of the picture (rad)
};

/// Light, sky and grid of a picture.
struct Scenery {
  Vec3 sunW{{0.3, -0.4, 0.85}};  ///< direction to the sun; need not be of unit length
  bool dark = false;             ///< background
  double gridSpacing = 0.0;      ///< (m); 0: no lines
  int gridMajor = 5;             ///< every how many lines one is strong
};

/// Draws triangles on the processor: a z-buffer with four samples a pixel, one light with soft
/// shadows (a shadow map: L. Williams, Casting curved shadows on curved surfaces, SIGGRAPH 1978;
/// filtered as in W. Reeves, D. Salesin, R. Cook, Rendering antialiased shadows with depth maps,
/// SIGGRAPH 1987), light from sky and ground, horizontal planes without end.
///
/// Triangles with a vertex that is missing or not finite are left out. Nothing fails; memory grows
/// with the triangles and with 32 bytes a pixel.
class ZELVIK_API Rasterizer {
 public:
  /// An empty picture of the given size (pixels), at least 1 x 1.
  Rasterizer(int width, int height, const View& view, const Scenery& scenery = {});

  /// Places a mesh: vertices are scaled, turned (mesh to world) and moved.
  void addMesh(const TriangleMesh& mesh, const Vec3& positionW, const Mat33& rotationW,
               const Vec3& scale, const Surface& surface);
  /// A plane z = `height` (m) without end; not seen from below.
  void addGround(double height, const Surface& surface);

  /// Draws everything that was added.
  Image render();
  /// Distance of what is seen in the middle of a pixel from the eye, along the view axis (m),
  /// after `render`; infinite where nothing is, and outside of the picture.
  double getDepth(int x, int y) const;

 private:
  friend class Shader;

  struct Triangle {
    std::uint32_t vertex[3];
    std::uint32_t surface;
  };
  /// A triangle on the screen. Coefficients of the inverse depth over x, y, 1 (samples).
  struct ScreenTriangle {
    std::uint32_t triangle;
    float inverseDepth[3];
  };
  struct Plane {
    float heightE;  ///< above the eye (m)
    std::uint32_t surface;
    float inverseDepth[3];
  };

  /// What a sample shows: nothing, plane k as k + 1, screen triangle k after the planes.
  using Id = std::uint32_t;

  void fillWithPlanes();
  void drawTriangle(std::uint32_t index);
  void drawClipped(std::uint32_t index, const Eigen::Vector3f* corners);
  void resolve(Image& image) const;

  int width_, height_;
  int sampleColumns_, sampleRows_;
  Scenery scenery_;
  Vec3 eyeW_;
  Eigen::Vector3f right_, down_, forward_;  ///< axes of the camera (world axes)
  float focal_;                             ///< (samples)
  float targetDistance_;                    ///< (m)
  std::vector<Surface> surfaces_;
  std::vector<Eigen::Vector3f> vertices_;  ///< minus the eye (m, world axes)
  std::vector<Eigen::Vector3f> normals_;
  std::vector<Triangle> triangles_;
  std::vector<Plane> planes_;
  std::vector<ScreenTriangle> screen_;
  std::vector<float> inverseDepth_;  ///< per sample (1/m)
  std::vector<Id> ids_;              ///< per sample
};

}  // namespace zelvik::view
