// SPDX-License-Identifier: MIT
#include "macos/appkit/Image.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/IndependentReader.h"

namespace macos {
namespace {

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
  std::string hex;
  char text[3];
  for (const std::uint8_t byte : bytes) {
    std::snprintf(text, sizeof text, "%02x", byte);
    hex += text;
  }
  return hex;
}

std::string readByPython(std::string_view png) { return readIndependently("png.py", png); }

std::string shown(const Bitmap& bitmap) {
  return std::to_string(bitmap.width) + " " + std::to_string(bitmap.height) + "\n" + hexOf(bitmap.pixels) +
         "\n";
}

Bitmap sketch(std::uint32_t width, std::uint32_t height) {
  Bitmap bitmap(width, height);
  for (std::size_t i = 0; i < bitmap.pixels.size(); ++i) {
    bitmap.pixels[i] = static_cast<std::uint8_t>(i * 37 + i / 7);
  }
  return bitmap;
}

Bitmap filled(std::uint32_t side, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
              std::uint8_t opacity) {
  Bitmap bitmap(side, side);
  for (std::size_t i = 0; i < bitmap.pixels.size(); i += 4) {
    bitmap.pixels[i] = red;
    bitmap.pixels[i + 1] = green;
    bitmap.pixels[i + 2] = blue;
    bitmap.pixels[i + 3] = opacity;
  }
  return bitmap;
}

std::string number(std::size_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<char>(value >> shift & 0xFF));
  return bytes;
}

std::string element(std::string_view type, std::string_view data) {
  return std::string(type) + number(data.size() + 8) + std::string(data);
}

std::string family(const std::string& elements) { return element("icns", elements); }

TEST(Image, WritesPNGThatAnotherReaderReads) {
  const Bitmap bitmap = sketch(13, 7);
  EXPECT_EQ(readByPython(pngWithBitmap(bitmap)), shown(bitmap));
}

TEST(Image, ReadsThePicturesThatWeShip) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VENNICK_SOURCE "/resources")) {
    if (entry.path().extension() != ".png") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string data(std::istreambuf_iterator<char>(file), {});
    const auto image = NSImage::imageWithData(data);
    ASSERT_TRUE(image.has_value()) << entry.path();
    const auto bitmap = image->bitmap(32);
    ASSERT_TRUE(bitmap.has_value()) << entry.path();
    EXPECT_EQ(shown(*bitmap), readByPython(data)) << entry.path();
    ++count;
  }
  EXPECT_EQ(count, 5);
}

TEST(Image, KnowsPicturesByTheirFirstBytes) {
  EXPECT_EQ(NSImage::imageWithData(pngWithBitmap(sketch(1, 1)))->format(), NSImage::Format::PNG);
  EXPECT_EQ(NSImage::imageWithData(family(""))->format(), NSImage::Format::ICNS);
  EXPECT_FALSE(NSImage::imageWithData("").has_value());
  EXPECT_FALSE(NSImage::imageWithData("GIF89a").has_value());
}

TEST(Image, APNGCutAnywhereIsRefusedOrReadWhole) {
  const Bitmap bitmap = sketch(9, 5);
  const std::string data = pngWithBitmap(bitmap);
  for (std::size_t length = 0; length < data.size(); ++length) {
    const auto read = bitmapWithPNG(data.substr(0, length));
    if (read) {
      EXPECT_EQ(*read, bitmap) << length;
    }
  }
  std::string huge = data;
  huge.replace(16, 4, number(0x7FFFFFFF));
  EXPECT_FALSE(bitmapWithPNG(huge).has_value());
}

std::string chunk(std::string_view type, std::string_view content) {
  const std::string body = std::string(type) + std::string(content);
  const auto sum = crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
  return number(content.size()) + body + number(sum);
}

TEST(Image, AnIconOfTheLargestSizeIsReadAndNoneThatIsLarger) {
  const auto largest = bitmapWithPNG(pngWithBitmap(filled(1024, 1, 2, 3, 255)));
  ASSERT_TRUE(largest.has_value());
  EXPECT_EQ(largest->width, 1024U);
  EXPECT_EQ(largest->height, 1024U);
  EXPECT_FALSE(bitmapWithPNG(pngWithBitmap(Bitmap(1025, 1))).has_value());
  EXPECT_FALSE(bitmapWithPNG(pngWithBitmap(Bitmap(1, 1025))).has_value());
}

TEST(Image, WhatIsNoPixelIsPassedOver) {
  const Bitmap bitmap = sketch(9, 5);
  std::string data = pngWithBitmap(bitmap);
  // A text that unpacks to very much, and one that claims a gigabyte.
  std::string zeros(std::size_t{4} << 20U, '\0');
  uLongf size = compressBound(static_cast<uLong>(zeros.size()));
  std::string packed(size, '\0');
  ASSERT_EQ(compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                     reinterpret_cast<const Bytef*>(zeros.data()), static_cast<uLong>(zeros.size())),
            Z_OK);
  packed.resize(size);
  const std::size_t afterHeader = 8 + 12 + 13;
  std::string withText = data;
  withText.insert(afterHeader, chunk("zTXt", std::string("Comment\0\0", 9) + packed));
  EXPECT_EQ(bitmapWithPNG(withText), bitmap);
  std::string withClaim = data;
  withClaim.insert(afterHeader, number(0x3FFFFFFF) + "tEXt");
  EXPECT_FALSE(bitmapWithPNG(withClaim).has_value()) << "all that follows is inside the claimed text";
}

