// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>
#include <zelvik/export.hpp>
#include <zelvik/object/SingleBodyObject.hpp>

namespace zelvik {

/// Rigid body whose collision shape is a triangle mesh. Mass, inertia and centre of mass are the
/// caller's and never computed from the triangles; the gyroscopic term is explicit from the start.
///
/// The surface has a front side only for spheres, capsules and cylinders: vertices turn
/// counter-clockwise seen from outside, and a body inside a closed mesh has no contact. A mesh of a
/// single triangle has no contacts with other meshes. A mesh that happens to be convex stays a
/// mesh: a `ConvexHull` of the same triangles has the better contacts.
class ZELVIK_API Mesh : public SingleBodyObject {
 public:
  /// Reads an OBJ file. Mass, inertia and centre of mass are those of the scaled mesh.
  /// @param space the geom is created in it; null for none
  /// @param mass (kg); zero is not checked and gives an infinite inverse
  /// @param inertia about the centre of mass (kg m^2, body axes), positive definite
  /// @param com centre of mass (m, body axes)
  /// @param scale factor of every coordinate
  /// Errors: those of `loadObj`.
  Mesh(const std::string& fileName, dSpaceID space, double mass, const Mat<3, 3>& inertia,
       const Mat<3, 1>& com, double scale);

  /// The same from arrays, which are copied: x, y, z per vertex (m) and three indices per triangle,
  /// from 0. `getFileName` is empty. Fatal, and no collision shape: no triangle, a number of values
  /// that is not a multiple of three, an index out of range, a coordinate that is not within 9e7 m.
  Mesh(const std::vector<float>& vertices, const std::vector<unsigned int>& indices, dSpaceID space,
       double mass, const Mat<3, 3>& inertia, const Mat<3, 1>& com, double scale);

  ~Mesh() override;

  /// Appends the vertices (x, y, z, times `scale`) and triangles (indices from 0) of an OBJ file.
  ///
  /// Lines that begin with "v" or "f" and a blank are read, all others skipped. A vertex has three
  /// numbers, a face three or four fields, with one blank between them; what follows a "/" in a
  /// field is dropped, and so are further fields. A quad a, b, c, d gives a, b, c and c, d, a.
  ///
  /// Fatal: "<file> is not found."; "Only obj files are supported for mesh collision bodies" for
  /// an extension other than "obj"; a coordinate that is not finite as a float, an index outside
  /// of the vertices (relative ones too) and a file without faces, each with the file, and the line
  /// where there is one. A malformed number raises `std::invalid_argument` or `std::out_of_range`.
  /// @return whether the file was read; after a fatal message both vectors are as they were
  static bool loadObj(const std::string& fileName, std::vector<float>& vertices,
                      std::vector<unsigned int>& indices, double scale);

  /// Takes out the vertices that no triangle names and renumbers the indices, which have to be in
  /// range. ODE's preprocessing ends the process where vertices outnumber the corners of triangles.
  static void dropUnusedVertices(std::vector<float>& vertices, std::vector<unsigned int>& indices);

  /// The file given to the constructor; empty for a mesh from arrays.
  const std::string& getFileName() const { return meshFileName_; }
  /// Factor that was applied to every coordinate.
  double getScale() const { return scale_; }
  /// x, y, z per used vertex (m, body axes), scaled.
  const std::vector<float>& getVertices() const { return meshVertices_; }
  /// Three per triangle, from 0.
  const std::vector<unsigned int>& getIndices() const { return meshIndices_; }
  std::unique_ptr<Object> copy() const override;

 private:
  Mesh(const Mesh&) = default;  // for `copy`

  void createGeom(dSpaceID space);
  void _init(dSpaceID space, double mass, const Mat<3, 3>& inertia, const Mat<3, 1>& com);

  // ODE keeps pointers into both arrays: they neither move nor change while the geom lives.
  std::vector<unsigned int> meshIndices_;
  std::vector<float> meshVertices_;
  NotCopied<dTriMeshDataID> meshData_;
  std::string meshFileName_;
  double scale_ = 1.0;
};

}  // namespace zelvik
