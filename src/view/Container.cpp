// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>

#include "Blocks.hpp"
#include "Recording.hpp"

// From a recording to the bytes of docs/replay-format.md.

namespace zelvik::view {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kTimeUnit = 1e-6;        // (s)
constexpr double kLengthUnit = 1e-5;      // (m) of poses
constexpr double kArrowUnit = 1e-4;       // (m) where an arrow or a wire ends
constexpr double kQuaternionUnit = 1e-5;  //
constexpr double kNormalUnit = 1e-3;      //
constexpr double kDepthUnit = 1e-6;       // (m)
constexpr double kVectorSteps = 20000.0;  // units in the largest impulse or force
constexpr double kLeastSteps = 200.0;     // units in a common one, whatever the largest is
constexpr double kMostSteps = 2e9;        // what is larger is cut

/// JSON knows no numbers that are not finite.
double finite(double value) {
  return std::isfinite(value) ? value : 0.0;
}

Json numbers(const double* values, std::size_t count) {
  Json list = Json::array();
  for (std::size_t i = 0; i < count; ++i) list.push_back(finite(values[i]));
  return list;
}

double largestOf(const std::vector<double>& values) {
  double largest = 0.0;
  for (const double value : values)
    if (std::isfinite(value)) largest = std::max(largest, std::fabs(value));
  return largest;
}

/// A coordinate of a place (m), or no number if it is too far out to share a unit with others.
double inReach(double coordinate) {
  return std::fabs(coordinate) < kFarthest ? coordinate : std::nan("");
}

/// A block of quantised values and the unit that it took.
Json addColumn(const std::vector<double>& values, std::size_t channels, double unit,
               Blocks& blocks) {
  unit = fittingUnit(largestOf(values), unit);
  std::vector<std::int32_t> words(values.size());
  std::transform(values.begin(), values.end(), words.begin(),
                 [unit](double value) { return quantise(value, unit); });
  return {{"block", blocks.addDelta(words, channels)}, {"unit", unit}};
}

// ---- tracks ------------------------------------------------------------------------------------

/// Unit quaternion on the side of the sphere where the one before it lies.
Vec4 continued(const Pose& pose, const Vec4& before) {
  const float* v = pose.quaternion;
  Vec4 q{{v[0], v[1], v[2], v[3]}};
  const double length = norm(q);
  if (length > 0.0) q *= (dot(q, before) < 0.0 ? -1.0 : 1.0) / length;
  return q;
}

Json addTrack(const Body& body, Blocks& blocks) {
  const std::size_t count = body.poses.size();
  std::vector<double> positions(3 * count), quaternions(4 * count);
  Vec4 q{{1.0, 0.0, 0.0, 0.0}};
  for (std::size_t k = 0; k < count; ++k) {
    q = continued(body.poses[k], q);
    for (std::size_t i = 0; i < 3; ++i)
      positions[i * count + k] = inReach(body.poses[k].position[i]);
    for (std::size_t i = 0; i < 4; ++i) quaternions[i * count + k] = q[i];
  }
  const double unit = fittingUnit(largestOf(positions), kLengthUnit);
  std::vector<std::int32_t> words;
  words.reserve(7 * count);
  for (const double x : positions) words.push_back(quantise(x, unit));
  for (const double x : quaternions) words.push_back(quantise(x, kQuaternionUnit));
  return {
      {"block", blocks.addDelta(words, 7)}, {"unit", unit}, {"quaternionUnit", kQuaternionUnit}};
}

// ---- bodies ------------------------------------------------------------------------------------

Json describe(const Shape& shape) {
  Json json{{"kind", kindName(shape.kind)},
            {"size", numbers(shape.size.data(), shape.size.size())},
            {"position", numbers(shape.positionB.v, 3)},
            {"quaternion", numbers(shape.quaternionB.v, 4)},
            {"color", Json::array()},
            {"layer", shape.visual ? "visual" : "collision"},
            {"name", shape.name}};
  for (const float channel : shape.color)  // more digits than a screen can show are noise
    json["color"].push_back(std::round(1000.0 * finite(channel)) / 1000.0);
  if (shape.kind == ShapeKind::MESH) {
    json["mesh"] = shape.mesh;
    json["scale"] = numbers(shape.scale.v, 3);
  }
  return json;
}

Json describe(const Body& body, const Recording& recording, Blocks& blocks) {
  Json json{{"name", body.name},
            {"object", body.object},
            {"objectId", body.objectId},
            {"body", body.localIdx},
            {"type", body.type},
            {"first", body.firstFrame},
            {"frames", recording.framesOf(body)},
            {"static", body.isStill},
            {"mass", finite(body.mass)},
            {"track", addTrack(body, blocks)},
            {"shapes", Json::array()}};
  for (const Shape& shape : body.shapes) json["shapes"].push_back(describe(shape));
  return json;
}

// ---- tables ------------------------------------------------------------------------------------

/// Unit of impulses or forces. A blow that dwarfs all others leaves those their digits and is cut.
double cutToUnit(std::vector<double>& values) {
  std::vector<double> sizes;
  for (const double value : values)
    if (std::isfinite(value) && value != 0.0) sizes.push_back(std::fabs(value));
  if (sizes.empty()) return 1.0;
  const auto common = sizes.begin() + static_cast<std::ptrdiff_t>(3 * (sizes.size() - 1) / 4);
  std::nth_element(sizes.begin(), common, sizes.end());
  const double unit =
      std::max(std::min(largestOf(sizes) / kVectorSteps, *common / kLeastSteps), 1e-12);
  for (double& value : values)
    if (std::isfinite(value)) value = std::clamp(value, -kMostSteps * unit, kMostSteps * unit);
  return unit;
}

/// A table as columns, each a quantity of all rows: its channels one after the other.
template <typename Row>
class Columns {
 public:
  using Vector = float (Row::*)[3];

