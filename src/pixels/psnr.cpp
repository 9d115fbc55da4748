// Peak signal-to-noise ratio between two short planar 4:2:0 pictures, for
// judging an encoder's reconstruction against its input.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "pixels/psnr.h"

namespace mp4lib::pixels {

namespace {

// Squared differences added in a 32-bit accumulator that wraps.
std::uint32_t squaredError(const std::int16_t* a, const std::int16_t* b, std::int64_t count, std::uint32_t sum) {
  for (std::int64_t i = 0; i < count; ++i) {
    const auto difference = static_cast<std::uint32_t>(static_cast<std::int32_t>(a[i]) - b[i]);
    sum += difference * difference;
  }
  return sum;
}

// 10 x log10(255^2 / mse) with the quotient in single precision and the
// logarithm in double. The sum is read as a signed 32-bit number, so a sum
// of 2^31 or more gives a negative mse and NaN; equal pictures give +inf
// and an empty picture 0 / 0, NaN.
float psnrOf(std::uint32_t sum, std::int64_t samples) {
  const std::int64_t signedSum = sum >= 0x80000000u ? static_cast<std::int64_t>(sum) - 0x100000000 : sum;
  const float mse = static_cast<float>(signedSum) / static_cast<float>(samples);
  const float quotient = 65025.0f / mse;
  return static_cast<float>(10.0 * std::log10(static_cast<double>(quotient)));
}

}  // namespace

float pictureYuv420Psnr(const std::int16_t* a, const std::int16_t* b, std::int32_t width, std::int32_t height) {
  const std::int64_t samples = (static_cast<std::int64_t>(width) * height * 3) >> 1;
  return psnrOf(squaredError(a, b, samples, 0), samples);
}

float planesYuv420Psnr(const std::int16_t* aY, const std::int16_t* aU, const std::int16_t* aV, const std::int16_t* bY,
                       const std::int16_t* bU, const std::int16_t* bV, std::int32_t width, std::int32_t height) {
  const std::int64_t lumaSamples = static_cast<std::int64_t>(width) * height;
  std::uint32_t sum = squaredError(aY, bY, lumaSamples, 0);
  if (lumaSamples >= 4) {
    sum = squaredError(aU, bU, lumaSamples >> 2, sum);
    sum = squaredError(aV, bV, lumaSamples >> 2, sum);
  }
  return psnrOf(sum, (lumaSamples * 3) >> 1);
}

}  // namespace mp4lib::pixels
