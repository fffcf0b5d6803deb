#include "variational/search/fieldSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "foundation/NmWatch.h"
#include "variational/fields/fieldComposition.h"
#include "variational/fields/fieldRepair.h"
#include "variational/fields/fieldSmoothing.h"
#include "variational/fields/fieldUpsampling.h"
#include "variational/fields/fieldWarp.h"
#include "variational/fields/foregroundMean.h"
#include "variational/fields/localCorrelation.h"
#include "variational/latticeValues.h"
#include "variational/objective/voxelMatrix.h"
#include "variational/pyramid/body.h"
#include "variational/pyramid/cubicDoubling.h"
#include "variational/pyramid/matrixSamples.h"
#include "variational/pyramid/searchLevel.h"
#include "variational/search/searchReport.h"

namespace voxreg::detail {
namespace {

constexpr int mostRepairs = 100;  // rounds

/// The part of a grid that lies in a box.
VolumeFrame croppedTo(const NmBox3f& box, const VolumeFrame& frame, NmVec3i& first) {
  NmVec3i dims;
  NmBox3f part;
  for (int a = 0; a < 3; ++a) {
    const double size = voxelSizeAlong(frame, a);
    const auto index = [&](float position) {
      return (static_cast<double>(position) - static_cast<double>(frame.box.min(a))) / size;
    };
    first[a] = std::clamp(static_cast<int>(std::floor(index(box.min(a)))), 0, frame.dims[a] - 1);
    const int last =
        std::clamp(static_cast<int>(std::ceil(index(box.max(a)))), first[a], frame.dims[a] - 1);
    dims[a] = last - first[a] + 1;
  }
  const NmVec3i end(first.x + dims.x - 1, first.y + dims.y - 1, first.z + dims.z - 1);
  part = NmBox3f(frame.position(0, first.x), frame.position(0, end.x), frame.position(1, first.y),
                 frame.position(1, end.y), frame.position(2, first.z), frame.position(2, end.z));
  return {dims, part};
}

LevelVolume cropped(const LevelVolume& volume, const NmVec3i& first, const VolumeFrame& part) {
  LevelVolume result = {{}, part};
  result.voxels.reserve(static_cast<std::size_t>(voxelCount(part.dims)));
  const NmVec3i& n = volume.frame.dims;
  for (int z = 0; z < part.dims.z; ++z)
    for (int y = 0; y < part.dims.y; ++y) {
      const float* const row =
          volume.voxels.data() + first.x +
          std::int64_t{n.x} * (first.y + y + std::int64_t{n.y} * (first.z + z));
      result.voxels.insert(result.voxels.end(), row, row + part.dims.x);
    }
  return result;
}

/// Around the voxels that count, with a margin; the whole volume if none does.
NmBox3f boxAround(const LevelVolume& volume) {
  constexpr float margin = 12.0f;  // millimetres
  const VolumeFrame& frame = volume.frame;
  NmVec3i low = frame.dims;
  NmVec3i high(-1, -1, -1);
  const float* value = volume.voxels.data();
  for (int z = 0; z < frame.dims.z; ++z)
    for (int y = 0; y < frame.dims.y; ++y)
      for (int x = 0; x < frame.dims.x; ++x) {
        if (!std::isfinite(*value++)) continue;
        const NmVec3i at(x, y, z);
        for (int a = 0; a < 3; ++a) {
          low[a] = std::min(low[a], at[a]);
          high[a] = std::max(high[a], at[a]);
        }
      }
  if (high.x < 0) return frame.box;
  return {frame.position(0, low.x) - margin, frame.position(0, high.x) + margin,
          frame.position(1, low.y) - margin, frame.position(1, high.y) + margin,
          frame.position(2, low.z) - margin, frame.position(2, high.z) + margin};
}

/// Raises a volume with negative values, like those of CT, so that its smallest is 0: then it can
/// be compared by its foreground.
LevelVolume fromZero(LevelVolume volume) {
  float smallest = 0.0f;
  for (const float voxel : volume.voxels)
    if (voxel < smallest && std::isfinite(voxel)) smallest = voxel;
  if (smallest < 0.0f)
    for (float& voxel : volume.voxels) voxel -= smallest;
  return volume;
}

void divide(std::vector<float>& voxels, float divisor) {
  for (float& voxel : voxels) voxel /= divisor;
}

/// Both volumes on one grid, and the voxels of it that count.
struct FieldPair {
  LevelVolume reference;
  LevelVolume model;
  std::vector<unsigned char> counts;

