// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>
#include <zelvik/object/TerrainProperties.hpp>

namespace zelvik {

/// One point where a ray meets a height map.
struct HeightMapRayHit {
  double distance;      ///< from the start of the ray (m)
  Mat<3, 1> positionW;  ///< (m, world axes)
  Mat<3, 1> normalW;    ///< unit, out of the ground whichever side the ray comes from (world axes)
};

/// Terrain: a `STATIC` body made of a regular grid of heights.
///
/// Sample (column i, row j) is `heights_[j * xSamples + i]`; it stands at
/// x = centerX - xSize/2 + i xSize/(xSamples - 1), y = centerY - ySize/2 + j ySize/(ySamples - 1).
/// Each cell is split along the diagonal from (i, j) to (i+1, j+1) into two flat triangles.
///
/// Fatal in every constructor, and no collision shape: a number of heights other than xSamples *
/// ySamples ("insufficient number of height values"), fewer than 2 samples in a direction, a size
/// that is not above 0, a centre or height that is not within 1e8 m.
class ZELVIK_API HeightMap : public SingleBodyObject {
 public:
  /// Terrain from noise, see `generateTerrain`.
  HeightMap(double centerX, double centerY, const TerrainProperties& terrain);

  /// Copies `heights` (m), row by row.
  HeightMap(unsigned long xSamples, unsigned long ySamples, double xSize, double ySize,
            double centerX, double centerY, const std::vector<double>& heights);

  /// Reads a text file: xSamples, ySamples, xSize, ySize and the heights, with white space between.
  /// Fatal: "\n Error opening file.\n"; "Height Map is in a wrong format" for a broken header;
  /// "insufficient number of height values". Sample counts beyond the largest vector raise
  /// `std::length_error`.
  HeightMap(double centerX, double centerY, const std::string& file);

  /// Reads a grey PNG image, one sample per pixel, see `read_png_file` and its messages. Row 0 of
  /// the image lies at the low y edge, its rightmost pixel at the low x edge.
  /// Fatal: "This constructor is for png file" for an extension other than "png".
  /// @param heightScale height per pixel value (m)
  /// @param heightOffset height of pixel value 0 (m)
  HeightMap(double centerX, double centerY, const std::string& file, double xSize, double ySize,
            double heightScale, double heightOffset);

  ~HeightMap() override;

  /// Fills the heights with fractal noise: `fractalOctaves` layers of K. Perlin's improved noise
  /// (Improving noise, SIGGRAPH 2002), whose permutation is drawn from the seed. Grid steps are
  /// size / samples, not size / (samples - 1). Does not touch the collision shape. Fatal: more
  /// samples than an int counts, more than 1000 octaves.
  /// @return whether the heights were made
  bool generateTerrain(const TerrainProperties& terrain);

  /// Height of the surface at a world point (m), as if the map stood where it was made: later
  /// changes of the pose are not seen. Beyond the edges the nearest border value; NaN for a NaN
  /// argument and for a map that was refused.
  double getHeight(double x, double y) const;
  /// Unit normal at the same point (world axes). On a line between triangles it is that of the one
  /// which the collider takes, too.
  void getNormal(double x, double y, Mat<3, 1>& normal) const;

  ///@{
  /// The heights (m), row by row. Changes reach `getHeight`, `getNormal`, `rayHits` and exact
  /// contacts inside of the former range of heights, but not the shape of ODE, which has a copy.
  std::vector<double>& getHeightMap() { return heights_; }
  const std::vector<double>& getHeightMap() const { return heights_; }
  ///@}

  double getCenterX() const { return centerX_; }    ///< (m, world)
  double getCenterY() const { return centerY_; }    ///< (m, world)
  double getXSize() const { return xSize_; }        ///< (m)
  double getYSize() const { return ySize_; }        ///< (m)
  size_t getXSamples() const { return xSamples_; }  ///< columns
  size_t getYSamples() const { return ySamples_; }  ///< rows

  /// Finds where a ray meets the surface, by a walk over the grid cells below it. Uses the present
  /// pose. A ray from below hits, too, but a ray that stays below does not.
  /// @param startW start of the ray (m, world axes)
  /// @param directionW unit vector (world axes)
  /// @param length of the ray (m)
  /// @param hits gets the hits in the order of their distance
  /// @param capacity number of records in `hits`; the walk ends with the last of them
  /// @return number of hits written; 0 for input that is not finite
  size_t rayHits(const Mat<3, 1>& startW, const Mat<3, 1>& directionW, double length,
                 HeightMapRayHit* hits, size_t capacity) const;

