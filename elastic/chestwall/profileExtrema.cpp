#include "elastic/chestwall/profileExtrema.h"

#include <algorithm>
#include <cstdint>

#include "foundation/NmLogFile.h"

namespace voxreg::detail {
namespace {

/// Empirical distance of the chest wall behind the first maximum, world units.
constexpr float usualDistance = 25.0f;

using Extrema = NmDArray<NmVec2f>;
enum class Kind { minimum, maximum };

int compare1(const NmVec2f& a, const NmVec2f& b) {
  return a.x < b.x ? -1 : a.x > b.x ? 1 : 0;
}

int compare2(const NmVec2f& a, const NmVec2f& b) {
  return a.y < b.y ? -1 : a.y > b.y ? 1 : 0;
}

// Each order uses the other to break ties, so that the result is the same on every platform.
void sortByPosition(Extrema& list) {
  std::sort(list.data, list.data + list.size, [](const NmVec2f& a, const NmVec2f& b) {
    const int order = compare1(a, b);
    return order != 0 ? order < 0 : compare2(a, b) < 0;
  });
}

void sortByValue(Extrema& list) {
  std::sort(list.data, list.data + list.size, [](const NmVec2f& a, const NmVec2f& b) {
    const int order = compare2(a, b);
    return order != 0 ? order < 0 : compare1(a, b) < 0;
  });
}

void removeLeading(Extrema& list, std::int64_t count) {
  std::copy(list.data + count, list.data + list.size, list.data);
  list.resize(list.size - count);
}

void removeTrailingMaxima(const Extrema& minima, Extrema& maxima, int rank) {
  if (minima.size < rank) return;
  const float limit = minima[minima.size - rank].x;
  while (maxima.size >= 2 * rank && maxima[maxima.size - rank].x > limit)
    maxima.resize(maxima.size - 1);
}

void removeTrailingMinima(const Extrema& maxima, Extrema& minima) {
  if (minima.size <= 2 || maxima.size <= 1) return;
  const float limit = maxima[maxima.size - 1].x;
  while (minima.size > 2 && minima[minima.size - 2].x > limit) minima.resize(minima.size - 1);
}

/// True if no value within `width` indices on either side is more extreme than that at `place`. A
/// side ends early at a value that falls back by more than the tolerance. NaN is no extremum.
bool isExtremum(const ProfileSection& section, std::int64_t place, int width, Kind kind) {
  const float sign = kind == Kind::minimum ? 1.0f : -1.0f;
  const float value = sign * section.values[place];
  if (!(value == value)) return false;
  const std::int64_t limits[2] = {std::max({section.skin, place - width, std::int64_t{0}}),
                                  std::min({section.end, place + width, section.size - 1})};
  for (int side = 0; side < 2; ++side) {
    const std::int64_t step = side == 0 ? -1 : 1;
    for (std::int64_t i = place + step; (limits[side] - i) * step >= 0; i += step) {
      const float neighbour = sign * section.values[i];
      if (neighbour < value) return false;
      if (neighbour - value > section.tolerance) break;
    }
  }
  return true;
}

void listExtrema(const ProfileSection& section, int width, Kind kind, Extrema& list) {
  list.clear();
  const std::int64_t last = std::min(section.stop, section.size - 1);
  for (std::int64_t place = section.skin + 1; place <= last && section.skin < section.stop;
       ++place) {
    if (!isExtremum(section, place, width, kind)) continue;
    const NmVec2f extremum(section.position(place), section.values[place]);
    list.insert(list.size, 1, &extremum);
  }
}

/// Removes the lowest of more than three maxima while even the next one is three times as high
/// (empirical).
void removeFaintMaxima(Extrema& maxima) {
  if (maxima.size <= 3) return;
  sortByValue(maxima);
  std::int64_t count = 0;
  while (maxima.size - count > 2 && 0.333f * maxima[count + 1].y > maxima[count].y) ++count;
  removeLeading(maxima, count);
  sortByPosition(maxima);
}

/// Makes the sequence begin with a maximum and removes the maxima without information.
void tidy(ProfileExtrema& extrema) {
  Extrema& minima = extrema.minima;
  if (minima.size == 0 || extrema.maxima.size == 0) return;
  std::int64_t count = 0;
  while (count < minima.size && extrema.maxima[0].x >= minima[count].x) ++count;
  removeLeading(minima, count);
  removeTrailingMaxima(minima, extrema.maxima, 1);
  removeFaintMaxima(extrema.maxima);
}

/// Widens the neighbourhood if a list is too long, up to 4 world units (empirical).
bool widen(int& width, const Extrema& list, float voxelSize) {
  if (width >= 6 || list.size <= 3 || !(static_cast<float>(width + 1) * voxelSize < 4.0f))
    return false;
  ++width;
  return true;
}

void logExtrema(const char* title, const Extrema& list) {
  if (list.size == 0) return;
  getTheLogInstance().printf("%s", title);
  for (std::int64_t i = 0; i < list.size; ++i)
    getTheLogInstance().printf("  %.1f at %.1f", static_cast<double>(list[i].y),
                               static_cast<double>(list[i].x));
}

/// Removes the lowest maxima, down to three, that are below half of the highest one (empirical).
/// The first maximum by position is kept, and so are all that are at least as high.
void removeLowMaxima(Extrema& maxima) {
  const float first = maxima[0].y;
  sortByValue(maxima);
  const float half = 0.5f * maxima[maxima.size - 1].y;
  std::int64_t count = 0;
  while (maxima.size - count > 3 && half > maxima[count].y && first > maxima[count].y) ++count;
  removeLeading(maxima, count);
  sortByPosition(maxima);
}

/// Distance of the chest wall behind the first maximum if both kinds occur. The limits are
/// empirical.
float wallDistance(ProfileExtrema& extrema) {
  Extrema& minima = extrema.minima;
  Extrema& maxima = extrema.maxima;
  const float first = maxima[0].x;
  if (minima.size >= 4 && maxima.size == 3) {
    if (!(maxima[1].x - first < 30.0f) || maxima[2].x - maxima[1].x >= 25.0f) return usualDistance;
  } else if (minima.size >= 4 && maxima.size > 3) {
    removeLowMaxima(maxima);
    if (maxima.size > 3) return usualDistance;
    removeTrailingMinima(maxima, minima);
  }
  return minima[minima.size - 1].x - first;
}

}  // namespace

ProfileExtrema findExtrema(const ProfileSection& section) {
  ProfileExtrema extrema;
  int widthMin = 4;
  int widthMax = 4;
  for (bool isWidened = true; isWidened;) {
    listExtrema(section, widthMin, Kind::minimum, extrema.minima);
    listExtrema(section, widthMax, Kind::maximum, extrema.maxima);
    tidy(extrema);
    isWidened = widen(widthMin, extrema.minima, section.voxelSize);
    isWidened = widen(widthMax, extrema.maxima, section.voxelSize) || isWidened;
  }
  if (widthMin > 4 || widthMax > 4) getTheLogInstance().printf("widths %d %d", widthMin, widthMax);
  removeTrailingMinima(extrema.maxima, extrema.minima);
  removeTrailingMaxima(extrema.minima, extrema.maxima, 2);
  logExtrema("minima:", extrema.minima);
  logExtrema("maxima:", extrema.maxima);
  return extrema;
}

bool findChestWall(const ProfileSection& section, ProfileExtrema& extrema, float& chestWall) {
  if (extrema.maxima.size == 0) {
    if (section.skin <= 0) return false;
    chestWall =
        section.origin + section.voxelSize * static_cast<float>(section.skin + 2) + usualDistance;
    return true;
  }
  const float first = extrema.maxima[0].x;
  float distance = usualDistance;
  if (extrema.minima.size > 0) {
    distance = wallDistance(extrema);
    if (!(distance >= 10.0f && distance <= 50.0f)) distance = usualDistance;
  }
  chestWall = first + distance;
  return true;
}

}  // namespace voxreg::detail
