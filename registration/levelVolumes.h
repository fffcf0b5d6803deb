#pragma once

#include "foundation/NmDArray.h"
#include "foundation/NmHandle.h"
#include "foundation/NmVec.h"
#include "foundation/VlData.h"
#include "registration/RegDataClass.h"

namespace voxreg::detail {

/// The volumes of each level, finest first.
using Levels = NmDArray<NmDArray<NmHandle<VlData>>>;

/// How the volumes of a registration are reduced.
struct LevelSettings {
  NmVec3i coarsest;            ///< largest factors
  bool keepCoarseAxis;         ///< do not reduce the axis of the largest voxels
  bool isAffine;               ///< makes coarser levels, unlike non-affine runs
  bool modelFollowsReference;  ///< also on the finest of two levels
  int levelRatio;
  RegDataClass referenceClass;
  RegDataClass modelClass;
  int numThreads;
};

/// `source` itself for factors of 1, otherwise smoothed and reduced; null if that fails.
NmHandle<VlData> reducedVolume(const NmHandle<VlData>& source, const NmVec3i& factors,
                               RegDataClass dataClass, int numThreads);

/// Makes the levels of all references and of the first model. Returns false, with an error line and
/// both results empty, for a missing volume, flat axes that differ, or a volume that could not be
/// made.
bool makeLevels(const NmDArray<NmHandle<VlData>>& reference,
                const NmDArray<NmHandle<VlData>>& model, const LevelSettings& settings,
                Levels& referenceLevels, Levels& modelLevels);

}  // namespace voxreg::detail
