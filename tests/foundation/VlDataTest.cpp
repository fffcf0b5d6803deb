#include "foundation/VlData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "foundation/NmException.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumes.h"

namespace {

NmHandle<VlMemoryData> smallVolume() {
  return makeVolume({2, 2, 2}, NmPrimType::Int);
}

/// A volume with the voxels of another one, whose access it hands out; it can fail to.
class Wrapper : public VlData {
 public:
  enum Mode { passes, fails, throws };
  explicit Wrapper(NmHandle<VlData> inner) : inner_(std::move(inner)) {}

  NmPrimType primType() const override { return inner_->primType(); }
  int numDataVars() const override { return inner_->numDataVars(); }
  NmVec3l dims() const override { return inner_->dims(); }
  void boundingBox(NmBox3f& box) const override { inner_->boundingBox(box); }
  NmResult setBoundingBox(const NmBox3f& box) override { return inner_->setBoundingBox(box); }

  Mode mode = passes;

 protected:
  NmHandle<VlDataAccess> openAccess(bool write) override {
    if (mode == throws) throw std::runtime_error("openAccess");
    if (mode == fails) return nullptr;
    return inner_->lock(write);
  }

 private:
  NmHandle<VlData> inner_;
};

TEST(VlDataLock, ReadersShareAndAWriterIsAlone) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  NmHandle<VlDataAccess> mine = volume->lock(false);
  std::thread([&] {
    EXPECT_TRUE(volume->tryLock(false));
    EXPECT_FALSE(volume->tryLock(true));
  }).join();
  mine = nullptr;
  mine = volume->lock(true);
  std::thread([&] {
    EXPECT_FALSE(volume->tryLock(false));
    EXPECT_FALSE(volume->tryLock(true));
  }).join();
  mine = nullptr;
  EXPECT_TRUE(volume->tryLock(true));
}

TEST(VlDataLock, RefusesWhatTheThreadItselfPrevents) {
  LogCapture log;
  const NmHandle<VlMemoryData> volume = smallVolume();
  {
    const NmHandle<VlDataAccess> read = volume->lock(false);
    EXPECT_FALSE(volume->tryLock(true));
    EXPECT_TRUE(log.errors.empty());
    EXPECT_FALSE(volume->lock(true));
    EXPECT_EQ(log.error().rfind("VlData::lock:", 0), 0U);
    EXPECT_TRUE(volume->lock(false));
  }
  const NmHandle<VlDataAccess> write = volume->lock(true);
  EXPECT_FALSE(volume->lock(true));
  EXPECT_FALSE(volume->lock(false));
  EXPECT_EQ(log.errors.size(), 2U);
  log.errors.clear();
  float min = 1.0f;
  float max = 1.0f;
  EXPECT_FALSE(volume->range(min, max, true).isOk());
  EXPECT_EQ(log.error().rfind("VlData::range:", 0), 0U);
  EXPECT_EQ(min, 0.0f);
  EXPECT_FALSE(volume->createEvaluatorLanczos());
  EXPECT_EQ(log.error().rfind("VlData::createEvaluatorLanczos:", 0), 0U);
}

TEST(VlDataLock, IsReleasedOnWhicheverThreadLetsGo) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  for (const bool write : {false, true}) {
    NmHandle<VlDataAccess> access = volume->lock(write);
    std::thread([&] { access = nullptr; }).join();
    EXPECT_TRUE(volume->tryLock(true));
  }
}

