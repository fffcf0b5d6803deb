#include "foundation/gridEvaluator.h"

#include "foundation/gridAxis.h"
#include "foundation/voxelTypes.h"

namespace voxreg::detail {
namespace {

template <class T>
class GridEvaluator : public VlEvaluator {
 public:
  GridEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid, const NmBox3f& box,
                TapRule rule)
      : access_(access),
        voxels_(static_cast<const T*>(access->dataPtr(0))),
        numDataVars_(grid.numDataVars),
        rule_(rule),
        axes_{GridAxis(box, 0, grid.dims.x), GridAxis(box, 1, grid.dims.y),
              GridAxis(box, 2, grid.dims.z)} {}

  bool setLocation(const NmVec3f& point) override {
    double position[3];
    for (int axis = 0; axis < 3; ++axis)
      if (!axes_[axis].locate(point[axis], position[axis])) return false;
    for (int axis = 0; axis < 3; ++axis) rule_(position[axis], axes_[axis].size(), taps_[axis]);
    return true;
  }

  void value(float* result) override {
    if (result != nullptr) *result = sample(0);
  }

  void values(float* results) override {
    if (results == nullptr) return;
    for (int variable = 0; variable < numDataVars_; ++variable)
      results[variable] = sample(variable);
  }

 private:
  float sample(int variable) const {
    const auto& [x, y, z] = taps_;
    double sum = 0.0;
    for (int k = 0; k < z.count; ++k)
      for (int j = 0; j < y.count; ++j) {
        const long line = axes_[0].size() * (y.index[j] + axes_[1].size() * z.index[k]);
        double lineSum = 0.0;
        for (int i = 0; i < x.count; ++i)
          lineSum += x.weight[i] *
                     static_cast<double>(voxels_[(line + x.index[i]) * numDataVars_ + variable]);
        sum += z.weight[k] * y.weight[j] * lineSum;
      }
    return static_cast<float>(sum);
  }

  NmHandle<VlDataAccess> access_;
  const T* voxels_;
  int numDataVars_;
  TapRule rule_;
  GridAxis axes_[3];
  AxisTaps taps_[3];
};

}  // namespace

NmHandle<VlEvaluator> makeGridEvaluator(const NmHandle<VlDataAccess>& access, const VoxelGrid& grid,
                                        const NmBox3f& box, TapRule rule) {
  NmHandle<VlEvaluator> evaluator;
  if (!access->isContiguous() || access->dataPtr(0) == nullptr || grid.numValues() < 1)
    return evaluator;
  withVoxelType(grid.type,
                [&]<class T>() { evaluator = new GridEvaluator<T>(access, grid, box, rule); });
  return evaluator;
}

}  // namespace voxreg::detail
