// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/zlv_message_logger.hpp>

#include "worldfile/WorldFile.hpp"

// Height maps of a world file: heights in the file, noise, a PNG image, or a text file.

namespace zelvik::worldfile {

namespace {

/// What an element says about a map, whatever its heights come from.
struct MapDescription {
  std::string png, text;                ///< file names
  double xSize = 10.0, ySize = 10.0;    ///< (m)
  double centerX = 0.0, centerY = 0.0;  ///< (m, world)
  unsigned long group = World::kGroundGroup, mask = World::kAllMask;
  std::string material;
};

void readMap(const Element& element, MapDescription& out) {
  element.getAttributeIfExists("png", out.png);
  element.getAttributeIfExists("text", out.text);
  element.getAttributeIfExists("xSize", out.xSize);
  element.getAttributeIfExists("ySize", out.ySize);
  element.getAttributeIfExists("centerX", out.centerX);
  element.getAttributeIfExists("centerY", out.centerY);
  element.getAttributeIfExists("collisionGroup", out.group);
  element.getAttributeIfExists("collisionMask", out.mask);
}

/// A negative count becomes one that the map refuses as too large.
bool readSamples(const Element& element, unsigned long& xSamples, unsigned long& ySamples) {
  int x = 0, y = 0;
  if (!(element.readMust("xSample", x) && element.readMust("ySample", y))) return false;
  xSamples = static_cast<unsigned long>(x);
  ySamples = static_cast<unsigned long>(y);
  return true;
}

bool addFromHeights(World& world, const Element& element, const MapDescription& m,
                    const VecDyn& heights, Object*& object) {
  unsigned long xSamples = 0, ySamples = 0;
  if (!readSamples(element, xSamples, ySamples)) return false;
  object = world.addHeightMap(xSamples, ySamples, m.xSize, m.ySize, m.centerX, m.centerY,
                              {heights.v, heights.v + heights.n}, m.material, m.group, m.mask);
  return true;
}

bool readTerrain(const Element& element, TerrainProperties& out) {
  unsigned long xSamples = 0, ySamples = 0, seed = 0, octaves = 0;
  if (!(readSamples(element, xSamples, ySamples) && element.readMust("seed", seed) &&
        element.readMust("stepSize", out.stepSize) &&
        element.readMust("fractalGain", out.fractalGain) &&
        element.readMust("fractalLacunarity", out.fractalLacunarity) &&
        element.readMust("fractalOctaves", octaves) && element.readMust("zScale", out.zScale) &&
        element.readMust("frequency", out.frequency)))
    return false;
  out.xSamples = xSamples;
  out.ySamples = ySamples;
  out.seed = static_cast<std::uint32_t>(seed);
  out.fractalOctaves = octaves;
  return true;
}

/// Terrain from noise keeps the default group and mask, whatever the element says.
bool addFromNoise(World& world, const Element& properties, const MapDescription& m,
                  Object*& object) {
  TerrainProperties terrain;
  terrain.xSize = m.xSize;
  terrain.ySize = m.ySize;
  if (!readTerrain(properties, terrain)) return false;
  object = world.addHeightMap(m.centerX, m.centerY, terrain, m.material);
  return true;
}

bool addFromPng(World& world, const Element& element, const MapDescription& m, Object*& object) {
  double scale = 0.0, offset = 0.0;
  if (!(element.readMust("heightScale", scale) && element.readMust("heightOffset", offset)))
    return false;
  object = world.addHeightMap(m.png, m.centerX, m.centerY, m.xSize, m.ySize, scale, offset,
                              m.material, m.group, m.mask);
  return true;
}

}  // namespace

bool addHeightMap(World& world, const Element& element, const std::string& material,
                  Object*& object) {
  MapDescription map;
  map.material = material;
  readMap(element, map);
  VecDyn heights;
  if (element.getAttributeIfExists("height", heights))
    return addFromHeights(world, element, map, heights, object);
  const std::vector<Element> properties = element.getChildren("terrainProperties");
  if (!properties.empty()) return addFromNoise(world, properties[0], map, object);
  if (!map.png.empty()) return addFromPng(world, element, map, object);
  if (!map.text.empty()) {
    object = world.addHeightMap(map.text, map.centerX, map.centerY, material, map.group, map.mask);
    return true;
  }
  MSG_FATAL("Height map in " << element.getSource() << ", " << element.getFullTree()
                             << " does not have a proper initialization properties. Need one of: "
                                "height, terrainProperties, and png");
  return false;
}

}  // namespace zelvik::worldfile
