// SPDX-License-Identifier: MIT
//
// Pictures from files that anybody may have written: PNG and icon families.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "macos/appkit/Image.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto image = macos::NSImage::imageWithData({reinterpret_cast<const char*>(data), size});
  if (!image) return 0;
  for (const std::uint32_t width : {16U, 128U}) {
    const auto bitmap = image->bitmap(width);
    if (!bitmap) continue;
    if (bitmap->pixels.size() != std::size_t{bitmap->width} * bitmap->height * 4) std::abort();
    if (bitmap->width == 0 || bitmap->height == 0) std::abort();
    const macos::Bitmap small = macos::scaled(*bitmap, 8, 8);
    const auto again = macos::bitmapWithPNG(macos::pngWithBitmap(small));
    if (!again || *again != small) std::abort();
  }
  return 0;
}
