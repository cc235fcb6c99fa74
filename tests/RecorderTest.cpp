// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <zelvik/rotation.hpp>
#include <zelvik/view/Recorder.hpp>

#include "Messages.hpp"
#include "StandingRobot.hpp"
#include "TemporaryDirectory.hpp"

// A replay is read back here by a decoder that shares nothing with the encoder.

namespace zelvik::view {
namespace {

/// A container of docs/replay-format.md.
class Replay {
 public:
  explicit Replay(const std::vector<std::uint8_t>& bytes) : bytes_(bytes) {
    EXPECT_EQ(std::memcmp(bytes.data(), "ZLVR\1\0\0\0", 8), 0);
    const std::size_t length = word(8);
    header = nlohmann::json::parse(bytes.begin() + 12,
                                   bytes.begin() + 12 + static_cast<std::ptrdiff_t>(length));
    blocks_ = (12 + length + 3) / 4 * 4;
  }

  /// All values of a block of differences, channel by channel, in its unit.
  std::vector<double> values(const nlohmann::json& column) const {
    const nlohmann::json& block = header["blocks"][column["block"].get<std::size_t>()];
    const std::size_t count = block["count"], channels = block["channels"];
    const std::size_t start = blocks_ + block["offset"].get<std::size_t>();
    EXPECT_EQ(start % 4, 0u);
    EXPECT_EQ(block["encoding"], "delta");
    std::vector<double> out(count);
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t d = 0;
      for (std::size_t plane = 0; plane < 4; ++plane)
        d |= static_cast<std::uint32_t>(bytes_.at(start + plane * count + i)) << (8 * plane);
      if (i % (count / channels) == 0) value = 0;
      value += (d >> 1) ^ (~(d & 1) + 1);
      const auto integer = static_cast<std::int32_t>(value);
      out[i] = integer == std::numeric_limits<std::int32_t>::min()
                   ? std::nan("")
                   : integer * column["unit"].get<double>();
    }
    return out;
  }

  /// Rows of a table in a frame, one vector of channels a row.
  std::vector<std::vector<double>> rows(const char* table, const char* column,
                                        std::size_t frame) const {
    const nlohmann::json& t = header[table];
    const std::vector<double> counts = values({{"block", t["counts"]}, {"unit", 1.0}});
    const std::vector<double> all = values(t[column]);
    const std::size_t total = t["rows"];
    std::size_t begin = 0;
    for (std::size_t i = 0; i < frame; ++i) begin += static_cast<std::size_t>(counts[i]);
    std::vector<std::vector<double>> out(static_cast<std::size_t>(counts[frame]));
    for (std::size_t k = 0; k < out.size(); ++k)
      for (std::size_t c = begin + k; c < all.size(); c += total) out[k].push_back(all[c]);
    return out;
  }

  /// Position and quaternion of body `b` in a frame.
  std::array<double, 7> pose(std::size_t b, std::size_t frame) const {
    const nlohmann::json& body = header["bodies"][b];
    const std::size_t n = body["static"] ? 1 : body["frames"].get<std::size_t>();
    const std::size_t k = body["static"] ? 0 : frame - body["first"].get<std::size_t>();
    const std::vector<double> all = values(body["track"]);
    EXPECT_EQ(all.size(), 7 * n);
    const double ratio =
        body["track"]["quaternionUnit"].get<double>() / body["track"]["unit"].get<double>();
    std::array<double, 7> out;
    for (std::size_t c = 0; c < 7; ++c) out[c] = all[c * n + k] * (c < 3 ? 1.0 : ratio);
    return out;
  }

  nlohmann::json header;

