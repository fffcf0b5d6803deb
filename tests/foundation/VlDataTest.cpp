#include "foundation/VlData.h"

#include <cmath>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RowVolume.h"
#include "tests/support/volumeValues.h"

namespace {

NmHandle<VlMemoryData> smallVolume() {
  return makeVolume({2, 2, 2}, NmPrimType::Int);
}

template <class F>
void onAnotherThread(F&& f) {
  std::thread(f).join();
}

/// Opens its inner volume's access, or what it is given in its place.
class FailingVolume : public WrappedVolume {
 public:
  using WrappedVolume::WrappedVolume;
  std::function<NmHandle<VlDataAccess>()> instead;

 protected:
  NmHandle<VlDataAccess> openAccess(bool write) override {
    return instead ? instead() : WrappedVolume::openAccess(write);
  }
};

/// Counts the volumes of its kind that are left.
class CountedVolume : public VlMemoryData {
 public:
  static inline int alive = 0;

  CountedVolume() : VlMemoryData(nullptr) {
    ++alive;
    init({2, 2, 2}, NmPrimType::Int, 1, true, true, true);
  }
  ~CountedVolume() override { --alive; }
};

TEST(VlDataLock, ReadersShareAndAWriterIsAlone) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  for (const bool write : {false, true}) {
    const NmHandle<VlDataAccess> mine = volume->lock(write);
    onAnotherThread([&] {
      EXPECT_EQ(volume->tryLock(false) != nullptr, !write);
      EXPECT_FALSE(volume->tryLock(true));
    });
  }
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
  float min = 1.0f, max = 1.0f;
  EXPECT_FALSE(volume->range(min, max, true).isOk());
  EXPECT_EQ(log.error().rfind("VlData::range:", 0), 0U);
  EXPECT_TRUE(min == 0.0f && max == 0.0f);
  EXPECT_FALSE(volume->createEvaluatorLanczos());
  EXPECT_EQ(log.error().rfind("VlData::createEvaluatorLanczos:", 0), 0U);
}