  Columns(const Table<Row>& table, Blocks& blocks) : table_(table), blocks_(blocks) {
    const std::vector<std::int32_t> counts(table.counts.begin(), table.counts.end());
    json_ = {{"counts", blocks.addDelta(counts, 1)}, {"rows", table.rows.size()}};
  }
  void addPlace(const char* name, Vector place) {
    std::vector<double> values = valuesOf(place);
    std::transform(values.begin(), values.end(), values.begin(), inReach);
    add(name, values, 3, kArrowUnit);
  }
  void addDirection(const char* name, Vector direction) {
    add(name, valuesOf(direction), 3, kNormalUnit);
  }
  /// Impulses or forces: their unit follows from their sizes.
  void addForce(const char* name, Vector force) {
    std::vector<double> values = valuesOf(force);
    const double unit = cutToUnit(values);
    add(name, values, 3, unit);
  }
  template <typename Number>
  void addNumber(const char* name, double unit, Number Row::*number) {
    std::vector<double> values;
    for (const Row& row : table_.rows) values.push_back(static_cast<double>(row.*number));
    add(name, values, 1, unit);
  }
  void addNames(const std::vector<std::string>& names) { json_["names"] = names; }
  Json take() { return std::move(json_); }

 private:
  void add(const char* name, const std::vector<double>& values, std::size_t channels, double unit) {
    json_[name] = addColumn(values, channels, unit, blocks_);
  }
  std::vector<double> valuesOf(Vector vector) const {
    std::vector<double> values;
    for (std::size_t i = 0; i < 3; ++i)
      for (const Row& row : table_.rows) values.push_back(static_cast<double>((row.*vector)[i]));
    return values;
  }

  const Table<Row>& table_;
  Blocks& blocks_;
  Json json_;
};

Json describe(const Table<ContactSample>& table, Blocks& blocks) {
  Columns columns(table, blocks);
  columns.addPlace("position", &ContactSample::position);
  columns.addDirection("normal", &ContactSample::normal);
  columns.addForce("impulse", &ContactSample::impulse);
  columns.addNumber("state", 1.0, &ContactSample::state);
  columns.addNumber("a", 1.0, &ContactSample::a);
  columns.addNumber("b", 1.0, &ContactSample::b);
  columns.addNumber("depth", kDepthUnit, &ContactSample::depth);
  return columns.take();
}

Json describe(const Table<WireRow>& table, const std::vector<std::string>& names, Blocks& blocks) {
  Columns columns(table, blocks);
  columns.addNames(names);
  columns.addPlace("start", &WireRow::start);
  columns.addPlace("end", &WireRow::end);
  columns.addNumber("state", 1.0, &WireRow::state);
  columns.addNumber("id", 1.0, &WireRow::id);
  return columns.take();
}

Json describe(const Table<ForceRow>& table, Blocks& blocks) {
  Columns columns(table, blocks);
  columns.addPlace("position", &ForceRow::position);
  columns.addForce("vector", &ForceRow::vector);
  columns.addNumber("body", 1.0, &ForceRow::body);
  return columns.take();
}

// ---- container ---------------------------------------------------------------------------------

Json headerOf(const Recording& recording, const std::string& title, Blocks& blocks) {
  Json header{{"title", title},
              {"engine", "zelvik " ZELVIK_VERSION},
              {"frames", recording.frameCount()},
              {"time", addColumn(recording.times, 1, kTimeUnit, blocks)},
              {"gravity", numbers(recording.gravity.v, 3)},
              {"meshes", Json::array()},
              {"bodies", Json::array()}};
  for (const MeshData& mesh : recording.meshes)
    header["meshes"].push_back({{"positions", blocks.addFloats(mesh.positions)},
                                {"indices", blocks.addUnsigned(mesh.indices)}});
  for (const Body& body : recording.bodies)
    header["bodies"].push_back(describe(body, recording, blocks));
  header["contacts"] = describe(recording.contacts, blocks);
  header["wires"] = describe(recording.wires, recording.wireNames, blocks);
  header["forces"] = describe(recording.forces, blocks);
  header["torques"] = describe(recording.torques, blocks);
  header["blocks"] = blocks.description();
  return header;
}

void appendWord(std::vector<std::uint8_t>& bytes, std::size_t word) {
  for (int shift = 0; shift < 32; shift += 8)
    bytes.push_back(static_cast<std::uint8_t>(word >> shift));
}

}  // namespace

std::vector<std::uint8_t> encodeContainer(const Recording& recording, const std::string& title) {
  Blocks blocks;
  // Names may hold any bytes; those that are no UTF-8 are replaced.
  const std::string header =
      headerOf(recording, title, blocks).dump(-1, ' ', false, Json::error_handler_t::replace);
  std::vector<std::uint8_t> bytes{'Z', 'L', 'V', 'R'};
  appendWord(bytes, 1);
  appendWord(bytes, header.size());
  bytes.insert(bytes.end(), header.begin(), header.end());
  bytes.resize((bytes.size() + 3) / 4 * 4, 0);
  bytes.insert(bytes.end(), blocks.bytes().begin(), blocks.bytes().end());
  return bytes;
}

}  // namespace zelvik::view
