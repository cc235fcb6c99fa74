// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <zelvik/rotation.hpp>
#include <zelvik/view/Rasterizer.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "Label.hpp"
#include "Recording.hpp"
#include "ShapeMeshes.hpp"

// A frame of a recording as a picture: what is there, where the camera stands, arrows and wires.

namespace zelvik::view {

namespace {

constexpr double kMargin = 1.12;        // round what the camera has to see
constexpr double kGridLines = 14.0;     // about as many across the picture
constexpr double kArrowShare = 0.3;     // longest arrow, of the picture's height at the target
constexpr double kShaftShare = 0.0055;  // radius of arrows, likewise
constexpr double kWireShare = 0.0035;   // radius of wires, likewise
constexpr std::array<float, 3> kStickColor{{0.16f, 0.62f, 0.33f}};
constexpr std::array<float, 3> kSlideColor{{0.95f, 0.50f, 0.12f}};
constexpr std::array<float, 3> kForceColor{{0.80f, 0.20f, 0.45f}};
constexpr std::array<float, 3> kWireColor{{0.22f, 0.24f, 0.28f}};
constexpr std::array<float, 3> kSlackColor{{0.62f, 0.64f, 0.68f}};
constexpr std::array<float, 3> kDarkGround{{0.24f, 0.25f, 0.27f}};

/// A shape of a body as it stands in the frame.
struct Item {
  const Body* body;
  const Shape* shape;
  Vec3 positionW;
  Mat33 rotationW;
  TriangleMesh mesh;
  bool isTerrain() const { return body->type == "ground" || body->type == "heightmap"; }
};

Vec3 toVec3(const float* v) {
  return {{v[0], v[1], v[2]}};
}

bool isDrawable(const Pose& pose) {
  for (const float x : pose.position)
    if (!(std::fabs(x) < kFarthest)) return false;
  for (const float x : pose.quaternion)
    if (!std::isfinite(x)) return false;
  return true;
}

Mat33 rotationOf(const double* quaternion) {
  Vec4 q{{quaternion[0], quaternion[1], quaternion[2], quaternion[3]}};
  Mat33 R;
  q *= 1.0 / norm(q);
  quatToRotMat(q, R);
  return R;
}

Item place(const Body& body, const Shape& shape, const Pose& pose, const Recording& recording) {
  const double q[4] = {pose.quaternion[0], pose.quaternion[1], pose.quaternion[2],
                       pose.quaternion[3]};
  const Mat33 bodyR = rotationOf(q);
  return {&body, &shape, toVec3(pose.position) + bodyR * shape.positionB,
          bodyR * rotationOf(shape.quaternionB.v), trianglesOf(shape, recording)};
}

std::vector<Item> itemsOf(const Recording& recording, std::size_t frame, bool collisionShapes) {
  std::vector<Item> items;
  for (const Body& body : recording.bodies) {
    const Pose* pose = recording.poseAt(body, frame);
    if (pose == nullptr || !isDrawable(*pose)) continue;
    for (const Shape& shape : body.shapes)
      if (body.shows(shape, collisionShapes) && shape.color[3] > 0.02f)
        items.push_back(place(body, shape, *pose, recording));
  }
  return items;
}

// ---- camera ------------------------------------------------------------------------------------

/// Axes of a camera by its angles: towards the eye, right, up (world axes).
struct CameraAxes {
  Vec3 back, right, up;
  explicit CameraAxes(const CameraOptions& camera) {
    const double ca = std::cos(camera.azimuth), sa = std::sin(camera.azimuth);
    const double ce = std::cos(camera.elevation), se = std::sin(camera.elevation);
    back = {{ca * ce, sa * ce, se}};
    right = {{-sa, ca, 0.0}};
    up = {{-ca * se, -sa * se, ce}};
  }
};

/// Corners of everything that the camera has to see (m, world axes).
std::vector<Vec3> pointsToSee(const std::vector<Item>& items, const std::string& follow) {
  std::vector<Vec3> bodies, terrain;
  for (const Item& item : items) {
    if (!follow.empty() && item.body->object != follow && item.body->name != follow) continue;
    for (const Eigen::Vector3f& vertex : item.mesh.vertices) {
      const Eigen::Vector3d v = vertex.cast<double>().cwiseProduct(item.shape->scale.e());
      const Vec3 point = item.positionW + item.rotationW * Vec3{{v[0], v[1], v[2]}};
      (item.isTerrain() ? terrain : bodies).push_back(point);
    }
  }
  return bodies.empty() ? terrain : bodies;
}

/// Middle of the points across the view, halfway between nearest and farthest.
Vec3 middleOf(const std::vector<Vec3>& points, const CameraAxes& axes) {
  const Vec3* direction[3] = {&axes.back, &axes.right, &axes.up};
  Vec3 middle{};
  for (int k = 0; k < 3 && !points.empty(); ++k) {
    double low = 1e30, high = -1e30;
    for (const Vec3& point : points) {
      low = std::min(low, dot(point, *direction[k]));
      high = std::max(high, dot(point, *direction[k]));
    }
    middle += 0.5 * (low + high) * *direction[k];
  }
  return middle;
}

/// The least distance from which all points lie inside of the picture.
double distanceToSee(const std::vector<Vec3>& points, const Vec3& target, const CameraAxes& axes,
                     const PictureOptions& options) {
  const double tangent = std::tan(0.5 * options.camera.fieldOfView);
  const double aspect = static_cast<double>(options.width) / options.height;
  double distance = 0.0;
  for (const Vec3& point : points) {
    const Vec3 r = point - target;
    const double across =
        std::max(std::fabs(dot(r, axes.right)) / aspect, std::fabs(dot(r, axes.up)));
    distance = std::max(distance, kMargin * across / tangent + dot(r, axes.back));
  }
  return distance > 1e-4 ? distance : 5.0;
}

View viewOf(const std::vector<Item>& items, const PictureOptions& options) {
  const CameraOptions& camera = options.camera;
  const CameraAxes axes(camera);
  std::vector<Vec3> points = pointsToSee(items, camera.follow);
  if (points.empty() && !camera.follow.empty()) {
    MSG_WARN("Recorder: nothing named " << camera.follow << " to follow in this frame");
    points = pointsToSee(items, "");
  }
  View view;
  view.fieldOfView = camera.fieldOfView;
  view.targetW = camera.targetW.value_or(middleOf(points, axes));
  const double distance =
      camera.distance > 0.0 ? camera.distance : distanceToSee(points, view.targetW, axes, options);
  view.eyeW = view.targetW + distance * axes.back;
  return view;
}

// ---- scenery -----------------------------------------------------------------------------------

/// 1, 2 or 5 times a power of ten, at most `value`; `major` gets how many make the next round one.
double roundSpacing(double value, int& major) {
  const double power = std::pow(10.0, std::floor(std::log10(value)));
  const double lead = value / power;
  major = lead >= 5.0 ? 2 : 5;
  return power * (lead >= 5.0 ? 5.0 : lead >= 2.0 ? 2.0 : 1.0);
}

/// Height of the picture where the target is (m).
double heightAtTarget(const View& view) {
  return 2.0 * norm(view.targetW - view.eyeW) * std::tan(0.5 * view.fieldOfView);
}

Scenery sceneryOf(const View& view, const PictureOptions& options) {
  Scenery scenery;
  const double azimuth = options.camera.azimuth - 0.5;  // over the camera's left shoulder
  scenery.sunW = {{0.62 * std::cos(azimuth), 0.62 * std::sin(azimuth), 0.85}};
  scenery.dark = options.dark;
  if (options.grid)
    scenery.gridSpacing = roundSpacing(2.5 * heightAtTarget(view) / kGridLines, scenery.gridMajor);
  return scenery;
}

Surface surfaceOf(const Item& item, bool dark) {
  Surface surface;
  for (std::size_t i = 0; i < 3; ++i) surface.color[i] = item.shape->color[i];
  surface.hasGrid = item.isTerrain();
  if (dark && item.shape->kind == ShapeKind::GROUND) surface.color = kDarkGround;
  return surface;
}

void addItems(const std::vector<Item>& items, bool dark, Rasterizer& rasterizer) {
  for (const Item& item : items) {
    const Surface surface = surfaceOf(item, dark);
    if (item.shape->kind == ShapeKind::GROUND)
      rasterizer.addGround(item.positionW[2], surface);
    else
      rasterizer.addMesh(item.mesh, item.positionW, item.rotationW, item.shape->scale, surface);
  }
}

// ---- arrows and wires --------------------------------------------------------------------------

/// A rotation that turns z into a direction.
Mat33 alongZ(const Vec3& direction) {
  const Eigen::Vector3d d(direction[0], direction[1], direction[2]);
  const Eigen::Matrix3d R =
      Eigen::Quaterniond::FromTwoVectors(Eigen::Vector3d::UnitZ(), d).toRotationMatrix();
  Mat33 out;
  out.e() = R;
  return out;
}

bool isFinite(const Vec3& v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

/// Rows of a table that belong to a frame.
template <typename Row>
std::vector<Row> rowsOf(const Table<Row>& table, std::size_t frame) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < frame; ++i) begin += table.counts[i];
  const auto first = table.rows.begin() + static_cast<std::ptrdiff_t>(begin);
  return {first, first + table.counts[frame]};
}

struct Arrow {
  Vec3 positionW, vectorW;
  std::array<float, 3> color;
};

/// The longest arrow of the frame gets a fixed length on the picture, the others theirs beside it.
void addArrows(const std::vector<Arrow>& arrows, const View& view, Rasterizer& rasterizer) {
  double largest = 0.0;
  for (const Arrow& a : arrows)
    if (isFinite(a.vectorW)) largest = std::max(largest, norm(a.vectorW));
  const double height = heightAtTarget(view), radius = kShaftShare * height;
  for (const Arrow& a : arrows) {
    const double length = kArrowShare * height * norm(a.vectorW) / largest;
    if (!isFinite(a.positionW) || !(length > radius)) continue;
    rasterizer.addMesh(arrow(length, radius), a.positionW, alongZ(a.vectorW), {{1.0, 1.0, 1.0}},
                       {a.color, false, false, false});
  }
}

void addContacts(const Recording& recording, std::size_t frame, const View& view,
                 Rasterizer& rasterizer) {
  std::vector<Arrow> arrows;
  for (const ContactSample& row : rowsOf(recording.contacts, frame))
    arrows.push_back(
        {toVec3(row.position), toVec3(row.impulse), row.state == 2 ? kSlideColor : kStickColor});
  addArrows(arrows, view, rasterizer);
}

void addForces(const Recording& recording, std::size_t frame, const View& view,
               Rasterizer& rasterizer) {
  std::vector<Arrow> arrows;
  for (const ForceRow& row : rowsOf(recording.forces, frame))
    arrows.push_back({toVec3(row.position), toVec3(row.vector), kForceColor});
  addArrows(arrows, view, rasterizer);
}

void addWires(const Recording& recording, std::size_t frame, const View& view,
              Rasterizer& rasterizer) {
  const double radius = kWireShare * heightAtTarget(view);
  for (const WireRow& row : rowsOf(recording.wires, frame)) {
    const Vec3 start = toVec3(row.start), along = toVec3(row.end) - start;
    if (!isFinite(start) || !isFinite(along) || !(norm(along) > 0.0)) continue;
    rasterizer.addMesh(rod(norm(along), radius), start + 0.5 * along, alongZ(along),
                       {{1.0, 1.0, 1.0}},
                       {row.state == 1 ? kWireColor : kSlackColor, false, true, true});
  }
}

// ---- labels ------------------------------------------------------------------------------------

std::string number(const char* format, double value) {
  char text[64] = {};
  std::snprintf(text, sizeof(text), format, value);
  std::replace(text, text + sizeof(text), ',', '.');  // of the host's locale
  return text;
}

void addLabels(Image& image, double gridSpacing, double time, bool dark) {
  const int scale = std::max(1, static_cast<int>(std::lround(image.height / 260.0)));
  const int margin = 6 * scale, y = image.height - margin - 7 * scale;
  const std::uint8_t grey = dark ? 200 : 70;
  if (gridSpacing > 0.0)
    drawLabel(image, "grid " + number("%g", gridSpacing) + " m", margin, y, scale, grey);
  const std::string clock = "t = " + number("%.2f", time) + " s";
  drawLabel(image, clock, image.width - margin - labelWidth(clock, scale), y, scale, grey);
}

}  // namespace

