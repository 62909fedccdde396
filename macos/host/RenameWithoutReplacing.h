// SPDX-License-Identifier: MIT
//
// Renaming that leaves an existing destination alone: the kernel's own where the volume has it, else made
// of a hard link and a removal, else a look and a rename. Names are taken in open folders, links are not
// followed. Each answers 0 or an errno, EEXIST for a name that is taken. Stateless; any thread.
#ifndef MACOS_HOST_RENAMEWITHOUTREPLACING_H
#define MACOS_HOST_RENAMEWITHOUTREPLACING_H

namespace macos {

int renameWithoutReplacing(int fromFolder, const char* from, int toFolder, const char* to);

// The ways to do without the kernel. A file is never lost to another process that makes the destination
// meanwhile, where the volume has hard links; a folder may take the place of an empty one.
int renameByLinking(int fromFolder, const char* from, int toFolder, const char* to);

}  // namespace macos

#endif  // MACOS_HOST_RENAMEWITHOUTREPLACING_H
