#pragma once

#include <cstdint>

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmHandle.h"
#include "foundation/NmMat4f.h"
#include "foundation/NmVec.h"
#include "foundation/VlData.h"
#include "transforms/RegNonAffineTransform.h"

class NmProgressInterface;

/// Elastic registration of two volumes of one patient on one voxel grid, and the measurements that
/// prepare it: where the chest wall lies, which region is of interest, which intensities matter.
///
/// `axes` names the volume's axis that runs along the body's x, y and z in turn, `signs` whether it
/// runs the same way (1) or back (-1). A coronal profile runs along axes.y from the outside in;
/// `flip` turns it round. `rescale` holds slope (x) and intercept (y) from raw to physical values.
/// The measurements take volumes of unsigned short with one data variable in one block.
class RegElasticRegistration {
 public:
  /// What applyMasking changes; values above Image act like it, those below like LabelsClear.
  enum MaskingTarget : int {
    LabelsClear = 0,  ///< bytes: 0 inside the inner radius
    LabelsMark = 1,   ///< bytes: bit 0x80 set inside the inner radius
    Image = 2         ///< unsigned short: faded out between the outer and the inner radius
  };

  NmProgressInterface* progress = nullptr;  ///< not owned, may be null
  NmHandle<VlData> reference;
  NmHandle<VlData> model;
  RegNonAffineTransform::NonAffineTransformDescriptor transform;  ///< the result
  int numThreads = 1;               ///< below 1 counts as 1; starts no thread
  std::int64_t numEvaluations = 0;  ///< of whole volumes, by all registrations so far
  std::int64_t numGradients = 0;    ///< by all registrations so far

  static NmVec3f defaultWeights() { return {1.0f, 1.0f, 1.0f}; }
  static float defaultInnerMaskRadius() { return 192.0f; }
  static float defaultOuterMaskRadius() { return 205.0f; }

  /// Registers `model` onto `reference` in up to four levels, with finer and finer grids of bricks,
  /// and leaves the result in `transform`: the region that it covers and where its vertices go,
  /// from reference to model. Each registration starts from what the one before has reached.
  ///   referenceRange, modelRange  intensities (raw values) that count; y below x takes each
  ///                               volume's own
  ///   metricFlag      0 for the normalised mutual information, else the correlation ratio
  ///   useMasking      blanks all levels by applyMasking, with the arguments from the rescales to
  ///                   outerRadius
  ///   roi             voxels to cover; null or without volume stands for all
  ///   maxBricks       bricks on bricksAxis at the end, limited to 12 to 40; below 18 the finest
  ///                   level is left out if there is a coarser one
  ///   bricksAxis      limited to 0 to 2; the others take as many bricks as make them nearly cubic
  /// True without vertices where the volumes allow no level. False, with an error line, without a
  /// volume or for different grids, and where a registration failed or was interrupted; that one
  /// leaves nothing, and `transform` is what those before it have reached: the region without
  /// vertices where there is none. Hands an NmException of a registration on. On return no level is
  /// left, and neither volume locked.
  bool doRegistration(const NmVec2f& referenceRange, const NmVec2f& modelRange,
                      unsigned int metricFlag, bool useMasking, const NmVec2f& referenceRescale,
                      const NmVec2f& modelRescale, const NmVec3f& maskCenter,
                      const NmVec3f& maskWeights, float innerRadius, float outerRadius,
                      const NmBox3i* roi, int maxBricks, int bricksAxis);

