#pragma once

#include <cstdint>

#include "foundation/NmDArray.h"
#include "foundation/NmDVector.h"
#include "foundation/NmHandle.h"
#include "foundation/NmMat4f.h"
#include "foundation/NmVec.h"
#include "foundation/RegStack.h"
#include "foundation/VlData.h"
#include "functional/RegOptimizerCallback.h"
#include "registration/RegDataClass.h"
#include "transforms/RegNonAffineTransform.h"

class NmException;
class NmProgressInterface;
class RegFunctional;
class RegGradientOptimizer;
class RegMetric;
class RegOptimizer;
class RegParametricTransform;

/// One registration from its parameters to its result: construct it, optionally write a start value
/// into `matrix` or `nonAffineResult`, call `compute(2)`, and read `matrix` or `nonAffineResult`
/// and `finalMetric`. A matrix maps model world to reference world, a grid of bricks reference
/// world to model world.
///
/// Coarser levels come first, and of three levels the finest, full resolution, is skipped. Each
/// level runs through a schedule of stages, which free more and more of the transform. An
/// interrupted run returns the best point that its last search has evaluated, with that point's
/// value, which is never worse than at the search's start.
class RegVoxelRegistration : public RegOptimizerCallback {
 public:
  short busy = 0;                        ///< not 0 while compute runs
  NmDArray<NmHandle<VlData>> reference;  ///< element 0, then further references in the same pose
  NmDArray<NmHandle<VlData>> model;      ///< element 0 is used
  double maxCoverage = 1.0;  ///< largest share of valid samples that this pair can reach
  bool restrictedMotion;     ///< smaller rotations in some searches, smooth coverage penalty
  int orientation;           ///< 0 to 2: the flat axis; 3: none or not determined; 4: stack along z
  bool functionalFlag = false;
  RegDataClass referenceClass = RegDataClassOrdinary;
  RegDataClass modelClass = RegDataClassOrdinary;
  RegParametricTransform* transform = nullptr;      ///< owned
  RegStack<RegFunctional*>* functionals = nullptr;  ///< owned; one per level, coarsest on top
  RegOptimizer* optimizer = nullptr;                ///< owned
  const int levelRatio = 2;                         ///< resolution ratio of adjacent levels
  NmProgressInterface* progress;                    ///< not owned, may be null
  NmVec3i coarsestResampling;  ///< largest reduction per axis; below 1 counts as 1
  bool keepCoarseAxis;         ///< do not reduce the axis of the largest voxels
  int numThreads;              ///< at least 1; sizes buffers, starts no thread
  NmVec2f stepRange;           ///< x: largest step, y: smallest; both above 0
  int numGradientLevels;  ///< number of last levels, never the first, that use the gradient search
  float gradientStep;     ///< tolerance of the gradient searches
  unsigned int optimizerKind;  ///< a RegSearchKind
  bool bestDirectionFlag;      ///< fit a constant step reduction in the best-direction search
  bool calculateCoverage;      ///< find maxCoverage; otherwise it is 0 and nothing is penalised
  unsigned int metricKind;     ///< a RegMetricKind
  float minRef;                ///< intensity range of the reference
  float maxRef;
  float minModel;  ///< intensity range of the model
  float maxModel;
  unsigned int numBinsRef;
  unsigned int numBinsMod;
  NmDArray<int> dofSchedule;   ///< stages of one level: below 13 affine, above a grid; -1 ends them
  int dofIndex = 0;            ///< position in dofSchedule
  bool rethrowExceptions;      ///< pass an NmException on instead of returning true
  unsigned int dimensionMode;  ///< for orientation 3: 0 takes the shortest axis, 2 a stack along z
  NmMat4f matrix;              ///< start and result of an affine run
  RegNonAffineTransform::NonAffineTransformDescriptor nonAffineResult;  ///< of a non-affine run
  NmVec4i affineStages;  ///< which of 3, 6, 7 and 12 degrees of freedom to run
  /// Grids as RegStageCode; the transform takes at most 32 bricks per axis. Below 13 an affine
  /// stage, 0 none.
  NmVec3i nonAffineStages;
  double finalMetric = 0.0;         ///< value at the end of the last search
  std::int64_t numEvaluations = 0;  ///< of the whole volume in the last compute, gradients included
  std::int64_t numGradients = 0;    ///< in the last compute

