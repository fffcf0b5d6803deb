#include "workflow/chest/bodyParts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace voxreg::detail {

namespace {

/// The mean value of air and its standard deviation among cells.
struct Air {
  double level;
  double deviation;
};

/// The air at a front edge of the volume, over a tenth of its width and depth (empirical).
Air airBeside(const BodyCells& cells, bool atLeft) {
  const NmVec3l& n = cells.counts();
  const std::int64_t width = std::max(n.x / 10, 1L);
  const std::int64_t depth = std::max(n.y / 10, 1L);
  double sum = 0.0;
  double squares = 0.0;
  for (std::int64_t z = 0; z < n.z; ++z)
    for (std::int64_t y = 0; y < depth; ++y)
      for (std::int64_t x = 0; x < width; ++x) {
        const double value = cells.mean(atLeft ? n.x - 1 - x : x, y, z);
        sum += value;
        squares += value * value;
      }
  const auto count = static_cast<double>(width * depth * n.z);
  const double level = sum / count;
  return {level, std::sqrt(std::max(squares / count - level * level, 0.0))};
}

/// The body may reach one of the edges.
Air airInFront(const BodyCells& cells) {
  const Air right = airBeside(cells, false);
  const Air left = airBeside(cells, true);
  return left.level < right.level ? left : right;
}

/// The value exceeded by only a twentieth of the cells of a coronal plane (empirical): that of its
/// bright tissue.
double brightness(const BodyCells& cells, std::int64_t y) {
  const NmVec3l& n = cells.counts();
  std::vector<double> values;
  for (std::int64_t z = 0; z < n.z; ++z)
    for (std::int64_t x = 0; x < n.x; ++x) values.push_back(cells.mean(x, y, z));
  const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 19 / 20);
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

/// Limits between air and tissue from the front to the back, since the coils' sensitivity falls
/// with distance. Empirical: lungs are darker than a fifth of bright tissue, muscles brighter than
/// a third; four standard deviations exclude noise.
std::vector<double> tissueLimits(const BodyCells& cells) {
  constexpr double shareOfBright = 0.2;
  constexpr double deviations = 4.0;
  const Air air = airInFront(cells);
  std::vector<double> limits;
  for (std::int64_t y = 0; y < cells.counts().y; ++y)
    limits.push_back(air.level + std::max(shareOfBright * (brightness(cells, y) - air.level),
                                          deviations * air.deviation));
  return limits;
}

class Parts {
 public:
  explicit Parts(const BodyCells& cells)
      : cells_(cells), n_(cells.counts()), parts_(cells.size(), BodyPart::cavity) {
    markTissue();
    for (std::int64_t z = 0; z < n_.z; ++z) {
      markOutside(z);
      for (std::int64_t y = 0; y < n_.y; ++y) markLungs(y, z);
    }
  }

  std::vector<BodyPart> take() { return std::move(parts_); }

 private:
  BodyPart& at(std::int64_t x, std::int64_t y, std::int64_t z) {
    return parts_[cells_.indexOf(x, y, z)];
  }

  void markTissue() {
    const std::vector<double> limits = tissueLimits(cells_);
    for (std::int64_t z = 0; z < n_.z; ++z)
      for (std::int64_t y = 0; y < n_.y; ++y)
        for (std::int64_t x = 0; x < n_.x; ++x)
          if (cells_.mean(x, y, z) > limits[static_cast<std::size_t>(y)])
            at(x, y, z) = BodyPart::tissue;
  }

  /// Floods an axial plane from its front. Openings in neighbouring planes are ignored, so the
  /// windpipe does not open the lungs.
  void markOutside(std::int64_t z) {
    std::vector<NmVec3l> open;
    const auto enter = [&](std::int64_t x, std::int64_t y) {
      if (x < 0 || x >= n_.x || y < 0 || y >= n_.y || at(x, y, z) != BodyPart::cavity) return;
      at(x, y, z) = BodyPart::outside;
      open.emplace_back(x, y, z);
    };
    for (std::int64_t x = 0; x < n_.x; ++x) enter(x, 0);
    while (!open.empty()) {
      const NmVec3l cell = open.back();
      open.pop_back();
      enter(cell.x - 1, cell.y);
      enter(cell.x + 1, cell.y);
      enter(cell.x, cell.y - 1);
      enter(cell.x, cell.y + 1);
    }
  }

  /// Labels the cavities of a line from side to side as lungs if it has some on both sides of
  /// tissue in its middle. Cavities outside its outermost tissue do not count: they may be air
  /// behind a body that reaches the sides of the volume, or lungs that the sides cut. A line that
  /// has only those is not used.
  void markLungs(std::int64_t y, std::int64_t z) {
    std::int64_t first = 0;
    std::int64_t last = n_.x - 1;
    while (first < last && at(first, y, z) != BodyPart::tissue) ++first;
    while (first < last && at(last, y, z) != BodyPart::tissue) --last;
    const auto middle = first + (last - first + 1) / 2;
    if (hasCavity(first, middle, y, z) && hasCavity(middle, last, y, z) &&
        hasTissueNear(middle, y, z)) {
      rename(first, middle, y, z, BodyPart::rightLung);
      rename(middle, last, y, z, BodyPart::leftLung);
    } else if (hasCavity(0, first, y, z) || hasCavity(last + 1, n_.x, y, z)) {
      for (std::int64_t x = 0; x < n_.x; ++x) at(x, y, z) = BodyPart::outside;
    }
  }

  bool hasCavity(std::int64_t from, std::int64_t to, std::int64_t y, std::int64_t z) {
    for (std::int64_t x = from; x < to; ++x)
      if (at(x, y, z) == BodyPart::cavity) return true;
    return false;
  }

  void rename(std::int64_t from, std::int64_t to, std::int64_t y, std::int64_t z, BodyPart part) {
    for (std::int64_t x = from; x < to; ++x)
      if (at(x, y, z) == BodyPart::cavity) at(x, y, z) = part;
  }

  /// Heart, vessels and spine are within this distance of the middle (empirical).
  bool hasTissueNear(std::int64_t middle, std::int64_t y, std::int64_t z) {
    constexpr double distance = 24.0;  // millimetres
    const std::int64_t cells =
        std::max(std::lround(distance / static_cast<double>(cells_.edges().x)), 1L);
    for (std::int64_t x = std::max(middle - cells, 0L); x < std::min(middle + cells, n_.x); ++x)
      if (at(x, y, z) == BodyPart::tissue) return true;
    return false;
  }

  const BodyCells& cells_;
  NmVec3l n_;
  std::vector<BodyPart> parts_;
};

}  // namespace

std::vector<BodyPart> bodyParts(const BodyCells& cells) {
  return Parts(cells).take();
}

}  // namespace voxreg::detail