  bool hasForeground = false;
};

/// The linear part of the inverse of a matrix, for displacements.
struct Unlinear {
  explicit Unlinear(const NmMat4d& matrix) : inverse(matrix.inverse()) {}
  NmVec3d operator()(const NmVec3d& d) const {
    NmVec3d result;
    for (int c = 0; c < 3; ++c)
      result[c] = d.x * inverse.m[0][c] + d.y * inverse.m[1][c] + d.z * inverse.m[2][c];
    return result;
  }
  NmMat4d inverse;
};

/// A lattice's displacements, which follow a matrix, as displacements before it.
VoxelField fieldOf(const ControlLattice& lattice, const NmMat4d& referenceToModel,
                   const VolumeFrame& frame) {
  const NmVec3i& n = frame.dims;
  VoxelField field = {n, {}};
  for (std::vector<float>& values : field.along)
    values.reserve(static_cast<std::size_t>(voxelCount(n)));
  const Unlinear beforeMatrix(referenceToModel);
  std::vector<NmVec3d> points(static_cast<std::size_t>(n.x));
  std::vector<NmVec3d> found(points.size());
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y) {
      for (int x = 0; x < n.x; ++x)
        points[static_cast<std::size_t>(x)] = inIntervals(
            lattice, NmVec3d(frame.position(0, x), frame.position(1, y), frame.position(2, z)));
      displacementsOnLine(lattice, points.data(), n.x, found.data());
      for (const NmVec3d& after : found) {
        const NmVec3d before = beforeMatrix(after);
        for (int a = 0; a < 3; ++a)
          field.along[a].push_back(static_cast<float>(before[a] / voxelSizeAlong(frame, a)));
      }
    }
  return field;
}

/// Scales an update so that its longest vector has the length of a step; none if all are 0.
void scaleTo(double step, VoxelField& update) {
  float longest = 0.0f;
  const std::size_t n = update.along[0].size();
  for (std::size_t i = 0; i < n; ++i) {
    const float square = update.along[0][i] * update.along[0][i] +
                         update.along[1][i] * update.along[1][i] +
                         update.along[2][i] * update.along[2][i];
    longest = square > longest ? square : longest;
  }
  if (!(longest > 0.0f)) return;
  const auto factor = static_cast<float>(step / std::sqrt(static_cast<double>(longest)));
  for (std::vector<float>& values : update.along)
    for (float& value : values) value *= factor;
}

/// Without the voxels far from the body, if the search skips them.
LevelVolume counting(const FieldSearch& search, const LevelVolume& volume) {
  LevelVolume body = volume;
  if (search.nearBodyOnly) skipFarFromBody(bodyThreshold(volume.voxels), body);
  return body;
}

/// The model on one level; at full resolution without most of the blur of trilinear samples, unless
/// it is large.
LevelVolume levelOf(const SearchVolume& model, const NmVec3i& factors) {
  constexpr std::int64_t mostDoubled = 3'000'000;  // voxels
  LevelVolume level = fromZero(reducedVolume(model, factors));
  const bool isFull = factors == NmVec3i(1, 1, 1);
  return isFull && voxelCount(level.frame.dims) <= mostDoubled ? doubledVolume(level) : level;
}

/// The volumes reduced by `factors`, within a box of the reference.
FieldPair pairOn(const FieldSearch& search, const LevelFactors& factors, const NmBox3f& box) {
  const LevelVolume whole = fromZero(reducedVolume(search.reference, factors.reference));
  NmVec3i first;
  const VolumeFrame part = croppedTo(box, whole.frame, first);
  FieldPair pair = {
      cropped(whole, first, part),
      sampledThrough(search.referenceToModel, levelOf(search.model, factors.model), part),
      {}};
  const LevelVolume body = cropped(counting(search, whole), first, part);
  pair.counts.reserve(body.voxels.size());
  for (const float value : body.voxels) pair.counts.push_back(std::isfinite(value) ? 1 : 0);
  const float ofReference = foregroundMean(pair.reference.voxels);
  const float ofModel = foregroundMean(pair.model.voxels);
  pair.hasForeground = ofReference > 0.0f && ofModel > 0.0f;
  divide(pair.reference.voxels, ofReference);
  divide(pair.model.voxels, ofModel);
  return pair;
}

LevelFactors factorsOf(const FieldSearch& search, const FieldSearch::Level& level) {
  return levelFactors(search.reference.frame, search.model.frame, level.reduction).front();
}

/// How the correlation goes on from iteration to iteration.
class Gains {
 public:
  /// What the next iteration should do.
  enum class Next { more, shorter, undo, nothing };

