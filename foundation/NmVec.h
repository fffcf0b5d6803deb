#pragma once

#include <cstdint>

/// Plain value vectors: zero by default, compared element by element. `operator[]` counts from 0.

/// Two floats; as a range, x is the minimum and y the maximum.
class NmVec2f {
 public:
  float x = 0;
  float y = 0;

  NmVec2f() = default;
  NmVec2f(float xValue, float yValue) : x(xValue), y(yValue) {}

  float& operator[](int i) { return i == 0 ? x : y; }
  const float& operator[](int i) const { return i == 0 ? x : y; }
  bool operator==(const NmVec2f&) const = default;
};

/// Point, direction or extent in single precision.
class NmVec3f {
 public:
  float x = 0;
  float y = 0;
  float z = 0;

  NmVec3f() = default;
  NmVec3f(float xValue, float yValue, float zValue) : x(xValue), y(yValue), z(zValue) {}

  float& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
  const float& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
  bool operator==(const NmVec3f&) const = default;
};

/// Point, direction or extent in double precision.
class NmVec3d {
 public:
  double x = 0;
  double y = 0;
  double z = 0;

  NmVec3d() = default;
  NmVec3d(double xValue, double yValue, double zValue) : x(xValue), y(yValue), z(zValue) {}

  double& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
  const double& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
  bool operator==(const NmVec3d&) const = default;
};

/// Voxel position, factors or counts per axis.
class NmVec3i {
 public:
  int x = 0;
  int y = 0;
  int z = 0;

  NmVec3i() = default;
  NmVec3i(int xValue, int yValue, int zValue) : x(xValue), y(yValue), z(zValue) {}

  int& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
  const int& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
  bool operator==(const NmVec3i&) const = default;
};

/// Dimensions of a volume.
class NmVec3l {
 public:
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t z = 0;

  NmVec3l() = default;
  NmVec3l(std::int64_t xValue, std::int64_t yValue, std::int64_t zValue)
      : x(xValue), y(yValue), z(zValue) {}

  std::int64_t& operator[](int i) { return i == 0 ? x : i == 1 ? y : z; }
  const std::int64_t& operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
  bool operator==(const NmVec3l&) const = default;
};

/// Four integers.
class NmVec4i {
 public:
  int x = 0;
  int y = 0;
  int z = 0;
  int w = 0;

  NmVec4i() = default;
  NmVec4i(int xValue, int yValue, int zValue, int wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}

  int& operator[](int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
  const int& operator[](int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
  bool operator==(const NmVec4i&) const = default;
};

/// Homogeneous point in single precision.
class NmVec4f {
 public:
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 0;

  NmVec4f() = default;
  NmVec4f(float xValue, float yValue, float zValue, float wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}

  float& operator[](int i) { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
  const float& operator[](int i) const { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
  bool operator==(const NmVec4f&) const = default;
};
