#pragma once

#include <voxreg.h>

namespace host {

/// The header's scaling of stored values: value = slope * stored + intercept.
struct ValueScale {
  double slope = 1.0;
  double intercept = 0.0;

  bool isIdentity() const { return slope == 1.0 && intercept == 0.0; }
};

/// Converts `n` stored values, in the machine's byte order, to voxels of a volume.
using LineConversion = void (*)(const void* stored, long n, const ValueScale& scale, void* voxels,
                                const voxreg::MemoryLine& line);

/// Converts voxels of a volume back to `n` stored values, as in an unscaled file.
using LineStorage = void (*)(const void* voxels, const voxreg::MemoryLine& line, long n,
                             void* stored);

/// How a NIfTI data type maps to a voxel type: one that holds every stored value, and a
/// floating-point one for values that the header scales.
struct VoxelFormat {
  int niftiType;
  std::size_t size;  ///< bytes per stored value
  NmPrimType::Value plainType;
  NmPrimType::Value scaledType;
  LineConversion convertPlain;
  LineConversion convertScaled;
  LineStorage storePlain;  ///< of voxels of the plain type

  /// Null for types other than one real number.
  static const VoxelFormat* find(int niftiType);
};

/// The NIfTI data type that holds the voxels of a volume unchanged.
int niftiTypeOf(NmPrimType type);

}  // namespace host