  /// After the correlation of iteration `i`.
  ///
  /// Where the start has left anatomy apart, the first update raises the correlation by an eighth
  /// of itself; where only noise and interpolation are left, by a hundredth, and updates lead away
  /// from the truth. The limit between them is empirical (docs/searches.md). Later steps are halved
  /// when the correlation falls: then they have become longer than what is left.
  Next after(int i, double correlation) {
    constexpr double leastFirst = 0.04;
    constexpr double least = 1e-3;
    const double gain = correlation - last_;
    const double relative = gain / std::max(last_, std::numeric_limits<double>::min());
    last_ = correlation;
    if (i == 0) return Next::more;
    if (i == 1 && !(relative >= leastFirst)) return Next::undo;
    few_ = relative < least ? few_ + 1 : 0;
    if (few_ > mostFew) return Next::nothing;
    return gain < 0.0 ? Next::shorter : Next::more;
  }

 private:
  static constexpr int mostFew = 2;  // iterations in succession

  double last_ = 0.0;
  int few_ = 0;
};

/// Improves a field on one level. False if that adds nothing.
bool improve(const FieldSearch& search, const FieldPair& pair, int iterations, SearchReport& report,
             VoxelField& field, SearchSummary& summary) {
  LocalCorrelation::Options options;
  options.anyContrast = search.anyContrast;
  const LocalCorrelation correlation(pair.reference.voxels, pair.counts, pair.reference.frame.dims,
                                     options);
  VoxelField before = field;
  std::vector<float> warped;
  VoxelField update;
  double step = search.largestStep;
  Gains gains;
  for (int i = 0; i < iterations && !summary.interrupted; ++i) {
    warp(pair.model.voxels, field, warped);
    summary.metric = correlation.evaluate(warped, &update);
    ++summary.evaluations;
    const Gains::Next next = gains.after(i, summary.metric);
    if (next == Gains::Next::undo) {
      std::swap(before, field);
      return false;
    }
    if (next == Gains::Next::nothing) break;
    if (i == 1) before = VoxelField();
    if (next == Gains::Next::shorter) step *= 0.5;
    smooth(update, search.fluidSigma);
    scaleTo(step, update);
    compose(update, field);
    smooth(field, search.elasticSigma);
    summary.interrupted = !report(i, summary.metric);
  }
  return true;
}

}  // namespace

FoundField FieldSearch::run(SearchSummary& summary) const {
  const NmWatch watch(true);
  const LevelVolume coarsest = reducedVolume(reference, factorsOf(*this, levels.front()).reference);
  const NmBox3f box = boxAround(counting(*this, coarsest));
  std::optional<FoundField> found;
  for (const Level& level : levels) {
    summary.interrupted = summary.interrupted || wantsToStop(progress);
    if (summary.interrupted && found) break;
    const FieldPair pair = pairOn(*this, factorsOf(*this, level), box);
    const VolumeFrame& frame = pair.reference.frame;
    VoxelField field = found ? upsampled(found->field, found->frame, frame)
                             : fieldOf(start, referenceToModel, frame);
    SearchReport report(progress, static_cast<int>(&level - levels.data()),
                        static_cast<int>(levels.size()), level.iterations);
    const bool isImproved =
        pair.hasForeground && improve(*this, pair, level.iterations, report, field, summary);
    const bool hasDetail = isImproved || (found && found->hasDetail);
    const RepairSummary repaired = repair(field, leastDeterminant, mostRepairs);
    found.emplace(FoundField{frame, std::move(field), repaired.smallestDeterminant, hasDetail});
    report.close();
  }
  summary.seconds += static_cast<double>(watch.getTime());
  return std::move(*found);
}

}  // namespace voxreg::detail
