#include "affineRegistration.h"

#include "HostError.h"
#include "resampled.h"

namespace host {

namespace {

NmDArray<NmHandle<VlData>> listOf(const NiftiVolume& volume) {
  NmHandle<VlData> handle = volume.data;
  NmDArray<NmHandle<VlData>> list;
  list.insert(0, 1, &handle);
  return list;
}

NmVec2f rangeOf(const NiftiVolume& volume) {
  NmVec2f range;
  (void)volume.data->range(range.x, range.y, true);
  return range;
}

/// The axis on which a volume has one voxel; 3 where there is none.
int flatAxis(const NiftiVolume& volume) {
  int axis = 0;
  while (axis < 3 && volume.frame.dims[axis] != 1) ++axis;
  return axis;
}

std::vector<float> stepLengths(const AffineSettings& settings) {
  std::vector<float> steps;
  float step = settings.largestStep;
  while (step >= settings.smallestStep) {
    steps.push_back(step);
    step *= 0.5f;
  }
  return steps;
}

/// 9 has no switch among the affine stages; as the code of another stage it is a number of degrees
/// of freedom all the same.
void setStage(RegVoxelRegistration& registration, int degreesOfFreedom) {
  const auto isOn = [&](int code) { return degreesOfFreedom == code ? 1 : 0; };
  registration.affineStages = NmVec4i(isOn(3), isOn(6), isOn(7), isOn(12));
  registration.nonAffineStages = NmVec3i(9 * isOn(9), 0, 0);
}

/// Mean squared difference by the best-neighbour search, on one level at full resolution.
RegVoxelRegistration makeRegistration(const NiftiVolume& reference, const NiftiVolume& model,
                                      NmProgressInterface* progress) {
  constexpr int orientationByDimensionMode = 3;
  constexpr unsigned int meanSquaredDifference = 2;
  constexpr unsigned int bestNeighbour = 1;
  constexpr unsigned int bins = 64;
  const unsigned int dimensionMode = flatAxis(reference) < 3 ? 0 : 1;
  const NmVec2f ranges[2] = {rangeOf(reference), rangeOf(model)};
  NmDArray<NmHandle<VlData>> references = listOf(reference);
  NmDArray<NmHandle<VlData>> models = listOf(model);
  NmVec4i affineStages;
  NmVec3i nonAffineStages;
  return RegVoxelRegistration(
      progress, /*rethrow=*/true, references, models, orientationByDimensionMode, ranges[0].x,
      ranges[0].y, ranges[1].x, ranges[1].y, /*threads=*/1, meanSquaredDifference, bins, bins,
      /*coarsest=*/NmVec3i(1, 1, 1), dimensionMode, /*findCoverage=*/true, affineStages,
      nonAffineStages, /*keepCoarse=*/false, /*steps=*/NmVec2f(), /*gradientLevels=*/0,
      /*gradientTolerance=*/0.0f, bestNeighbour, /*bestDirection=*/false, /*restricted=*/false);
}

}  // namespace

std::vector<int> stagesFor(int degreesOfFreedom) {
  if (degreesOfFreedom <= 6) return {degreesOfFreedom};
  return {6, degreesOfFreedom};
}

// The best-neighbour search neither reports nor can be stopped. Each of its step lengths therefore
// is a run of its own that starts where the one before has ended, which finds the
// same way up to the rounding of the matrix.
AffineResult registerAffine(const NiftiVolume& reference, const NiftiVolume& model,
                            const AffineSettings& settings, InterruptibleProgress& progress) {
  if (flatAxis(reference) != flatAxis(model))
    throw HostError("reference and model are not flat on the same axis");
  const NmWatch watch(true);
  RegVoxelRegistration registration = makeRegistration(reference, model, &progress);
  worldToFrames(settings.start, reference, model).getValue(registration.matrix);
  const std::vector<float> steps = stepLengths(settings);
  const double runs = static_cast<double>(steps.size() * settings.stages.size());
  double run = 0.0;
  for (const int stage : settings.stages)
    for (const float step : steps) {
      if (progress.wasInterrupted()) break;
      progress.beginPart(run / runs, (run + 1.0) / runs);
      setStage(registration, stage);
      registration.stepRange = NmVec2f(step, step);
      if (!registration.compute(2) && !progress.wasInterrupted())
        throw HostError("the registration failed", HostError::failedRun);
      progress.endPart(registration.finalMetric);
      run += 1.0;
    }
  progress.wipe();
  NmMat4d frames;
  frames.setValue(registration.matrix);
  return {framesToWorld(frames, reference, model), registration.finalMetric, watch.getTime(),
          progress.wasInterrupted()};
}

}  // namespace host
