#pragma once

#include <cstdint>

#include "foundation/NmHandableThreaded.h"
#include "foundation/NmVec.h"

/// Samples one volume at arbitrary positions. It holds a read lock on the volume for its life, and
/// is used by one thread at a time.
class VlEvaluator : public NmHandableThreaded {
 public:
  ~VlEvaluator() override;

  /// Moves the sampler to a point in world units. A point up to a thousandth of a voxel beyond the
  /// volume's bounding box counts as its border, since hosts compute positions in single precision;
  /// where the box is flat across its one voxel, up to a millionth of its largest coordinate.
  /// False, the sampler staying where it was, farther out and for what is not a number.
  virtual bool setLocation(const NmVec3f& point) = 0;

  /// Writes the first data variable at the last accepted location; 0 before there is one.
  virtual void value(float* result) = 0;

  /// Writes every data variable at the last accepted location; zeros before there is one. A sampler
  /// that knows of one variable only leaves this to `value`.
  virtual void values(float* results);

  /// Samples `n` points, given axis by axis in world units, as setLocation and value do one after
  /// the other, only faster where the volume allows it. A point that setLocation refuses gets
  /// `outside`. The sampler needs a new location afterwards.
  virtual void sample(const float* x, const float* y, const float* z, std::int64_t n, float outside,
                      float* results);
};