// The id of a thread that has ended goes to the next one, but its lock is still another's.
TEST(VlDataLock, OutlivesItsThreadAndGoesWhereverTheAccessGoes) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  for (const bool write : {false, true}) {
    NmHandle<VlDataAccess> access;
    onAnotherThread([&] { access = volume->lock(write); });
    std::thread writer([&] { EXPECT_TRUE(volume->lock(true)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    access = nullptr;
    writer.join();
  }
}

TEST(VlDataLock, AReaderReadsOnWhileAWriterWaits) {
  const NmHandle<VlMemoryData> volume = smallVolume();
  NmHandle<VlDataAccess> first = volume->lock(false);
  std::thread writer([&] { EXPECT_TRUE(volume->lock(true)); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_TRUE(volume->lock(false));
  onAnotherThread([&] { EXPECT_TRUE(volume->lock(false)); });
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
  EXPECT_EQ(valuesOf(*volume)[0], 2.0f * rounds);
}

TEST(VlDataLock, GoesBackWhenNoAccessOpens) {
  LogCapture log;
  const NmHandle<FailingVolume> volume = new FailingVolume(smallVolume());
  volume->instead = []() -> NmHandle<VlDataAccess> { throw std::runtime_error("openAccess"); };
  EXPECT_THROW(volume->lock(true), std::runtime_error);
  EXPECT_THROW(volume->tryLock(false), std::runtime_error);
  volume->instead = [] { return nullptr; };
  EXPECT_FALSE(volume->lock(true));
  EXPECT_FALSE(volume->tryLock(true));
  EXPECT_EQ(log.errors.size(), 1U);
  volume->instead = nullptr;
  onAnotherThread([&] { EXPECT_TRUE(volume->tryLock(true)); });
}

TEST(VlDataLock, OneAccessCarriesTheLocksOfAllItsVolumesAndKeepsThemAlive) {
  NmHandle<VlMemoryData> inner = smallVolume();
  NmHandle<VlData> outer = new WrappedVolume(new WrappedVolume(inner));
  NmHandle<VlDataAccess> access = outer->lock(true);
  onAnotherThread([&] {
    EXPECT_FALSE(inner->tryLock(false));
    EXPECT_FALSE(outer->tryLock(false));
  });
  access = nullptr;
  EXPECT_TRUE(isUnlocked(outer));
  EXPECT_TRUE(isUnlocked(inner));
  access = outer->lock(true);
  inner = nullptr;
  outer = nullptr;
  static_cast<int*>(access->dataPtr(0))[7] = 5;
  float line[2];
  EXPECT_TRUE(access->row(-1, 1, 1, line).isOk());
  EXPECT_EQ(line[1], 5.0f);
}

TEST(VlDataLock, LeavesAVolumeWithoutHandlesToTheHost) {
  CountedVolume volume;
  const auto useIt = [&] {
    float min, max;
    for (int i = 0; i < 500; ++i) {
      EXPECT_TRUE(volume.lock(i % 7 == 0));
      volume.tryLock(true);
      EXPECT_TRUE(volume.range(min, max, true).isOk());
      EXPECT_TRUE(volume.createEvaluator(VlData::NearestNeighbour));
      EXPECT_TRUE(volume.createEvaluatorLanczos());
    }
  };
  std::thread thread(useIt);
  useIt();
  thread.join();
  EXPECT_EQ(CountedVolume::alive, 1);
  EXPECT_EQ(volume.refCount(), 0);
}

TEST(VlDataLock, KeepsAVolumeAliveOnceHandlesHaveCome) {
  CountedVolume* const volume = new CountedVolume;
  NmHandle<VlDataAccess> first = volume->lock(false);
  NmHandle<VlData> handle = volume;
  NmHandle<VlDataAccess> second = volume->lock(false);
  first = nullptr;
  EXPECT_EQ(volume->refCount(), 2);
  handle = nullptr;
  ASSERT_EQ(CountedVolume::alive, 1);
  handle = volume;  // from what the access keeps
  onAnotherThread([&] { handle = nullptr; });
  ASSERT_EQ(CountedVolume::alive, 1);
  second = nullptr;
  EXPECT_EQ(CountedVolume::alive, 0);
}

TEST(VlDataLock, NothingStaysLockedWhenMemoryIsExhausted) {
  const NmHandle<VlData> volume = new WrappedVolume(smallVolume());
  volume->lock(false);  // keeps the room in which it notes its readers
  const auto expectUnlockedAfter = [&](auto operation) {
    failEachAllocation(operation, [&](bool, bool) { EXPECT_TRUE(isUnlocked(volume)); });
  };
  float min, max;
  expectUnlockedAfter([&] { volume->lock(false); });
  expectUnlockedAfter([&] { volume->range(min, max, true); });
  expectUnlockedAfter([&] { volume->createEvaluatorLanczos(); });
}

template <class T>
void expectRange(int type, std::vector<T> voxels, float low, float high) {
  const NmVec3l dims(static_cast<long>(voxels.size()) / 2, 1, 1);
  const NmHandle<VlData> volume = wrapVolume(dims, type, 2, voxels.data());
  for (const NmHandle<VlData>& form : {volume, NmHandle<VlData>(new RowVolume(volume))}) {
    float min = 7.0f, max = 7.0f;
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
  for (unsigned long place = 0; place < 10; ++place) {
    std::vector<float> voxels(10, NAN);
    voxels[place] = -2.5f;
    expectRange<float>(3, voxels, -2.5f, -2.5f);
    expectRange<double>(4, std::vector<double>(voxels.begin(), voxels.end()), -2.5f, -2.5f);
  }
  expectRange<float>(3, {INFINITY, INFINITY}, INFINITY, INFINITY);
  expectRange<float>(3, {NAN, 3.0f, -INFINITY, 1.0f}, -INFINITY, 3.0f);
}

TEST(VlDataRange, FollowsEveryWriteAndFailsWhereThereIsNoNumber) {
  LogCapture log;
  double voxels[3] = {};
  const NmHandle<VlData> volume = wrapVolume({3, 1, 1}, NmPrimType::Double, 1, voxels);
  float min, max;
  for (const double value : {4.0, 7.0, -3.0}) {
    static_cast<double*>(volume->lock(true)->dataPtr(0))[1] = value;
    EXPECT_TRUE(volume->range(min, max, false).isOk());
    EXPECT_EQ(min + max, value);
  }
  EXPECT_TRUE(log.errors.empty());
  for (double& voxel : voxels) voxel = std::nan("");
  for (const NmHandle<VlData>& form : {volume, NmHandle<VlData>(new RowVolume(volume))}) {
    EXPECT_FALSE(form->range(min, max, true).isOk());
    EXPECT_EQ(log.error().rfind("VlData::range:", 0), 0U);
    EXPECT_TRUE(min == 0.0f && max == 0.0f);
  }
}

TEST(VlDataEvaluator, NeedsOneBlockAndAKnownFilter) {
  const std::pair<NmHandle<VlData>, int> cases[] = {{new RowVolume(smallVolume()), 1},
                                                    {smallVolume(), 2}};
  for (const auto& [volume, filter] : cases) {
    LogCapture log;
    EXPECT_FALSE(volume->createEvaluator(static_cast<VlData::EvaluatorFilter>(filter)));
    EXPECT_EQ(log.error().rfind("VlData::createEvaluator:", 0), 0U);
    EXPECT_TRUE(isUnlocked(volume));
  }
}

}  // namespace
