#include "foundation/NmRawData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/support/LogCapture.h"

namespace {

template <class T>
struct Block {
  long nx, ny, nz;
  std::vector<T> voxels;
  T at(long x, long y, long z) const {
    return voxels[static_cast<unsigned long>(x + nx * (y + ny * z))];
  }
};

template <class T>
T naiveMean(const Block<T>& source, const long from[3], const int factors[3]) {
  double sum = 0.0;
  int count = 0;
  for (long z = from[2]; z < from[2] + factors[2] && z < source.nz; ++z)
    for (long y = from[1]; y < from[1] + factors[1] && y < source.ny; ++y)
      for (long x = from[0]; x < from[0] + factors[0] && x < source.nx; ++x, ++count)
        sum += static_cast<double>(source.at(x, y, z));
  const double mean = sum / count;
  return static_cast<T>(std::is_integral_v<T> ? std::nearbyint(mean) : mean);
}

template <class T>
std::vector<T> naiveDownSample(const Block<T>& source, int fx, int fy, int fz) {
  const int factors[3] = {fx, fy, fz};
  std::vector<T> result;
  for (long z = 0; z < source.nz; z += fz)
    for (long y = 0; y < source.ny; y += fy)
      for (long x = 0; x < source.nx; x += fx) {
        const long from[3] = {x, y, z};
        result.push_back(naiveMean(source, from, factors));
      }
  return result;
}

struct Shape {
  long dims[3];
  std::vector<std::vector<int>> factors;
};

template <class T>
void compare(NmPrimType type, double low, double high) {
  // Cells of few voxels, runs of many cells, and cells of more voxels than small sums hold.
  const Shape shapes[] = {
      {{7, 6, 5}, {{1, 1, 1}, {2, 2, 2}, {3, 1, 2}, {4, 5, 3}, {100, 100, 100}}},
      {{1403, 2, 1}, {{2, 2, 1}, {10, 1, 1}, {700, 2, 1}}},
      {{1, 300, 200}, {{1, 300, 200}}}};
  std::mt19937 random(5);
  std::uniform_real_distribution<double> value(low, high);
  for (const Shape& shape : shapes) {
    const auto& dims = shape.dims;
    Block<T> source = {dims[0], dims[1], dims[2], {}};
    for (long i = 0; i < dims[0] * dims[1] * dims[2]; ++i)
      source.voxels.push_back(static_cast<T>(value(random)));
    const auto size = [&](int axis) { return static_cast<unsigned long>(dims[axis]); };
    for (const std::vector<int>& f : shape.factors) {
      const std::vector<T> expected = naiveDownSample(source, f[0], f[1], f[2]);
      std::vector<T> result(expected.size());
      NmRawData::downSample3D(result.data(), {source.voxels.data(), type}, size(0), size(1),
                              size(2), f[0], f[1], f[2], nullptr);
      EXPECT_EQ(result, expected) << "type " << type << " by " << f[0] << f[1] << f[2];
    }
  }
}

TEST(NmRawData, AveragesCellsOfEveryType) {
  compare<unsigned char>(NmPrimType::UnsignedChar, 0.0, 255.0);
  compare<short>(NmPrimType::Short, -32768.0, 32767.0);
  compare<int>(NmPrimType::Int, -2147483648.0, 2147483647.0);
  compare<float>(NmPrimType::Float, -1.0, 1.0);
  compare<double>(NmPrimType::Double, -1.0e300, 1.0e300);
  compare<unsigned short>(NmPrimType::UnsignedShort, 30000.0, 65535.0);
}

TEST(NmRawData, RoundsTiesToEven) {
  const short source[] = {0, 1, 1, 2, -1, 0, -2, -1};
  short result[4];
  NmRawData::downSample3D(result, {const_cast<short*>(source), NmPrimType::Short}, 8, 1, 1, 2, 1, 1,
                          nullptr);
  EXPECT_EQ(std::vector<short>(result, result + 4), (std::vector<short>{0, 2, 0, -2}));
}

class StopAt : public NmProgressInterface {
 public:
  explicit StopAt(int value) : stop_(value) {}
  void startWorking(int, const std::string&) override {}
  void stopWorking() override {}
  void setProgressValue(int value) override { last = value; }
  bool wasInterrupted() override { return last >= stop_; }
  int last = 0;

 private:
  int stop_;
};

TEST(NmRawData, StopsBetweenSlices) {
  unsigned char source[] = {10, 20, 30};
  unsigned char result[] = {1, 1, 1};
  StopAt progress(2);
  NmRawData::downSample3D(result, {source, NmPrimType::UnsignedChar}, 1, 1, 3, 1, 1, 1, &progress);
  EXPECT_EQ(result[0], 10);
  EXPECT_EQ(result[1], 1);
  EXPECT_EQ(progress.last, 2);
}

TEST(NmRawData, RefusesWhatItDoesNotServe) {
  LogCapture log;
  unsigned char source[] = {10};
  unsigned char result[] = {1};
  NmRawData::downSample3D(result, {source, 8}, 1, 1, 1, 1, 1, 1, nullptr);
  EXPECT_EQ(log.error().rfind("downSample3D:", 0), 0U);
  NmRawData::downSample3D(result, {source, 0}, 1, 1, 1, 1, 0, 1, nullptr);
  EXPECT_EQ(log.error().rfind("downSample3D:", 0), 0U);
  NmRawData::downSample3D(nullptr, {source, 0}, 1, 1, 1, 1, 1, 1, nullptr);
  NmRawData::downSample3D(result, {nullptr, 0}, 1, 1, 1, 1, 1, 1, nullptr);
  EXPECT_EQ(log.errors.size(), 2U);
  EXPECT_EQ(result[0], 1);
}

}  // namespace