// The id of a thread that has ended goes to the next one, but its lock is still another's.
TEST(VlDataLock, BelongsToTheThreadThatHasEnded) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  NmHandle<VlDataAccess> access;
  std::thread([&] { access = volume->lock(false); }).join();
  NmHandle<VlDataAccess> written;
  std::thread writer([&] { written = volume->lock(true); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  access = nullptr;
  writer.join();
  EXPECT_TRUE(written);
}

TEST(VlDataLock, AReaderReadsOnWhileAWriterWaits) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  NmHandle<VlDataAccess> first = volume->lock(false);
  std::thread writer([&] { EXPECT_TRUE(volume->lock(true)); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_TRUE(volume->lock(false));
  std::thread([&] { EXPECT_TRUE(volume->lock(false)); }).join();
  first = nullptr;
  writer.join();
}

TEST(VlDataLock, OrdersReadersAndWriters) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  constexpr int rounds = 2000;
  const auto count = [&] {
    for (int i = 0; i < rounds; ++i) {
      const NmHandle<VlDataAccess> access = volume->lock(true);
      int* const voxels = static_cast<int*>(access->dataPtr(0));
      ++voxels[0];
      ++voxels[7];
    }
  };
  const auto watch = [&] {
    for (int i = 0; i < rounds; ++i) {
      const NmHandle<VlDataAccess> access = volume->lock(false);
      const int* const voxels = static_cast<const int*>(access->dataPtr(0));
      EXPECT_EQ(voxels[0], voxels[7]);
    }
  };
  std::thread threads[] = {std::thread(count), std::thread(watch), std::thread(count)};
  watch();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(static_cast<int*>(volume->lock(false)->dataPtr(0))[0], 2 * rounds);
}

TEST(VlDataLock, GoesBackWhenNoAccessOpens) {
  LogCapture log;
  const NmHandle<Wrapper> volume = new Wrapper(smallVolume());
  volume->mode = Wrapper::throws;
  EXPECT_THROW(volume->lock(true), std::runtime_error);
  EXPECT_THROW(volume->tryLock(false), std::runtime_error);
  volume->mode = Wrapper::fails;
  EXPECT_FALSE(volume->lock(true));
  EXPECT_FALSE(volume->tryLock(true));
  EXPECT_EQ(log.errors.size(), 1U);
  volume->mode = Wrapper::passes;
  std::thread([&] { EXPECT_TRUE(volume->tryLock(true)); }).join();
}

TEST(VlDataLock, OneAccessCarriesTheLocksOfAllItsVolumes) {
  const NmHandle<VlMemoryData> inner = smallVolume();
  const NmHandle<VlData> outer = new Wrapper(new Wrapper(inner));
  NmHandle<VlDataAccess> access = outer->lock(true);
  std::thread([&] {
    EXPECT_FALSE(inner->tryLock(false));
    EXPECT_FALSE(outer->tryLock(false));
  }).join();
  access = nullptr;
  EXPECT_TRUE(outer->tryLock(true));
  EXPECT_TRUE(inner->tryLock(true));
}

TEST(VlDataLock, AnAccessKeepsItsVolumesAlive) {
  NmHandle<VlMemoryData> inner = smallVolume();
  NmHandle<VlData> outer = new Wrapper(NmHandle<VlData>(inner));
  NmHandle<VlDataAccess> access = outer->lock(true);
  inner = nullptr;
  outer = nullptr;
  static_cast<int*>(access->dataPtr(0))[7] = 5;
  float line[2];
  EXPECT_TRUE(access->row(-1, 1, 1, line).isOk());
  EXPECT_EQ(line[1], 5.0f);
}

TEST(VlDataLock, NothingStaysLockedWhenMemoryIsExhausted) {
  if (!FailingAllocation::isServed()) GTEST_SKIP();
  const NmHandle<VlData> volume = new Wrapper(smallVolume());
  const auto attempt = [&](long k, auto&& operation) {
    const FailingAllocation failure(k);
    try {
      operation();
    } catch (const NmMemoryException&) {
    }
    return failure.hasFailed();
  };
  float min, max;
  for (long k = 1; attempt(k, [&] { volume->lock(false); }); ++k) EXPECT_TRUE(volume->lock(true));
  for (long k = 1; attempt(k, [&] { volume->range(min, max, true); }); ++k)
    EXPECT_TRUE(volume->lock(true));
  for (long k = 1; attempt(k, [&] { volume->createEvaluatorLanczos(); }); ++k)
    EXPECT_TRUE(volume->lock(true));
}

template <class T>
void expectRange(int type, std::vector<T> voxels, float low, float high) {
  const NmVec3l dims(static_cast<long>(voxels.size()) / 2, 1, 1);
  const NmHandle<VlMemoryData> volume = wrapVolume(dims, type, 2, voxels.data());
  for (const NmHandle<VlData>& form :
       {NmHandle<VlData>(volume), NmHandle<VlData>(new RowVolume(volume))}) {
    float min = 7.0f;
    float max = 7.0f;
    EXPECT_TRUE(form->range(min, max, true).isOk());
    EXPECT_EQ(min, low) << type;
    EXPECT_EQ(max, high) << type;
  }
}

TEST(VlDataRange, CoversEveryTypeAndVariable) {
  expectRange<unsigned char>(0, {3, 255, 4, 9, 8, 1}, 1, 255);
  expectRange<short>(1, {-5, -32768, -1, -9}, -32768, -1);
  expectRange<int>(2, {-2147483647 - 1, 2147483647}, -2147483648.0f, 2147483648.0f);
  expectRange<unsigned short>(7, {65535, 4, 5, 5}, 4, 65535);
  const float nan = std::nanf("");
  const float infinity = std::numeric_limits<float>::infinity();
  for (unsigned long place = 0; place < 10; ++place) {
    std::vector<float> voxels(10, nan);
    voxels[place] = -2.5f;
    expectRange<float>(3, voxels, -2.5f, -2.5f);
    expectRange<double>(4, std::vector<double>(voxels.begin(), voxels.end()), -2.5f, -2.5f);
  }
  expectRange<float>(3, {infinity, infinity}, infinity, infinity);
  expectRange<float>(3, {nan, 3.0f, -infinity, 1.0f}, -infinity, 3.0f);
}

TEST(VlDataRange, FollowsEveryWrite) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  for (const int value : {4, 7, -3}) {
    static_cast<int*>(volume->lock(true)->dataPtr(0))[3] = value;
    float min, max;
    EXPECT_TRUE(volume->range(min, max, false).isOk());
    EXPECT_EQ(min + max, static_cast<float>(value));
  }
}

