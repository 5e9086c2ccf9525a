#include "ShowHost/Users.h"

#include "HostModels/JsonFile.h"
#include "HostModels/PasswordCipher.h"
#include "Shared/PasswordInput.h"

namespace {

constexpr char kDemoUser[] = "demo";
constexpr char kDemoPassword[] = "demo";
constexpr int kDemoAccess = 1;

} // namespace

std::vector<SAPPUserNode> DemoUsers()
{
    return {MakeUser(kDemoUser, kDemoPassword, kDemoAccess)};
}

SAPPUserNode MakeUser(const QString& name, const QString& password, int access)
{
    if (name.isEmpty())
        throw CFileError("the user's name is empty");
    if (password.isEmpty())
        throw CFileError("the password is empty");
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
        const QString password = PasswordInput::Ask("Password");
        if (PasswordInput::Ask("Password again") != password)
            throw CFileError("the two passwords differ");
        return password;
    } catch (const CNoPassword& error) {
        throw CFileError(error.what());
    }
}
