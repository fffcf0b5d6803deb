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
/// prepare it: the chest wall, the region of interest and the relevant intensities.
///
/// `axes` names the volume's axis that runs along the body's x, y and z in turn; `signs` is 1 if it
/// points the same way, -1 otherwise. A coronal profile runs along axes.y from the outside in;
/// `flip` reverses it. `rescale` holds slope (x) and intercept (y) from raw to physical values. The
/// measurements require volumes of unsigned short with one data variable in one block.
class RegElasticRegistration {
 public:
  /// What applyMasking changes; values above Image act like Image, those below LabelsClear like
  /// LabelsClear.
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
  std::int64_t numEvaluations = 0;  ///< on whole volumes, by all registrations so far
  std::int64_t numGradients = 0;    ///< by all registrations so far

  static NmVec3f defaultWeights() { return {1.0f, 1.0f, 1.0f}; }
  static float defaultInnerMaskRadius() { return 192.0f; }
  static float defaultOuterMaskRadius() { return 205.0f; }

  /// Registers `model` onto `reference` on up to four levels, with increasingly fine grids of
  /// bricks, and stores the result in `transform`: the region that it covers and the positions of
  /// its vertices, from reference to model. Each registration starts from the result of the
  /// previous one.
  ///   referenceRange, modelRange  intensities (raw values) to use; y below x takes each
  ///                               volume's own
  ///   metricFlag      0 for the normalised mutual information, else the correlation ratio
  ///   useMasking      blanks all levels with applyMasking, with the arguments from the rescales to
  ///                   outerRadius
  ///   roi             voxels to cover; null or without volume means all
  ///   maxBricks       bricks on bricksAxis in the last grid, limited to 12 to 40; below 18 the
  ///                   finest level is skipped if there is a coarser one
  ///   bricksAxis      limited to 0 to 2; the others get the number that makes bricks nearly cubic
  /// Returns true without vertices if the volumes allow no level. Returns false, with an error
  /// line, for a missing volume or different grids, and if a registration failed or was
  /// interrupted. That registration contributes nothing: `transform` is the result of the previous
  /// ones, or the region without vertices if there are none. Passes on an NmException of a
  /// registration. On return no level remains, and neither volume is locked.
  bool doRegistration(const NmVec2f& referenceRange, const NmVec2f& modelRange,
                      unsigned int metricFlag, bool useMasking, const NmVec2f& referenceRescale,
                      const NmVec2f& modelRescale, const NmVec3f& maskCenter,
                      const NmVec3f& maskWeights, float innerRadius, float outerRadius,
                      const NmBox3i* roi, int maxBricks, int bricksAxis);