  /// Stores the values and copies the handles; nothing is checked before compute.
  RegVoxelRegistration(NmProgressInterface* progressToTell, bool rethrow,
                       NmDArray<NmHandle<VlData>>& referenceVolumes,
                       NmDArray<NmHandle<VlData>>& modelVolumes, int orientationCode,
                       float minReference, float maxReference, float minimumModel,
                       float maximumModel, int threads, unsigned int metric,
                       unsigned int binsReference, unsigned int binsModel, const NmVec3i& coarsest,
                       unsigned int modeOfDimensions, bool findCoverage, NmVec4i& affine,
                       NmVec3i& nonAffine, bool keepCoarse, const NmVec2f& steps,
                       int gradientLevels, float gradientTolerance, unsigned int searchKind,
                       bool bestDirection, bool restricted);
  RegVoxelRegistration(const RegVoxelRegistration&) = delete;
  RegVoxelRegistration& operator=(const RegVoxelRegistration&) = delete;
  ~RegVoxelRegistration() override;

  NmProgressInterface* getProgressInterface() override;

  /// Registers for mode 2; any other mode, missing volumes, or a call during a run do nothing and
  /// return true. Returns false if the parameters or volumes do not allow a run or the result is
  /// not finite, with an error line and the start value unchanged, or if the run was interrupted.
  /// An NmException in the run gives true without a result, or is passed on if `rethrowExceptions`;
  /// the next compute then starts from scratch. Other exceptions are passed on and leave the object
  /// busy. On return no volume is locked.
  bool compute(int mode);

  /// The run without storing its result, which remains in `transform`.
  bool doRegistration();

  /// Builds everything that a run needs: transform, functionals, optimizer, schedule. Objects of an
  /// earlier run are freed. Returns 0 on failure.
  int initRegistration();

  /// Frees the functionals, the optimizer and the schedule; `transform` stays.
  void doneRegistration();

  /// Runs all stages of one level, counted from 0 at the coarsest. Returns false if interrupted;
  /// then `functional` is deleted.
  bool doResolution(int level, int numLevels, int ignoreFinest, RegFunctional* functional,
                    float maxStep, float minStep);

  /// Sets schedule and optimizer to the start of a level.
  void enterResolution(int level, int numLevels, int ignoreFinest);

  /// Advances to the next stage; true if there is none.
  bool doneResolution(int, int);

  /// A functional on the volumes of one level, owned by the caller; null, with an error line, for a
  /// metric that is not available.
  RegFunctional* createFunctional(NmDArray<NmHandle<VlData>>& referenceVolumes,
                                  NmDArray<NmHandle<VlData>>& modelVolumes, int, int);

  /// Replaces `transform`, also in the functionals, with one at the start value. A non-affine start
  /// whose box has no volume is replaced with the identity over the first reference. Without
  /// volumes there is no transform, and an error line.
  void createTransform(bool nonAffine, const NmVec3i& numBricks);
  void createTransform();

  /// Logs translation (of the model's centre) and rotation of an affine transform that is not the
  /// identity.
  void logCurrentAffineTransform();

  /// Finds maxCoverage from the extents of the volumes and, for the correlation ratio, from the
  /// share of reference voxels in range.
  void calculateMaxCoverage();

  /// The 15 parameters of a matrix (RegTools), with the center at 0.
  static void decomposeMatrix(const NmMat4f& m, NmDVector<double>& params);

  /// The inverse. A vector of fewer than 15 values is completed with those of the identity.
  static void composeMatrix(NmDVector<double>& params, NmMat4f& m);

  /// Does nothing.
  void checkCudaResources() {}

  /// The flat axis of a pair of volumes, which may be that of either: 0 to 2, 3 for none, -1 for
  /// more than one.
  static int get2DOrientation(const NmVec3i& a, const NmVec3i& b);

  /// -1 for a null volume.
  static int get2DOrientation(VlData* a, VlData* b);

  /// For the reference at `index`, clamped to the array, and the first model; -1 for an empty
  /// array.
  static int get2DOrientation(NmDArray<NmHandle<VlData>>& referenceVolumes,
                              NmDArray<NmHandle<VlData>>& modelVolumes, int index);

