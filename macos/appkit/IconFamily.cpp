// SPDX-License-Identifier: MIT
//
// Icon families ("icns"): a header of type and length, then elements of type, length (both with these 8
// bytes) and data, numbers in big-endian order. An element is a whole PNG or JPEG 2000 file, or packed
// colour channels whose opacity is an element of its own.
#include <algorithm>
#include <map>

#include "macos/appkit/Image.h"
#include "macos/carbon/ByteOrder.h"
#include "macos/carbon/FourCharCode.h"

namespace macos {

namespace {

constexpr std::size_t kHeaderSize = 8;

using Elements = std::map<OSType, std::string_view>;

// Of two elements of one type the first counts. The walk ends where a length leads outside.
Elements elementsOf(std::string_view data) {
  Elements elements;
  if (data.size() < kHeaderSize || readBigEndian<std::uint32_t>(data, 0) != fourCharCode("icns")) {
    return elements;
  }
  data = data.substr(0, readBigEndian<std::uint32_t>(data, 4));
  for (std::size_t place = kHeaderSize; place + kHeaderSize <= data.size();) {
    const std::uint32_t length = readBigEndian<std::uint32_t>(data, place + 4);
    if (length < kHeaderSize || length > data.size() - place) break;
    elements.emplace(readBigEndian<std::uint32_t>(data, place),
                     data.substr(place + kHeaderSize, length - kHeaderSize));
    place += length;
  }
  return elements;
}

struct PackedForm {
  OSType colours;
  OSType opacity;
  std::uint32_t side;
  std::size_t leadingZeros;
};
constexpr PackedForm kPackedForms[] = {{fourCharCode("is32"), fourCharCode("s8mk"), 16, 0},
                                       {fourCharCode("il32"), fourCharCode("l8mk"), 32, 0},
                                       {fourCharCode("ih32"), fourCharCode("h8mk"), 48, 0},
                                       {fourCharCode("it32"), fourCharCode("t8mk"), 128, 4}};

struct WholeForm {
  OSType type;
  std::uint32_t side;
};
constexpr WholeForm kWholeForms[] = {
    {fourCharCode("icp4"), 16},   {fourCharCode("icp5"), 32},  {fourCharCode("icp6"), 64},
    {fourCharCode("ic07"), 128},  {fourCharCode("ic08"), 256}, {fourCharCode("ic09"), 512},
    {fourCharCode("ic10"), 1024}, {fourCharCode("ic11"), 32},  {fourCharCode("ic12"), 64},
    {fourCharCode("ic13"), 256},  {fourCharCode("ic14"), 512}};

// Unpacks one channel after the other: a byte below 128 announces one more literal bytes than it says, any
// other a byte that is repeated, 125 times fewer than it says.
bool unpackChannels(std::string_view packed, Bitmap& bitmap) {
  const std::size_t count = std::size_t{bitmap.width} * bitmap.height;
  std::size_t read = 0;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    for (std::size_t done = 0; done < count;) {
      if (read >= packed.size()) return false;
      const auto control = static_cast<unsigned char>(packed[read++]);
      const bool isRun = control >= 128;
      const std::size_t length = isRun ? control - 125U : control + 1U;
      const std::size_t needed = isRun ? 1 : length;
      if (needed > packed.size() - read || length > count - done) return false;
      for (std::size_t i = 0; i < length; ++i) {
        bitmap.pixels[(done + i) * 4 + channel] = static_cast<std::uint8_t>(packed[read + (isRun ? 0 : i)]);
      }
      read += needed;
      done += length;
    }
  }
  return true;
}

std::optional<Bitmap> unpacked(const Elements& elements, const PackedForm& form) {
  const auto colours = elements.find(form.colours);
  if (colours == elements.end() || colours->second.size() < form.leadingZeros) return std::nullopt;
  Bitmap bitmap(form.side, form.side);
  if (!unpackChannels(colours->second.substr(form.leadingZeros), bitmap)) return std::nullopt;
  const auto opacity = elements.find(form.opacity);
  const std::size_t count = std::size_t{form.side} * form.side;
  const bool hasOpacity = opacity != elements.end() && opacity->second.size() == count;
  for (std::size_t i = 0; i < count; ++i) {
    bitmap.pixels[i * 4 + 3] = hasOpacity ? static_cast<std::uint8_t>(opacity->second[i]) : 255;
  }
  return bitmap;
}

}  // namespace

std::optional<Bitmap> bitmapInIconFamily(std::string_view data, std::uint32_t wantedWidth) {
  const Elements elements = elementsOf(data);
  struct Candidate {
    std::uint32_t side;
    const WholeForm* whole;
    const PackedForm* packed;
  };
  std::vector<Candidate> candidates;
  for (const WholeForm& form : kWholeForms) {
    if (elements.contains(form.type)) candidates.push_back({form.side, &form, nullptr});
  }
  for (const PackedForm& form : kPackedForms) {
    if (elements.contains(form.colours)) candidates.push_back({form.side, nullptr, &form});
  }
  // Large enough ones from the smallest on, then the others from the largest on.
  std::stable_sort(candidates.begin(), candidates.end(),
                   [wantedWidth](const Candidate& a, const Candidate& b) {
                     const bool aIsEnough = a.side >= wantedWidth;
                     const bool bIsEnough = b.side >= wantedWidth;
                     if (aIsEnough != bIsEnough) return aIsEnough;
                     return aIsEnough ? a.side < b.side : a.side > b.side;
                   });
  for (const Candidate& candidate : candidates) {
    auto bitmap = candidate.whole != nullptr ? bitmapWithPNG(elements.at(candidate.whole->type))
                                             : unpacked(elements, *candidate.packed);
    if (bitmap) return bitmap;
  }
  return std::nullopt;
}

}  // namespace macos
