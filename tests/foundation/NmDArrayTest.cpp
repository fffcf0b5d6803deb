#include "foundation/NmDArray.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "foundation/NmDVector.h"
#include "foundation/NmHandableThreaded.h"
#include "foundation/NmHandle.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"

namespace {

constexpr long hugeCount = std::numeric_limits<long>::max() - 1;

class Counted : public NmHandableThreaded {};

std::vector<int> contents(const NmDArray<int>& array) {
  return {array.data, array.data + array.size};
}

NmDArray<int> numbers(int n) {
  NmDArray<int> array;
  for (int i = 0; i < n; ++i) array.insert(array.size, 1, &i);
  return array;
}

TEST(NmDArray, DefaultOwnsNothing) {
  const NmDArray<int> array;
  EXPECT_EQ(array.size, 0);
  EXPECT_EQ(array.max, 0);
  EXPECT_EQ(array.data, nullptr);
}

TEST(NmDArray, ResizeGrowsByHalfThePresentSize) {
  NmDArray<double> array;
  array.remax(10, 10);
  EXPECT_EQ(array.resize(11), 11);
  EXPECT_EQ(array.max, 15);
  array.remax(10, 10);
  EXPECT_EQ(array.resize(40), 40);
  EXPECT_EQ(array.max, 40);
  EXPECT_EQ(array.resize(3), 3);
  EXPECT_EQ(array.max, 40);
  array.resize(41);  // trunc(1.5 * 3) is below 41
  EXPECT_EQ(array.max, 41);
  EXPECT_EQ(array.resize(-5), 0);
  EXPECT_EQ(array.max, 41);
}

TEST(NmDArray, InsertGrowsByTheSameRule) {
  NmDArray<int> array;
  const int value = 7;
  std::vector<long> capacities;
  for (int i = 0; i < 8; ++i) {
    array.insert(array.size, 1, &value);
    capacities.push_back(array.max);
  }
  EXPECT_EQ(capacities, (std::vector<long>{1, 2, 3, 4, 6, 6, 9, 9}));
}

TEST(NmDArray, RemaxSettlesCapacityAndSize) {
  NmDArray<int> array = numbers(5);
  array.remax(5, -1);
  EXPECT_EQ(array.remax(-1, -1), 0);
  EXPECT_EQ(array.remax(3, 8), -3);  // the size wins over a smaller capacity
  EXPECT_EQ(array.size, 8);
  EXPECT_EQ(array.remax(-1, 2), 0);
  EXPECT_EQ(array.max, 8);
  EXPECT_EQ(contents(array), (std::vector<int>{0, 1}));
  EXPECT_EQ(array.remax(0, 0), 8);
  EXPECT_EQ(array.data, nullptr);
  EXPECT_EQ(array.remax(4, 0), -4);
  EXPECT_NE(array.data, nullptr);
}

TEST(NmDArray, ClearKeepsTheBlock) {
  NmDArray<int> array = numbers(5);
  const int* const block = array.data;
  const long capacity = array.max;
  array.clear();
  EXPECT_EQ(array.size, 0);
  EXPECT_EQ(array.max, capacity);
  EXPECT_EQ(array.data, block);
}

// Every place, every part of the array itself, with and without room for it.
TEST(NmDArray, InsertsItsOwnElementsAsTheyStood) {
  for (const long room : {4L, 20L})
    for (long pos = 0; pos <= 4; ++pos)
      for (long first = 0; first < 4; ++first)
        for (long n = 1; first + n <= 4; ++n) {
          NmDArray<int> array = numbers(4);
          array.remax(room, 4);
          std::vector<int> expected = contents(array);
          const std::vector<int> part(expected.begin() + first, expected.begin() + first + n);
          expected.insert(expected.begin() + pos, part.begin(), part.end());
          array.insert(pos, n, array.data + first);
          EXPECT_EQ(contents(array), expected) << room << " " << pos << " " << first << " " << n;
        }
}

TEST(NmDArray, RefusesBadArguments) {
  LogCapture log;
  NmDArray<int> array = numbers(3);
  const std::vector<int> before = contents(array);
  const int value = 9;
  array.insert(4, 1, &value);
  EXPECT_EQ(log.error().rfind("NmDArray::insert:", 0), 0U);
  array.insert(-1, 1, &value);
  EXPECT_NE(log.error(), "0 error lines");
  array.insert(0, -1, &value);
  EXPECT_NE(log.error(), "0 error lines");
  array.insert(0, 2, array.data + 2);  // reads beyond the end
  EXPECT_NE(log.error(), "0 error lines");
  array.insertMemory(4, 1);
  EXPECT_EQ(log.error().rfind("NmDArray::insertMemory:", 0), 0U);
  array.insertMemory(0, -1);
  EXPECT_NE(log.error(), "0 error lines");
  array.insert(99, 0, nullptr);
  EXPECT_TRUE(log.errors.empty());
  EXPECT_EQ(contents(array), before);
}

TEST(NmDArray, OverflowLeavesTheArrayUnchanged) {
  NmDArray<double> array;
  const double value = 2.5;
  array.insert(0, 1, &value);
  EXPECT_THROW(array.resize(hugeCount), NmMemoryException);
  EXPECT_THROW(array.remax(hugeCount, 0), NmMemoryException);
  EXPECT_THROW(array.insertMemory(0, hugeCount + 1), NmMemoryException);
  EXPECT_THROW(array.remax(hugeCount / 16, 0), NmMemoryException);
  ASSERT_EQ(array.size, 1);
  EXPECT_EQ(array.max, 1);
  EXPECT_EQ(array[0], value);
}

TEST(NmDArray, CopiesAndMoves) {
  const NmDArray<int> source = numbers(4);
  NmDArray<int> copy = source;
  EXPECT_EQ(contents(copy), contents(source));
  copy = *&copy;
  EXPECT_EQ(copy.size, 4);
  const int* const block = copy.data;
  NmDArray<int> moved = std::move(copy);
  EXPECT_EQ(moved.data, block);
  copy = source;
  copy = std::move(moved);
  EXPECT_EQ(copy.data, block);
  EXPECT_EQ(copy.size, 4);
}

TEST(NmDArray, CountsReferencesOfHandles) {
  const NmHandle<Counted> object = new Counted;
  NmDArray<NmHandle<Counted>> array;
  array.insert(0, 1, &object);
  EXPECT_EQ(object->refCount(), 2);
  array.resize(100);
  EXPECT_EQ(object->refCount(), 2);
  EXPECT_EQ(array[99].get(), nullptr);
  array.insertMemory(0, 3);
  EXPECT_EQ(object->refCount(), 2);
  EXPECT_EQ(array[0].get(), nullptr);
  EXPECT_EQ(array[3].get(), object.get());
  array.insert(1, 2, array.data + 3);
  EXPECT_EQ(object->refCount(), 3);
  NmDArray<NmHandle<Counted>> copy = array;
  EXPECT_EQ(object->refCount(), 5);
  copy.resize(2);
  EXPECT_EQ(object->refCount(), 4);
  copy.clear();
  array.remax(300, 1);
  EXPECT_EQ(object->refCount(), 1);
}

TEST(NmDArray, NestedArraysKeepTheirBlocks) {
  NmDArray<NmDArray<float>> lists;
  lists.resize(2);
  EXPECT_EQ(lists[1].data, nullptr);
  lists[0].resize(3);
  lists[0][2] = 5.0f;
  const float* const block = lists[0].data;
  lists.resize(20);
  lists.insertMemory(0, 1);
  EXPECT_EQ(lists[0].data, nullptr);
  EXPECT_EQ(lists[1].data, block);
  lists.insert(0, 2, lists.data + 1);
  EXPECT_NE(lists[0].data, block);
  EXPECT_EQ(lists[0][2], 5.0f);
  lists.resize(1);
  EXPECT_EQ(lists[0].size, 3);
}

TEST(NmDArray, RebuildsParameterVectors) {
  NmDArray<NmDVector<double>> vectors;
  vectors.resize(1);
  vectors[0].remax(50, 2);
  vectors[0][0] = 1.0;
  vectors[0][1] = 2.0;
  vectors.resize(9);
  EXPECT_EQ(vectors[0].max, 2);  // a fresh array that takes two elements
  EXPECT_EQ(vectors[0][1], 2.0);
  EXPECT_EQ(vectors[8].data, nullptr);
  vectors.insert(0, 1, vectors.data);
  EXPECT_EQ(vectors[0][1], 2.0);
  EXPECT_NE(vectors[0].data, vectors[1].data);
}

// Two vectors of two elements, more room wanted: the k-th allocation fails for every k.
TEST(NmDArray, StaysWholeWhereverAnAllocationFails) {
  if (!FailingAllocation::isServed()) GTEST_SKIP();
  for (long k = 1;; ++k) {
    NmDArray<NmDVector<double>> vectors;
    vectors.resize(3);
    for (long i = 0; i < 3; ++i) {
      vectors[i].resize(2);
      vectors[i][1] = static_cast<double>(i);
    }
    const FailingAllocation failure(k);
    try {
      if (k % 2 == 0)
        vectors.remax(40, 2);
      else
        vectors.insert(1, 2, vectors.data);
    } catch (const NmMemoryException&) {
      ASSERT_EQ(vectors.size, 3) << k;
      for (long i = 0; i < 3; ++i) EXPECT_EQ(vectors[i][1], static_cast<double>(i)) << k;
      continue;
    }
    EXPECT_FALSE(failure.hasFailed());
    if (k > 6) break;
  }
}

}  // namespace