  /// Voxel sizes of one volume and its axes: `which` above 0 takes the first model, otherwise the
  /// reference at -which, clamped to the array. `axes` ends with `flatAxis` if that is 0 to 2,
  /// otherwise with the axis of the largest voxel size (axis 2 if none is above 0), and begins with
  /// that of the smallest one. Without the volume every size is 0.
  static void getMinDelta(NmDArray<NmHandle<VlData>>& referenceVolumes,
                          NmDArray<NmHandle<VlData>>& modelVolumes, NmVec3f& delta, NmVec3i& axes,
                          int which, int flatAxis);

  /// Factors that bring voxels of size `delta` closest to `target` (both in world units) on a
  /// logarithmic scale, but never below 1. `base` is used on an axis without a size or target; a
  /// `limit` above 0 is never exceeded.
  static NmVec3i findIsotropicSampling(float target, const NmVec3f& delta, const NmVec3i& base,
                                       const NmVec3i& limit);

  /// Factors of the model for a level on which the reference has `factors`. The smaller of the
  /// reference's voxel sizes along x and y is the target; a `flatAxis` of 0 to 2 keeps 1.
  static NmVec3i getSamplingModel(const NmVec3i& factors, const NmVec3f& deltaRef,
                                  const NmVec3f& deltaModel, int flatAxis);

  /// Limits the coarsest factors so that 2 voxels are left on every axis of both volumes, and 1 on
  /// the flat one. `fixedLimit` uses 16 instead of the reference's limit, and treats no axis as
  /// flat. Model dimensions of 0 mean no model; a null reference changes nothing.
  static void restrictCoarsestResampling(const NmVec3i& dimsRef, const NmVec3i& dimsModel,
                                         bool fixedLimit, NmVec3i& factors);
  static void restrictCoarsestResampling(VlData* ref, VlData* modelVolume, bool fixedLimit,
                                         NmVec3i& factors);

  /// Makes the volumes of each level, finest first, with `coarsest` as the largest factors. Affine
  /// runs have two or three levels, others only that of full resolution; a volume that needs no
  /// reduction is shared. Returns false, with an error line and both results empty, for a missing
  /// volume, flat axes that differ, or a volume that could not be made.
  bool doResampling(NmDArray<NmDArray<NmHandle<VlData>>>& referenceLevels, const NmVec3i& coarsest,
                    NmDArray<NmDArray<NmHandle<VlData>>>& modelLevels);

  /// One volume of one level: `source` itself for factors of 1, otherwise smoothed and reduced.
  /// `result` is unchanged on failure.
  void downsample(const NmHandle<VlData>& source, NmHandle<VlData>& result, const NmVec3i& factors,
                  RegDataClass dataClass);

  /// A histogram size for a range of values. For integers, bins of an equal integer number of
  /// values, up to 383 bins; for others 256. At least 1.
  static int getNumBins(float min, float max, bool integerData);

 private:
  bool hasVolumes() const;
  bool run(int mode);
  bool harvest();
  void leaveBrokenRun();
  bool endByException(const NmException& exception);
  void releaseFunctionals();
  void deleteTransform();

  bool resolveOrientation();
  bool checkSettings() const;
  bool checkVolumes() const;
  bool createFunctionals();
  bool createSchedule();
  RegMetric* createMetric(const VlData* referenceVolume, const VlData* modelVolume) const;
  RegOptimizer* createOptimizer();
  RegGradientOptimizer* createGradientOptimizer(float tolerance);

  bool runLevels();
  void startGradientLevel(int gradientLevelsBefore);
  bool search(float maxStep, float minStep);
  void showStage(int level, int numLevels, int degreesOfFreedom);
  int currentStage() const;
  void leaveStage();
  /// Degrees of freedom of a stage that is ready to be searched; 0 if it is skipped.
  int prepareStage(int stage, bool runNonAffine, RegFunctional* functional);
  int prepareAffineStage(int degreesOfFreedom, RegFunctional* functional);
  int prepareNonAffineStage(int code, RegFunctional* functional);
  void replaceTransform(bool nonAffine, const NmVec3i& numBricks, RegFunctional* functional);

  bool transformIsStale_ = false;  ///< `transform` is at a trial point of an aborted run
  NmHandle<VlData>
      transformModel_;  ///< an affine `transform` points to it without a reference count
};
