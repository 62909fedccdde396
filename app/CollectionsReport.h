// SPDX-License-Identifier: MIT
//
// What became of the version 4 folder sets, in words: the version 5 sets as their files hold them now, and
// what of version 4 is not among it, with the reason that both versions' files give. Writes nothing. Main
// thread.
#ifndef APP_COLLECTIONSREPORT_H
#define APP_COLLECTIONSREPORT_H

#include <string>
#include <vector>

namespace vennick {

struct FavoriteReport {
  std::string name;
  std::string hotkey;    // "-" for none
  std::string location;  // a path, or what kind of place it is
};

struct DefaultFolderReport {
  std::string application;  // identifiers, or "every application"
  std::string location;
};

struct OmissionReport {
  std::string what;
  std::string why;
};

struct SetReport {
  std::string name;
  bool isCurrent = false;
  std::vector<FavoriteReport> favorites;
  std::vector<DefaultFolderReport> defaultFolders;
  std::vector<OmissionReport> omissions;
};

struct CollectionsReport {
  std::vector<SetReport> sets;  // in the order of version 5's list
  // What would have gone into none of them, or into one that the files do not tell.
  std::vector<OmissionReport> omissions;
};

CollectionsReport reportCollections();

}  // namespace vennick

#endif  // APP_COLLECTIONSREPORT_H
