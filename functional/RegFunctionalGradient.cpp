#include <algorithm>
#include <cinttypes>

#include "foundation/NmLogFile.h"
#include "foundation/NmProgressInterface.h"
#include "functional/RegFunctional.h"
#include "functional/RegOptimizerCallback.h"
#include "functional/planeMode.h"
#include "metrics/RegMetric.h"
#include "transforms/RegNonAffineTransform.h"

namespace {

bool wasInterrupted(RegOptimizerCallback* callback) {
  NmProgressInterface* const progress =
      callback == nullptr ? nullptr : callback->getProgressInterface();
  return progress != nullptr && progress->wasInterrupted();
}

/// A parameter that a trial moves; the destructor restores it.
class MovedParameter {
 public:
  explicit MovedParameter(double& parameter) : parameter_(parameter), saved_(parameter) {}
  MovedParameter(const MovedParameter&) = delete;
  MovedParameter& operator=(const MovedParameter&) = delete;
  ~MovedParameter() { parameter_ = saved_; }

  void moveBy(double delta) { parameter_ = saved_ + delta; }

 private:
  double& parameter_;
  double saved_;
};

}  // namespace

/// The data shared by the trials of a gradient.
struct RegFunctional::GradientTask {
  NmDVector<double>& gradient;
  const NmDArray<float>& steps;  ///< one per free parameter
  float factor;                  ///< scales the steps
  bool unconditional;
  double present;  ///< value at the current parameters

  double plusStep(int i) const { return static_cast<double>(steps[i] * factor); }

  /// From the plus trial to the minus trial of a grid.
  double stepBack(int i) const { return static_cast<double>(steps[i] * (factor * -2.0f)); }

  /// Central difference, not divided by the step. Unless unconditional, a parameter at which
  /// neither trial exceeds the current value contributes nothing.
  void setComponent(int i, double plus, double minus) const {
    const bool counts = unconditional || present < plus || present < minus;
    gradient[i] = counts ? plus - minus : 0.0;
  }
};

/// Trials at one vertex of a grid: the coefficients around it are patched and restored; `params` is
/// never changed.
class RegFunctional::VertexTrials {
 public:
  VertexTrials(RegFunctional& functional, RegNonAffineTransform& grid)
      : functional_(functional), grid_(grid) {
    index_.resize(1);
    delta_.resize(1);
    savedIndices_.remax(64, 0);
    savedValues_.remax(64, 0);
  }

  double seconds = 0.0;  ///< spent on Jacobians

  /// Sets the box of the trials to the voxels around the vertex that a whole walk visits, and
  /// stores their contribution at the current transform.
  void startBox(int vertex) {
    VlData& volume = *functional_.reference[0];
    box_ = grid_.getROIofVertex(&volume, vertex);
    if (grid_.referenceBox.volume() > 0.0f)
      box_ = box_.intersection(walkedBox(volume, grid_.referenceBox));
    double penalty;
    evaluate(&box_, vertex, true, penalty);
    boxPointer_ = &box_;
  }

  /// Until startBox, trials walk the whole volume.
  void startVertex() { boxPointer_ = nullptr; }

  /// A coordinate that trials move; the destructor restores its coefficients bit for bit.
  class Move {
   public:
    explicit Move(VertexTrials& trials) : trials_(trials) {
      trials.savedIndices_.clear();
      trials.savedValues_.clear();
    }
    Move(const Move&) = delete;
    Move& operator=(const Move&) = delete;
    ~Move() { trials_.grid_.restoreCoefficients(trials_.savedIndices_, trials_.savedValues_); }

   private:
    VertexTrials& trials_;
  };

  /// Moves one coordinate, storing the coefficients, and evaluates.
  double tryFirst(int vertex, int parameter, double delta, double& penalty) {
    index_[0] = parameter;
    delta_[0] = delta;
    grid_.updateCoefficients(index_, delta_, &savedIndices_, &savedValues_);
    return evaluate(boxPointer_, vertex, false, penalty);
  }

  /// Moves the same coordinate again and evaluates.
  double tryNext(int vertex, double delta, double& penalty) {
    delta_[0] = delta;
    grid_.updateCoefficients(index_, delta_, nullptr, nullptr);
    return evaluate(boxPointer_, vertex, false, penalty);
  }

 private:
  double evaluate(const NmBox3i* box, int vertex, bool marginal, double& penalty) {
    double time;
    const double value = functional_.evaluateNoClip(box, vertex, marginal, &grid_,
                                                    functional_.metric, penalty, time);
    seconds += time;
    return value;
  }

  RegFunctional& functional_;
  RegNonAffineTransform& grid_;
  NmBox3i box_;
  const NmBox3i* boxPointer_ = nullptr;
  NmDArray<int> index_;
  NmDArray<double> delta_;
  NmDArray<int> savedIndices_;
  NmDArray<double> savedValues_;
};

