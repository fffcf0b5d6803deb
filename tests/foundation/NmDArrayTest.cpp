#include "foundation/NmDArray.h"

#include <limits>
#include <vector>

#include "foundation/NmDVector.h"
#include "foundation/NmHandableThreaded.h"
#include "foundation/NmHandle.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/LogCapture.h"

namespace {

class Counted : public NmHandableThreaded {};

std::vector<int> contents(const NmDArray<int>& array) {
  return {array.data, array.data + array.size};
}

NmDArray<int> numbers(int n) {
  NmDArray<int> array;
  for (int i = 0; i < n; ++i) array.insert(array.size, 1, &i);
  return array;
}

TEST(NmDArray, GrowsByHalfThePresentSize) {
  NmDArray<double> array;
  const long steps[][3] = {{10, 11, 15}, {10, 40, 40}, {3, 41, 41}};  // size, new size, capacity
  for (const auto& [size, n, capacity] : steps) {
    array.remax(size, size);
    EXPECT_EQ(array.resize(n), n);
    EXPECT_EQ(array.max, capacity);
  }
  EXPECT_EQ(array.resize(-5), 0);
  EXPECT_EQ(array.max, 41);
  std::vector<long> capacities;
  for (int i = 1; i <= 8; ++i) capacities.push_back(numbers(i).max);
  EXPECT_EQ(capacities, (std::vector<long>{1, 2, 3, 4, 6, 6, 9, 9}));
}

TEST(NmDArray, RemaxSettlesCapacityAndSize) {
  NmDArray<int> array = numbers(5);
  array.remax(5, -1);
  EXPECT_EQ(array.remax(-1, -1), 0);
  EXPECT_EQ(array.remax(3, 8), -3);  // the size wins over a smaller capacity
  EXPECT_EQ(array.size, 8);
  EXPECT_EQ(array.remax(-1, 2), 0);
  EXPECT_EQ(contents(array), (std::vector<int>{0, 1}));
  const int* const block = array.data;
  array.clear();
  EXPECT_EQ(array.size, 0);
  EXPECT_EQ(array.max, 8);
  EXPECT_EQ(array.data, block);
  EXPECT_EQ(array.remax(0, 0), 8);
  EXPECT_EQ(array.data, nullptr);
}

// Every position, every part of the array itself, with and without room for it.
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
  const int value = 9;
  const auto refused = [&](long pos, long n, const int* src) {
    array.insert(pos, n, src);
    EXPECT_EQ(log.error().rfind("NmDArray::insert:", 0), 0U) << pos << " " << n;
  };
  refused(4, 1, &value);
  refused(-1, 1, &value);
  refused(0, -1, &value);
  refused(0, 2, array.data + 2);  // reads beyond the end
  for (const long n : {1, -1}) {
    array.insertMemory(n * 4, n);
    EXPECT_EQ(log.error().rfind("NmDArray::insertMemory:", 0), 0U);
  }
  array.insert(99, 0, nullptr);
  EXPECT_TRUE(log.errors.empty());
  EXPECT_EQ(contents(array), (std::vector<int>{0, 1, 2}));
}

TEST(NmDArray, OverflowLeavesTheArrayUnchanged) {
  constexpr long hugeCount = std::numeric_limits<long>::max() - 1;
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
  NmDArray<int> copy = numbers(4), moved = std::move(copy = *&copy);
  const int* const block = moved.data;
  copy = moved;
  EXPECT_EQ(contents(copy), contents(moved));
  copy = std::move(moved);
  EXPECT_EQ(copy.data, block);
  EXPECT_EQ(copy.size, 4);
}

TEST(NmDArray, CountsReferencesOfHandles) {
  const NmHandle<Counted> object = new Counted;
  NmDArray<NmHandle<Counted>> array;
  array.insert(0, 1, &object);
  array.resize(100);
  array.insertMemory(0, 3);
  EXPECT_EQ(object->refCount(), 2);
  EXPECT_EQ(array[102].get(), nullptr);
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

TEST(NmDArray, RebuildsParameterVectors) {
  NmDArray<NmDVector<double>> vectors;
  vectors.resize(1);
  vectors[0].remax(50, 2);
  vectors[0][1] = 2.0;
  vectors.resize(9);
  EXPECT_EQ(vectors[0].max, 2);  // a fresh array that takes two elements
  EXPECT_EQ(vectors[8].data, nullptr);
  vectors.insert(0, 1, vectors.data);
  EXPECT_EQ(vectors[0][1], 2.0);
  EXPECT_NE(vectors[0].data, vectors[1].data);
}

// Vectors of two elements, more room wanted.
TEST(NmDArray, StaysWholeWhereverAnAllocationFails) {
  NmDArray<NmDVector<double>> original;
  original.resize(3);
  for (long i = 0; i < 3; ++i) {
    original[i].resize(2);
    original[i][1] = static_cast<double>(i);
  }
  for (const bool inserts : {false, true}) {
    NmDArray<NmDVector<double>> vectors = original;
    failEachAllocation(
        [&] {
          if (inserts)
            vectors.insert(1, 2, vectors.data);
          else
            vectors.remax(40, 2);
        },
        [&](bool hasFailed, bool threw) {
          EXPECT_EQ(threw, hasFailed);
          EXPECT_EQ(vectors.size, hasFailed ? 3 : inserts ? 5 : 2);
          for (long i = 0; hasFailed && i < 3; ++i)
            EXPECT_EQ(vectors[i][1], static_cast<double>(i));
          vectors = NmDArray<NmDVector<double>>(original);
        });
  }
}

}  // namespace
