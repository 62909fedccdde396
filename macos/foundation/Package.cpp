// SPDX-License-Identifier: MIT
#include "macos/foundation/Package.h"

#include <set>
#include <string>

#include "macos/foundation/Bundle.h"
#include "macos/foundation/FileMetadata.h"
#include "macos/foundation/InstalledApplications.h"
#include "macos/foundation/Path.h"
#include "macos/foundation/Text.h"
#include "macos/foundation/Value.h"
#include "macos/host/Host.h"

namespace macos {

namespace {

// Each between blanks, which no extension holds.
constexpr std::string_view kSystemExtensions =
    " action aplibrary app appex band bundle caction colorpicker component dext dictionary "
    "download driver dsym fcpbundle ibplugin imovielibrary kext key logicx lpdf mailbundle "
    "mdimporter menu migratedphotolibrary mpkg musiclibrary numbers osax pages photolibrary "
    "photoslibrary pkg playground plugin prefpane pvt qlgenerator rtfd safariextension saver "
    "scptd service slidesaver sparsebundle systemextension theater tvlibrary vst vst3 wdgt "
    "webplugin workflow xcarchive xcdatamodel xcdatamodeld xcodeproj xctest xcworkspace xpc ";

bool isSystemExtension(const std::string& extension) {
  return !extension.empty() && kSystemExtensions.find(" " + extension + " ") != std::string_view::npos;
}
bool isTrue(const Dictionary& dictionary, std::string_view key) {
  if (const auto boolean = dictionary.boolean(key)) return *boolean;
  if (const auto integer = dictionary.integer(key)) return *integer != Integer(0);
  const auto text = dictionary.string(key);
  return text && boolValue(*text);
}

// One text or a list of them, as property lists of applications have it.
void addExtensions(const Value* value, std::set<std::string>& extensions) {
  if (value == nullptr) return;
  if (const auto text = value->ifString()) extensions.insert(lowercaseASCII(*text));
  if (const Array* list = value->ifArray()) {
    for (const Value& entry : *list) {
      if (const auto text = entry.ifString()) extensions.insert(lowercaseASCII(*text));
    }
  }
}

bool conformsToPackage(const Dictionary& type) {
  std::set<std::string> parents;
  addExtensions(type.find("UTTypeConformsTo"), parents);
  return parents.contains("com.apple.package") || parents.contains("com.apple.bundle");
}

void addDeclaredExtensions(const Dictionary& info, std::set<std::string>& extensions) {
  if (const Array* types = info.array("CFBundleDocumentTypes")) {
    for (const Value& entry : *types) {
      const Dictionary* type = entry.ifDictionary();
      if (type == nullptr || !isTrue(*type, "LSTypeIsPackage")) continue;
      addExtensions(type->find("CFBundleTypeExtensions"), extensions);
    }
  }
  for (const std::string_view key : {"UTExportedTypeDeclarations", "UTImportedTypeDeclarations"}) {
    const Array* types = info.array(key);
    if (types == nullptr) continue;
    for (const Value& entry : *types) {
      const Dictionary* type = entry.ifDictionary();
      if (type == nullptr || !conformsToPackage(*type)) continue;
      const Dictionary* tags = type->dictionary("UTTypeTagSpecification");
      if (tags != nullptr) addExtensions(tags->find("public.filename-extension"), extensions);
    }
  }
}

// What installed applications declare; gathered once per host, when an extension is first asked for that
// the system does not know.
struct DeclaredPackages {
  DeclaredPackages() {
    for (const std::string& path : installedApplications()) {
      const auto bundle = NSBundle::bundleWithPath(path);
      if (bundle) addDeclaredExtensions(bundle->infoDictionary(), extensions);
    }
    extensions.erase("*");
    extensions.erase("framework");
  }

  std::set<std::string> extensions;
};

}  // namespace

bool isPackage(std::string_view path, const FileInfo& item) {
  if (!item.isFolder()) return false;
  if (isSystemExtension(lowercaseASCII(pathExtension(path)))) return true;
  return isPackage(path, item, finderInfoAtPath(path));
}

bool isPackage(std::string_view path, const FileInfo& item, const FinderInfo& finderInfo) {
  if (!item.isFolder()) return false;
  const std::string extension = lowercaseASCII(pathExtension(path));
  if (isSystemExtension(extension) || finderInfo.hasBundle()) return true;
  return !extension.empty() && hostLocal<DeclaredPackages>().extensions.contains(extension);
}

}  // namespace macos