 private:
  std::size_t word(std::size_t at) const {
    std::uint32_t value;
    std::memcpy(&value, &bytes_.at(at), 4);
    return value;
  }
  std::vector<std::uint8_t> bytes_;
  std::size_t blocks_ = 0;
};

/// A pose of the world beside what the replay says. The quaternion may have either sign.
void expectPose(const std::array<double, 7>& pose, const Object& object, std::size_t localIdx) {
  Vec3 p;
  Mat33 R, S;
  if (object.getObjectType() == ARTICULATED_SYSTEM)
    object.getPosition(localIdx, p);
  else
    p = static_cast<const SingleBodyObject&>(object).getBodyPosition();
  object.getOrientation(localIdx, R);
  quatToRotMat(&pose[3], S);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(pose[i], p[i], 6e-6);
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(S[i], R[i], 6e-5);
}

TEST(Recorder, AReplayHoldsPosesAndContactsOfARobot) {
  scenes::StandingRobot scene(ZELVIK_MODEL_DIR "/quadruped.urdf");
  Recorder recorder(scene.world);
  std::map<std::size_t, std::vector<std::array<double, 7>>> expected;
  for (int frame = 0; frame < 40; ++frame) {
    for (int i = 0; i < 5; ++i) {
      scene.robot->setExternalForce(0, Mat<3, 1>{{0.0, frame < 20 ? 15.0 : 0.0, 0.0}});
      scene.world.integrate();
    }
    recorder.capture();
    if (frame != 10 && frame != 39) continue;
    const Replay replay(recorder.encodeReplay("run"));
    const nlohmann::json& bodies = replay.header["bodies"];
    ASSERT_EQ(bodies.size(), 1 + scene.robot->getBodyCount());
    EXPECT_EQ(bodies[0]["static"], true);
    for (std::size_t i = 0; i < scene.robot->getBodyCount(); ++i) {
      EXPECT_EQ(bodies[1 + i]["name"], scene.robot->getBodyNames()[i]);
      EXPECT_DOUBLE_EQ(bodies[1 + i]["mass"], scene.robot->getMass(i));
      expectPose(replay.pose(1 + i, static_cast<std::size_t>(frame)), *scene.robot, i);
    }
    // The impulses carry the weight; the force is there for as long as it acts.
    double impulse = 0.0;
    const auto f = static_cast<std::size_t>(frame);
    const auto a = replay.rows("contacts", "a", f), normals = replay.rows("contacts", "normal", f);
    const auto impulses = replay.rows("contacts", "impulse", f);
    for (std::size_t k = 0; k < impulses.size(); ++k) {
      const double side = bodies[static_cast<std::size_t>(a[k][0])]["type"] == "ground" ? -1 : 1;
      impulse += side * impulses[k][2];
      EXPECT_NEAR(side * normals[k][2], 1.0, 1e-3);
    }
    EXPECT_EQ(impulses.size(), scene.groundContacts());
    EXPECT_NEAR(impulse / scene.world.getTimeStep(), scene.groundForce(), 0.1);
    ASSERT_EQ(replay.rows("forces", "vector", f).size(), 1u);
    EXPECT_NEAR(replay.rows("forces", "vector", f)[0][1], frame < 20 ? 15.0 : 0.0, 0.01);
  }
  const Replay replay(recorder.encodeReplay("run"));
  EXPECT_EQ(replay.header["title"], "run");
  EXPECT_NEAR(replay.values(replay.header["time"])[39], scene.world.getWorldTime(), 1e-6);
}

TEST(Recorder, AContactNamesTheBodiesOfBothSides) {
  const std::string inertia =
      "<inertial><mass value='1'/><inertia ixx='1' iyy='1' izz='1'/></inertial>";
  const std::string arm =
      "<robot name='r'><link name='world'/><link name='post'>" + inertia +
      "</link><link name='arm'>" + inertia +
      "<collision><geometry><box size='1 1 0.2'/></geometry></collision></link>"
      "<joint name='a' type='fixed'><parent link='world'/><child link='post'/>"
      "<origin xyz='0 0 1'/></joint><joint name='b' type='prismatic'><parent link='post'/>"
      "<child link='arm'/><origin xyz='0 0 0'/><axis xyz='0 0 1'/></joint></robot>";
  for (const bool robotFirst : {true, false}) {
    World world;
    Sphere* ball = robotFirst ? nullptr : world.addSphere(0.1, 1.0);
    messages::of([&] { world.addArticulatedSystem(arm); });
    if (robotFirst) ball = world.addSphere(0.1, 1.0);
    ball->setPosition(0, 0, 1.199);
    messages::of([&] { world.addHeightMap(1, 1, 1.0, 1.0, 0.0, 0.0, {0.0}); },
                 messages::OnFatal::GO_ON);
    Recorder recorder(world);
    world.integrate();
    recorder.capture();
    const Replay replay(recorder.encodeReplay());
    const auto a = replay.rows("contacts", "a", 0), b = replay.rows("contacts", "b", 0);
    ASSERT_EQ(a.size(), 1u);
    std::set<std::string> touching;
    for (const double body : {a[0][0], b[0][0]}) {
      const nlohmann::json& entry = replay.header["bodies"][static_cast<std::size_t>(body)];
      touching.insert(entry.value("name", "") == "arm" ? "arm" : entry["type"]);
    }
    EXPECT_EQ(touching, (std::set<std::string>{"arm", "sphere"}));
    // A map that was refused is there, and shows nothing.
    EXPECT_TRUE(replay.header["bodies"].back()["shapes"].empty());
  }
}

TEST(Recorder, ObjectsThatComeAndGoHaveTheirFrames) {
  World world;
  world.addGround();
  Sphere* ball = world.addSphere(0.1, 1.0);
  ball->setPosition(0, 0, 3.0);
  auto recorder = std::make_unique<Recorder>(world);
  const auto run = [&](int frames) {
    for (int i = 0; i < frames; ++i) {
      world.integrate();
      recorder->capture();
    }
  };
  run(3);
  // Another sphere, most likely at the same address and certainly at the same place of the list.
  world.removeObject(ball);
  ball = world.addSphere(0.2, 1.0);
  ball->setPosition(1, 0, 5.0);
  run(2);
  world.removeObject(ball);
  recorder->capture();
  Box* box = world.addBox(0.1, 0.2, 0.3, 1.0);
  box->setPosition(0, 0, 0.15);
  run(4);
  const Replay replay(recorder->encodeReplay());
  const nlohmann::json& bodies = replay.header["bodies"];
  ASSERT_EQ(bodies.size(), 4u);
  const int expected[4][2] = {{0, 10}, {0, 3}, {3, 2}, {6, 4}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(bodies[i]["first"], expected[i][0]);
    EXPECT_EQ(bodies[i]["frames"], expected[i][1]);
    EXPECT_EQ(bodies[i]["objectId"], i);
  }
  EXPECT_EQ(bodies[2]["shapes"][0]["size"], nlohmann::json::array({0.2}));
  EXPECT_EQ(bodies[3]["shapes"][0]["size"], nlohmann::json::array({0.1, 0.2, 0.3}));
  expectPose(replay.pose(3, 9), *box, 0);
  for (const auto& b : replay.rows("contacts", "b", 9)) EXPECT_EQ(std::lround(b[0]) % 3, 0);
}

TEST(Recorder, ABodyOfAnotherSizeIsAnotherBody) {
  World world;
  Sphere* ball = world.addSphere(0.1, 1.0);
  Recorder recorder(world);
  for (int i = 0; i < 5; ++i) {
    if (i == 3) ball->setRadius(0.3);
    if (i == 3) ball->setRadius(0.2);
    world.integrate();
    recorder.capture();
  }
  const nlohmann::json bodies = Replay(recorder.encodeReplay()).header["bodies"];
  ASSERT_EQ(bodies.size(), 2u);
  EXPECT_EQ(bodies[0]["frames"], 3);
  EXPECT_EQ(bodies[1]["first"], 3);
  EXPECT_EQ(bodies[1]["frames"], 2);
  EXPECT_EQ(bodies[1]["shapes"][0]["size"], nlohmann::json::array({0.2}));
}

TEST(Recorder, WhatIsNotFiniteSpoilsNothingAndQuaternionsDoNotFlip) {
  World world;
  world.setGravity(Mat<3, 1>{});
  Box* spinner = world.addBox(0.1, 0.2, 0.3, 1.0);
  spinner->setVelocity(0, 0, 0, 0, 0, 20.0);
  Sphere* lost = world.addSphere(0.1, 1.0);
  lost->setPosition(5, 0, 0);
  Sphere* thrown = world.addSphere(0.1, 1.0);
  thrown->setPosition(1.00001, 4.0, 0);
  Recorder recorder(world);
  for (int i = 0; i < 200; ++i) {
    if (i == 100) lost->setPosition(std::nan(""), 0, 0);
    if (i == 100) thrown->setPosition(1e30, 4.0, 0);
    world.integrate();
    recorder.capture();
  }
  const Replay replay(recorder.encodeReplay());
  EXPECT_TRUE(std::isnan(replay.pose(1, 150)[0]));
  EXPECT_DOUBLE_EQ(replay.pose(1, 99)[0], 5.0);
  EXPECT_TRUE(std::isnan(replay.pose(2, 150)[0]));
  EXPECT_NEAR(replay.pose(2, 99)[0], 1.00001, 1e-6) << "an explosion spoils what came before";
  std::array<double, 7> before = replay.pose(0, 0);
  for (std::size_t frame = 1; frame < 200; ++frame) {
    const std::array<double, 7> now = replay.pose(0, frame);
    double product = 0.0;
    for (std::size_t i = 3; i < 7; ++i) product += before[i] * now[i];
    EXPECT_GT(product, 0.9) << "the quaternion flips";
    before = now;
  }
  EXPECT_EQ(recorder.render().width, 640);
}

TEST(Recorder, WiresAndForcesAreThoseOfTheirOwnStep) {
  World world;
  Box* hook = world.addBox(0.1, 0.1, 0.1, 1.0);
  hook->setPosition(0, 0, 2);
  hook->setBodyType(STATIC);
  Sphere* bob = world.addSphere(0.05, 2.0);
  bob->setPosition(0.3, 0, 1.05);
  StiffLengthConstraint* rope = world.addStiffWire(hook, 0, {}, bob, 0, {}, 0.9);
  rope->setStretchType(0);
  rope->setName("rope");
  Recorder recorder(world);
  recorder.capture();
  for (const double push : {1.0, 0.0, 1e30}) {
    if (push > 0.0) bob->setExternalForce(0, Mat<3, 1>{{push, 0, 0}});
    world.integrate();
    recorder.capture();
  }
  const Replay replay(recorder.encodeReplay());
  EXPECT_EQ(replay.rows("wires", "start", 0).size(), 0u) << "not yet updated";
  EXPECT_NEAR(replay.rows("wires", "start", 1)[0][2], 2.0, 1e-4);
  EXPECT_NEAR(replay.rows("wires", "end", 1)[0][0], 0.3, 1e-4);
  EXPECT_EQ(replay.rows("wires", "state", 1)[0][0], 1.0);
  EXPECT_EQ(replay.header["wires"]["names"][0], "rope");
  EXPECT_EQ(replay.header["contacts"]["rows"], 0) << "a wire is no contact";
  ASSERT_EQ(replay.rows("forces", "vector", 1).size(), 1u);
  EXPECT_NEAR(replay.rows("forces", "vector", 1)[0][0], 1.0, 0.01) << "an explosion spoils it";
  EXPECT_EQ(replay.rows("forces", "vector", 2).size(), 0u) << "it has ceased";
}

TEST(Recorder, ALayerIsShownAndBadMeshesAreNot) {
  const TemporaryDirectory directory;
  directory.write("robot.urdf",
                  "<robot name='r'><link name='base'><inertial><mass value='1'/><inertia ixx='1' "
                  "iyy='1' izz='1' ixy='0' ixz='0' iyz='0'/></inertial><visual><geometry><mesh "
                  "filename='missing.obj'/></geometry></visual><visual><geometry><mesh "
                  "filename='broken.obj'/></geometry></visual><visual><geometry><mesh "
                  "filename='garbled.obj'/></geometry></visual><visual><geometry><mesh "
                  "filename='pentagon.obj'/></geometry></visual><visual><geometry><sphere "
                  "radius='0.2'/></geometry></visual><collision><geometry><box size='1 2 3'/>"
                  "</geometry></collision></link></robot>");
  directory.write("garbled.obj", "v 0 0\n");
  directory.write("broken.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n");
  directory.write("pentagon.obj",
                  "v 0 0 0\nv 2 0 0\nv\t3  1 0\r\nv 1 2 +1e-60\nv -1 1 0\nf 1/1 2//3 -3 -2 5\n");
  World world;
  world.addHeightMap(3, 2, 2.0, 1.0, 5.0, 6.0, {0, 0, 0, 0, 1, 2});
  world.addArticulatedSystem(directory.path + "robot.urdf");
  Recorder recorder(world);
  // Meshes for the eye alone are no reason to end a simulation.
  const std::string output = messages::of([&] { recorder.capture(); });
  EXPECT_NE(output.find("missing.obj is not shown: there is no such file"), std::string::npos);
  EXPECT_NE(output.find("broken.obj is not shown: a face names a vertex"), std::string::npos);
  EXPECT_NE(output.find("line 1 is no vertex or face: v 0 0"), std::string::npos);
  const Replay replay(recorder.encodeReplay());
  const nlohmann::json& shapes = replay.header["bodies"][1]["shapes"];
  ASSERT_EQ(shapes.size(), 3u);
  EXPECT_EQ(shapes[0]["layer"], "visual");
  EXPECT_EQ(shapes[2]["kind"], "box");
  const nlohmann::json& pentagon = replay.header["meshes"][shapes[0]["mesh"].get<std::size_t>()];
  EXPECT_EQ(replay.header["blocks"][pentagon["indices"].get<std::size_t>()]["count"], 9);
  const std::size_t positions = replay.header["meshes"][0]["positions"];
  EXPECT_EQ(replay.header["blocks"][positions]["count"], 18);
  EXPECT_EQ(replay.pose(0, 0)[0], 5.0);

  RecorderOptions eyeOnly;
  eyeOnly.collisionShapes = false;
  Recorder visual(world, eyeOnly);
  messages::of([&] { visual.capture(); });
  const std::string file = directory.path + "visual.zlvr";
  ASSERT_TRUE(visual.writeReplay(file, "title"));
  const std::string bytes = directory.read("visual.zlvr");
  EXPECT_EQ(std::vector<std::uint8_t>(bytes.begin(), bytes.end()), visual.encodeReplay("title"));
  EXPECT_EQ(Replay(visual.encodeReplay()).header["bodies"][1]["shapes"].size(), 2u);
  EXPECT_EQ(visual.getFrameCount(), 1u);
  const std::size_t memory = visual.getMemory();
  for (int i = 0; i < 100; ++i) visual.capture();
  EXPECT_GT(visual.getMemory(), memory + 100 * sizeof(double));
}

std::string decodeBase64(const std::string& text) {
  std::string out;
  std::uint32_t word = 0, bits = 0;
  for (const char c : text) {
    if (c == '=') break;
    const int digit = c >= 'a'   ? c - 'a' + 26
                      : c >= 'A' ? c - 'A'
                      : c >= '0' ? c - '0' + 52
                      : c == '+' ? 62
                                 : 63;
    word = word << 6 | static_cast<std::uint32_t>(digit);
    if ((bits += 6) < 8) continue;
    bits -= 8;
    out += static_cast<char>(word >> bits);
  }
  return out;
}

std::vector<std::uint8_t> containerIn(const std::string& page, const std::string& id) {
  const std::string opening = "<script type=\"text/plain\" id=\"" + id + "\">";
  const std::size_t begin = page.find(opening) + opening.size();
  const std::string packed = decodeBase64(page.substr(begin, page.find('<', begin) - begin));
  std::vector<std::uint8_t> bytes(1 << 20);
  uLongf size = bytes.size();
  EXPECT_EQ(
      uncompress(bytes.data(), &size, reinterpret_cast<const Bytef*>(packed.data()), packed.size()),
      Z_OK);
  bytes.resize(size);
  return bytes;
}

TEST(Recorder, PageHoldsTheReplayAndItsGhost) {
  const TemporaryDirectory directory;
  World world;
  world.addGround();
  world.addSphere(0.1, 1.0)->setPosition(0, 0, 1.0);
  Recorder recorder(world), ghost(world);
  const std::string file = directory.path + "page.html";
  messages::expect("nothing has been captured", [&] { recorder.writeHtml(file); });
  for (int i = 0; i < 10; ++i) {
    world.integrate();
    recorder.capture();
    if (i < 4) ghost.capture();
  }
  Recorder moved(std::move(ghost));
  messages::expect("nothing has been captured", [&] { ghost.writeReplay(file); });
  ghost = std::move(moved);
  if (!Recorder::hasHtmlViewer()) {
    messages::expect("the HTML viewer is not built in", [&] { recorder.writeHtml(file); });
    GTEST_SKIP() << "built without Node.js";
  }
  HtmlOptions options;
  options.title = "falling <ball>";
  options.ghost = &ghost;
  ASSERT_TRUE(recorder.writeHtml(file, options));
  const std::string page = directory.read("page.html");
  EXPECT_EQ(page.find("<!--ZELVIK-REPLAY-->"), std::string::npos);
  EXPECT_EQ(containerIn(page, "zelvik-replay"), recorder.encodeReplay(options.title));
  EXPECT_EQ(Replay(containerIn(page, "zelvik-ghost")).header["frames"], 4);
  messages::expect("cannot be written", [&] { recorder.writeHtml(directory.path); });
}

}  // namespace
}  // namespace zelvik::view
