#pragma once

#include <cstdint>
#include <optional>

#include "foundation/NmBox.h"
#include "foundation/NmDArray.h"
#include "foundation/NmDVector.h"
#include "foundation/NmHandle.h"
#include "foundation/NmMat4d.h"
#include "foundation/NmVec.h"
#include "foundation/VlData.h"

class RegAffineTransform;
class RegMetric;
class RegNonAffineTransform;
class RegOptimizerCallback;
class RegParametricTransform;

/// The objective function of one resolution level: the metric's value for the volumes at the
/// current transform, minus the regularity penalty of a non-affine transform. Searches maximise it.
/// It keeps read locks on its first reference and its model for its entire lifetime.
class RegFunctional : public NmAllocated {
 public:
  NmDArray<NmHandle<VlData>> reference;
  NmDArray<NmHandle<VlData>> model;        ///< element 0 is used
  RegParametricTransform* transform;       ///< not owned; an affine one maps model to
                                           ///< reference, a grid from reference to model
  RegMetric* metric;                       ///< owned
  RegOptimizerCallback* callback;          ///< not owned, may be null
  NmVec3f modelSize;                       ///< extent of the model's bounding box, world units
  NmHandle<VlDataAccess> referenceAccess;  ///< null if the lock failed
  NmHandle<VlDataAccess> modelAccess;
  int orientation;  ///< the registration's orientation code
  NmVec3i modelDims;
  NmMat4d worldToModel;          ///< model world position to model voxel position
  int numThreads;                ///< number of work histograms of a kernel; no thread is started
  double gradientTime = 0.0;     ///< seconds spent on Jacobians during gradients
  int worstBrick = -1;           ///< brick of the largest penalty term of the last whole evaluation
  double maxShapePenalty = 0.0;  ///< largest shape term seen so far
  double maxJacobianPenalty = 0.0;  ///< largest determinant term seen so far
  double maxOtherPenalty = 0.0;
  NmDArray<unsigned char> emptyBricks;     ///< 1: no reference voxel of the brick is in range
  NmDArray<unsigned char> unusedVertices;  ///< 1: all bricks around the vertex are empty
  NmDArray<int> renumbering;               ///< order in which a gradient visits the vertices
  bool firstGradient = true;
  std::int64_t numEvaluations = 0;  ///< walks of the whole volume, including those of gradients
  std::int64_t numGradients = 0;

  /// Copies the handles, takes ownership of `metric` and locks the volumes for reading. The unnamed
  /// int and bool are ignored.
  RegFunctional(const NmDArray<NmHandle<VlData>>& referenceVolumes,
                NmDArray<NmHandle<VlData>>& modelVolumes, int, bool,
                RegParametricTransform* transformToMove, RegMetric* metricToOwn,
                RegOptimizerCallback* callbackToAsk, int orientationCode, int threadCount);
  RegFunctional(const RegFunctional&) = delete;
  RegFunctional& operator=(const RegFunctional&) = delete;
  ~RegFunctional();

  /// True if evaluations can walk the volumes: the first ones are locked, in one block, with one
  /// data variable and a supported voxel type, and no further reference needs more bytes than the
  /// first.
  bool canEvaluate() const;

  /// Applies the transform's parameters and evaluates the whole volume.
  double evaluate();

  /// Evaluates the whole volume or, with `box`, the contribution of a sub-box: with `marginal` it
  /// is stored as the metric's removed set and the result is 0.0, otherwise the result is the whole
  /// metric with the box replaced. `nonAffine` and `boxMetric` replace the members only together
  /// with a box. `update` applies the transform's parameters first. `penalty` receives the
  /// regularity penalty, `time` the seconds that it took. Returns 0.0, with an empty metric, if a
  /// volume, its lock or the transform is missing, if a first volume is not the locked one, is not
  /// in one block or has several data variables, or if a voxel type is not supported.
  double evaluate(bool update, const NmBox3i* box, int vertex, bool marginal,
                  RegNonAffineTransform* nonAffine, RegMetric* boxMetric, double& penalty,
                  double& time);

  /// Like evaluate, but without applying the parameters.
  double evaluateMarginal(const NmBox3i* box, int vertex, bool marginal,
                          RegNonAffineTransform* nonAffine, RegMetric* boxMetric, double& penalty,
                          double& time);
  double evaluateNoClip(const NmBox3i* box, int vertex, bool marginal,
                        RegNonAffineTransform* nonAffine, RegMetric* boxMetric, double& penalty,
                        double& time);

