#pragma once

#include "foundation/NmPrimType.h"

/// Voxels and their type; owns nothing.
class NmTypedPointer {
 public:
  void* data = nullptr;
  NmPrimType type;
};
