// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>
#include <zelvik/object/LengthConstraint.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/view/Recorder.hpp>

// What a recorder holds: copies of what was in the world when a frame was captured. Only
// `LiveObject` and `LiveWire` point into the world; they are compared with what is there now, and
// followed only where they are known to be alive still.

namespace zelvik::view {

/// Places farther out are not shown (m): a run that blows up must not spoil the frames before it.
constexpr double kFarthest = 1e6;

/// Triangles that shapes share: a file, an array or a height map.
struct MeshData {
  std::vector<float> positions;        ///< x, y, z per vertex (m, frame of the shape)
  std::vector<std::uint32_t> indices;  ///< three per triangle, counter-clockwise from outside
};

enum class ShapeKind { SPHERE, BOX, CYLINDER, CAPSULE, CONE, GROUND, MESH };
const char* kindName(ShapeKind kind);

/// Something to draw, fixed in a body's frame.
struct Shape {
  ShapeKind kind = ShapeKind::SPHERE;
  /// Sphere: radius. Box: full lengths. Cylinder, capsule, cone: radius, length (m); a capsule's
  /// without its caps.
  std::vector<double> size;
  Vec3 positionB{};
  Vec4 quaternionB{{1.0, 0.0, 0.0, 0.0}};
  std::array<float, 4> color{{0.7f, 0.7f, 0.7f, 1.0f}};  ///< red, green, blue, alpha (sRGB)
  bool visual = false;                                   ///< otherwise a collision shape
  std::string name;
  std::size_t mesh = kNone;  ///< index into `Recording::meshes`
  Vec3 scale{{1.0, 1.0, 1.0}};
};

/// Pose of a body's frame in the world: position (m) and quaternion w, x, y, z.
struct Pose {
  float position[3];
  float quaternion[4];
};

/// A body from the first capture that saw it to the last.
struct Body {
  std::string name, object, type;
  std::size_t objectId = 0, localIdx = 0;
  double mass = 0.0;
  std::size_t firstFrame = 0;
  std::size_t lastFrame = kNone;  ///< `kNone` while the object is in the world
  bool isStill = true;            ///< `poses` holds one entry that stands for all frames
  std::vector<Pose> poses;
  std::vector<Shape> shapes;

  /// Whether the layer that is asked for is the one to draw.
  bool shows(const Shape& shape, bool collisionShapes) const;
};

struct ContactSample {
  float position[3], normal[3], impulse[3], depth;
  std::int32_t state, a, b;
};

struct WireRow {
  float start[3], end[3];
  std::int32_t state, id;
};

struct ForceRow {
  float position[3], vector[3];
  std::int32_t body;
};

/// Rows of all frames, consecutive.
template <typename Row>
struct Table {
  std::vector<std::uint32_t> counts;  ///< per frame
  std::vector<Row> rows;
  std::uint32_t open = 0;  ///< rows of the frame that is being captured

  void add(const Row& row) {
    rows.push_back(row);
    ++open;
  }
  void closeFrame() {
    counts.push_back(open);
    open = 0;
  }
  std::size_t memory() const {
    return counts.capacity() * sizeof(counts[0]) + rows.capacity() * sizeof(Row);
  }
};

/// An object of the world as of the last capture that looked at the list.
struct LiveObject {
  const Object* object;
  std::size_t idInWorld;
  ObjectType type;
  std::size_t firstBody, bodyCount;  ///< in `Recording::bodies`
  std::size_t shapeChangeCount;      ///< of the object when its shapes were taken down
};

struct LiveWire {
  const LengthConstraint* wire;
  std::int32_t id;  ///< index into `Recording::wireNames`
};

struct Recording {
  RecorderOptions options;
  Vec3 gravity{};
  double timeStep = 0.0;      ///< of the world (s)
  std::vector<double> times;  ///< (s) one per frame
  std::vector<MeshData> meshes;
  /// Mesh files that robots name, as visual meshes or not: index into `meshes`, `kNone` for those
  /// that cannot be shown.
  std::map<std::pair<std::string, bool>, std::size_t> meshFiles;
  std::vector<Body> bodies;
  std::vector<std::string> wireNames;
  Table<ContactSample> contacts;
  Table<WireRow> wires;
  Table<ForceRow> forces, torques;

  std::size_t seenChangeCount = kNone;
  std::size_t objectsSeen = 0;
  std::vector<LiveObject> objects;  ///< in the order of the world's list
  std::vector<LiveWire> liveWires;

  std::size_t frameCount() const { return times.size(); }
  /// Number of frames in which the body is there.
  std::size_t framesOf(const Body& body) const {
    return (body.lastFrame == kNone ? frameCount() : body.lastFrame + 1) - body.firstFrame;
  }
  /// Null if the body is not there in that frame.
  const Pose* poseAt(const Body& body, std::size_t frame) const {
    if (frame < body.firstFrame || frame >= body.firstFrame + framesOf(body)) return nullptr;
    return &body.poses[body.isStill ? 0 : frame - body.firstFrame];
  }
};

/// Appends the bodies of an object, without poses.
void appendBodies(const Object& object, Recording& recording);

/// The container of docs/replay-format.md.
std::vector<std::uint8_t> encodeContainer(const Recording& recording, const std::string& title);

/// Draws a frame; `options` have been checked.
Image drawFrame(const Recording& recording, const PictureOptions& options);

}  // namespace zelvik::view