  /// Whether contacts are found on the triangles themselves, which is so by default. If not, they
  /// are ODE's, whose collider lets round shapes sink in where the ground is convex (a sphere of
  /// 0.15 m vanishes between the vertices of 0.3 m cells) and never lets a mesh come to rest.
  void setExactContacts(bool exact) { exactContacts_ = exact; }
  /// See `setExactContacts`.
  bool usesExactContacts() const { return exactContacts_; }

  /// Contacts with a sphere, capsule, cylinder, box or triangle mesh, found on the triangles
  /// themselves. Uses the present pose. Everything below the surface is solid.
  /// @param points gets positions on the body, normals into the body and depths
  /// @return number of points written, at most `capacity`; 0 for a map that was refused; -1 for
  ///   other geoms, and for null, which is fatal: "HeightMap::collide: Got a nullptr for the geom"
  int collide(dGeomID geom, dContactGeom* points, int capacity) const;

  /// Whether there is a collision shape that is not turned by a multiple of a right angle about one
  /// of its axes. ODE makes the box of such a field too small.
  bool isTurned() const;
  /// Whether the boxes of a turned map and of another geom meet but ODE thinks not, so that the
  /// pair never comes out of its broad phase, as groups and masks would let it.
  bool isMissedByOde(dGeomID other) const;

  /// Whether ODE may collide the field with another geom. False for one that reaches more than 1e9
  /// cells from the map or whose box is not a number: ODE would end the process.
  bool isInReach(dGeomID other) const;

  /// Writes the pose into the geom. `setPosition` and `setOrientation` call it, so that the geom of
  /// this static body follows at once.
  void updateCollision() override;
  void destroyCollisionBodies(dSpaceID space) override;
  /// See `Object::copy`. The copy has the present heights, in ODE's shape, too.
  std::unique_ptr<Object> copy() const override;

 private:
  HeightMap(const HeightMap&) = default;  // for `copy`

  friend class HeightMapRayWalk;
  friend class HeightMapCollider;
  using BoxW = std::array<double, 6>;  ///< low and high x, y, z in turn (m, world axes)
  /// A point of the field in units of cells. The field runs from the corner at low x and high y:
  /// columns along x, rows against y.
  struct FieldPoint {
    size_t column, row;  ///< the cell
    double alpha, beta;  ///< place in the cell along columns and rows, 0 to 1
    bool isFar() const { return alpha + beta >= 1.0; }
  };
  /// One of the two triangles of a cell: the near one has its right angle at (alpha, beta) =
  /// (0, 0), the far one at (1, 1); the diagonal belongs to the far one.
  struct Facet {
    bool far;
    double corner;     ///< height at the right angle (m)
    double nextAlpha;  ///< height at the end of the leg along the columns (m)
    double nextBeta;   ///< height at the end of the leg along the rows (m)

    double height(double alpha, double beta) const {
      const double a = far ? 1.0 - alpha : alpha, b = far ? 1.0 - beta : beta;
      return (1.0 - a - b) * corner + a * nextAlpha + b * nextBeta;
    }
    double slopeAlpha() const { return far ? corner - nextAlpha : nextAlpha - corner; }
    double slopeBeta() const { return far ? corner - nextBeta : nextBeta - corner; }
  };

  void init(unsigned long xSamples, unsigned long ySamples, double xSize, double ySize,
            double centerX, double centerY);
  bool checkGrid(unsigned long xSamples, unsigned long ySamples, double xSize, double ySize,
                 double centerX, double centerY) const;
  bool checkHeights() const;
  void createGeom();
  void destroyField();
  bool isReadable() const;
  BoxW boxW() const;
  FieldPoint locate(double x, double y) const;
  double sample(size_t column, size_t row) const {
    return heights_[(ySamples_ - 1 - row) * xSamples_ + column];
  }
  Facet facetAt(size_t column, size_t row, bool far) const;
  /// Unit normal of a facet: x along the columns, y along the rows of the field, z up.
  Mat<3, 1> fieldNormal(const Facet& facet) const;

  std::vector<double> heights_;  ///< (m) row 0 at the low y edge
  NotCopied<dHeightfieldDataID> heightFieldData_;
  double centerX_ = 0.0, centerY_ = 0.0;  ///< (m, world)
  double xSize_ = 0.0, ySize_ = 0.0;      ///< (m)
  size_t xSamples_ = 0, ySamples_ = 0;
  bool exactContacts_ = true;
  double lowest_ = 0.0, highest_ = 0.0;  ///< of the heights (m) as ODE has them
  NotCopied<dGeomID> probe_;             ///< a ray in no space, to find faces of meshes
  /// Geom to object: ODE's field stands upright on the y axis of its own frame.
  Mat<3, 3> fixedRotation_{};
};

}  // namespace zelvik
