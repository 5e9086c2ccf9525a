#pragma once

#include <string>

// Files and folders that other users of the machine may not read. On Windows they are what their folder makes them: a
// user's own folders are private there.

/// From now on what this process, in any thread, and its children create is for its user alone.
void CreatePrivateFiles();
/// Takes the rights to an existing file or folder from everybody but its owner. Returns why that is not possible, else
/// an empty text; a folder with the sticky bit, such as /tmp, is shared on purpose and left as it is.
std::string MakePrivate(const std::string& path);
/// Returns when the open file's content has reached the disk; the file was created or replaced for good once its folder
/// has been flushed as well. False when the disk reports an error.
bool FlushToDisk(int fileDescriptor);
void FlushFolderToDisk(const std::string& folder);
