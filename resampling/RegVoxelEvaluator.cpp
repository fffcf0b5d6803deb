#include "resampling/RegVoxelEvaluator.h"

#include "foundation/VlData.h"

RegVoxelEvaluator::RegVoxelEvaluator(VlData* modelVolume, RegResampler::FilterType filterType)
    : filter(filterType), model(modelVolume) {}

RegVoxelEvaluator::~RegVoxelEvaluator() = default;

void RegVoxelEvaluator::createEvalModel(NmHandle<VlEvaluator>& eval) const {
  createEval(model, eval);
}

void RegVoxelEvaluator::createEval(VlData* data, NmHandle<VlEvaluator>& eval) const {
  if (data == nullptr)
    eval = nullptr;
  else if (filter == RegResampler::Lanczos3)
    eval = data->createEvaluatorLanczos();
  else
    eval = data->createEvaluator(VlData::Trilinear);
}
