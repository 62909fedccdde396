// SPDX-License-Identifier: MIT
#include "macos/appkit/Image.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "macos/carbon/ByteOrder.h"
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

constexpr std::size_t kChunkFrameSize = 12;  // length, type and checksum
constexpr std::size_t kHeaderChunkSize = 13;

// The picture's header and the chunks that say how its pixels look.
struct PixelChunks {
  std::string file;
  std::size_t packedSize = 0;
};

// libpng makes room for a chunk by the length that it claims, whether or not the chunk is there, and unpacks
// texts and profiles that nobody asked for. It therefore gets only whole chunks that it needs.
PixelChunks pixelChunksOf(std::string_view data) {
  constexpr std::string_view kWanted[] = {"IHDR", "PLTE", "tRNS", "gAMA", "cHRM",
                                          "sRGB", "sBIT", "bKGD", "IDAT", "IEND"};
  PixelChunks chunks{std::string(kPNGStart), 0};
  for (std::size_t place = kPNGStart.size();
       place <= data.size() && data.size() - place >= kChunkFrameSize;) {
    const std::size_t length = readBigEndian<std::uint32_t>(data, place);
    if (length > data.size() - place - kChunkFrameSize) break;
    const std::string_view type = data.substr(place + 4, 4);
    if (std::find(std::begin(kWanted), std::end(kWanted), type) != std::end(kWanted)) {
      chunks.file += data.substr(place, length + kChunkFrameSize);
      if (type == "IDAT") chunks.packedSize += length;
    }
    place += length + kChunkFrameSize;
  }
  return chunks;
}

// Whether so many packed bytes can give the pixels that the header announces. Deflate gives at most 1032
// bytes for one.
bool canHoldItsPixels(const PixelChunks& chunks) {
  constexpr std::uint64_t kMostPerPackedByte = 1032;
  const std::size_t header = kPNGStart.size() + 8;
  if (chunks.file.size() < header + kHeaderChunkSize) return false;
  const std::uint64_t width = readBigEndian<std::uint32_t>(chunks.file, header);
  const std::uint64_t height = readBigEndian<std::uint32_t>(chunks.file, header + 4);
  if (width > kLargestBitmapSide || height > kLargestBitmapSide) return false;
  constexpr std::uint64_t kChannels[] = {1, 0, 3, 1, 2, 0, 4};  // by colour type
  const auto depth = static_cast<unsigned char>(chunks.file[header + 8]);
  const auto colourType = static_cast<unsigned char>(chunks.file[header + 9]);
  if (colourType >= std::size(kChannels)) return false;
  return width * height * depth * kChannels[colourType] / 8 <= chunks.packedSize * kMostPerPackedByte;
}

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
  if (!data.starts_with(kPNGStart)) return std::nullopt;
  const PixelChunks chunks = pixelChunksOf(data);
  if (!canHoldItsPixels(chunks)) return std::nullopt;
  PNGPicture picture;
  png_image& image = picture.image;
  if (png_image_begin_read_from_memory(&image, chunks.file.data(), chunks.file.size()) == 0) {
    return std::nullopt;
  }
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
