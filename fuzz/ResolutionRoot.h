// SPDX-License-Identifier: MIT
//
// A Mac's disk for fuzzers that resolve what they decode: a temporary folder with a home, a document, a
// volume, a link that loops and one fixed alias file. Its host, which logs nothing, is the process's
// current one. Removed when the fuzzer ends.
#ifndef FUZZ_RESOLUTIONROOT_H
#define FUZZ_RESOLUTIONROOT_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "legacy/AliasResolution.h"
#include "macos/host/Host.h"

namespace vennick::fuzz {

class Silence : public macos::LogSink {
 public:
  void writeLine(std::string_view) override {}
  void writeSystemLog(int, std::string_view) override {}
};

class ResolutionRoot {
 public:
  static constexpr const char* kFolder = "/Users/anna/Documents";
  static constexpr const char* kFile = "/Users/anna/Documents/report.txt";

  static ResolutionRoot& shared() {
    static ResolutionRoot root;
    return root;
  }

  ~ResolutionRoot() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  ResolutionRoot(const ResolutionRoot&) = delete;
  ResolutionRoot& operator=(const ResolutionRoot&) = delete;

  // On the machine directly.
  void write(const std::string& macPath, std::string_view bytes) const {
    std::ofstream(path_ + macPath, std::ios::binary) << bytes;
  }

  // What a resolution may answer, whatever it is given; with success a reference that leads to something.
  static void check(macos::OSErr code, const macos::FSRef& target) {
    std::string path;
    switch (code) {
      case macos::noErr:
        if (macos::FSRefMakePath(target, &path) != macos::noErr) std::abort();
        return;
      case -35:
      case -37:
      case -43:
      case -50:
      case -120:
      case kVolumeGoneErr:
      case macos::resNotFound:
      case kAliasLeadsToItselfErr:
        return;
      default:
        std::abort();
    }
  }

  static void checkAliasFile(std::string_view macPath) {
    macos::FSRef ref;
    macos::FSRef target;
    if (macos::FSPathMakeRef(macPath, &ref) != macos::noErr) std::abort();
    check(ResolveAliasFileWithTimeout(ref, &target, nullptr, nullptr, macos::kResolveAliasFileNoUI), target);
    // The older system's way.
    const macos::OSErr code =
        macos::FSResolveAliasFileWithMountFlags(&ref, true, nullptr, nullptr, macos::kResolveAliasFileNoUI);
    check(code, ref);
  }

 private:
  ResolutionRoot() : path_(std::filesystem::temp_directory_path() / "fuzz-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
    for (const char* folder : {kFolder, "/Volumes/Stick/folder", "/Applications"}) {
      std::filesystem::create_directories(path_ + folder);
    }
    std::filesystem::create_symlink("/", path_ + "/Volumes/Macintosh HD");
    std::filesystem::create_symlink("loop", path_ + "/Users/anna/loop");
    std::filesystem::create_symlink("Documents", path_ + "/Users/anna/link");
    write(kFile, "text");
    write("/Volumes/Stick/file", "text");

    ::setenv("MACOS_ROOT", path_.c_str(), 1);
    ::setenv("HOME", "/Users/anna", 1);
    macos::Host::Parts parts = macos::posixHostParts();
    parts.log = std::make_shared<Silence>();
    scope_ = std::make_unique<macos::ScopedHost>(macos::Host::make(std::move(parts)));
  }

  std::string path_;
  std::unique_ptr<macos::ScopedHost> scope_;
};

}  // namespace vennick::fuzz

#endif  // FUZZ_RESOLUTIONROOT_H
