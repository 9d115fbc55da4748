// Peak signal-to-noise ratio between two short planar YUV 4:2:0 pictures.
#pragma once

#include <cstdint>

namespace mp4lib::pixels {

// In dB: +inf when equal, NaN for an empty picture or a squared error of
// 2^31 or more. The first takes each picture as Y, U, V one after the
// other; the second its three planes apart (chroma only from 2 x 2 up).
float pictureYuv420Psnr(const std::int16_t* a, const std::int16_t* b, std::int32_t width, std::int32_t height);
float planesYuv420Psnr(const std::int16_t* aY, const std::int16_t* aU, const std::int16_t* aV, const std::int16_t* bY,
                       const std::int16_t* bU, const std::int16_t* bV, std::int32_t width, std::int32_t height);

}  // namespace mp4lib::pixels
