// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <zelvik/World.hpp>
#include <zelvik/object/Cone.hpp>
#include <zelvik/rotation.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "MeshFile.hpp"

// What an object looks like: its bodies, their shapes and colours.

namespace zelvik::view {

const char* kindName(ShapeKind kind) {
  static constexpr const char* names[] = {"sphere", "box",    "cylinder", "capsule",
                                          "cone",   "ground", "mesh"};
  return names[static_cast<int>(kind)];
}

bool Body::shows(const Shape& shape, bool collisionShapes) const {
  const auto isOfLayer = [&](const Shape& other) { return other.visual != collisionShapes; };
  return isOfLayer(shape) || std::none_of(shapes.begin(), shapes.end(), isOfLayer);
}

namespace {

using Color = std::array<float, 4>;

constexpr Color kGroundColor{{0.80f, 0.81f, 0.82f, 1.0f}};
constexpr Color kTerrainColor{{0.62f, 0.66f, 0.55f, 1.0f}};
constexpr Color kFixedColor{{0.58f, 0.60f, 0.63f, 1.0f}};
constexpr Color kRobotColor{{0.70f, 0.72f, 0.75f, 1.0f}};
constexpr Color kBodyColors[] = {{{0.30f, 0.47f, 0.66f, 1.0f}}, {{0.93f, 0.55f, 0.22f, 1.0f}},
                                 {{0.36f, 0.64f, 0.42f, 1.0f}}, {{0.86f, 0.37f, 0.37f, 1.0f}},
                                 {{0.45f, 0.70f, 0.69f, 1.0f}}, {{0.92f, 0.78f, 0.33f, 1.0f}},
                                 {{0.65f, 0.47f, 0.65f, 1.0f}}, {{0.62f, 0.48f, 0.39f, 1.0f}}};

struct NamedColor {
  const char* name;
  Color color;
};
constexpr NamedColor kNamedColors[] = {
    {"red", kBodyColors[3]},    {"orange", kBodyColors[1]},
    {"yellow", kBodyColors[5]}, {"green", kBodyColors[2]},
    {"blue", kBodyColors[0]},   {"purple", kBodyColors[6]},
    {"brown", kBodyColors[7]},  {"white", {{0.95f, 0.95f, 0.95f, 1.0f}}},
    {"grey", kFixedColor},      {"black", {{0.12f, 0.12f, 0.13f, 1.0f}}}};

/// An appearance is a name of the table above or three to four numbers from 0 to 1; any other text
/// leaves the colour as it is.
Color parseAppearance(const std::string& text, Color color) {
  for (const NamedColor& named : kNamedColors)
    if (text == named.name) return named.color;
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  Color read{{0.0f, 0.0f, 0.0f, 1.0f}};
  std::size_t count = 0;
  for (float value; count < 4 && stream >> value; ++count) {
    read[count] = std::clamp(value, 0.0f, 1.0f);
    if (stream.peek() == ',') stream.ignore();
  }
  return count >= 3 ? read : color;
}

Color defaultColor(const SingleBodyObject& object) {
  if (object.getObjectType() == GROUND) return kGroundColor;
  if (object.getObjectType() == HEIGHTMAP) return kTerrainColor;
  if (object.getBodyType() == BodyType::STATIC) return kFixedColor;
  return kBodyColors[object.getIdInWorld() % std::size(kBodyColors)];
}

Shape makeShape(ShapeKind kind, std::vector<double> size) {
  Shape shape;
  shape.kind = kind;
  shape.size = std::move(size);
  return shape;
}

// ---- meshes ------------------------------------------------------------------------------------

/// Index of triangles that are stored once, wherever they come from.
std::size_t addMesh(MeshData mesh, Recording& recording) {
  std::vector<MeshData>& all = recording.meshes;
  const auto isSame = [&](const MeshData& other) {
    return other.positions == mesh.positions && other.indices == mesh.indices;
  };
  const auto found = std::find_if(all.begin(), all.end(), isSame);
  const auto index = static_cast<std::size_t>(found - all.begin());
  if (found == all.end()) all.push_back(std::move(mesh));
  return index;
}

/// To the next 1/8192 m: the zeros at the end of the number compress.
float rounded(double length) {
  return static_cast<float>(std::nearbyint(8192.0 * length) / 8192.0);
}

MeshData meshOf(const HeightMap& map) {
  MeshData mesh;
  const std::size_t nx = map.getXSamples(), ny = map.getYSamples();
  mesh.positions.reserve(3 * nx * ny);
  for (std::size_t j = 0; j < ny; ++j)
    for (std::size_t i = 0; i < nx; ++i) {
      const double u = static_cast<double>(i) / static_cast<double>(nx - 1) - 0.5;
      const double v = static_cast<double>(j) / static_cast<double>(ny - 1) - 0.5;
      mesh.positions.push_back(rounded(u * map.getXSize()));
      mesh.positions.push_back(rounded(v * map.getYSize()));
      mesh.positions.push_back(rounded(map.getHeightMap()[j * nx + i]));
    }
  for (std::size_t j = 0; j + 1 < ny; ++j)
    for (std::size_t i = 0; i + 1 < nx; ++i) {
      const auto a = static_cast<std::uint32_t>(j * nx + i);
      const auto b = static_cast<std::uint32_t>(a + nx);
      mesh.indices.insert(mesh.indices.end(), {a, a + 1, b + 1, a, b + 1, b});
    }
  return mesh;
}

/// Index of a mesh file, which is read once for each layer; none after a message.
std::size_t meshFromFile(const std::string& file, bool visual, Recording& recording) {
  const auto [entry, isNew] = recording.meshFiles.try_emplace({file, visual}, kNone);
  if (!isNew) return entry->second;
  constexpr std::size_t collisionCorners = 4, allCorners = static_cast<std::size_t>(-1);
  MeshData mesh;
  const std::string problem = readObj(file, visual ? allCorners : collisionCorners, mesh);
  if (problem.empty())
    entry->second = addMesh(std::move(mesh), recording);
  else
    MSG_WARN("the mesh " << file << " is not shown: " << problem);
  return entry->second;
}

// ---- single bodies -----------------------------------------------------------------------------

Shape meshShape(std::size_t mesh) {
  Shape shape = makeShape(ShapeKind::MESH, {});
  shape.mesh = mesh;
  return shape;
}

Shape childShape(const Compound::CompoundObjectChild& child) {
  const double* p = child.objectParam;
  Shape shape;
  if (child.objectType == BOX) shape = makeShape(ShapeKind::BOX, {p[0], p[1], p[2]});
  if (child.objectType == CYLINDER) shape = makeShape(ShapeKind::CYLINDER, {p[0], p[1]});
  if (child.objectType == CAPSULE) shape = makeShape(ShapeKind::CAPSULE, {p[0], p[1]});
  if (child.objectType == SPHERE) shape = makeShape(ShapeKind::SPHERE, {p[0]});
  shape.positionB = child.position;
  rotMatToQuat(child.rotation, shape.quaternionB);
  return shape;
}

std::vector<Shape> compoundShapes(const Compound& compound) {
  std::vector<Shape> shapes;
  for (const Compound::CompoundObjectChild& child : compound.getChildren())
    shapes.push_back(childShape(child));
  return shapes;
}

Shape coneShape(const Cone& cone) {
  Shape shape = makeShape(ShapeKind::CONE, {cone.getRadius(), cone.getHeight()});
  shape.positionB = {{0.0, 0.0, 0.5 * cone.getHeight()}};  // its origin is at the base
  return shape;
}

std::vector<Shape> meshShapes(const Mesh& mesh, Recording& recording) {
  if (mesh.getIndices().empty()) return {};
  return {meshShape(addMesh({mesh.getVertices(), mesh.getIndices()}, recording))};
}

std::vector<Shape> hullShapes(const ConvexHull& hull, Recording& recording) {
  if (hull.getTriangles().empty()) return {};
  MeshData mesh;
  for (const double value : hull.getCorners()) mesh.positions.push_back(rounded(value));
  mesh.indices = hull.getTriangles();
  return {meshShape(addMesh(std::move(mesh), recording))};
}

std::vector<Shape> heightMapShapes(const HeightMap& map, Recording& recording) {
  if (map.getHeightMap().size() != map.getXSamples() * map.getYSamples() || map.getXSamples() < 2)
    return {};  // a map that was refused
  return {meshShape(addMesh(meshOf(map), recording))};
}

std::vector<Shape> singleBodyShapes(const SingleBodyObject& object, Recording& recording) {
  switch (object.getObjectType()) {
    case SPHERE:
      return {makeShape(ShapeKind::SPHERE, {static_cast<const Sphere&>(object).getRadius()})};
    case BOX: {
      const Vec3& size = static_cast<const Box&>(object).getDimensions();
      return {makeShape(ShapeKind::BOX, {size[0], size[1], size[2]})};
    }
    case CYLINDER: {
      const auto& cylinder = static_cast<const Cylinder&>(object);
      return {makeShape(ShapeKind::CYLINDER, {cylinder.getRadius(), cylinder.getHeight()})};
    }
    case CAPSULE: {
      const auto& capsule = static_cast<const Capsule&>(object);
      return {makeShape(ShapeKind::CAPSULE, {capsule.getRadius(), capsule.getHeight()})};
    }
    case CONE:
      return {coneShape(static_cast<const Cone&>(object))};
    case GROUND:
      return {makeShape(ShapeKind::GROUND, {})};
    case COMPOUND:
      return compoundShapes(static_cast<const Compound&>(object));
    case MESH:
      return meshShapes(static_cast<const Mesh&>(object), recording);
    case HULL:
      return hullShapes(static_cast<const ConvexHull&>(object), recording);
    case HEIGHTMAP:
      return heightMapShapes(static_cast<const HeightMap&>(object), recording);
    default:
      return {};
  }
}

void appendSingleBody(const SingleBodyObject& object, Body body, Recording& recording) {
  body.name = body.object;
  body.shapes = singleBodyShapes(object, recording);
  const Color color = parseAppearance(object.getAppearance(), defaultColor(object));
  for (Shape& shape : body.shapes) shape.color = color;
  recording.bodies.push_back(std::move(body));
}

// ---- robots ------------------------------------------------------------------------------------

Shape shapeOf(const VisObject& vis, bool visual) {
  static constexpr ShapeKind kinds[] = {ShapeKind::BOX,  ShapeKind::CYLINDER, ShapeKind::SPHERE,
                                        ShapeKind::MESH, ShapeKind::CAPSULE,  ShapeKind::MESH};
  const ShapeKind kind = kinds[vis.shape];
  Shape shape = makeShape(kind, kind == ShapeKind::MESH ? std::vector<double>() : vis.size);
  shape.positionB = vis.offset;
  rotMatToQuat(vis.rot, shape.quaternionB);
  shape.scale = vis.scale;
  shape.visual = visual;
  shape.name = vis.name;
  shape.color = kRobotColor;
  if (squaredNorm(vis.color) > 0.0)  // a shape without a material has zeros
    for (std::size_t i = 0; i < 4; ++i) shape.color[i] = static_cast<float>(vis.color[i]);
  return shape;
}

/// Numbers that `kind` needs.
std::size_t sizeCount(ShapeKind kind) {
  return kind == ShapeKind::MESH     ? 0
         : kind == ShapeKind::SPHERE ? 1
         : kind == ShapeKind::BOX    ? 3
                                     : 2;
}

void appendShapes(const std::vector<VisObject>& list, bool visual, const std::string& directory,
                  std::size_t firstBody, Recording& recording) {
  for (const VisObject& vis : list) {
    if (vis.shape < zelvik::Shape::BOX || vis.shape > zelvik::Shape::HULL) continue;
    Shape shape = shapeOf(vis, visual);
    if (shape.kind == ShapeKind::MESH) {
      shape.mesh = meshFromFile(directory + "/" + vis.meshFileName, visual, recording);
      if (shape.mesh == kNone) continue;
    }
    if (shape.size.size() < sizeCount(shape.kind)) continue;
    shape.size.resize(sizeCount(shape.kind));
    recording.bodies[firstBody + vis.localIdx].shapes.push_back(std::move(shape));
  }
}

void dropUnwantedLayer(Body& body, const RecorderOptions& options) {
  const auto hasVisual = [](const Shape& shape) { return shape.visual; };
  if (options.collisionShapes || std::none_of(body.shapes.begin(), body.shapes.end(), hasVisual))
    return;
  const auto isCollision = [](const Shape& shape) { return !shape.visual; };
  body.shapes.erase(std::remove_if(body.shapes.begin(), body.shapes.end(), isCollision),
                    body.shapes.end());
}

void appendRobot(const ArticulatedSystem& robot, const Body& common, Recording& recording) {
  const std::size_t first = recording.bodies.size();
  for (std::size_t i = 0; i < robot.getBodyCount(); ++i) {
    Body body = common;
    body.localIdx = i;
    body.name = i < robot.getBodyNames().size() ? robot.getBodyNames()[i] : std::to_string(i);
    body.mass = robot.getMass(i);
    recording.bodies.push_back(std::move(body));
  }
  const std::string& directory = robot.getResourceDirectory();
  if (recording.options.visualShapes)
    appendShapes(robot.getVisObjects(), true, directory, first, recording);
  appendShapes(robot.getVisColObjects(), false, directory, first, recording);
  for (std::size_t i = first; i < recording.bodies.size(); ++i)
    dropUnwantedLayer(recording.bodies[i], recording.options);
}

std::string typeNameOf(ObjectType type) {
  return type == ARTICULATED_SYSTEM ? "articulated" : objectTypeToString(type);
}

}  // namespace

void appendBodies(const Object& object, Recording& recording) {
  const ObjectType type = object.getObjectType();
  Body body;
  body.type = typeNameOf(type);
  body.objectId = recording.objectsSeen++;
  body.object = object.getName();
  body.firstFrame = recording.frameCount();
  if (type == ARTICULATED_SYSTEM) {
    const auto& robot = static_cast<const ArticulatedSystem&>(object);
    if (body.object.empty())
      body.object = std::filesystem::path(robot.getRobotName()).stem().string();
    appendRobot(robot, body, recording);
    return;
  }
  if (body.object.empty()) body.object = body.type + " " + std::to_string(body.objectId);
  const auto& single = static_cast<const SingleBodyObject&>(object);
  body.mass = single.getBodyType() == BodyType::STATIC ? 0.0 : single.getMass(0);
  appendSingleBody(single, std::move(body), recording);
}

}  // namespace zelvik::view
