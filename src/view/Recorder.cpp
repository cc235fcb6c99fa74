// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <zelvik/World.hpp>
#include <zelvik/rotation.hpp>

#include "Recording.hpp"

// Capturing a frame: one pass over the objects. The list of objects is looked at anew only when the
// world says that it has changed, or an object that its shapes have: then its bodies end, and
// others begin.

namespace zelvik::view {

namespace {

Pose packPose(const Vec3& p, const Vec4& q) {
  Pose pose;
  for (std::size_t i = 0; i < 3; ++i) pose.position[i] = static_cast<float>(p[i]);
  for (std::size_t i = 0; i < 4; ++i) pose.quaternion[i] = static_cast<float>(q[i]);
  return pose;
}

void pack(const Vec3& from, float* to) {
  for (std::size_t i = 0; i < 3; ++i) to[i] = static_cast<float>(from[i]);
}

Pose poseOf(const LiveObject& live, std::size_t localIdx) {
  if (live.type == ARTICULATED_SYSTEM) {
    Vec3 p;
    Mat33 R;
    Vec4 q;
    live.object->getPosition(localIdx, p);
    live.object->getOrientation(localIdx, R);
    rotMatToQuat(R, q);
    return packPose(p, q);
  }
  if (live.type == GROUND)
    return packPose({{0.0, 0.0, static_cast<const Ground&>(*live.object).getHeight()}},
                    {{1.0, 0.0, 0.0, 0.0}});
  const auto& body = static_cast<const SingleBodyObject&>(*live.object);
  return packPose(body.getBodyPosition(), body.getQuaternion());
}

void appendPose(Body& body, std::size_t frame, const Pose& pose, std::size_t expectedFrames) {
  if (body.poses.empty()) {
    body.poses.push_back(pose);
    return;
  }
  if (body.isStill) {
    // Bits, not values: a pose that is not a number is still, too.
    if (std::memcmp(&pose, body.poses.data(), sizeof(Pose)) == 0) return;
    body.isStill = false;
    body.poses.reserve(std::max(expectedFrames, frame - body.firstFrame + 1));
    body.poses.resize(frame - body.firstFrame, body.poses.front());
  }
  body.poses.push_back(pose);
}

void capturePoses(Recording& recording) {
  const std::size_t frame = recording.frameCount();
  for (const LiveObject& live : recording.objects)
    for (std::size_t i = 0; i < live.bodyCount; ++i)
      appendPose(recording.bodies[live.firstBody + i], frame, poseOf(live, i),
                 recording.options.expectedFrames);
}

// ---- what is in the world ----------------------------------------------------------------------

/// Whether the object is the recorded one, with the same shapes. The pointer of the record is not
/// followed.
bool isSame(const Object& object, const LiveObject& live) {
  return &object == live.object && object.getIdInWorld() == live.idInWorld &&
         object.getShapeChangeCount() == live.shapeChangeCount;
}

/// Only for objects that are in the world still.
bool haveShapesChanged(const Recording& recording) {
  const std::vector<LiveObject>& objects = recording.objects;
  return std::any_of(objects.begin(), objects.end(), [](const LiveObject& live) {
    return live.object->getShapeChangeCount() != live.shapeChangeCount;
  });
}

/// Ends the tracks of objects that are no longer in the world, or have other shapes.
void closeRemoved(const std::vector<Object*>& list, Recording& recording) {
  for (const LiveObject& live : recording.objects) {
    const auto isLive = [&](const Object* object) { return isSame(*object, live); };
    if (std::any_of(list.begin(), list.end(), isLive)) continue;
    for (std::size_t i = 0; i < live.bodyCount; ++i)
      recording.bodies[live.firstBody + i].lastFrame = recording.frameCount() - 1;
  }
}

LiveObject liveObjectOf(const Object& object, const std::vector<LiveObject>& known,
                        Recording& recording) {
  for (const LiveObject& live : known)
    if (isSame(object, live)) return live;
  LiveObject live{
      &object, object.getIdInWorld(),       object.getObjectType(), recording.bodies.size(),
      0,       object.getShapeChangeCount()};
  appendBodies(object, recording);
  live.bodyCount = recording.bodies.size() - live.firstBody;
  return live;
}

void refreshObjects(const World& world, Recording& recording) {
  closeRemoved(world.getObjList(), recording);
  const std::vector<LiveObject> known = std::move(recording.objects);
  recording.objects.clear();
  for (const Object* object : world.getObjList())
    recording.objects.push_back(liveObjectOf(*object, known, recording));
}

/// Wires of one name are one wire for the page; those without a name are numbered.
void addLiveWire(const LengthConstraint& wire, Recording& recording) {
  std::vector<std::string>& names = recording.wireNames;
  const std::string name = wire.getName().empty()
                               ? "wire " + std::to_string(recording.liveWires.size())
                               : wire.getName();
  const auto found = std::find(names.begin(), names.end(), name);
  const auto id = static_cast<std::int32_t>(found - names.begin());
  if (found == names.end()) names.push_back(name);
  recording.liveWires.push_back({&wire, id});
}

void refreshWires(const World& world, Recording& recording) {
  recording.liveWires.clear();
  for (const auto& wire : world.getStiffWires()) addLiveWire(*wire, recording);
  for (const auto& wire : world.getCompliantWires()) addLiveWire(*wire, recording);
}

// ---- contacts ----------------------------------------------------------------------------------

enum ContactState : std::int32_t { OPEN = 0, STICKING = 1, SLIDING = 2 };

/// An impulse on the friction cone slides, one inside of it sticks.
ContactState stateOf(const contact::Single3DContactProblem& problem) {
  const Vec3& p = problem.imp_;
  if (!(p[2] > 0.0)) return OPEN;
  const double bound = (1.0 - 1e-6) * problem.mu_ * p[2];
  return p[0] * p[0] + p[1] * p[1] < bound * bound ? STICKING : SLIDING;
}

/// Body of the other side of a contact, as an index of the recording; none if that object is gone.
std::size_t partnerOf(const contact::Contact& c, const Recording& recording) {
  if (c.pairObjectIndex_ >= recording.objects.size()) return kNone;
  const LiveObject& pair = recording.objects[c.pairObjectIndex_];
  std::size_t localIdx = 0;  // a side that never moves keeps no contact: it is a root
  if (c.pairBodyType_ != BodyType::STATIC) {
    const std::vector<contact::Contact>& others = pair.object->getContacts();
    if (c.pairContactIndex_ < others.size()) localIdx = others[c.pairContactIndex_].localBodyIndex_;
  }
  return pair.firstBody + std::min(localIdx, pair.bodyCount - 1);
}

/// A contact of two moving sides is told by its A side alone; wires are no contacts.
void captureContact(const contact::Contact& c, std::size_t self,
                    const contact::ContactProblemList& problems, Recording& recording) {
  if (!c.objectA_ && c.pairBodyType_ != BodyType::STATIC) return;
  if (c.contactProblemIndex_ >= problems.size()) return;
  const contact::Single3DContactProblem& problem = problems[c.contactProblemIndex_];
  if (problem.rank_ == contact::Single3DContactProblem::NORMAL_ONLY) return;
  const std::size_t partner = partnerOf(c, recording);
  if (partner == kNone) return;
  ContactSample row;
  pack(c.position_, row.position);
  pack(c.normal_, row.normal);
  pack(transposeMul(c.frame_, problem.imp_), row.impulse);
  row.depth = static_cast<float>(c.depth_);
  row.state = stateOf(problem);
  row.a = static_cast<std::int32_t>(c.objectA_ ? self : partner);
  row.b = static_cast<std::int32_t>(c.objectA_ ? partner : self);
  recording.contacts.add(row);
}

void captureContacts(const World& world, Recording& recording) {
  for (const LiveObject& live : recording.objects)
    for (const contact::Contact& c : live.object->getContacts())
      captureContact(c, live.firstBody + c.localBodyIndex_, world.getContactProblems(), recording);
}

// ---- wires and forces --------------------------------------------------------------------------

void captureWires(Recording& recording) {
  for (const LiveWire& live : recording.liveWires) {
    const LengthConstraint& wire = *live.wire;
    // Without bodies it is dead; without a direction it has not been updated yet.
    if (wire.getBody1() == nullptr || squaredNorm(wire.getNorm()) == 0.0) continue;
    WireRow row;
    pack(wire.getP1(), row.start);
    pack(wire.getP2(), row.end);
    row.state = wire.isActive() ? 1 : 0;
    row.id = live.id;
    recording.wires.add(row);
  }
}

void captureVectors(const std::vector<Vec3>& positions, const std::vector<Vec3>& vectors,
                    std::size_t body, Table<ForceRow>& table) {
  for (std::size_t i = 0; i < vectors.size() && i < positions.size(); ++i) {
    ForceRow row;
    pack(positions[i], row.position);
    pack(vectors[i], row.vector);
    row.body = static_cast<std::int32_t>(body);
    table.add(row);
  }
}

/// The object does not say which of its bodies a force acts on: its first one stands for all.
void captureForces(Recording& recording) {
  for (const LiveObject& live : recording.objects) {
    const Object& object = *live.object;
    if (!object.areVisForcesCurrent()) continue;
    captureVectors(object.getVisForcePositions(), object.getVisForces(), live.firstBody,
                   recording.forces);
    captureVectors(object.getVisTorquePositions(), object.getVisTorques(), live.firstBody,
                   recording.torques);
  }
}

}  // namespace

Recorder::Recorder(const World& world, const RecorderOptions& options)
    : world_(&world), recording_(std::make_unique<Recording>()) {
  recording_->options = options;
  recording_->times.reserve(options.expectedFrames);
}

Recorder::~Recorder() = default;

Recorder::Recorder(Recorder&& other) noexcept
    : world_(other.world_),
      recording_(std::exchange(other.recording_, std::make_unique<Recording>())) {
  other.recording_->options = recording_->options;
}

Recorder& Recorder::operator=(Recorder&& other) noexcept {
  Recorder taken(std::move(other));
  std::swap(world_, taken.world_);
  std::swap(recording_, taken.recording_);
  return *this;
}

void Recorder::capture() {
  Recording& recording = *recording_;
  if (recording.seenChangeCount != world_->getObjectChangeCount() || haveShapesChanged(recording)) {
    refreshObjects(*world_, recording);
    refreshWires(*world_, recording);
    recording.seenChangeCount = world_->getObjectChangeCount();
    recording.gravity = world_->getGravity();
  }
  capturePoses(recording);
  if (recording.options.contacts) captureContacts(*world_, recording);
  if (recording.options.wires) captureWires(recording);
  if (recording.options.forces) captureForces(recording);
  recording.contacts.closeFrame();
  recording.wires.closeFrame();
  recording.forces.closeFrame();
  recording.torques.closeFrame();
  recording.timeStep = world_->getTimeStep();
  recording.times.push_back(world_->getWorldTime());
}

std::size_t Recorder::getFrameCount() const {
  return recording_->frameCount();
}

std::size_t Recorder::getMemory() const {
  const Recording& r = *recording_;
  std::size_t bytes = r.times.capacity() * sizeof(double) + r.contacts.memory() + r.wires.memory() +
                      r.forces.memory() + r.torques.memory();
  for (const Body& body : r.bodies) bytes += body.poses.capacity() * sizeof(Pose);
  return bytes;
}

}  // namespace zelvik::view
