#include "ShowHost/Users.h"

#include "HostModels/Files/JsonFile.h"
#include "HostModels/Files/PasswordCipher.h"
#include "Shared/PasswordInput.h"

namespace {

/// The password of each user is the name.
constexpr struct {
    const char* name;
    int access;
} kDemoUsers[] = {{"demo", 1}, {"technician", 2}, {"guest", 0}};

} // namespace

std::vector<SAPPUserNode> DemoUsers()
{
    std::vector<SAPPUserNode> users;
    for (const auto& [name, access] : kDemoUsers)
        users.push_back(MakeUser(name, name, access));
    return users;
}

SAPPUserNode MakeUser(const QString& name, const QString& password, int access)
{
    if (name.isEmpty())
        throw CFileError("the user's name is empty");
    if (password.isEmpty())
        throw CFileError("the password is empty");
    if (password.contains(QChar::Null))
        throw CFileError("the password contains a zero byte");
    const auto encrypted = EncryptPassword(password);
    if (!encrypted)
        throw CFileError("the password is too long: 117 bytes at most");
    SAPPUserNode user;
    user.name = name;
    user.password = *encrypted;
    user.access = access;
    return user;
}

QString ReadPassword(int fileDescriptor)
{
    try {
        if (fileDescriptor >= 0)
            return PasswordInput::ReadFrom(fileDescriptor);
        QString password = PasswordInput::Ask("Password");
        if (PasswordInput::Ask("Password again") != password)
            throw CFileError("the two passwords differ");
        return password;
    } catch (const CNoPassword& error) {
        throw CFileError(error.what());
    }
}
