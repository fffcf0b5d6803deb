#pragma once

#include <vector>

#include "variational/pyramid/levelVolume.h"
#include "workflow/Masks.h"
#include "workflow/MetricOptions.h"
#include "workflow/search/searchedPair.h"

namespace voxreg::detail {

/// A pair of volumes for the searches by exact derivatives, with the voxels that count.
class CountingPair {
 public:
  /// Of the given images, and of what searchedPair makes of them. Voxels do not count if they are
  /// missing, outside a mask or, for the correlation ratio, outside the range of values. Throws
  /// Refusal for a mask on another grid.
  CountingPair(const Image& reference, const Image& model, const SearchedPair& searched,
               const Masks& masks, const MetricOptions& metric);

  /// The same pair with the roles of its volumes exchanged.
  CountingPair exchanged() const;

  /// The volumes and masks belong to this object and to `searched`.
  SearchVolume reference() const { return volumeOf(searched_.reference, referenceMask_); }
  SearchVolume model() const { return volumeOf(searched_.model, modelMask_); }

 private:
  CountingPair() = default;

  using Mask = std::vector<unsigned char>;

  static SearchVolume volumeOf(const Image& image, const Mask& mask);

  SearchedPair searched_;
  Mask referenceMask_;  ///< empty if all voxels count
  Mask modelMask_;
};

}  // namespace voxreg::detail
