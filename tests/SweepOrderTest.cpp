// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "solver/SweepOrder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "collision/PairOrder.hpp"

namespace zelvik {
namespace {

using contact::SweepOrder;
constexpr std::uint32_t kNobody = ContactPair::kNobody;

struct Problem {
  SweepOrder::Kind kind;
  std::uint32_t a, b;
};

/// What visits leave on the objects: each changes its objects by what it finds there, so the result
/// tells the order of any two that share one.
struct Traces {
  explicit Traces(size_t objects) : of(objects, 1) {}
  void visit(const Problem& p, std::uint64_t name) {
    const std::uint64_t seen = value(p.a) * 31 + value(p.b) * 17 + name;
    for (const std::uint32_t object : {p.a, p.b})
      if (object != kNobody) of[object] = of[object] * 0x9E3779B97F4A7C15ull + seen;
  }
  std::uint64_t value(std::uint32_t object) const { return object == kNobody ? 0 : of[object]; }
  std::vector<std::uint64_t> of;
};

std::vector<Problem> randomProblems(std::mt19937& generator, size_t objects, size_t count) {
  std::vector<Problem> problems;
  for (size_t i = 0; i < count; ++i) {
    const auto kind = static_cast<SweepOrder::Kind>(generator() % 3);
    Problem p = {kind, static_cast<std::uint32_t>(generator() % objects), kNobody};
    if (kind != SweepOrder::ONE_BODY) p.b = static_cast<std::uint32_t>(generator() % objects);
    if (kind == SweepOrder::TWO_BODIES && p.a == p.b) p.b = (p.a + 1) % objects;
    if (generator() % 2 == 0) std::swap(p.a, p.b);
    problems.push_back(p);
  }
  return problems;
}

TEST(SweepOrder, ProblemsWithACommonObjectKeepTheirOrder) {
  std::mt19937 generator(5);
  SweepOrder order;
  for (int run = 0; run < 50; ++run) {
    const size_t objects = 2 + generator() % 40;
    const std::vector<Problem> problems = randomProblems(generator, objects, generator() % 200);
    order.clear(objects);
    std::vector<std::vector<size_t>> atStop;
    for (size_t i = 0; i < problems.size(); ++i) {
      const SweepOrder::Stop& stop = order.insert(problems[i].kind, problems[i].a, problems[i].b);
      const auto place = static_cast<size_t>(&stop - order.stops().data());
      atStop.resize(order.stops().size());
      atStop[place].push_back(i);
      ASSERT_EQ(stop.kind, problems[i].kind);
      ASSERT_EQ(stop.count, atStop[place].size());
      ASSERT_LE(stop.count, problems[i].kind == SweepOrder::SINGLE ? 1u : 4u);
    }
    Traces listed(objects), ordered(objects);
    for (size_t i = 0; i < problems.size(); ++i) listed.visit(problems[i], i);
    for (const std::vector<size_t>& stop : atStop) {
      std::vector<bool> isTouched(objects, false);
      for (const size_t i : stop) {
        ordered.visit(problems[i], i);
        for (const std::uint32_t object : {problems[i].a, problems[i].b}) {
          if (object == kNobody || stop.size() == 1) continue;
          ASSERT_FALSE(isTouched[object]);
          isTouched[object] = true;
        }
      }
    }
    ASSERT_EQ(listed.of, ordered.of) << run;
    for (size_t i = problems.size(); i > 0; --i) listed.visit(problems[i - 1], i);
    for (size_t s = atStop.size(); s > 0; --s)
      for (const size_t i : atStop[s - 1]) ordered.visit(problems[i], i + 1);
    ASSERT_EQ(listed.of, ordered.of) << run;
  }
}

TEST(SweepOrder, FillsStopsThatAreNotFull) {
  SweepOrder order;
  order.clear(9);
  // Two chains of three contacts each and two contacts with the ground fit into three stops and
  // one.
  for (std::uint32_t i = 0; i < 3; ++i) order.insert(SweepOrder::TWO_BODIES, i, i + 1);
  for (std::uint32_t i = 4; i < 7; ++i) order.insert(SweepOrder::TWO_BODIES, i, i + 1);
  order.insert(SweepOrder::ONE_BODY, 8, kNobody);
  order.insert(SweepOrder::ONE_BODY, kNobody, 0);
  EXPECT_EQ(order.count(SweepOrder::TWO_BODIES), 3u);
  EXPECT_EQ(order.count(SweepOrder::ONE_BODY), 1u);
  EXPECT_EQ(order.stops()[3].count, 2u);
}

/// @param point by which the test knows the pair again @param a, b objects, or `kNobody`
ContactPair pairOf(std::uint32_t point, std::uint32_t a, std::uint32_t b) {
  ContactPair pair;
  pair.point = point;
  pair.sides[0] = {a, 0, a == kNobody ? BodyType::STATIC : BodyType::DYNAMIC};
  pair.sides[1] = {b, 0, b == kNobody ? BodyType::STATIC : BodyType::DYNAMIC};
  return pair;
}

TEST(PairOrder, NeighboursHaveNoObjectInCommonAndStayNear) {
  PairOrder order;
  for (const std::uint32_t fixed : {200u, 100u, 0u}) {  // from here on nothing moves
    const auto owner = [&](std::uint32_t i) { return i < fixed ? i : kNobody; };
    std::vector<ContactPair> pairs;
    for (std::uint32_t i = 0; i < 199; ++i) pairs.push_back(pairOf(i, owner(i), owner(i + 1)));
    order.arrange(pairs, 200);
    std::set<std::uint32_t> seen;
    for (size_t i = 0; i < pairs.size(); ++i) {
      EXPECT_TRUE(seen.insert(pairs[i].point).second);
      EXPECT_NEAR(static_cast<double>(pairs[i].point), static_cast<double>(i), 16.0);
      for (size_t k = i / 4 * 4; k < i && i < 180; ++k)
        for (const ContactPair::Side& other : pairs[k].sides)
          for (const ContactPair::Side& own : pairs[i].sides)
            EXPECT_TRUE(other.mover() == kNobody || other.mover() != own.mover()) << i;
    }
    EXPECT_EQ(seen.size(), 199u);
  }
  std::vector<ContactPair> pairs;
  for (std::uint32_t i = 0; i < 40; ++i) pairs.push_back(pairOf(i, kNobody, 7));
  order.arrange(pairs, 200);  // all have an object in common: none is lost
  EXPECT_EQ(pairs.size(), 40u);
}

}  // namespace
}  // namespace zelvik