double RegFunctional::evaluateGradient(NmDVector<double>& gradient, float factor, int unconditional,
                                       int* numPenalised) {
  if (numPenalised != nullptr) *numPenalised = 0;
  if (transform == nullptr || metric == nullptr) {
    getTheLogInstance().errorf("evaluateGradient: There is no transform or no metric.");
    return 0.0;
  }
  const int dim = transform->getVariableParamVectorDim();
  if (transform->params.size < dim) {
    getTheLogInstance().errorf("evaluateGradient: The transform has %" PRId64
                               " of its %d parameters.",
                               transform->params.size, dim);
    std::fill_n(gradient.data, gradient.size, 0.0);
    return evaluate();
  }
  if (gradient.size < dim) {
    getTheLogInstance().errorf("evaluateGradient: There is room for %" PRId64 " of %d components.",
                               gradient.size, dim);
    return 0.0;
  }
  ++numGradients;
  const double present = evaluate();
  NmVec3d size(modelSize.x, modelSize.y, modelSize.z);
  NmDArray<float> steps;
  steps.resize(dim);
  for (int i = 0; i < dim; ++i) steps[i] = static_cast<float>(transform->getParamStep(i, &size));
  const GradientTask task = {gradient, steps, factor, unconditional != 0, present};
  if (auto* const grid = dynamic_cast<RegNonAffineTransform*>(transform)) {
    const int count = gridGradient(*grid, task);
    if (numPenalised != nullptr) *numPenalised = count;
  } else {
    affineGradient(task);
  }
  if (wasInterrupted(callback)) std::fill_n(gradient.data, gradient.size, 0.0);
  return present;
}

void RegFunctional::affineGradient(const GradientTask& task) {
  for (int i = 0; i < static_cast<int>(task.steps.size); ++i) {
    if (wasInterrupted(callback)) return;
    if (voxreg::detail::leavesPlane(orientation, i)) {
      task.gradient[i] = 0.0;
      continue;
    }
    MovedParameter parameter(transform->params[i]);
    parameter.moveBy(task.plusStep(i));
    const double plus = evaluate();
    if (wasInterrupted(callback)) return;
    parameter.moveBy(-task.plusStep(i));
    const double minus = evaluate();
    if (wasInterrupted(callback)) return;
    task.setComponent(i, plus, minus);
  }
}

// Returns the number of parameters at which a trial was penalised.
int RegFunctional::gridGradient(RegNonAffineTransform& grid, const GradientTask& task) {
  const bool verbose = firstGradient;
  firstGradient = false;
  updateBrickFlags(grid);
  const bool marginal =
      metric->supportsMarginalMetric() && reference.size == 1 && reference[0] != nullptr;
  const int numVertices = static_cast<int>(task.steps.size) / 3;
  if (marginal) {
    metric->setOtherParams(RegMetricParamBaseline);
    if (verbose)
      getTheLogInstance().printf("%.3f * 10^6 samples",
                                 static_cast<float>(metric->numSamples) * 1e-06);
    orderVertices(grid.numBricks, numVertices);
  }
  VertexTrials trials(*this, grid);
  int numPenalised = 0;
  for (int b = 0; b < numVertices; ++b)
    numPenalised += vertexGradient(trials, marginal ? renumbering[b] : b, marginal, task);
  gradientTime += trials.seconds;
  return numPenalised;
}

void RegFunctional::orderVertices(const NmVec3i& numBricks, int numVertices) {
  if (renumbering.size == numVertices) return;
  if (computeRenumbering(numBricks, unusedVertices, renumbering)) return;
  renumbering.resize(numVertices);
  for (int b = 0; b < numVertices; ++b) renumbering[b] = b;
}

bool RegFunctional::isUnused(int vertex, std::int64_t numVertices) const {
  const bool isFlagged = unusedVertices.size == numVertices && unusedVertices[vertex] == 1;
  const bool isReached = reachedVertices_.size == numVertices && reachedVertices_[vertex] == 1;
  return isFlagged && !isReached;
}

// One box and its current contribution serve all three coordinates.
int RegFunctional::vertexGradient(VertexTrials& trials, int vertex, bool marginal,
                                  const GradientTask& task) {
  const std::int64_t numVertices = task.steps.size / 3;
  if (vertex < 0 || vertex >= numVertices) return 0;  // an order set by the host
  const bool unused = isUnused(vertex, numVertices);
  int numPenalised = 0;
  trials.startVertex();
  for (int c = 0; c < 3; ++c) {
    const int i = 3 * vertex + c;
    if (wasInterrupted(callback)) continue;
    if (!unused && marginal && c == 0) trials.startBox(vertex);
    if (unused || (c == orientation && orientation < 3)) {
      task.gradient[i] = 0.0;
      continue;
    }
    const VertexTrials::Move move(trials);
    double penaltyPlus;
    double penaltyMinus;
    const double plus = trials.tryFirst(vertex, i, task.plusStep(i), penaltyPlus);
    if (wasInterrupted(callback)) continue;
    const double minus = trials.tryNext(vertex, task.stepBack(i), penaltyMinus);
    if (!wasInterrupted(callback)) task.setComponent(i, plus, minus);
    if (penaltyPlus > 0.0 || penaltyMinus > 0.0) ++numPenalised;
  }
  return numPenalised;
}
