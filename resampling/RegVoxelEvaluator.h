#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlEvaluator.h"
#include "resampling/RegResampler.h"

class VlData;

/// Chooses a sampler by filter: the Lanczos sampler for Lanczos3, the trilinear one for every other
/// value, including LanczosTest.
class RegVoxelEvaluator {
 public:
  NmHandle<VlEvaluator> evaluator;  ///< always empty
  RegResampler::FilterType filter;
  VlData* model;  ///< not owned; the caller keeps it alive, may be null

  RegVoxelEvaluator(VlData* modelVolume, RegResampler::FilterType filterType);
  virtual ~RegVoxelEvaluator();

  /// Replaces `eval` with a sampler of `model`. Null without a volume, and, with an error line, if
  /// the volume provides none.
  void createEvalModel(NmHandle<VlEvaluator>& eval) const;

  /// The same for any volume.
  void createEval(VlData* data, NmHandle<VlEvaluator>& eval) const;
};
