// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/Watch.hpp>

#include <cmath>
#include <cstdio>
#include <sstream>

namespace zelvik {

namespace {

const char* nameOf(WatchReport::Finding finding) {
  constexpr const char* names[] = {"not finite", "energy from nowhere", "deep overlap", "too fast",
                                   "contacts not solved"};
  return names[finding];
}

std::string number(double value) {
  if (!std::isfinite(value)) return "null";
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", code);
    if (code < 0x20)
      out += escape;
    else if (c == '"' || c == '\\')
      out.append(1, '\\').append(1, c);
    else
      out += c;
  }
  return out + '"';
}

/// A JSON list of what `show` makes of the values.
template <typename Value, typename Show>
std::string listOf(const std::vector<Value>& values, Show&& show) {
  std::string out = "[";
  for (const Value& value : values) out += (out.size() > 1 ? ", " : "") + show(value);
  return out + "]";
}

void listLines(std::ostream& out, const char* title, const std::vector<std::string>& lines) {
  if (lines.empty()) return;
  out << "\n" << title;
  for (const std::string& line : lines) out << "\n  - " << line;
}

void listNumbers(std::ostream& out, const char* title, const std::vector<double>& values) {
  if (values.empty()) return;
  out << "\n" << title;
  for (const double value : values) out << ' ' << value;
}

}  // namespace

std::string WatchReport::toText() const {
  std::ostringstream out;
  out << "step " << step << ", " << time << " s: " << nameOf(finding);
  if (object != kNone) out << ": object " << object << " '" << objectName << "'";
  if (!bodyName.empty()) out << ", body '" << bodyName << "'";
  if (!jointName.empty()) out << ", joint '" << jointName << "'";
  out << ": " << quantity << " is " << value << ", the limit is " << limit;
  listNumbers(out, "Before the step, coordinates:", lastCoordinates);
  listNumbers(out, "velocities:", lastVelocities);
  listLines(out, "What acted on it:", acted);
  listLines(out, "Likely causes:", causes);
  return out.str();
}

std::string WatchReport::toJson() const {
  const auto index = [](size_t i) { return i == kNone ? "null" : std::to_string(i); };
  std::ostringstream out;
  out << "{\"finding\": " << quoted(nameOf(finding)) << ", \"step\": " << step
      << ", \"time\": " << number(time) << ", \"timeStep\": " << number(timeStep)
      << ", \"object\": " << index(object) << ", \"body\": " << index(body)
      << ", \"objectName\": " << quoted(objectName) << ", \"bodyName\": " << quoted(bodyName)
      << ", \"jointName\": " << quoted(jointName) << ", \"quantity\": " << quoted(quantity)
      << ", \"value\": " << number(value) << ", \"limit\": " << number(limit)
      << ", \"lastCoordinates\": " << listOf(lastCoordinates, number)
      << ", \"lastVelocities\": " << listOf(lastVelocities, number)
      << ", \"acted\": " << listOf(acted, quoted) << ", \"causes\": " << listOf(causes, quoted)
      << "}";
  return out.str();
}

}  // namespace zelvik
