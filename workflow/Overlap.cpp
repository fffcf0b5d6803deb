#include "workflow/Overlap.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "workflow/PointMap.h"
#include "workflow/sampling/mappedRows.h"
#include "workflow/sampling/voxelSpans.h"

namespace voxreg {

namespace {

/// Whether the values passed to it differ.
class Variation {
 public:
  void see(double value) {
    if (!seen_) first_ = value;
    seen_ = true;
    found_ = found_ || value != first_;
  }

  bool found() const { return found_; }

 private:
  double first_ = 0.0;
  bool seen_ = false;
  bool found_ = false;
};

std::int64_t nearest(double voxel) {
  constexpr double half = 0.5;
  return static_cast<std::int64_t>(voxel + half);
}

}  // namespace

std::string Overlap::lack() const {
  if (!(share > 0.0)) return "the volumes do not overlap";
  if (referenceVaries && modelVaries) return "";
  return std::string("where the volumes overlap, all voxels of the ") +
         (referenceVaries ? "model" : "reference") + " are the same";
}

std::vector<std::string> Overlap::warnings() const {
  constexpr double enough = 0.25;  // empirical
  if (!(share > 0.0)) return {"the volumes do not overlap"};
  if (!(share < enough)) return {};
  char text[100];
  (void)std::snprintf(text, sizeof text, "the volumes overlap in only %.2g %% of the reference",
                      100.0 * share);
  return {text};
}

// The nearest voxel's value is good enough between voxels of the model.
Overlap overlapOf(const Image& reference, const Image& model, const Transform& transform) {
  if (!reference || !model) return {};
  const NmVec3l& dims = model.dims();
  Variation ofReference;
  Variation ofModel;
  std::int64_t count = 0;
  std::int64_t total = 0;
  const NmHandle<VlDataAccess> access = reference.volume()->lock(false);
  if (access == nullptr) return {};
  std::vector<float> line(static_cast<std::size_t>(reference.dims().x));
  const bool done = detail::withVoxels(model, [&](const auto& voxels) {
    detail::forEachMappedRow(
        reference, model, PointMap(transform, reference, model),
        [&](std::int64_t y, std::int64_t z, const std::vector<NmVec3d>& places,
            const std::vector<char>& hasValue) {
          total += static_cast<std::int64_t>(places.size());
          count += std::count(hasValue.begin(), hasValue.end(), char{1});
          if (ofReference.found() && ofModel.found()) return;
          (void)access->row(-1, y, z, line.data());
          for (std::size_t x = 0; x < places.size(); ++x) {
            if (hasValue[x] == 0) continue;
            const NmVec3d& at = places[x];
            const std::int64_t i =
                nearest(at.x) + dims.x * (nearest(at.y) + dims.y * nearest(at.z));
            ofReference.see(static_cast<double>(line[x]));
            ofModel.see(static_cast<double>(voxels[static_cast<std::size_t>(i)]));
          }
        });
  });
  if (!done) return {};
  return {static_cast<double>(count) / static_cast<double>(total), ofReference.found(),
          ofModel.found()};
}

}  // namespace voxreg
