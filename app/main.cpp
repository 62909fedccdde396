// SPDX-License-Identifier: MIT
#include "app/AppDelegate.h"
#include "macos/appkit/Application.h"

int main(int argc, char** argv) {
  vennick::AppDelegate delegate;
  return macos::NSApplicationMain(argc, argv, delegate);
}
