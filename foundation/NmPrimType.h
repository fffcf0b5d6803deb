#pragma once

/// Voxel type of a volume. The six enumerators are supported; 5 and 6 are not types, 8 and 9 are
/// integer types that no volume of this library holds.
class NmPrimType {
 public:
  enum Value { UnsignedChar = 0, Short = 1, Int = 2, Float = 3, Double = 4, UnsignedShort = 7 };

  /// Bytes per value, indexed by the type's number; 0 for numbers without a type.
  static constexpr int primTypeSize[10] = {1, 2, 4, 4, 8, 0, 0, 2, 1, 4};

  NmPrimType(int value = UnsignedChar) : value_(value) {}
  operator int() const { return value_; }

 private:
  int value_;
};
