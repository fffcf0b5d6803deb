#pragma once

#include "variational/fields/fieldSamples.inl"

/// Steps of Newton's method towards the v with v + u(y + v) = 0, for the voxels y of a row.
class InverseSteps {
 public:
  InverseSteps(const float* const (&field)[3], const NmVec3i& dims)
      : field_(field), sampler_(dims) {
    const int n[3] = {dims.x, dims.y, dims.z};
    for (int a = 0; a < 3; ++a) last_[a] = static_cast<float>(n[a] - 1);
  }

  /// Returns the squares of the errors that are left. A lane stays once it is good enough, so that
  /// it does not depend on others.
  Floats improve(const Floats (&place)[3], float enough, Floats (&v)[3]) {
    Floats excess[3];
    Floats column[3][3];
    for (int i = 0;; ++i) {
      const Floats error = evaluate(place, v, excess, column);
      const Ints isOpen = ~(error <= all(enough));
      if (i == mostSteps || !FloatLanes::any(isOpen)) return error;
      takeStep(isOpen, excess, column, v);
    }
  }

 private:
  static constexpr int mostSteps = 5;

  [[gnu::always_inline]] Floats evaluate(const Floats (&place)[3], const Floats (&v)[3],
                                         Floats (&excess)[3], Floats (&column)[3][3]) {
    Floats position[3];
    for (int a = 0; a < 3; ++a) position[a] = place[a] + v[a];
    sampler_.locate(position);
    for (int c = 0; c < 3; ++c) {
      Floats slope[3];
      excess[c] = v[c] + sampler_.value(field_[c], slope);
      for (int a = 0; a < 3; ++a) {
        const Ints isInside = (position[a] >= Floats{}) & (position[a] <= all(last_[a]));
        column[a][c] = (isInside ? slope[a] : Floats{}) + (a == c ? 1.0f : 0.0f);
      }
    }
    return dot(excess, excess);
  }

  [[gnu::always_inline]] static void takeStep(Ints isOpen, const Floats (&excess)[3],
                                              const Floats (&column)[3][3], Floats (&v)[3]) {
    Floats areas[3][3];
    for (int a = 0; a < 3; ++a) cross(column[(a + 1) % 3], column[(a + 2) % 3], areas[a]);
    const Floats determinant = dot(column[0], areas[0]);
    for (int a = 0; a < 3; ++a) v[a] = isOpen ? v[a] - dot(excess, areas[a]) / determinant : v[a];
  }

  [[gnu::always_inline]] static Floats dot(const Floats (&a)[3], const Floats (&b)[3]) {
    return (a[0] * b[0] + a[1] * b[1]) + a[2] * b[2];
  }

  [[gnu::always_inline]] static void cross(const Floats (&a)[3], const Floats (&b)[3],
                                           Floats (&area)[3]) {
    for (int c = 0; c < 3; ++c)
      area[c] = a[(c + 1) % 3] * b[(c + 2) % 3] - a[(c + 2) % 3] * b[(c + 1) % 3];
  }

  const float* const (&field_)[3];
  GroupSampler sampler_;
  float last_[3];
};

static void invertRowOf(const float* const (&field)[3], const NmVec3i& dims, int y, int z,
                        float enough, float* const (&inverse)[3], float* error) {
  InverseSteps steps(field, dims);
  const Floats inGroup = placesInGroup();
  // Not from the end of the row back: what has been improved would be improved again.
  for (int x = 0; x < dims.x; x += width) {
    const int n = dims.x - x;
    const Floats place[3] = {inGroup + static_cast<float>(x), all(static_cast<float>(y)),
                             all(static_cast<float>(z))};
    Floats v[3];
    for (int c = 0; c < 3; ++c) v[c] = loadUpTo(inverse[c] + x, n);
    const Floats left = steps.improve(place, enough, v);
    for (int c = 0; c < 3; ++c) storeUpTo(inverse[c] + x, v[c], n);
    storeUpTo(error + x, left, n);
  }
  FloatLanes::leave();
}
