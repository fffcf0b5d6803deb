#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "resampling/RegResampler.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumes.h"

namespace {

/// Takes its time, so that another thread comes in between this volume's lock and the next.
class SlowVolume : public WrappedVolume {
 public:
  using WrappedVolume::WrappedVolume;

 protected:
  NmHandle<VlDataAccess> openAccess(bool write) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return WrappedVolume::openAccess(write);
  }
};

// The copy, the mean of cells, one filtered pass, and the extremes of cells.
TEST(Zoom3d, ThreadsMayResampleToAndFro) {
  for (const auto& [width, filter] : {std::pair(4L, RegResampler::Box),
                                      {2L, RegResampler::Box},
                                      {2L, RegResampler::Triangle},
                                      {2L, RegResampler::Minimum}}) {
    const NmHandle<VlData> a = new SlowVolume(makeVolume({4, 2, 2}, NmPrimType::Short));
    const NmHandle<VlData> b = new SlowVolume(makeVolume({width, 2, 2}, NmPrimType::Short));
    const auto zoomRepeatedly = [kind = filter](VlData* source, VlData* target) {
      const float lengths[] = {static_cast<float>(target->dims().x), 2.0f, 2.0f};
      for (int round = 0; round < 10; ++round)
        EXPECT_TRUE(RegResampler{kind}.zoom3d(*source, *target, lengths, triangle_filter, 1, 1));
    };
    std::thread other(zoomRepeatedly, b.get(), a.get());
    zoomRepeatedly(a, b);
    other.join();
  }
}

}  // namespace
