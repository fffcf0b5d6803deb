#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
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

/// Threads that wait for each other cannot be joined: the program ends.
void joinOrEnd(std::future<bool>& thread) {
  if (thread.wait_for(std::chrono::seconds(120)) == std::future_status::ready) return;
  std::fputs("the threads wait for each other\n", stderr);
  std::_Exit(1);
}

/// Resamples over and over; true when every round has been done.
bool zoomRepeatedly(VlData& source, VlData& target, RegResampler::FilterType filter) {
  const NmVec3l n = target.dims();
  const float lengths[] = {static_cast<float>(n.x), static_cast<float>(n.y),
                           static_cast<float>(n.z)};
  for (int round = 0; round < 10; ++round)
    if (!RegResampler{filter}.zoom3d(source, target, lengths, triangle_filter, 1.0f, 1))
      return false;
  return true;
}

// The copy, the mean of cells, one filtered pass, and the extremes of cells.
TEST(Zoom3d, ThreadsMayResampleToAndFro) {
  struct Case {
    long width;
    RegResampler::FilterType filter;
  };
  for (const Case c : {Case{4, RegResampler::Box}, Case{2, RegResampler::Box},
                       Case{2, RegResampler::Triangle}, Case{2, RegResampler::Minimum}}) {
    const NmHandle<VlData> a = new SlowVolume(makeVolume({4, 2, 2}, NmPrimType::Short));
    const NmHandle<VlData> b = new SlowVolume(makeVolume({c.width, 2, 2}, NmPrimType::Short));
    const auto run = [&](const NmHandle<VlData>& source, const NmHandle<VlData>& target) {
      return std::async(std::launch::async, zoomRepeatedly, std::ref(*source), std::ref(*target),
                        c.filter);
    };
    std::future<bool> threads[] = {run(a, b), run(b, a)};
    for (std::future<bool>& thread : threads) {
      joinOrEnd(thread);
      EXPECT_TRUE(thread.get()) << c.width << " " << c.filter;
    }
  }
}

}  // namespace
