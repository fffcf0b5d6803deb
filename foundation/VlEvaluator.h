#pragma once

#include <cstdint>

#include "foundation/NmHandableThreaded.h"
#include "foundation/NmVec.h"

/// Samples one volume at arbitrary positions. It holds a read lock on the volume for its lifetime,
/// and is used by one thread at a time.
class VlEvaluator : public NmHandableThreaded {
 public:
  ~VlEvaluator() override;

  /// Moves the sampler to a point in world units. A point up to a thousandth of a voxel outside the
  /// volume's bounding box counts as on its border, since hosts compute positions in single
  /// precision; on an axis where the box is flat across its one voxel, up to a millionth of its
  /// largest coordinate. Returns false, with the sampler not moved, farther outside and for NaN.
  virtual bool setLocation(const NmVec3f& point) = 0;

  /// Writes the first data variable at the last accepted location; 0 before there is one.
  virtual void value(float* result) = 0;

  /// Writes every data variable at the last accepted location; zeros before there is one. A sampler
  /// for a single variable only inherits this, which calls `value`.
  virtual void values(float* results);

  /// Samples `n` points, given axis by axis in world units, with the same results as successive
  /// calls of setLocation and value, but faster where the volume allows it. A point that
  /// setLocation rejects gets `outside`. The sampler needs a new location afterwards.
  virtual void sample(const float* x, const float* y, const float* z, std::int64_t n, float outside,
                      float* results);
};
