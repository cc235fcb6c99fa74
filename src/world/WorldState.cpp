// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <array>
#include <cstring>
#include <sstream>
#include <string>
#include <zelvik/World.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "core/StateArchive.hpp"
#include "solver/ImpulseMemory.hpp"
#include "world/StateHeader.hpp"
#include "world/StepContacts.hpp"

// Saving and restoring a moment. The bytes are a header, the structure of the world (what a state
// fits to), and the values in the order of `World::visitState`; docs/state-format.md describes
// them.

namespace zelvik {
namespace {

/// Kind and sizes of an object, or ends of a wire, as a state holds them.
using Structure = std::array<std::uint64_t, 2>;

/// Kind: `ObjectType` in the lowest byte, then a byte for the `BodyType` and one for that of the
/// root, and from bit 32 on the number of bodies. Sizes: velocities, and from bit 32 on
/// coordinates.
Structure structureOf(const Object& object) {
  Structure s = {static_cast<std::uint64_t>(object.getObjectType()) |
                     static_cast<std::uint64_t>(object.getBodyType()) << 8,
                 0};
  if (object.getObjectType() != ARTICULATED_SYSTEM) return s;
  const auto& system = static_cast<const ArticulatedSystem&>(object);
  s[0] |= static_cast<std::uint64_t>(system.getBodyType(0)) << 16 |
          static_cast<std::uint64_t>(system.getBodyCount()) << 32;
  s[1] = system.getDOF() | static_cast<std::uint64_t>(system.getGeneralizedCoordinateDim()) << 32;
  return s;
}

/// Objects: places in the world, from bit 32 on the second one's. Bodies inside of them: likewise.
Structure structureOf(const LengthConstraint& wire) {
  const auto place = [](const Object* body) {
    return body == nullptr ? 0xffffffffu : static_cast<std::uint64_t>(body->getIndexInWorld());
  };
  return {place(wire.getBody1()) | place(wire.getBody2()) << 32,
          wire.getLocalIdx1() | static_cast<std::uint64_t>(wire.getLocalIdx2()) << 32};
}

std::string describe(const Structure& s, const Object&) {
  constexpr const char* bodyTypes[] = {"unknown", "static", "kinematic", "dynamic"};
  const std::uint64_t bodyType = s[0] >> 8 & 0xff;
  std::ostringstream out;
  out << "is a " << bodyTypes[bodyType < 4 ? bodyType : 0] << ' '
      << objectTypeToString(static_cast<ObjectType>(s[0] & 0xff));
  if ((s[0] & 0xff) != ARTICULATED_SYSTEM) return out.str();
  out << " of " << (s[0] >> 32) << " bodies with a "
      << ((s[0] >> 16 & 0xff) == BodyType::STATIC ? "fixed" : "free") << " base, "
      << (s[1] & 0xffffffffu) << " velocities and " << (s[1] >> 32) << " coordinates";
  return out.str();
}

std::string describe(const Structure& s, const LengthConstraint&) {
  std::ostringstream out;
  out << "joins body " << (s[1] & 0xffffffffu) << " of object " << (s[0] & 0xffffffffu)
      << " to body " << (s[1] >> 32) << " of object " << (s[0] >> 32);
  return out.str();
}

/// The records of a list; where the archive holds others the result is false, after a fatal
/// message.
template <typename List>
bool visitStructures(StateArchive& archive, const char* what, const List& list) {
  const std::uint64_t count = archive.word(list.size());
  if (!archive.isGood()) return false;
  if (count != list.size()) {
    MSG_FATAL("World::restoreState: the state has " << count << ' ' << what << "s, this world has "
                                                    << list.size());
    return false;
  }
  for (size_t i = 0; i < list.size(); ++i) {
    const Structure present = structureOf(*list[i]);
    const std::uint64_t first = archive.word(present[0]), second = archive.word(present[1]);
    const Structure found = {first, second};
    if (!archive.isGood()) return false;
    if (found == present) continue;
    MSG_FATAL("World::restoreState: " << what << ' ' << i << " of the state "
                                      << describe(found, *list[i]) << ", of this world "
                                      << describe(present, *list[i]));
    return false;
  }
  return true;
}

}  // namespace

/// Returns false after a fatal message.
bool World::canSaveState(const char* operation) const {
  if (betweenHalves_) {
    MSG_FATAL("World::" << operation
                        << ": the world is between integrate1 and integrate2, a state is of a "
                           "moment between steps");
    return false;
  }
  if (getBroadPhase() == BroadPhase::QUADTREE) {
    MSG_FATAL("World::" << operation
                        << ": the broad phase is QUADTREE, whose order cannot be restored; choose "
                           "another one by setBroadPhase");
    return false;
  }
  return true;
}

/// Returns false where the archive holds another one, after a fatal message, or ends.
bool World::visitStructure(StateArchive& archive) const {
  return visitStructures(archive, "object", objectList_) &&
         visitStructures(archive, "stiff wire", stiffWire_) &&
         visitStructures(archive, "compliant wire", compliantWire_);
}

/// All that the next step depends on. What a step writes before it reads it is not here, nor are
/// parameters, nor the collision space, whose order follows from the objects.
void World::visitState(StateArchive& archive) {
  archive(worldTime_);
  archive(solvedTimeStep_);
  const std::uint64_t steps = archive.word(stepCount_);
  if (archive.isReading()) stepCount_ = static_cast<size_t>(steps);
  solver_.visitState(archive);
  for (Object* object : objectList_) object->visitState(archive);
  for (auto& wire : stiffWire_) wire->visitState(archive);
  for (auto& wire : compliantWire_) wire->visitState(archive);
  // Without a warm start there are no pairs; a world that has switched it on reads none.
  ImpulseMemory none;
  (impulseMemory_ != nullptr ? *impulseMemory_ : none)
      .visitState(archive, contacts_->pairs(), objectList_);
}

bool World::saveState(State& state) const {
  if (!canSaveState("saveState")) {
    state.bytes_.clear();
    return false;
  }
  StateArchive archive(state.bytes_, sizeof(StateHeader));
  visitStructure(archive);
  const_cast<World*>(this)->visitState(archive);  // which changes nothing when it writes
  archive.finish();
  const size_t size = state.bytes_.size();
  StateHeader header{{}, State::kVersion, size, 0};
  std::memcpy(header.magic, StateHeader::kMagic, sizeof header.magic);
  header.hash = hashWords(state.bytes_.data() + sizeof header, size - sizeof header);
  std::memcpy(state.bytes_.data(), &header, sizeof header);
  return true;
}

bool World::restoreState(const State& state) {
  if (!canSaveState("restoreState")) return false;
  const std::vector<std::uint8_t>& bytes = state.bytes_;
  if (bytes.empty()) {
    MSG_FATAL("World::restoreState: the state is empty");
    return false;
  }
  StateArchive check(StateArchive::Mode::CHECK, bytes.data(), sizeof(StateHeader), bytes.size());
  const bool fits = visitStructure(check);
  if (!fits && check.isGood()) return false;
  const size_t valuesBegin = check.getPosition();
  if (fits) visitState(check);
  if (!check.isGood() || check.getPosition() != bytes.size()) {
    MSG_FATAL("World::restoreState: the state has " << bytes.size()
                                                    << " bytes, this world cannot read on at byte "
                                                    << check.getPosition());
    return false;
  }

  contacts_->clear();
  isContactReportOld_ = true;
  for (Object* object : objectList_) {
    object->forgetContacts();
    object->clearPerObjectContact();
  }
  StateArchive read(StateArchive::Mode::READ, bytes.data(), valuesBegin, bytes.size());
  visitState(read);
  if (!warmStart_ && impulseMemory_ != nullptr) impulseMemory_->clear();
  return true;
}

std::uint64_t World::getStateHash() const {
  return saveState(hashedState_) ? hashedState_.getHash() : 0;
}

}  // namespace zelvik
