// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <cstring>
#include <zelvik/State.hpp>
#include <zelvik/zlv_message_logger.hpp>

#include "world/StateHeader.hpp"

namespace zelvik {
namespace {

/// Bytes that are no state get a fatal message.
bool checkHeader(const std::uint8_t* bytes, size_t count) {
  const char* const where = "State::fromBytes: ";
  StateHeader header{};
  if (bytes != nullptr && count >= sizeof header) std::memcpy(&header, bytes, sizeof header);
  if (std::memcmp(header.magic, StateHeader::kMagic, sizeof header.magic) != 0) {
    MSG_FATAL(where << "the " << count << " bytes are no state: they do not begin with '"
                    << std::string(StateHeader::kMagic, sizeof header.magic) << "' and a header");
    return false;
  }
  if (header.version != State::kVersion) {
    MSG_FATAL(where << "the bytes are of version " << header.version
                    << ", this library reads version " << State::kVersion);
    return false;
  }
  if (header.size != count || count % sizeof(double) != 0) {
    MSG_FATAL(where << "a state of " << header.size << " bytes was written, but there are "
                    << count);
    return false;
  }
  const std::uint64_t hash = hashWords(bytes + sizeof header, count - sizeof header);
  if (hash != header.hash) {
    MSG_FATAL(where << "the bytes are damaged: their hash is " << hash << ", but " << header.hash
                    << " was written");
    return false;
  }
  return true;
}

}  // namespace

State State::fromBytes(const void* bytes, size_t count) {
  State state;
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  if (checkHeader(first, count)) state.bytes_.assign(first, first + count);
  return state;
}

std::uint64_t State::getHash() const {
  if (bytes_.empty()) return 0;
  StateHeader header;
  std::memcpy(&header, bytes_.data(), sizeof header);
  return header.hash;
}

}  // namespace zelvik