  /// Finite differences of the value, one per free parameter, pointing to higher values and not
  /// divided by the step. Returns the value at the current parameters, which are unchanged.
  /// `gradient` must have room for every free parameter. `factor` scales the parameters' own steps.
  /// A component is 0 if neither trial exceeds the current value, unless `unconditional` is not 0.
  /// `numPenalised`, if given, receives the number of parameters at which a trial was penalised. An
  /// interruption makes the whole gradient 0.
  double evaluateGradient(NmDVector<double>& gradient, float factor, int unconditional,
                          int* numPenalised);

  /// Flags the bricks without a reference voxel in the metric's range and the vertices that have
  /// only such bricks around them, and returns the number of these bricks.
  int findEmptyBricks(RegNonAffineTransform* grid);

  /// The order in which a gradient visits vertices: used inner ones, used ones on the faces of the
  /// grid, unused ones. Returns false, with `order` invalid, for flags of a different size than the
  /// grid.
  bool computeRenumbering(const NmVec3i& numBricks, NmDArray<unsigned char>& unused,
                          NmDArray<int>& order);

  /// Starts recording the parameters of the best whole evaluation, until the next call.
  void startSearch();

  /// Resets the transform's parameters to those of the best whole evaluation since startSearch and
  /// returns its value in `value`. Returns false, and changes nothing, if there was none.
  bool returnToBest(double& value);

  /// Recomputes modelDims and worldToModel from the model's current box, and passes them to a
  /// non-affine transform.
  void resetEval();

 private:
  /// Results of the analysis of a brick grid; kept between evaluations to reuse the memory.
  struct JacobianMeasures {
    NmDArray<double> minJacobian;
    NmDArray<double> maxStretch;
    NmDArray<double> maxShear;
    NmDArray<int> brickIndices;
  };
  struct GradientTask;
  class VertexTrials;

  /// The grid for which the flags of bricks and vertices were computed.
  struct FlaggedGrid {
    NmVec3i numBricks;
    NmBox3f box;

    bool operator==(const FlaggedGrid&) const = default;
  };

  struct BestEvaluation {
    NmDVector<double> params;
    double value = 0.0;
    bool exists = false;
  };

  void resetEval(RegNonAffineTransform* grid);

  /// True if the kernels can walk the voxels of both first volumes.
  bool canWalk() const;

  /// The voxels that a walk of the whole volume visits for a grid over `box`.
  static NmBox3i walkedBox(const VlData& volume, const NmBox3f& box);
  bool walkReferences(const NmBox3i* box, RegAffineTransform* affine, RegNonAffineTransform* grid,
                      RegMetric& accumulator);
  bool walk(const VlData& volume, const NmBox3i& clip, const NmMat4d& worldToPosition,
            const RegNonAffineTransform* grid, int numHistograms, RegMetric& accumulator) const;
  void remember(double value);
  void updateBrickFlags(RegNonAffineTransform& grid);
  bool isUnused(int vertex, std::int64_t numVertices) const;
  void affineGradient(const GradientTask& task);
  int gridGradient(RegNonAffineTransform& grid, const GradientTask& task);
  int vertexGradient(VertexTrials& trials, int vertex, bool marginal, const GradientTask& task);
  void orderVertices(const NmVec3i& numBricks, int numVertices);

  /// How far a grid deviates from a locally rigid map beyond the tolerated amount: in the bricks
  /// around `vertex`, or in all bricks if there is no such vertex, which also updates the records
  /// of the worst terms. `time` receives the seconds taken. 0.0 if the grid cannot be analysed.
  double regularityPenalty(RegNonAffineTransform& grid, int vertex, int numHistograms,
                           const RegMetric& accumulator, double& time);

  JacobianMeasures measures_;
  std::optional<FlaggedGrid> flaggedGrid_;
  /// 1: a walk finds a voxel in range around the vertex, although the single-precision limits of
  /// bricks, or the voxels of the first reference alone, flag it as unused. Empty if there is no
  /// such vertex.
  NmDArray<unsigned char> reachedVertices_;
  std::optional<BestEvaluation> best_;  ///< in the current search
  const VlData* lockedReference_;       ///< volume of the accesses
  const VlData* lockedModel_;
};
