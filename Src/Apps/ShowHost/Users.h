#pragma once

#include "Interfaces/GlobalModel.h"

#include <QString>

#include <vector>

/// Who may log in while nobody was added: "demo", "technician" and "guest", each with the name as password.
std::vector<SAPPUserNode> DemoUsers();

/// The user with the password encrypted. Throws CFileError for a password that can't be.
SAPPUserNode MakeUser(const QString& name, const QString& password, int access);

/// Asks for a password on the terminal, twice and without showing it, or reads one line from the file descriptor if
/// that isn't negative. Throws CFileError.
QString ReadPassword(int fileDescriptor);
