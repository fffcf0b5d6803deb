#include "files/voxelFormat.h"

#include <nifti1.h>

#include <cstdint>
#include <cstring>

#include "files/voxelTypes.h"

namespace host {

namespace {

template <class Stored>
Stored storedValue(const void* stored, long i) {
  Stored value;
  std::memcpy(&value, static_cast<const char*>(stored) + static_cast<std::size_t>(i) * sizeof value,
              sizeof value);
  return value;
}

template <class Stored, class Voxel>
void convertPlain(const void* stored, long n, const ValueScale& /*scale*/, void* voxels,
                  const voxreg::MemoryLine& line) {
  Voxel* const first = static_cast<Voxel*>(voxels) + line.start;
  for (long i = 0; i < n; ++i)
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): signed bytes are intended
    first[i * line.stride] = static_cast<Voxel>(storedValue<Stored>(stored, i));
}

template <class Stored, class Voxel>
void convertScaled(const void* stored, long n, const ValueScale& scale, void* voxels,
                   const voxreg::MemoryLine& line) {
  Voxel* const first = static_cast<Voxel*>(voxels) + line.start;
  for (long i = 0; i < n; ++i) {
    const double value = static_cast<double>(storedValue<Stored>(stored, i));
    first[i * line.stride] = static_cast<Voxel>(value * scale.slope + scale.intercept);
  }
}

template <class Stored, class Voxel>
void storePlain(const void* voxels, const voxreg::MemoryLine& line, long n, void* stored) {
  const Voxel* const first = static_cast<const Voxel*>(voxels) + line.start;
  for (long i = 0; i < n; ++i) {
    const Voxel voxel = first[i * line.stride];
    Stored value;
    if constexpr (std::is_same_v<Stored, Voxel>)
      value = voxel;
    else
      value = asVoxel<Stored>(static_cast<double>(voxel));
    std::memcpy(static_cast<char*>(stored) + static_cast<std::size_t>(i) * sizeof value, &value,
                sizeof value);
  }
}

template <class T>
constexpr NmPrimType::Value primType() {
  if constexpr (std::is_same_v<T, unsigned char>) return NmPrimType::UnsignedChar;
  if constexpr (std::is_same_v<T, short>) return NmPrimType::Short;
  if constexpr (std::is_same_v<T, int>) return NmPrimType::Int;
  if constexpr (std::is_same_v<T, float>) return NmPrimType::Float;
  if constexpr (std::is_same_v<T, double>) return NmPrimType::Double;
  if constexpr (std::is_same_v<T, unsigned short>) return NmPrimType::UnsignedShort;
}

template <class Stored, class Plain, class Scaled>
constexpr VoxelFormat format(int niftiType) {
  return {niftiType,
          sizeof(Stored),
          primType<Plain>(),
          primType<Scaled>(),
          convertPlain<Stored, Plain>,
          convertScaled<Stored, Scaled>,
          storePlain<Stored, Plain>};
}

// A float holds scaled 16-bit values; scaled 32-bit values need a double.
constexpr VoxelFormat formats[] = {
    format<std::uint8_t, unsigned char, float>(DT_UINT8),
    format<std::int8_t, short, float>(DT_INT8),
    format<std::int16_t, short, float>(DT_INT16),
    format<std::uint16_t, unsigned short, float>(DT_UINT16),
    format<std::int32_t, int, double>(DT_INT32),
    format<std::uint32_t, double, double>(DT_UINT32),
    format<std::int64_t, double, double>(DT_INT64),
    format<std::uint64_t, double, double>(DT_UINT64),
    format<float, float, float>(DT_FLOAT32),
    format<double, double, double>(DT_FLOAT64),
};

}  // namespace

const VoxelFormat* VoxelFormat::find(int niftiType) {
  for (const VoxelFormat& candidate : formats)
    if (candidate.niftiType == niftiType) return &candidate;
  return nullptr;
}

int niftiTypeOf(NmPrimType type) {
  switch (static_cast<int>(type)) {
    case NmPrimType::UnsignedChar:
      return DT_UINT8;
    case NmPrimType::Short:
      return DT_INT16;
    case NmPrimType::Int:
      return DT_INT32;
    case NmPrimType::UnsignedShort:
      return DT_UINT16;
    case NmPrimType::Double:
      return DT_FLOAT64;
    default:
      return DT_FLOAT32;
  }
}

}  // namespace host
