#pragma once

#include <filesystem>
#include <string>

// Files and folders that other users of the machine can't access. On Windows the next two functions change nothing:
// files have the access rights of their folder, and a user's own folders are private there.

/// Sets the umask so that only the user can access the files and folders that this process and its children create from
/// now on. Affects all threads.
void CreatePrivateFiles();
/// Removes the access rights of all users except the owner from an existing file or folder. A folder with the sticky
/// bit, such as /tmp, is intentionally shared: its rights are not changed, and an error is returned.
/// \return the error, or an empty text on success
std::string MakePrivate(const std::string& path);

/// Writes the content of an open file to the disk and waits for it (fsync). After creating or replacing a file, call
/// FlushFolderToDisk as well, so that its name is on the disk.
/// \return false when the disk reports an error
bool FlushToDisk(int fileDescriptor);
/// Writes the entries of a folder to the disk and waits for it. Errors are ignored.
void FlushFolderToDisk(const std::string& folder);

/// Opens a regular file for reading. Symbolic links are followed. Does not wait: FIFOs, devices and everything else
/// that is not a regular file are refused. The check uses the opened file, so replacing the file at the same time does
/// not bypass it.
/// \return a file descriptor of the C library, which the caller closes; -1 on failure
int OpenRegularFile(const std::filesystem::path& file);
