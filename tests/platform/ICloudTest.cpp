// SPDX-License-Identifier: MIT
#include "platform/ICloud.h"

#include <gtest/gtest.h>

#include "tests/support/BundleSketch.h"
#include "tests/support/TestHost.h"

namespace vennick {
namespace {

using macos::NSURL;
using tests::TestHost;

const std::string kLibrary = "/Users/anna/Library/";
const std::string kMobile = kLibrary + "Mobile Documents";
const std::string kStorage = kLibrary + "CloudStorage/iCloud Drive";

void setSystemVersion(TestHost& host, const std::string& version) {
  host.root().writeFile("/System/Library/CoreServices/SystemVersion.plist",
                        tests::infoPropertyList("<key>ProductVersion</key><string>" + version + "</string>"));
}

NSURL cloudURL(std::string_view path) { return NSURL::fileURLWithPath(path); }

TEST(ICloud, TheStorageFolderCountsFrom1015OnWhereItExists) {
  const auto uses = [](const std::string& version, bool exists) {
    TestHost host;
    setSystemVersion(host, version);
    if (exists) host.root().makeFolder(kStorage);
    return iCloudUsesCloudStorageFolder();
  };
  EXPECT_TRUE(uses("10.15", true));
  EXPECT_TRUE(uses("11.0", true));
  EXPECT_TRUE(uses("13.2.1", true));
  EXPECT_FALSE(uses("10.14.6", true));
  EXPECT_FALSE(uses("10.15", false));
}

TEST(ICloud, WithoutTheStorageFolderTheDriveIsAContainerInTheMobileDocuments) {
  TestHost host;
  host.root().makeFolder(kMobile + "/com~apple~CloudDocs");
  EXPECT_EQ(mobileDocumentsPath(), kMobile);
  EXPECT_EQ(iCloudPath(), kMobile);
  EXPECT_EQ(iCloudRootURL().absoluteString(), "file:///Users/anna/Library/Mobile%20Documents/");
  EXPECT_EQ(iCloudDriveURL().absoluteString(),
            "file:///Users/anna/Library/Mobile%20Documents/com~apple~CloudDocs/");
  EXPECT_EQ(mobileDocumentsRootURL(), iCloudRootURL());
  EXPECT_TRUE(pathIsiCloudDriveFolder(iCloudDriveURL()));
  EXPECT_FALSE(pathIsiCloudDriveFolder(iCloudRootURL()));
  EXPECT_TRUE(pathIsiCloudRootFolder(iCloudRootURL()));
}

TEST(ICloud, WithTheStorageFolderTheDriveIsTheRootItself) {
  TestHost host;
  host.root().makeFolder(kStorage);
  EXPECT_EQ(iCloudPath(), kStorage);
  EXPECT_EQ(mobileDocumentsPath(), kMobile);
  EXPECT_EQ(iCloudDriveURL(), iCloudRootURL());
  EXPECT_TRUE(pathIsiCloudDriveFolder(iCloudRootURL()));
  EXPECT_FALSE(pathIsiCloudDriveFolder(cloudURL(kStorage + "/com~apple~CloudDocs")));
}

TEST(ICloud, TheLocationsAreFoundOutOnceAndNeverAgain) {
  TestHost host;
  EXPECT_FALSE(iCloudUsesCloudStorageFolder());
  host.root().makeFolder(kStorage);
  EXPECT_FALSE(iCloudUsesCloudStorageFolder());
  EXPECT_EQ(iCloudPath(), kMobile);
}

TEST(ICloud, LinksInTheLocationsAreResolved) {
  TestHost host;
  host.root().makeFolder("/Volumes/Disk/Documents in Cloud");
  host.root().makeLink(kMobile, "/Volumes/Disk/Documents in Cloud");
  EXPECT_EQ(iCloudPath(), "/Volumes/Disk/Documents in Cloud");
  EXPECT_TRUE(pathIsOniCloud(cloudURL("/Volumes/Disk/Documents in Cloud/x")));
}

TEST(ICloud, APathIsOnICloudWhenItBeginsLikeIt) {
  TestHost host;
  EXPECT_TRUE(pathIsOniCloud(cloudURL(kMobile + "/x")));
  EXPECT_TRUE(pathIsOniCloud(cloudURL(kMobile)));
  EXPECT_TRUE(pathIsOniCloud(cloudURL(kMobile + " 2/x"))) << "deliberately no separator has to follow";
  EXPECT_FALSE(pathIsOniCloud(cloudURL(kLibrary + "Other")));
  EXPECT_TRUE(pathIsOniCloud(*NSURL::URLWithString("http://h/Users/anna/Library/Mobile%20Documents/x")))
      << "the text of the path counts, whatever the scheme";
  EXPECT_FALSE(pathIsOniCloud(NSURL()));
}

TEST(ICloud, AnItemBelowThroughALinkIsOnICloudToo) {
  TestHost host;
  host.root().writeFile(kMobile + "/com~apple~CloudDocs/x", "");
  host.root().makeLink("/Users/anna/cloud", kMobile + "/com~apple~CloudDocs");
  EXPECT_TRUE(pathIsOniCloud(cloudURL("/Users/anna/cloud/x")));
  EXPECT_FALSE(pathIsOniCloud(cloudURL("/Users/anna/cloud/none")));
}

TEST(ICloud, AHomeNamedWithAnUmlautIsTheSameInURLs) {
  const auto root = std::make_shared<tests::TemporaryRoot>();
  root->makeFolder("/Users/j\u00FCrgen/Library/Mobile Documents");
  TestHost host({.root = root, .home = "/Users/j\u00FCrgen"});
  EXPECT_TRUE(pathIsOniCloud(cloudURL("/Users/j\u00FCrgen/Library/Mobile Documents/x")));
  EXPECT_TRUE(pathIsiCloudRootFolder(iCloudRootURL()));
}

TEST(ICloud, DesktopAndDocumentsAreThoseInTheDrive) {
  TestHost host;
  const std::string drive = kMobile + "/com~apple~CloudDocs";
  EXPECT_TRUE(pathIsiCloudDesktopFolder(cloudURL(drive + "/Desktop")));
  EXPECT_TRUE(pathIsiCloudDocumentsFolder(cloudURL(drive + "/Documents")));
  EXPECT_FALSE(pathIsiCloudDesktopFolder(cloudURL(drive + "/Documents")));
  EXPECT_FALSE(pathIsiCloudDocumentsFolder(cloudURL(drive + "/x/Documents")));
  EXPECT_FALSE(pathIsiCloudDesktopFolder(cloudURL("/Users/anna/Desktop"))) << "not on iCloud";
}

TEST(ICloud, TheUsersOwnFoldersCountWhereTheyAreOnICloud) {
  TestHost host;
  // The only way for them to begin like the iCloud path.
  host.root().makeLink(kMobile, "/Users/anna");
  EXPECT_TRUE(pathIsiCloudDesktopFolder(NSURL::fileURLWithPathIsDirectory("/Users/anna/Desktop", true)));
  EXPECT_FALSE(pathIsiCloudDesktopFolder(NSURL::fileURLWithPathIsDirectory("/Users/anna/Desktop", false)))
      << "URLs are compared as they stand";
  EXPECT_TRUE(pathIsiCloudDocumentsFolder(NSURL::fileURLWithPathIsDirectory("/Users/anna/Documents", true)));
}

TEST(ICloud, ApplicationsHaveContainersAtTheTopAndDocumentsInThem) {
  TestHost host;
  EXPECT_TRUE(pathIsiCloudAppFolder(cloudURL(kMobile + "/com~apple~Pages")));
  EXPECT_FALSE(pathIsiCloudAppFolder(cloudURL(kMobile + "/com~apple~CloudDocs")));
  EXPECT_FALSE(pathIsiCloudAppFolder(cloudURL(kMobile + "/com~apple~Pages/x")));
  EXPECT_TRUE(pathIsiCloudAppDocumentsFolder(cloudURL(kMobile + "/com~apple~Pages/Documents")));
  EXPECT_FALSE(pathIsiCloudAppDocumentsFolder(cloudURL(kMobile + "/com~apple~CloudDocs/Documents")))
      << "that is the Drive's";
  EXPECT_FALSE(pathIsiCloudAppDocumentsFolder(cloudURL(kMobile + "/com~apple~Pages/x/Documents")));
  EXPECT_FALSE(pathIsiCloudAppDocumentsFolder(cloudURL(kMobile + "/com~apple~Pages/Other")));
}

}  // namespace
}  // namespace vennick