TEST(Image, APNGThatCannotHoldItsPixelsIsRefused) {
  const std::string start = std::string("\x89PNG\r\n\x1A\n", 8);
  const std::string header = number(1024) + number(1024) + std::string("\x08\x06\0\0\0", 5);
  EXPECT_FALSE(bitmapWithPNG(start + chunk("IHDR", header) + chunk("IDAT", "few bytes") + chunk("IEND", ""))
                   .has_value());
  EXPECT_FALSE(bitmapWithPNG(start + chunk("IHDR", header.substr(0, 5))).has_value());
  EXPECT_FALSE(bitmapWithPNG(start).has_value());
}

TEST(Image, AnIconFamilyGivesTheSmallestPictureThatIsLargeEnough) {
  const std::string data =
      family(element("ic07", pngWithBitmap(filled(128, 1, 2, 3, 255))) +
             element("icp5", pngWithBitmap(filled(32, 4, 5, 6, 255))) + element("ic09", "not a picture") +
             element("ic08", pngWithBitmap(filled(256, 7, 8, 9, 255))));
  EXPECT_EQ(bitmapInIconFamily(data, 32)->width, 32U);
  EXPECT_EQ(bitmapInIconFamily(data, 33)->width, 128U);
  EXPECT_EQ(bitmapInIconFamily(data, 129)->width, 256U);
  EXPECT_EQ(bitmapInIconFamily(data, 500)->width, 256U) << "one that cannot be decoded is passed over";
}

TEST(Image, PackedChannelsAreUnpacked) {
  // 16 by 16: 256 reds as two runs, 256 greens as literals, blues as a literal and runs.
  std::string packed = std::string("\xFF\x0A\xFB\x0B", 4);  // 130 and 126 repeats
  for (int i = 0; i < 2; ++i) {
    packed.push_back(0x7F);
    for (int value = 0; value < 128; ++value) packed.push_back(static_cast<char>(value));
  }
  packed += std::string("\x00\x2A", 2) + std::string("\xFF\x2B\xFA\x2C", 4);  // 1, 130 and 125
  std::string opacity(256, '\x80');
  const auto bitmap = bitmapInIconFamily(family(element("s8mk", opacity) + element("is32", packed)), 16);
  ASSERT_TRUE(bitmap.has_value());
  const auto pixel = [&](std::size_t index) {
    return std::vector<int>(&bitmap->pixels[index * 4], &bitmap->pixels[index * 4] + 4);
  };
  EXPECT_EQ(pixel(0), (std::vector<int>{10, 0, 42, 128}));
  EXPECT_EQ(pixel(129), (std::vector<int>{10, 1, 43, 128}));
  EXPECT_EQ(pixel(130), (std::vector<int>{11, 2, 43, 128}));
  EXPECT_EQ(pixel(255), (std::vector<int>{11, 127, 44, 128}));
}

TEST(Image, ABrokenIconFamilyGivesNoPicture) {
  const std::string whole =
      family(element("is32", std::string("\xFF\x0A\xFB\x0B", 4)) + element("ic07", "x"));
  EXPECT_FALSE(bitmapInIconFamily(whole, 16).has_value());
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    EXPECT_FALSE(bitmapInIconFamily(whole.substr(0, length), 16).has_value()) << length;
  }
  EXPECT_FALSE(bitmapInIconFamily(std::string("icns\0\0\0\0is32\xFF\xFF\xFF\xFF", 16), 16).has_value());
}

TEST(Image, ScalingTakesTheMeanOfWhatIsCovered) {
  Bitmap bitmap(2, 2);
  bitmap.pixels = {255, 0, 0, 255, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255};
  const Bitmap one = scaled(bitmap, 1, 1);
  EXPECT_EQ(one.pixels, (std::vector<std::uint8_t>{127, 0, 127, 127}))
      << "what cannot be seen gives no colour";
  EXPECT_EQ(scaled(filled(3, 9, 8, 7, 6), 5, 5), filled(5, 9, 8, 7, 6));
  EXPECT_EQ(scaled(bitmap, 2, 2), bitmap);
}

TEST(Image, OnePictureLiesOverAnother) {
  Bitmap canvas = filled(4, 10, 20, 30, 255);
  drawOver(canvas, filled(4, 200, 100, 0, 255), 2, 3);
  EXPECT_EQ(canvas.pixels[(3 * 4 + 2) * 4], 200);
  EXPECT_EQ(canvas.pixels[(3 * 4 + 1) * 4], 10);
  EXPECT_EQ(canvas.pixels[(2 * 4 + 2) * 4], 10);
  drawOver(canvas, filled(1, 110, 120, 130, 51), 0, 0);
  EXPECT_EQ(canvas.pixels[0], 30) << "a fifth of the way from 10 to 110";
  EXPECT_EQ(canvas.pixels[3], 255);
  Bitmap empty(1, 1);
  drawOver(empty, filled(1, 1, 2, 3, 100), 0, 0);
  EXPECT_EQ(empty, filled(1, 1, 2, 3, 100));
}

}  // namespace
}  // namespace macos
