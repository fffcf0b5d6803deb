#include "resampling/RegVoxelEvaluator.h"

#include "foundation/NmLogFile.h"
#include "foundation/sampling/volumeCore.h"
#include "resampling/samplingRule.h"

using voxreg::detail::Outcome;
using voxreg::detail::VolumeCore;

RegVoxelEvaluator::RegVoxelEvaluator(VlData* modelVolume, RegResampler::FilterType filterType)
    : filter(filterType), model(modelVolume) {}

RegVoxelEvaluator::~RegVoxelEvaluator() = default;

void RegVoxelEvaluator::createEvalModel(NmHandle<VlEvaluator>& eval) const {
  createEval(model, eval);
}

void RegVoxelEvaluator::createEval(VlData* data, NmHandle<VlEvaluator>& eval) const {
  Outcome<VlEvaluator> made;
  if (data != nullptr)
    made = VolumeCore::makeEvaluator(*data, voxreg::detail::samplingRule(filter));
  if (made.reason != nullptr) getTheLogInstance().errorf("createEval: %s", made.reason);
  eval = made.object;
}