TEST(VlDataRange, FailsWhereThereIsNoNumber) {
  LogCapture log;
  std::vector<double> voxels(5, std::nan(""));
  const NmHandle<VlMemoryData> volume = wrapVolume({5, 1, 1}, 4, 1, voxels.data());
  float min = 7.0f;
  float max = 7.0f;
  EXPECT_FALSE(volume->range(min, max, true).isOk());
  EXPECT_EQ(log.error().rfind("VlData::range:", 0), 0U);
  EXPECT_EQ(min, 0.0f);
  EXPECT_EQ(max, 0.0f);
  EXPECT_FALSE(NmHandle<VlData>(new RowVolume(volume))->range(min, max, true).isOk());
  EXPECT_FALSE(NmHandle<VlData>(new VlMemoryData(nullptr))->range(min, max, true).isOk());
}

TEST(VlDataEvaluator, NeedsOneBlockAndAKnownFilter) {
  LogCapture log;
  const NmHandle<VlData> sliced = new RowVolume(smallVolume());
  EXPECT_FALSE(sliced->createEvaluator(VlData::Trilinear));
  EXPECT_EQ(log.error().rfind("VlData::createEvaluator:", 0), 0U);
  EXPECT_TRUE(sliced->tryLock(true));
  const NmHandle<VlData> plain = smallVolume();
  EXPECT_FALSE(plain->createEvaluator(static_cast<VlData::EvaluatorFilter>(2)));
  EXPECT_EQ(log.error().rfind("VlData::createEvaluator:", 0), 0U);
  EXPECT_TRUE(plain->tryLock(true));
}

}  // namespace
