// SPDX-License-Identifier: MIT
#include "macos/appkit/Image.h"

#include <png.h>

#include <algorithm>
#include <array>

#include "macos/foundation/Bundle.h"

namespace macos {

namespace {

constexpr std::string_view kPNGStart = "\x89PNG\r\n\x1A\n";
constexpr std::string_view kIconFamilyStart = "icns";

// libpng's own record of one picture; freed whatever happens.
class PNGPicture {
 public:
  PNGPicture() { image.version = PNG_IMAGE_VERSION; }
  ~PNGPicture() { png_image_free(&image); }
  PNGPicture(const PNGPicture&) = delete;
  PNGPicture& operator=(const PNGPicture&) = delete;

  png_image image{};
};

}  // namespace

std::optional<NSImage> NSImage::imageWithData(std::string_view data) {
  if (data.starts_with(kPNGStart)) return NSImage(Format::PNG, data);
  if (data.starts_with(kIconFamilyStart)) return NSImage(Format::ICNS, data);
  return std::nullopt;
}

std::optional<NSImage> NSImage::imageWithBitmap(const Bitmap& bitmap) {
  return imageWithData(pngWithBitmap(bitmap));
}

std::optional<NSImage> NSImage::imageNamed(std::string_view name) {
  const auto bundle = NSBundle::mainBundle();
  for (const std::string_view type : {"icns", "png"}) {
    const auto data = bundle->contentsOfResource(name, type);
    if (!data) continue;
    if (auto image = imageWithData(*data)) return image;
  }
  return std::nullopt;
}

std::optional<Bitmap> NSImage::bitmap(std::uint32_t wantedWidth) const {
  return format_ == Format::PNG ? bitmapWithPNG(data_) : bitmapInIconFamily(data_, wantedWidth);
}

std::optional<Bitmap> bitmapWithPNG(std::string_view data) {
  PNGPicture picture;
  png_image& image = picture.image;
  if (png_image_begin_read_from_memory(&image, data.data(), data.size()) == 0) return std::nullopt;
  if (image.width > kLargestBitmapSide || image.height > kLargestBitmapSide) return std::nullopt;
  image.format = PNG_FORMAT_RGBA;
  Bitmap bitmap(image.width, image.height);
  if (png_image_finish_read(&image, nullptr, bitmap.pixels.data(), 0, nullptr) == 0) return std::nullopt;
  return bitmap;
}

std::string pngWithBitmap(const Bitmap& bitmap) {
  PNGPicture picture;
  png_image& image = picture.image;
  image.width = bitmap.width;
  image.height = bitmap.height;
  image.format = PNG_FORMAT_RGBA;
  png_alloc_size_t size = 0;
  if (png_image_write_to_memory(&image, nullptr, &size, 0, bitmap.pixels.data(), 0, nullptr) == 0) return "";
  std::string data(size, '\0');
  if (png_image_write_to_memory(&image, data.data(), &size, 0, bitmap.pixels.data(), 0, nullptr) == 0) {
    return "";
  }
  data.resize(size);
  return data;
}

Bitmap scaled(const Bitmap& bitmap, std::uint32_t width, std::uint32_t height) {
  Bitmap result(width, height);
  const auto sourceRange = [](std::uint32_t place, std::uint32_t from, std::uint32_t to) {
    const auto first = static_cast<std::uint32_t>(std::uint64_t{place} * from / to);
    const auto last = static_cast<std::uint32_t>((std::uint64_t{place} + 1) * from / to);
    return std::pair(first, std::max(last, first + 1));
  };
  for (std::uint32_t y = 0; y < height; ++y) {
    const auto rows = sourceRange(y, bitmap.height, height);
    for (std::uint32_t x = 0; x < width; ++x) {
      const auto columns = sourceRange(x, bitmap.width, width);
      // Colours count as much as they can be seen.
      std::array<std::uint64_t, 4> sum{};
      std::uint64_t count = 0;
      for (std::uint32_t row = rows.first; row < rows.second; ++row) {
        for (std::uint32_t column = columns.first; column < columns.second; ++column, ++count) {
          const std::uint8_t* pixel = &bitmap.pixels[(std::size_t{row} * bitmap.width + column) * 4];
          for (std::size_t i = 0; i < 3; ++i) sum[i] += std::uint64_t{pixel[i]} * pixel[3];
          sum[3] += pixel[3];
        }
      }
      std::uint8_t* pixel = &result.pixels[(std::size_t{y} * width + x) * 4];
      for (std::size_t i = 0; i < 3; ++i) {
        pixel[i] = static_cast<std::uint8_t>(sum[3] == 0 ? 0 : sum[i] / sum[3]);
      }
      pixel[3] = static_cast<std::uint8_t>(sum[3] / count);
    }
  }
  return result;
}

void drawOver(Bitmap& canvas, const Bitmap& picture, std::uint32_t x, std::uint32_t y) {
  for (std::uint32_t row = 0; row < picture.height && y + row < canvas.height; ++row) {
    for (std::uint32_t column = 0; column < picture.width && x + column < canvas.width; ++column) {
      const std::uint8_t* above = &picture.pixels[(std::size_t{row} * picture.width + column) * 4];
      std::uint8_t* below = &canvas.pixels[(std::size_t{y + row} * canvas.width + x + column) * 4];
      // Opacities in 255ths; weights in 255ths of 255ths.
      const unsigned upper = above[3] * 255U;
      const unsigned lower = below[3] * (255U - above[3]);
      const unsigned total = upper + lower;
      if (total == 0) continue;
      for (std::size_t i = 0; i < 3; ++i) {
        below[i] = static_cast<std::uint8_t>((above[i] * upper + below[i] * lower + total / 2) / total);
      }
      below[3] = static_cast<std::uint8_t>((total + 127) / 255);
    }
  }
}

}  // namespace macos
