#pragma once

#include "foundation/NmHandle.h"
#include "foundation/VlEvaluator.h"
#include "resampling/RegResampler.h"

class VlData;

/// Chooses a sampler by filter: Lanczos3 takes the Lanczos sampler, every other value, LanczosTest
/// among them, the trilinear one.
class RegVoxelEvaluator {
 public:
  NmHandle<VlEvaluator> evaluator;  ///< stays empty
  RegResampler::FilterType filter;
  VlData* model;  ///< not owned; the caller keeps it alive, may be null

  RegVoxelEvaluator(VlData* modelVolume, RegResampler::FilterType filterType);
  virtual ~RegVoxelEvaluator();

  /// Replaces `eval` by a sampler of `model`. Null without a volume, and, with an error line, where
  /// the volume gives none.
  void createEvalModel(NmHandle<VlEvaluator>& eval) const;

  /// The same for any volume.
  void createEval(VlData* data, NmHandle<VlEvaluator>& eval) const;
};
