// SPDX-License-Identifier: MIT
//
// NSImage: a picture as the bytes of a file that viewers show (PNG, or a Mac's icon family), and its pixels
// on request. A value; any thread.
#ifndef MACOS_APPKIT_IMAGE_H
#define MACOS_APPKIT_IMAGE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace macos {

// Rows of pixels from the top, each pixel red, green, blue and opacity, 8 bits each; colours are not
// multiplied by the opacity.
struct Bitmap {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> pixels;

  Bitmap() = default;
  Bitmap(std::uint32_t w, std::uint32_t h) : width(w), height(h), pixels(std::size_t{w} * h * 4) {}
  friend bool operator==(const Bitmap&, const Bitmap&) = default;
};

// Pictures with a longer side, the longest of any icon, are not decoded.
inline constexpr std::uint32_t kLargestBitmapSide = 1024;

class NSImage {
 public:
  enum class Format { PNG, ICNS };

  // By the data's first bytes; nullopt for any other kind of data. What follows them is not looked at.
  static std::optional<NSImage> imageWithData(std::string_view data);
  static std::optional<NSImage> imageWithBitmap(const Bitmap& bitmap);
  // The main bundle's resource of that name, "name.icns" or "name.png".
  static std::optional<NSImage> imageNamed(std::string_view name);

  Format format() const { return format_; }
  const std::string& data() const { return data_; }

  // Of the representations that can be decoded the smallest that is at least so many pixels wide, else the
  // widest; nullopt when there is none. In an icon family those are PNG pictures and the older packed ones;
  // JPEG 2000 is passed over.
  std::optional<Bitmap> bitmap(std::uint32_t wantedWidth) const;

  friend bool operator==(const NSImage&, const NSImage&) = default;

 private:
  NSImage(Format format, std::string_view data) : format_(format), data_(data) {}

  Format format_;
  std::string data_;
};

// Codecs. Bytes that break their format give nullopt. A PNG is read for its pixels alone: what else it
// carries (texts, profiles, times) is passed over, and what it claims to hold but cannot is refused unread.
std::optional<Bitmap> bitmapWithPNG(std::string_view data);
std::string pngWithBitmap(const Bitmap& bitmap);
std::optional<Bitmap> bitmapInIconFamily(std::string_view data, std::uint32_t wantedWidth);

// The picture at another size, every pixel the mean of what it covers.
Bitmap scaled(const Bitmap& bitmap, std::uint32_t width, std::uint32_t height);
// Lays one picture over another, its upper left corner at (x, y); what lies outside is cut off.
void drawOver(Bitmap& canvas, const Bitmap& picture, std::uint32_t x, std::uint32_t y);

}  // namespace macos

#endif  // MACOS_APPKIT_IMAGE_H