  /// A new volume of `dims` voxels over the extent of `source`, resampled with the Lanczos kernel;
  /// equal dimensions give a copy. The flag is ignored. Returns false, with `result` unchanged, for
  /// an empty source, a dimension below 1, a voxel size that is not above 0, dimensions that reduce
  /// no axis, and if RegResampler::doResample fails.
  bool downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result, NmVec3i& dims,
                  const NmVec3f& voxelSize, bool) const;

  /// Plans the next coarser level: half the voxels in plane, or 256 on the longer axis if that has
  /// more than 512. z is halved if its voxels are smaller than the new ones in plane, or less than
  /// a quarter larger in a volume that is more than half as deep as wide. Returns false, with both
  /// outputs 0, for fewer than 65 voxels along x if neither axis in plane has more than 512.
  bool specifyDownsampling(const NmVec3i& dims, const NmVec3f& voxelSize, NmVec3i& newDims,
                           NmVec3f& newVoxelSize) const;

  /// A grid of `bricks` (at least 1) on `axis` (limited to 0 to 2) whose bricks are nearly cubic
  /// for a volume of `dims` voxels; 1 if the voxel size is not above 0.
  NmVec3i getNumBricks(int bricks, int axis, const NmVec3i& dims, const NmVec3f& voxelSize) const;

  /// One registration on a grid of `bricks`, limited to 99 per axis (the transform itself holds
  /// 32), from `transform` to `transform`. A result whose box has no volume is ignored; of one
  /// whose vertices do not match its grid, only the box is used. `metricValue` may be null; it
  /// receives the final value, and -1000 on failure. Returns false, with `transform` unchanged, for
  /// an empty volume, a count below 1, and if RegVoxelRegistration::compute fails; an NmException
  /// of that is passed on.
  bool invokeVoxelRegistration(const NmHandle<VlData>& referenceVolume,
                               const NmHandle<VlData>& modelVolume, const NmVec3i& bricks,
                               const NmVec2f& stepRange, const NmVec2f& referenceRange,
                               const NmVec2f& modelRange, unsigned int metricFlag,
                               double* metricValue);

  /// Mean physical value at each index along axes.y, in a cylinder of `radius` around `centerA` on
  /// axes.x and `centerB` on axes.z (world units), ordered from the outside in. Where the cylinder
  /// holds no voxel centre, the raw mean is 0. Returns false, with an error line, without a
  /// readable volume; without a line for a voxel size that is not above 0.
  bool getCoronalProfile(VlData* volume, const NmVec2f& rescale, const NmVec3i& axes, bool flip,
                         float centerA, float centerB, float radius,
                         NmDArray<float>& profile) const;

  /// The same over voxels in one block, for unsigned short.
  template <class T>
  bool _getCoronalProfile(T* data, const NmVec2f& rescale, const NmVec3i& dims, const NmBox3f& box,
                          const NmVec3i& axes, bool flip, float centerA, float centerB,
                          float radius, NmDArray<float>& profile) const;

  /// Finds the maximum of a profile after `startIndex`, and the skin: the first value above a fifth
  /// of the maximum, searched for first before `limitIndex` (if negative, before the maximum). The
  /// skin is -1 if there is none.
  ///
  /// `detailed` also searches for the chest wall behind the skin, from the pattern of minima and
  /// maxima; the profile then runs along `axis` (limited to 0 to 2) of the reference. `chestWall`
  /// is its position in world units, with the first value at the box's minimum. `firstMaxHalf` and
  /// `lowestMinHalf` are half the first maximum and half the lowest minimum, and `backgroundLevel`
  /// is the sum of mean and standard deviation of the air; 1 if there is nothing to measure.
  /// Returns false for an empty profile, without a reference, and if there is neither a maximum nor
  /// skin.
  bool analyzeProfile(const NmDArray<float>& profile, int startIndex, int& skinIndex,
                      int limitIndex, int& maxIndex, float& maxValue, bool detailed, int axis,
                      float& chestWall, int& firstMaxHalf, int& backgroundLevel,
                      int& lowestMinHalf) const;

  /// Finds the ellipsoid that covers the inside of the reference's chest wall: a voxel's distance
  /// from `maskCenter` is weighted with `maskWeights`, the inside ends at `innerRadius` and the
  /// fade at `outerRadius` (world units). `roi` may be null; it receives the voxels starting at the
  /// front of the breast. `backgroundLevel` and `lowestMinHalf` come from analyzeProfile. Returns
  /// false, with an error line, if no chest wall is found; the outputs are then usable defaults,
  /// with the ellipsoid outside the box's centre and the whole volume as the region.
  bool findMasking(const NmVec2f& rescale, const NmVec3i& axes, const NmVec3i& signs,
                   NmVec3f& maskCenter, NmVec3f& maskWeights, float& innerRadius,
                   float& outerRadius, NmBox3i* roi, int& backgroundLevel,
                   int& lowestMinHalf) const;

  /// Bounds the reference along axes.y: from shortly before the first run of slices that hold a
  /// voxel of `threshold` (raw) or more, over a depth that suits the breast. The whole volume if it
  /// is shallow along axes.y, or if there is no such run. Returns false, with an error line,
  /// without a readable volume.
  bool findRegionOfInterest(int threshold, const NmVec3i& axes, bool flip, NmBox3i& roi) const;

  /// Marks in `flags` which of `profileCount` slices hold a value of `threshold` or more, in
  /// reverse order if `flip` is set. The strides count values. For unsigned short.
  template <class T>
  void scanCoronalSlices(T* data, std::int64_t innerStride, std::int64_t profileStride,
                         std::int64_t outerStride, int innerCount, int profileCount, int outerCount,
                         int threshold, bool flip, NmDArray<bool>& flags) const;

  /// Blanks the inside of an ellipsoid in place; an image is set to physical 0. Only images are
  /// faded between the radii. Returns false, with an error line, for a null volume, another voxel
  /// type, several data variables, a volume that is in use, and equal radii.
  bool applyMasking(VlData* volume, const NmVec2f& rescale, const NmVec3f& maskCenter,
                    const NmVec3f& maskWeights, float innerRadius, float outerRadius,
                    MaskingTarget target) const;

  /// The same for images, with the raw value that fills the inside; values are truncated to
  /// integers, or rounded half up, and saturate. `typeTag` is ignored. For unsigned short.
  template <class T>
  bool _applyMasking(VlData* volume, T* typeTag, bool roundValues, float fillValue,
                     const NmVec3f& maskCenter, const NmVec3f& maskWeights, float radius1,
                     float radius2) const;

  /// The same for labels. `typeTag` is ignored. For unsigned char.
  template <class T>
  bool _applyMaskingLabels(VlData* volume, T* typeTag, const NmVec3f& maskCenter,
                           const NmVec3f& maskWeights, float radius, bool mark) const;

  /// Counts the raw values of a volume: one bin for each from 0 to the highest that occurs. Returns
  /// false, without a line, without a readable volume.
  bool getHistogram(VlData* volume, int& minValue, int& maxValue, double& total,
                    NmDArray<std::uint64_t>& histogram) const;

  /// The same over voxels in one block, for values from `low` to `high`; bins count from `low`, and
  /// so do `minValue` and `maxValue`. Without voxels in range, `total` and `maxValue` are 0 and
  /// `minValue` is the number of bins. Returns false for a range whose bins an int cannot count.
  /// For unsigned short.
  template <class T>
  bool _getHistogram(T* data, const NmVec3i& dims, int low, int high, int& minValue, int& maxValue,
                     double& total, NmDArray<std::uint64_t>& histogram) const;

  /// Finds the intensities (raw values) worth registering. The lower limit is `lowLevel`
  /// (physical), or more if that keeps most of the volume, up to `highLevel`; the upper limit
  /// excludes the brightest voxels. The model's lower limit, if there is a model, keeps the same
  /// share of voxels. Returns false, with an error line, without readable volumes; the ranges may
  /// then be partly written.
  bool findRanges(bool withModel, int lowLevel, int highLevel, const NmVec2f& referenceRescale,
                  const NmVec2f& modelRescale, NmVec2f& referenceRange, NmVec2f& modelRange) const;

  /// Finds `axes` and `signs` from a matrix whose first three rows hold the direction of each of
  /// the volume's axes. Returns true if an axis is tilted by more than 10 degrees, which leaves (0,
  /// 1, 2) and (1, 1, 1), or if two axes run along the same direction.
  bool isObliqueOrientation(const NmMat4f& matrix, NmVec3i& axes, NmVec3i& signs) const;
};
