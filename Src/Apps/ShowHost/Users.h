#pragma once

#include "Interfaces/GlobalModel.h"

#include <QString>

#include <vector>

/// The users of a host to which no user was added: "demo", "technician" and "guest". The password of each is the name.
std::vector<SAPPUserNode> DemoUsers();

/// Returns a user with an encrypted password.
/// \throws CFileError if the name or the password is empty, or the password contains a zero byte or has more than 117
///         bytes in UTF-8
SAPPUserNode MakeUser(const QString& name, const QString& password, int access);

/// Reads a password. Blocks until the input is complete.
/// \param fileDescriptor the password is one line of this file; if negative, the user types it twice on the terminal,
///                       without echo
/// \throws CFileError if the input can't be read or the two passwords differ
QString ReadPassword(int fileDescriptor);