  /// A new volume of `dims` voxels over the extent of `source`, resampled with the Lanczos kernel;
  /// equal dimensions give a copy. The flag is ignored. False, `result` as it was, for an empty
  /// source, a dimension below 1, a voxel size that is not above 0, dimensions that reduce no axis,
  /// and where RegResampler::doResample fails.
  bool downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result, NmVec3i& dims,
                  const NmVec3f& voxelSize, bool) const;

  /// Plans the next coarser level: half the voxels in plane, or 256 on the longer axis where that
  /// has more than 512. z is halved where its voxels are smaller than the new ones in plane, or
  /// less than a quarter larger in a volume that is more than half as deep as wide. False, both
  /// outputs 0, for fewer than 65 voxels along x where neither axis in plane has more than 512.
  bool specifyDownsampling(const NmVec3i& dims, const NmVec3f& voxelSize, NmVec3i& newDims,
                           NmVec3f& newVoxelSize) const;

  /// A grid of `bricks` (at least 1) on `axis` (limited to 0 to 2) whose bricks are nearly cubic
  /// for a volume of `dims` voxels; 1 where a voxel size tells nothing.
  NmVec3i getNumBricks(int bricks, int axis, const NmVec3i& dims, const NmVec3f& voxelSize) const;

  /// One registration on a grid of `bricks`, limited to 99 an axis (the transform itself holds 32),
  /// from `transform` to `transform`. A result whose box has no volume is ignored, of one whose
  /// vertices don't fit its grid only the box is taken. `metricValue` may be null; it receives the
  /// value at the end, and -1000 on failure. False, `transform` as it was, for an empty volume, a
  /// count below 1, and where RegVoxelRegistration::compute fails, whose NmException passes.
  bool invokeVoxelRegistration(const NmHandle<VlData>& referenceVolume,
                               const NmHandle<VlData>& modelVolume, const NmVec3i& bricks,
                               const NmVec2f& stepRange, const NmVec2f& referenceRange,
                               const NmVec2f& modelRange, unsigned int metricFlag,
                               double* metricValue);

  /// Mean physical value at each place along axes.y, in a cylinder of `radius` around `centerA` on
  /// axes.x and `centerB` on axes.z (world units), ordered from the outside in. Where the cylinder
  /// holds no voxel centre the raw mean is 0. False, with an error line, without a volume that can
  /// be read; in silence for a voxel size that is not above 0.
  bool getCoronalProfile(VlData* volume, const NmVec2f& rescale, const NmVec3i& axes, bool flip,
                         float centerA, float centerB, float radius,
                         NmDArray<float>& profile) const;

  /// The same over voxels in one block, for unsigned short.
  template <class T>
  bool _getCoronalProfile(T* data, const NmVec2f& rescale, const NmVec3i& dims, const NmBox3f& box,
                          const NmVec3i& axes, bool flip, float centerA, float centerB,
                          float radius, NmDArray<float>& profile) const;

  /// Finds the maximum of a profile behind `startIndex`, and the skin: the first value above a
  /// fifth of the maximum, looked for in front of `limitIndex` (negative: of the maximum) first.
  /// -1 stands for no skin.
  ///
  /// `detailed` also looks for the chest wall behind the skin, from the pattern of minima and
  /// maxima; the profile then runs along `axis` (limited to 0 to 2) of the reference. `chestWall`
  /// is its position in world units as if the first value lay at the box's minimum. `firstMaxHalf`
  /// and `lowestMinHalf` are half the first maximum and half the lowest minimum,
  /// `backgroundLevel` is mean and standard deviation of the air together; 1 where there is
  /// nothing to measure. False for an empty profile, without a reference, and where there is
  /// neither a maximum nor skin.
  bool analyzeProfile(const NmDArray<float>& profile, int startIndex, int& skinIndex,
                      int limitIndex, int& maxIndex, float& maxValue, bool detailed, int axis,
                      float& chestWall, int& firstMaxHalf, int& backgroundLevel,
                      int& lowestMinHalf) const;

  /// Finds the ellipsoid that covers what lies behind the chest wall of the reference: a voxel's
  /// distance from `maskCenter` is weighted by `maskWeights`, the inside ends at `innerRadius` and
  /// the fade at `outerRadius` (world units). `roi` may be null; it receives the voxels from the
  /// breast's front on. `backgroundLevel` and `lowestMinHalf` come from analyzeProfile. False, with
  /// an error line, where no chest wall is found; the outputs are then defaults that may be used,
  /// with the ellipsoid beyond the box's centre and the region all of the volume.
  bool findMasking(const NmVec2f& rescale, const NmVec3i& axes, const NmVec3i& signs,
                   NmVec3f& maskCenter, NmVec3f& maskWeights, float& innerRadius,
                   float& outerRadius, NmBox3i* roi, int& backgroundLevel,
                   int& lowestMinHalf) const;

  /// Bounds the reference along axes.y: from shortly in front of the first run of slices that hold
  /// a voxel of `threshold` (raw) or more, over a depth that suits the breast. All of the volume
  /// for a volume that is shallow along axes.y, and where there is no such run. False, with an
  /// error line, without a volume that can be read.
  bool findRegionOfInterest(int threshold, const NmVec3i& axes, bool flip, NmBox3i& roi) const;

  /// Marks in `flags` which of `profileCount` slices hold a value of `threshold` or more, in
  /// reverse order if `flip` is set. The strides count values. For unsigned short.
  template <class T>
  void scanCoronalSlices(T* data, std::int64_t innerStride, std::int64_t profileStride,
                         std::int64_t outerStride, int innerCount, int profileCount, int outerCount,
                         int threshold, bool flip, NmDArray<bool>& flags) const;

  /// Blanks the inside of an ellipsoid in place, an image with physical 0. The fade between the
  /// radii is for images only. False, with an error line, for a null volume, another voxel type,
  /// several data variables, a volume that is in use, and radii of equal size.
  bool applyMasking(VlData* volume, const NmVec2f& rescale, const NmVec3f& maskCenter,
                    const NmVec3f& maskWeights, float innerRadius, float outerRadius,
                    MaskingTarget target) const;

  /// The same for images, with the raw value that fills the inside; values are cut to whole
  /// numbers, or rounded half up, and saturate. `typeTag` is not read. For unsigned short.
  template <class T>
  bool _applyMasking(VlData* volume, T* typeTag, bool roundValues, float fillValue,
                     const NmVec3f& maskCenter, const NmVec3f& maskWeights, float radius1,
                     float radius2) const;

  /// The same for labels. `typeTag` is not read. For unsigned char.
  template <class T>
  bool _applyMaskingLabels(VlData* volume, T* typeTag, const NmVec3f& maskCenter,
                           const NmVec3f& maskWeights, float radius, bool mark) const;

  /// Counts the raw values of a volume: one bin for each from 0 to the highest that occurs. False,
  /// in silence, without a volume that can be read.
  bool getHistogram(VlData* volume, int& minValue, int& maxValue, double& total,
                    NmDArray<std::uint64_t>& histogram) const;

  /// The same over voxels in one block, for those from `low` to `high`; bins count from `low`, and
  /// so do `minValue` and `maxValue`. Without voxels in range `total` and `maxValue` are 0 and
  /// `minValue` is the number of bins. False for no range that an int can count. For unsigned
  /// short.
  template <class T>
  bool _getHistogram(T* data, const NmVec3i& dims, int low, int high, int& minValue, int& maxValue,
                     double& total, NmDArray<std::uint64_t>& histogram) const;

  /// Finds the intensities (raw values) worth registering. The lower limit is `lowLevel`
  /// (physical), or more where that keeps most of the volume, up to `highLevel`; the upper limit
  /// leaves out the brightest voxels. With a model, its lower limit keeps the same share of voxels.
  /// False, with an error line, without volumes that can be read; the ranges may then be partly
  /// written.
  bool findRanges(bool withModel, int lowLevel, int highLevel, const NmVec2f& referenceRescale,
                  const NmVec2f& modelRescale, NmVec2f& referenceRange, NmVec2f& modelRange) const;

  /// Finds `axes` and `signs` from a matrix whose first three rows hold the direction of each of
  /// the volume's axes. True where an axis is tilted by more than 10 degrees, which leaves (0, 1,
  /// 2) and (1, 1, 1), or where two of them run along the same direction.
  bool isObliqueOrientation(const NmMat4f& matrix, NmVec3i& axes, NmVec3i& signs) const;
};
