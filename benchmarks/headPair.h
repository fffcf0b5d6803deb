#pragma once

#include <voxreg.h>

#include <string>

/// The pair of volumes that the benchmarks use: two people's T1 heads (193 x 229 x 193 voxels of 1
/// mm, short, and 188 x 256 x 190 of 0.88 mm, unsigned char) if the folder of real volumes is next
/// to the repository, otherwise two ellipsoids with texture of the same dimensions.
namespace headPair {

struct HeadPair {
  std::string name;
  NmHandle<VlData> reference;
  NmHandle<VlData> model;
  NmVec2f referenceRange;
  NmVec2f modelRange;

  double numReferenceVoxels() const;
};

/// Read once and cached.
const HeadPair& get();

/// A head at 2 mm and the same head after a smooth warp, with different contrast and noise;
/// otherwise ellipsoids of 2 mm. Read once and cached.
const HeadPair& warped();

/// A pair with `factor` times as many voxels on each axis of both volumes.
HeadPair scaled(const HeadPair& pair, float factor);

}  // namespace headPair