Image drawFrame(const Recording& recording, const PictureOptions& options) {
  const std::size_t frame = std::min(options.frame, recording.frameCount() - 1);
  const std::vector<Item> items = itemsOf(recording, frame, options.collisionShapes);
  const View view = viewOf(items, options);
  const Scenery scenery = sceneryOf(view, options);
  Rasterizer rasterizer(options.width, options.height, view, scenery);
  addItems(items, options.dark, rasterizer);
  if (options.contacts) addContacts(recording, frame, view, rasterizer);
  if (options.forces) addForces(recording, frame, view, rasterizer);
  if (options.wires) addWires(recording, frame, view, rasterizer);
  Image image = rasterizer.render();
  const bool hasTerrain =
      std::any_of(items.begin(), items.end(), [](const Item& item) { return item.isTerrain(); });
  if (options.grid)
    addLabels(image, hasTerrain ? scenery.gridSpacing : 0.0, recording.times[frame], options.dark);
  return image;
}

namespace {

/// Whether the options can be drawn; a message says what is wrong.
bool areDrawable(const PictureOptions& options) {
  constexpr int least = 16, most = 8192;
  const CameraOptions& c = options.camera;
  if (options.width < least || options.width > most || options.height < least ||
      options.height > most) {
    MSG_FATAL("Recorder: a picture of " << options.width << " x " << options.height
                                        << " pixels; each has to be from " << least << " to "
                                        << most);
    return false;
  }
  const bool isFiniteCamera = std::isfinite(c.azimuth) && std::isfinite(c.elevation) &&
                              std::isfinite(c.distance) && isFinite(c.targetW.value_or(Vec3{}));
  if (isFiniteCamera && c.fieldOfView > 0.01 && c.fieldOfView < 3.0) return true;
  MSG_FATAL("Recorder: a camera of azimuth " << c.azimuth << ", elevation " << c.elevation
                                             << ", distance " << c.distance << ", field of view "
                                             << c.fieldOfView << " or its target is out of range");
  return false;
}

}  // namespace

Image Recorder::render(const PictureOptions& options) const {
  if (recording_->frameCount() == 0) {
    MSG_FATAL("Recorder::render: nothing has been captured");
    return {};
  }
  return areDrawable(options) ? drawFrame(*recording_, options) : Image{};
}

bool Recorder::writePng(const std::string& file, const PictureOptions& options) const {
  const Image image = render(options);
  return image.width > 0 && view::writePng(file, image);
}

}  // namespace zelvik::view
