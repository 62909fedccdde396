// SPDX-License-Identifier: MIT
#include "tests/support/BundleSketch.h"

namespace vennick::tests {

std::string infoPropertyList(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(content) +
         "</dict></plist>\n";
}

std::string makeBundle(const TemporaryRoot& root, const std::string& path, std::string_view executable,
                       std::string_view info) {
  const std::string name = "<key>CFBundleExecutable</key><string>" + std::string(executable) + "</string>";
  root.writeFile(path + "/Contents/Info.plist", infoPropertyList(name + std::string(info)));
  const std::string program = path + "/Contents/MacOS/" + std::string(executable);
  root.makeExecutable(program, "#!/bin/sh\n");
  root.makeFolder(path + "/Contents/Resources");
  return root.hostPath(program);
}

void setLanguages(const TemporaryRoot& root, const std::vector<std::string>& languages,
                  std::string_view other) {
  std::string list;
  for (const std::string& language : languages) list += "<string>" + language + "</string>";
  root.writeFile(
      "/Users/anna/Library/Preferences/.GlobalPreferences.plist",
      infoPropertyList("<key>AppleLanguages</key><array>" + list + "</array>" + std::string(other)));
}

}  // namespace vennick::tests
